# Debian's android-base and liblog (android-libbase-dev, android-liblog-dev) and fmt (libfmt-dev).
# The Android libraries sit outside the linker's and loader's search paths, with no pkg-config or
# CMake package of their own, so they are found by path and every binary gets a RUNPATH to them.

set(AUTL_ANDROID_HOST_LIBDIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
find_path(AUTL_ANDROID_BASE_INCLUDE_DIR android-base/logging.h
          PATHS /usr/include/android NO_DEFAULT_PATH REQUIRED)
find_library(AUTL_ANDROID_BASE_LIBRARY NAMES base
             PATHS ${AUTL_ANDROID_HOST_LIBDIR} NO_DEFAULT_PATH REQUIRED)
find_library(AUTL_ANDROID_LOG_LIBRARY NAMES log
             PATHS ${AUTL_ANDROID_HOST_LIBDIR} NO_DEFAULT_PATH REQUIRED)
find_package(fmt REQUIRED)

add_library(autl_android_base INTERFACE)
add_library(autl::android_base ALIAS autl_android_base)
# SYSTEM: GCC warns about the clang-only pragmas in logging.h.
target_include_directories(autl_android_base SYSTEM INTERFACE ${AUTL_ANDROID_BASE_INCLUDE_DIR})
target_link_libraries(autl_android_base INTERFACE
    ${AUTL_ANDROID_BASE_LIBRARY} ${AUTL_ANDROID_LOG_LIBRARY} fmt::fmt)

# nlohmann-json (nlohmann-json3-dev) writes autl's JSON output; its tests read it back.
find_package(nlohmann_json 3 REQUIRED)
