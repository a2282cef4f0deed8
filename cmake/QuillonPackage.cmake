# What comes along with the programs and libraries when they are installed, and the two archives:
#   cpack -G DEB                                in a build folder of the preset "package": a Debian package
#   cmake --build <folder> --target source-archive   the sources, which build where there is no network
install(FILES README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME copyright)
install(DIRECTORY docs/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs" FILES_MATCHING PATTERN "*.md")
install(DIRECTORY examples/c-report DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" USE_SOURCE_PERMISSIONS)

get_property(QUILLON_SCRIPT_LIBRARY_FOLDER GLOBAL PROPERTY QUILLON_SCRIPT_LIBRARY_FOLDER)
add_custom_target(source-archive
  COMMAND "${CMAKE_COMMAND}" "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DLIBRARIES=${QUILLON_SCRIPT_LIBRARY_FOLDER}"
    "-DNAME=quillon-reports-${PROJECT_VERSION}" "-DFOLDER=${PROJECT_BINARY_DIR}"
    -P "${PROJECT_SOURCE_DIR}/cmake/SourceArchive.cmake"
  COMMENT "Packing the sources" VERBATIM)

set(CPACK_PACKAGE_NAME quillon-reports)
set(CPACK_PACKAGE_VENDOR Brivane)
set(CPACK_PACKAGE_CONTACT "Brivane <reports@brivane.example>")
set(CPACK_PACKAGE_DESCRIPTION "One-page performance reports of parallel jobs
 Put quillon-report in front of the command that starts a parallel job, and get
 one page that says where the time went, what bound the job and what to try
 next. A C library makes reports of other programs' numbers.")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
# Has the list of libraries renewed when the package comes and goes.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
