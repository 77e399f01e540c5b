# Build options shared by every target of the project.

option(AUTL_BUILD_BENCHMARKS "Build the Google Benchmark programs under benchmarks/" ON)
option(AUTL_BUILD_FUZZERS "Build the libFuzzer targets under fuzz/ (needs Clang)" OFF)
set(AUTL_SANITIZE "" CACHE STRING
    "Sanitizers for every target, as for -fsanitize= (for example address,undefined or thread)")

add_compile_options(-Wall -Wextra -Werror)

if(AUTL_SANITIZE)
    add_compile_options(-fsanitize=${AUTL_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${AUTL_SANITIZE})
endif()

if(AUTL_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "AUTL_BUILD_FUZZERS needs Clang and libFuzzer (the asan preset)")
    endif()
    # Coverage feedback from every target, the library and the host stand-ins included; only the
    # fuzzers themselves link libFuzzer (-fsanitize=fuzzer).
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
