# tessaly_layer(<name> [PCH headers...] [PUBLIC libraries...] [PRIVATE libraries...])
#
# One folder under src/ is one static library, tessaly_<name>. Which layer may include which is checked by
# scripts/check_layers.py; third-party libraries that a layer names as PRIVATE never appear in its headers.
function(tessaly_layer name)
    cmake_parse_arguments(ARG "" "" "PCH;PUBLIC;PRIVATE" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.h")
    add_library(tessaly_${name} STATIC ${sources})
    set_target_properties(tessaly_${name} PROPERTIES LINKER_LANGUAGE CXX)
    target_include_directories(tessaly_${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(tessaly_${name} PUBLIC ${ARG_PUBLIC} PRIVATE tessaly_warnings ${ARG_PRIVATE})
    if(ARG_PCH)
        target_precompile_headers(tessaly_${name} PRIVATE ${ARG_PCH})
    endif()
endfunction()

# tessaly_test(<name> SOURCES files... LIBRARIES libraries...)
# One executable per layer, run offscreen so that no display is needed, and on a heap that isn't clean.
function(tessaly_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(test_${name} ${ARG_SOURCES})
    target_link_libraries(test_${name} PRIVATE tessaly_warnings ${ARG_LIBRARIES})
    add_test(NAME ${name} COMMAND test_${name} WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
    set_tests_properties(${name} PROPERTIES
        TIMEOUT 900
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;MALLOC_PERTURB_=165;TESSALY_TEST_TOOLS=${CMAKE_SOURCE_DIR}/tests/support")
endfunction()
