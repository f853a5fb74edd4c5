# Compiles the Qwt source in QWT_SOURCE_DIR into a static library, without the OpenGL canvas and without its warnings.

file(GLOB qwt_sources "${QWT_SOURCE_DIR}/src/*.cpp" "${QWT_SOURCE_DIR}/src/*.h")
list(FILTER qwt_sources EXCLUDE REGEX "opengl|glcanvas")

add_library(qwt STATIC ${qwt_sources})
add_library(Qwt::Qwt ALIAS qwt)
set_target_properties(qwt PROPERTIES AUTOMOC ON CXX_STANDARD 17 CXX_CLANG_TIDY "")
target_compile_options(qwt PRIVATE -w)
target_compile_definitions(qwt PRIVATE QWT_NO_OPENGL QWT_MOC_INCLUDE=1)
# As a system folder, so that our warnings do not look into its headers.
target_include_directories(qwt SYSTEM PUBLIC "${QWT_SOURCE_DIR}/src")
find_package(Qt6 REQUIRED COMPONENTS Concurrent PrintSupport)
target_link_libraries(qwt PUBLIC Qt6::Widgets Qt6::Concurrent Qt6::Svg Qt6::PrintSupport)
target_precompile_headers(qwt PRIVATE <QPainter> <QWidget> <QMap> <QVector> <QEvent>)

file(STRINGS "${QWT_SOURCE_DIR}/src/qwt_global.h" version_line REGEX "#define[ \t]+QWT_VERSION_STR")
string(REGEX MATCH "[0-9]+\\.[0-9]+\\.[0-9]+" QWT_BUILT_VERSION "${version_line}")
