# Installs the library, its exported headers, a CMake package and a pkg-config file, so that a HAL
# project can write
#   find_package(AudioHalUtils REQUIRED)
#   target_link_libraries(my_hal PRIVATE AudioHalUtils::utils)
# or, without CMake,
#   c++ my_hal.cpp $(pkg-config --cflags --libs vendor.zentro.tevrash.audio.hal.utils)

include(CMakePackageConfigHelpers)

get_property(AUTL_EXPORTED_HOST_TARGETS GLOBAL PROPERTY AUTL_EXPORTED_HOST_TARGETS)
set(AUTL_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/AudioHalUtils)

install(TARGETS ${AUTL_LIBRARY} ${AUTL_EXPORTED_HOST_TARGETS}
        EXPORT AudioHalUtilsTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${AUTL_LIBRARY})
install(EXPORT AudioHalUtilsTargets
        NAMESPACE AudioHalUtils::
        DESTINATION ${AUTL_CMAKE_INSTALL_DIR})

# The runtime files of Debian's android-base, liblog and fmt, by the names the loader looks for
# (libbase.so.0, not the development link libbase.so).
get_target_property(fmt_configurations fmt::fmt IMPORTED_CONFIGURATIONS)
list(GET fmt_configurations 0 fmt_configuration)
get_target_property(fmt_location fmt::fmt IMPORTED_LOCATION_${fmt_configuration})
get_target_property(fmt_soname fmt::fmt IMPORTED_SONAME_${fmt_configuration})
get_filename_component(fmt_directory ${fmt_location} DIRECTORY)
file(REAL_PATH ${AUTL_ANDROID_BASE_LIBRARY} android_base_runtime)
file(REAL_PATH ${AUTL_ANDROID_LOG_LIBRARY} android_log_runtime)
set(AUTL_RUNTIME_DEPENDENCIES
    "${android_base_runtime}|android-libbase"
    "${android_log_runtime}|android-liblog"
    "${fmt_directory}/${fmt_soname}|libfmt${fmt_VERSION_MAJOR}")

configure_package_config_file(cmake/AudioHalUtilsConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfig.cmake
    INSTALL_DESTINATION ${AUTL_CMAKE_INSTALL_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfigVersion.cmake
        DESTINATION ${AUTL_CMAKE_INSTALL_DIR})

# The pkg-config file finds the prefix from its own place, so that it holds wherever the install
# goes (cmake --install --prefix). It links the library and the libraries its headers use.
file(RELATIVE_PATH pkg_config_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" pkg_config_to_prefix ${pkg_config_to_prefix})
set(pkg_config_libs "-Wl,-rpath,\${libdir}")
get_target_property(public_links ${AUTL_LIBRARY} INTERFACE_LINK_LIBRARIES)
list(REMOVE_DUPLICATES public_links)
foreach(target ${AUTL_LIBRARY} ${public_links})
    string(APPEND pkg_config_libs " \${libdir}/$<TARGET_FILE_NAME:${target}>")
endforeach()
file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${AUTL_LIBRARY}.pc CONTENT
"prefix=\${pcfiledir}/${pkg_config_to_prefix}
libdir=\${prefix}/${CMAKE_INSTALL_LIBDIR}
includedir=\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}/${AUTL_LIBRARY}

Name: ${AUTL_LIBRARY}
Description: ${PROJECT_DESCRIPTION}
Version: ${PROJECT_VERSION}
Cflags: -std=c++20 -I\${includedir} -I\${includedir}/host
Libs: ${pkg_config_libs}
")
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${AUTL_LIBRARY}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
