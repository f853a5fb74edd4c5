# Compiler, linker and sanitizer settings that hold for every target of ours.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Precompiled headers need these relaxations to be cached at all.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${CCACHE_PROGRAM})
endif()

find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12.1)
    add_link_options(-fuse-ld=mold)
endif()

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# Tables of imported functions are read-only once the program runs.
add_link_options(-Wl,-z,relro,-z,now)

# Results must not depend on whether the machine has fused multiply-add.
add_compile_options(-ffp-contract=off)
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")

if(TESSALY_SANITIZERS)
    # Line numbers are all that a report needs: full debug information would take 9 GB a preset.
    add_compile_options(-fsanitize=${TESSALY_SANITIZERS} -fno-omit-frame-pointer -O1 -g1)
    add_link_options(-fsanitize=${TESSALY_SANITIZERS})
endif()

add_library(tessaly_warnings INTERFACE)
target_compile_options(tessaly_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${TESSALY_WARNINGS_AS_ERRORS}>:-Werror>)
