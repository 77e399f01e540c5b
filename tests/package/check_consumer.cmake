# Installs the build tree BUILD_DIR into a scratch prefix under WORK_DIR and builds the consumer
# project in CONSUMER_DIR against it, through the CMake package and through pkg-config, with
# CXX_COMPILER and CXX_FLAGS (the build's sanitizers); each consumer must run and pass. Then a
# missing runtime dependency must stop the package with a message that names it.
#   cmake -DBUILD_DIR=... -DCONSUMER_DIR=... -DWORK_DIR=... -DCXX_COMPILER=... [-DCXX_FLAGS=...]
#         -P check_consumer.cmake

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output
                    ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}\n${output}")
    endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# CMake: find_package and the exported target, nothing else.
set(configure ${CMAKE_COMMAND} -S ${CONSUMER_DIR} -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${configure} -B ${WORK_DIR}/cmake)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
run(${WORK_DIR}/cmake/consumer)

# pkg-config, from the installed .pc file alone.
find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB pc_dir LIST_DIRECTORIES true ${prefix}/lib*/pkgconfig ${prefix}/lib/*/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs vendor.zentro.tevrash.audio.hal.utils
                RESULT_VARIABLE result OUTPUT_VARIABLE flags ERROR_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config failed: ${flags}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
run(${CXX_COMPILER} ${cxx_flags} ${CONSUMER_DIR}/main.cpp ${flags} -o ${WORK_DIR}/pkg_config_consumer)
run(${WORK_DIR}/pkg_config_consumer)

# A runtime dependency that is missing stops find_package with its name and its package.
file(GLOB config ${prefix}/lib*/cmake/AudioHalUtils/AudioHalUtilsConfig.cmake
     ${prefix}/lib/*/cmake/AudioHalUtils/AudioHalUtilsConfig.cmake)
file(READ ${config} text)
string(REGEX REPLACE "/libbase\\.so[^|]*\\|" "/libbase.so.missing|" text "${text}")
file(WRITE ${config} "${text}")
execute_process(COMMAND ${configure} -B ${WORK_DIR}/missing RESULT_VARIABLE result
                OUTPUT_VARIABLE output ERROR_VARIABLE output)
string(REGEX REPLACE "[ \n]+" " " output "${output}")
if(result EQUAL 0 OR NOT output MATCHES "libbase\\.so\\.missing at run time; Debian's package android-libbase installs it")
    message(FATAL_ERROR "a missing libbase was not reported:\n${output}")
endif()
