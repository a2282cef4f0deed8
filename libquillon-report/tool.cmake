# The top directory of libquillon-report: analysis, advice and tool.
add_library(quillon-report-tool OBJECT
  activitypower.cpp
  advicegenerator.cpp
  boundmetrics.cpp
  computeperformancedata.cpp
  forcedmetrics.cpp
  metricreaders.cpp
  performanceadvice.cpp
  quillonreport.cpp
  quillonreportargparser.cpp
  quillonreportmaingui.cpp
  quillonreporttool.cpp
  rateclassification.cpp
  sendtodcim.cpp
  trappedcapacityadvice.cpp
)
set_target_properties(quillon-report-tool PROPERTIES AUTOMOC ON)
target_include_directories(quillon-report-tool
  PUBLIC "${CMAKE_SOURCE_DIR}/libquillon-report" "${CMAKE_SOURCE_DIR}/host")
target_link_libraries(quillon-report-tool
  PUBLIC Qt5::Core Qt5::Gui
  PRIVATE quillon-compiler quillon-sanitize)
