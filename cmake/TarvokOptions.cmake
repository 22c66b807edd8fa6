# What a person may choose, and the flags that every target of the project shares.

option(TARVOK_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(TARVOK_BENCH "Build the benchmarks" OFF)
option(TARVOK_FUZZ "Build the fuzz targets (clang only)" OFF)
option(TARVOK_WARNINGS "Treat a large set of warnings as errors" OFF)
option(TARVOK_NATIVE "Optimise for this machine's processor; results keep their bits" OFF)
set(TARVOK_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize takes them")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Every program and library of the build lies in one folder, as beside each other once installed, so that the
# engine finds its kernel and a client its engine in the build tree too.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

add_library(tarvok_flags INTERFACE)
target_compile_features(tarvok_flags INTERFACE cxx_std_20)
# A product and a sum stay two roundings: results are the stated formulas to the bit.
target_compile_options(tarvok_flags INTERFACE -ffp-contract=off)
# A source file names itself by its path within the tree, also where a compiler cache hands the compiler paths relative to
# the build's folder.
file(RELATIVE_PATH TARVOK_SOURCE_FROM_BUILD ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
target_compile_options(tarvok_flags INTERFACE
    -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fmacro-prefix-map=${TARVOK_SOURCE_FROM_BUILD}=)
# GCC 12 fuses neighbouring products and sums into one rounding even where contraction is off; AVX-512 has instructions of
# its own for that.
set(TARVOK_NATIVE_FLAGS -march=native)
include(CheckCXXCompilerFlag)
foreach(extension IN ITEMS fma avx512f)
    check_cxx_compiler_flag(-mno-${extension} TARVOK_HAS_NO_${extension})
    if(TARVOK_HAS_NO_${extension})
        list(APPEND TARVOK_NATIVE_FLAGS -mno-${extension})
    endif()
endforeach()
if(TARVOK_NATIVE)
    target_compile_options(tarvok_flags INTERFACE ${TARVOK_NATIVE_FLAGS})
endif()
if(TARVOK_WARNINGS)
    target_compile_options(tarvok_flags INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
        -Wformat=2 -Wimplicit-fallthrough -Wundef -Werror)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # It takes the standard string's own moves of characters for overlapping copies.
        target_compile_options(tarvok_flags INTERFACE -Wno-restrict)
    endif()
endif()
if(TARVOK_SANITIZE)
    add_compile_options(-fsanitize=${TARVOK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${TARVOK_SANITIZE})
endif()
