# Run by CPack over the files before it packs them: what Debian wants otherwise than `cmake --install` lays it out.
set(share "${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share")
set(documents "${share}/doc/${CPACK_PACKAGE_NAME}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "This failed: ${ARGN}")
  endif()
endfunction()

# Folders have the packager's mask, and files that are copied with their modes that of whoever fetched the sources.
run(chmod -R u=rwX,go=rX "${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}")

# Compressed without name and time, so that the same tree makes the same package.
file(GLOB pages "${share}/man/man1/*.1")
run(gzip -9n ${pages})
file(RENAME "${documents}/CHANGELOG.md" "${documents}/changelog")
run(gzip -9n "${documents}/changelog")
# Debian has the licence, and the file "copyright" says where.
file(REMOVE "${documents}/LICENSE")
