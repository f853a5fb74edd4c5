# Compiles the pages of data/manual into one help file, which the program looks for in ../data beside its folder.

find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)
set(manual_script "${CMAKE_SOURCE_DIR}/scripts/manual_project.py")
set(manual_source "${CMAKE_SOURCE_DIR}/data/manual")
set(manual_pages "${CMAKE_BINARY_DIR}/manual")
set(manual_file "${CMAKE_BINARY_DIR}/data/tessaly.qch")
file(GLOB manual_sources CONFIGURE_DEPENDS
    "${manual_source}/*.html" "${manual_source}/*.css" "${manual_source}/*.txt" "${manual_source}/images/*.png")
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/data")
add_custom_command(OUTPUT "${manual_file}"
    COMMAND Python3::Interpreter "${manual_script}" "${manual_source}" "${manual_pages}"
    # A file that is there already would be added to.
    COMMAND ${CMAKE_COMMAND} -E rm -f "${manual_file}"
    COMMAND Qt6::qhelpgenerator -s "${manual_pages}/tessaly.qhp" -o "${manual_file}"
    DEPENDS "${manual_script}" ${manual_sources}
    COMMENT "Compiling the manual"
    VERBATIM)
add_custom_target(manual ALL DEPENDS "${manual_file}")
