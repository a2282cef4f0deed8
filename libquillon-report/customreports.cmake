# libcustom-quillon-reports: the C interface for programs that make reports of their own, without the host and without
# knowing Qt. It is built of the same sources as the tool's library; custom-quillon-reports.map is all it shows.
include("${PROJECT_SOURCE_DIR}/cmake/QuillonCommit.cmake")

# As objects, so that tests can reach what the library hides.
add_library(custom-quillon-reports-objects OBJECT api/brivane-report.cpp api/brivane-report-custom.cpp)
target_compile_definitions(custom-quillon-reports-objects PRIVATE
  "BRIVANE_REPORT_API=__attribute__((visibility(\"default\")))" QUILLON_VERSION="${PROJECT_VERSION}")
target_link_libraries(custom-quillon-reports-objects
  PUBLIC quillon-report-api
  PRIVATE quillon-commit quillon-compiler quillon-sanitize)

# It can't be unloaded: Qt's application object, which it makes where there is none, stays.
add_library(custom-quillon-reports SHARED)
set(map "${CMAKE_CURRENT_SOURCE_DIR}/api/custom-quillon-reports.map")
target_link_libraries(custom-quillon-reports
  PRIVATE custom-quillon-reports-objects quillon-report-api quillon-report-resources report-engine-objects host-core
    Qt5::XmlPatterns Qt5::Script quillon-compiler quillon-sanitize)
target_link_options(custom-quillon-reports PRIVATE "-Wl,--version-script=${map}" -Wl,-z,nodelete)
set_target_properties(custom-quillon-reports PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS "${map}")
target_include_directories(custom-quillon-reports INTERFACE
  "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/api>"
  "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/custom-quillon-reports>")

install(TARGETS custom-quillon-reports EXPORT CustomQuillonReportsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES api/brivane-report.h api/resultcodes.h
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/custom-quillon-reports")

# For find_package and pkg-config. Both find the rest of the installation from their own place, so that it can be moved.
include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/CustomQuillonReports")
install(EXPORT CustomQuillonReportsTargets
  NAMESPACE CustomQuillonReports:: DESTINATION "${package_dir}")
configure_package_config_file(CustomQuillonReportsConfig.cmake.in
  "${CMAKE_CURRENT_BINARY_DIR}/CustomQuillonReportsConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/CustomQuillonReportsConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/CustomQuillonReportsConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/CustomQuillonReportsConfigVersion.cmake"
  DESTINATION "${package_dir}")

set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH QUILLON_PREFIX_FROM_PC "/prefix/${pc_dir}" "/prefix")
configure_file(custom-quillon-reports.pc.in "${CMAKE_CURRENT_BINARY_DIR}/custom-quillon-reports.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/custom-quillon-reports.pc" DESTINATION "${pc_dir}")
