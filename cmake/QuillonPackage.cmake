# What comes along with the programs and libraries when they are installed, and the two archives:
#   cpack                                       in a build folder of the preset "package": a Debian package
#   cmake --build <folder> --target source-archive   the sources, which build where there is no network
install(FILES README.md CHANGELOG.md LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY examples/c-report examples/partial-reports DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples"
  USE_SOURCE_PERMISSIONS)

# The script libraries are part of the report libraries and of every page; their licences want to be passed on.
get_property(QUILLON_SCRIPT_LIBRARY_FOLDER GLOBAL PROPERTY QUILLON_SCRIPT_LIBRARY_FOLDER)
foreach(library IN ITEMS handlebars d3 htmlparser)
  file(READ "${QUILLON_SCRIPT_LIBRARY_FOLDER}/${library}/LICENSE" text)
  # As a field of the file: each line begins with a blank, an empty one is a dot.
  string(REGEX REPLACE "[ \t\r]+\n" "\n" text "${text}")
  string(REGEX REPLACE "\n+$" "" text "${text}")
  string(REPLACE "\n" "\n " text " ${text}")
  string(REGEX REPLACE "\n \n" "\n .\n" QUILLON_LICENSE_${library} "${text}")
endforeach()
configure_file("${CMAKE_CURRENT_LIST_DIR}/debian/copyright.in" "${PROJECT_BINARY_DIR}/copyright" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/copyright" DESTINATION "${CMAKE_INSTALL_DOCDIR}")

add_custom_target(source-archive
  COMMAND "${CMAKE_COMMAND}" "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DLIBRARIES=${QUILLON_SCRIPT_LIBRARY_FOLDER}"
    "-DNAME=quillon-reports-${PROJECT_VERSION}" "-DFOLDER=${PROJECT_BINARY_DIR}"
    -P "${PROJECT_SOURCE_DIR}/cmake/SourceArchive.cmake"
  COMMENT "Packing the sources" VERBATIM)

set(CPACK_PACKAGE_NAME quillon-reports)
set(CPACK_PACKAGE_VENDOR Brivane)
set(CPACK_PACKAGE_CONTACT "Brivane <reports@brivane.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "one-page performance reports of parallel jobs")
set(CPACK_PACKAGE_DESCRIPTION "Put quillon-report in front of the command that starts a parallel job, and get
one page that says where the time went, what bound the job and what to try
next. The programs of the job are neither recompiled nor relinked.
.
A C library makes reports of other programs' numbers.")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/debian/DebianTree.cmake")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
# The connectors to monitoring are written in Python.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS python3)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS ganglia-monitor)
# The list of libraries is renewed when the package comes and goes.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/debian/triggers")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
