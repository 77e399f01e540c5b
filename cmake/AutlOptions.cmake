# Build options shared by every target of the project.

option(AUTL_BUILD_BENCHMARKS "Build the Google Benchmark programs under benchmarks/" ON)
set(AUTL_SANITIZE "" CACHE STRING
    "Sanitizers for every target, as for -fsanitize= (for example address,undefined or thread)")

add_compile_options(-Wall -Wextra -Werror)

if(AUTL_SANITIZE)
    add_compile_options(-fsanitize=${AUTL_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${AUTL_SANITIZE})
endif()
