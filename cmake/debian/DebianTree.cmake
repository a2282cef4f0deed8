# Run by CPack over the files before it packs them: what Debian wants otherwise than `cmake --install` lays it out.
set(share "${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share")
set(documents "${share}/doc/${CPACK_PACKAGE_NAME}")

function(compress)
  # Without name and time, so that the same tree makes the same package.
  execute_process(COMMAND gzip -9n ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "gzip couldn't compress ${ARGN}")
  endif()
endfunction()

# Folders have the packager's mask.
set(prefix "${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}")
file(GLOB_RECURSE entries LIST_DIRECTORIES true "${prefix}/*")
foreach(entry IN LISTS entries ITEMS "${prefix}")
  if(IS_DIRECTORY "${entry}" AND NOT IS_SYMLINK "${entry}")
    file(CHMOD "${entry}" PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()

file(GLOB pages "${share}/man/man1/*.1")
compress(${pages})
file(RENAME "${documents}/CHANGELOG.md" "${documents}/changelog")
compress("${documents}/changelog")
# Debian has the licence, and the file "copyright" says where.
file(REMOVE "${documents}/LICENSE")
