# autl_cc_test(NAME <name> SOURCES <files...> [LIBS <targets...>])
# Builds one GoogleTest program and registers each of its tests with CTest.
function(autl_cc_test)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBS" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
    gtest_discover_tests(${ARG_NAME} DISCOVERY_MODE PRE_TEST
                         PROPERTIES ENVIRONMENT "TZ=UTC")
endfunction()

# autl_cc_benchmark(NAME <name> SOURCES <files...> [LIBS <targets...>])
function(autl_cc_benchmark)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBS" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBS} benchmark::benchmark)
endfunction()
