# quillon-commit: the header commit.h with QUILLON_COMMIT, the commit that is built. It is asked for at each build and
# written when it has changed. Where there is no repository it is what the source archive says in its file COMMIT.
set(QUILLON_COMMIT "" CACHE STRING "The commit that the libraries name; empty: git or the source archive says")

set(_commit_dir "${CMAKE_BINARY_DIR}/commit")
add_custom_target(quillon-commit-header
  COMMAND "${CMAKE_COMMAND}" "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DCOMMIT=${QUILLON_COMMIT}"
    "-DHEADER=${_commit_dir}/commit.h" -P "${CMAKE_CURRENT_LIST_DIR}/WriteCommit.cmake"
  BYPRODUCTS "${_commit_dir}/commit.h"
  COMMENT "Looking up the commit")
add_library(quillon-commit INTERFACE)
add_dependencies(quillon-commit quillon-commit-header)
target_include_directories(quillon-commit INTERFACE "${_commit_dir}")
