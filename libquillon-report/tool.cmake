# The top directory of libquillon-report: analysis, advice and tool.
add_library(quillon-report-tool OBJECT
)
target_include_directories(quillon-report-tool PUBLIC "${CMAKE_SOURCE_DIR}/libquillon-report")
target_link_libraries(quillon-report-tool
  PUBLIC Qt5::Core Qt5::Gui
  PRIVATE quillon-compiler quillon-sanitize)
