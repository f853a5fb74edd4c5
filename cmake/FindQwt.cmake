# Finds Qwt 6.2 or newer built for Qt 6, as the target Qwt::Qwt.
#
# An installed one comes first. Otherwise the source that scripts/qwt-source.sh has fetched is compiled (BuildQwt.cmake);
# its place is QWT_SOURCE_DIR, or the script is asked for it.

find_path(QWT_INCLUDE_DIR qwt_global.h PATH_SUFFIXES qt6/qwt qwt-qt6 qt6/qwt6 qwt6-qt6)
find_library(QWT_LIBRARY NAMES qwt-qt6 qwt6-qt6)
mark_as_advanced(QWT_INCLUDE_DIR QWT_LIBRARY)

if(QWT_INCLUDE_DIR AND QWT_LIBRARY)
    file(STRINGS "${QWT_INCLUDE_DIR}/qwt_global.h" version_line REGEX "#define[ \t]+QWT_VERSION_STR")
    string(REGEX MATCH "[0-9]+\\.[0-9]+\\.[0-9]+" QWT_VERSION "${version_line}")
endif()

if(QWT_VERSION VERSION_GREATER_EQUAL 6.2)
    if(NOT TARGET Qwt::Qwt)
        add_library(Qwt::Qwt UNKNOWN IMPORTED)
        set_target_properties(Qwt::Qwt PROPERTIES
            IMPORTED_LOCATION "${QWT_LIBRARY}"
            INTERFACE_INCLUDE_DIRECTORIES "${QWT_INCLUDE_DIR}")
        target_link_libraries(Qwt::Qwt INTERFACE Qt6::Widgets Qt6::Svg)
    endif()
else()
    set(QWT_SOURCE_DIR "" CACHE PATH "Unpacked Qwt source, compiled when no Qwt for Qt 6 is installed")
    if(NOT EXISTS "${QWT_SOURCE_DIR}/src/qwt_plot.h")
        execute_process(
            COMMAND "${CMAKE_SOURCE_DIR}/scripts/qwt-source.sh"
            OUTPUT_VARIABLE qwt_source OUTPUT_STRIP_TRAILING_WHITESPACE)
        set(QWT_SOURCE_DIR "${qwt_source}" CACHE PATH "Unpacked Qwt source" FORCE)
    endif()
    if(EXISTS "${QWT_SOURCE_DIR}/src/qwt_plot.h")
        include(BuildQwt)
        set(QWT_VERSION "${QWT_BUILT_VERSION}")
    endif()
endif()

if(TARGET Qwt::Qwt)
    set(QWT_TARGET Qwt::Qwt)
endif()
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Qwt REQUIRED_VARS QWT_TARGET VERSION_VAR QWT_VERSION)
