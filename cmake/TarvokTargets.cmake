# The project's kinds of targets. Each function states once what all targets of a kind have in common.

# tarvok_library(NAME [PART] SOURCES ... [PUBLIC targets] [PRIVATE targets])
# A library of the house with the alias tarvok::NAME, installed with its headers (cmake/TarvokInstall.cmake). They
# are included as <folder/header.h>, where the folder is the one that holds the calling CMakeLists.txt. PART is what only a
# program of the house is made of, and is not installed.
function(tarvok_library name)
    cmake_parse_arguments(ARG "PART" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(tarvok_${name} STATIC ${ARG_SOURCES})
    add_library(tarvok::${name} ALIAS tarvok_${name})
    set_target_properties(tarvok_${name} PROPERTIES EXPORT_NAME ${name} OUTPUT_NAME tarvok_${name})
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH include_root)
    target_include_directories(tarvok_${name} PUBLIC
        $<BUILD_INTERFACE:${include_root}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tarvok>)
    target_link_libraries(tarvok_${name}
        PUBLIC ${ARG_PUBLIC}
        PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:tarvok_flags>)
    target_compile_features(tarvok_${name} PUBLIC cxx_std_20)
    if(NOT ARG_PART)
        set_property(GLOBAL APPEND PROPERTY TARVOK_LIBRARIES tarvok_${name})
        # How much the compiler inlines depends on how much it sees at once; a library's speed is that of its sources as they
        # are written.
        if(CMAKE_BUILD_TYPE STREQUAL Release)
            set_target_properties(tarvok_${name} PROPERTIES UNITY_BUILD OFF)
        endif()
    endif()
endfunction()

# tarvok_program(NAME SOURCES ... [LIBS targets])
# A program that is installed.
function(tarvok_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} tarvok_flags)
    set_property(GLOBAL APPEND PROPERTY TARVOK_PROGRAMS ${name})
endfunction()

# tarvok_test(NAME SOURCES ... [LIBS targets] [LABELS labels] [DEPENDS targets] [ENVIRONMENT NAME=VALUE])
# A GoogleTest program whose cases are ctest's tests. The label "threaded" puts it among those that run under the
# thread sanitizer as well; the target threaded_tests builds those.
function(tarvok_test name)
    if(NOT TARVOK_TESTS)
        return()
    endif()
    cmake_parse_arguments(ARG "" "ENVIRONMENT" "SOURCES;LIBS;LABELS;DEPENDS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main tarvok_flags)
    # A test's own code runs for milliseconds; optimising it would be a good part of a build.
    target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O1>)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/test)
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
    if("threaded" IN_LIST ARG_LABELS)
        if(NOT TARGET threaded_tests)
            add_custom_target(threaded_tests)
        endif()
        add_dependencies(threaded_tests ${name})
    endif()
    # Only what has a value: an empty one would take the next name for its own.
    set(properties TIMEOUT 300)
    foreach(property IN ITEMS LABELS ENVIRONMENT)
        if(ARG_${property})
            list(APPEND properties ${property} "${ARG_${property}}")
        endif()
    endforeach()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
endfunction()

# tarvok_bench(NAME SOURCES ... [LIBS targets] [DEPENDS targets])
# A program that measures. None is built unless it is asked for, by its name or with all of them by the target benches.
function(tarvok_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;DEPENDS" ${ARGN})
    add_executable(${name} EXCLUDE_FROM_ALL ${ARG_SOURCES})
    if(NOT TARGET benches)
        add_custom_target(benches)
    endif()
    add_dependencies(benches ${name})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} tarvok_flags)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    if(ARG_DEPENDS)
        add_dependencies(${name} ${ARG_DEPENDS})
    endif()
endfunction()
