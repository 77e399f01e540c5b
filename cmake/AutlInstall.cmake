# Installs the library, its exported headers and a CMake package, so that a HAL project can write
#   find_package(AudioHalUtils REQUIRED)
#   target_link_libraries(my_hal PRIVATE AudioHalUtils::utils)

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

configure_package_config_file(cmake/AudioHalUtilsConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfig.cmake
    INSTALL_DESTINATION ${AUTL_CMAKE_INSTALL_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/AudioHalUtilsConfigVersion.cmake
        DESTINATION ${AUTL_CMAKE_INSTALL_DIR})
