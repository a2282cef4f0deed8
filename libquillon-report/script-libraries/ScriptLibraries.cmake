# The script libraries of the reports, from npm or from a folder that holds what npm would install, made into
# the files that the reports load. Sets QUILLON_SCRIPT_LIBRARY_FILES.
#
# The lock file is kept by hand. It names these libraries alone, without what they ask for beside themselves (a DOM
# for servers, command lines): npm takes what it is told there, and the reports use nothing of that. For an upgrade
# change the versions in package.json, the lock file and here; `npm view NAME@VERSION dist.integrity` tells the hash.

set(_here "${CMAKE_CURRENT_LIST_DIR}")
set(_work "${CMAKE_BINARY_DIR}/script-libraries")
set(_versions handlebars 4.0.5 d3 3.3.9 htmlparser 1.7.7)

# npm runs again only when the list of libraries has changed since it last succeeded.
function(_quillon_install_script_libraries)
  file(SHA256 "${_here}/package-lock.json" wanted)
  set(stamp "${_work}/installed")
  if(EXISTS "${stamp}" AND EXISTS "${_work}/node_modules")
    file(READ "${stamp}" installed)
    if(installed STREQUAL wanted)
      return()
    endif()
  endif()
  find_program(QUILLON_NPM npm)
  if(NOT QUILLON_NPM)
    message(FATAL_ERROR "The script libraries are installed by npm, which isn't there: install npm, "
      "or name a folder that holds handlebars, d3 and htmlparser with -DQUILLON_SCRIPT_LIBRARIES=DIR.")
  endif()
  message(STATUS "Installing the script libraries with npm")
  foreach(name IN ITEMS package.json package-lock.json .npmrc)
    configure_file("${_here}/${name}" "${_work}/${name}" COPYONLY)
  endforeach()
  execute_process(
    COMMAND "${QUILLON_NPM}" ci --ignore-scripts --no-audit --no-fund
    WORKING_DIRECTORY "${_work}"
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    file(WRITE "${_work}/npm.log" "${output}")
    message(FATAL_ERROR "npm couldn't install the script libraries (its words are in ${_work}/npm.log): see to "
      "its network, or name a folder that holds them with -DQUILLON_SCRIPT_LIBRARIES=DIR.")
  endif()
  file(WRITE "${stamp}" "${wanted}")
endfunction()

function(_quillon_check_script_library folder name version)
  set(found "none")
  if(EXISTS "${folder}/${name}/package.json")
    file(READ "${folder}/${name}/package.json" package)
    string(JSON found ERROR_VARIABLE ignored GET "${package}" version)
  endif()
  if(NOT found STREQUAL version)
    message(FATAL_ERROR "The reports need ${name} ${version} in ${folder}, which holds version: ${found}.")
  endif()
endfunction()

# The source archive brings them along.
set(_archived "${PROJECT_SOURCE_DIR}/script-libraries")
if(QUILLON_SCRIPT_LIBRARIES)
  set(_libraries "${QUILLON_SCRIPT_LIBRARIES}")
elseif(EXISTS "${_archived}")
  set(_libraries "${_archived}")
else()
  _quillon_install_script_libraries()
  set(_libraries "${_work}/node_modules")
endif()
while(_versions)
  list(POP_FRONT _versions _name _version)
  _quillon_check_script_library("${_libraries}" "${_name}" "${_version}")
endwhile()

set(_made "${_work}/made")
configure_file("${_libraries}/handlebars/dist/handlebars.min.js" "${_made}/handlebars.min-v4.0.5.js" COPYONLY)
file(READ "${_libraries}/htmlparser/lib/htmlparser.min.js" QUILLON_LIBRARY)
configure_file("${_here}/htmlparser.js.in" "${_made}/htmlparser.js" @ONLY)
file(READ "${_libraries}/d3/d3.min.js" QUILLON_LIBRARY)
file(READ "${_libraries}/d3/LICENSE" QUILLON_LICENSE)
configure_file("${_here}/d3.v3.min.js.in" "${_made}/d3.v3.min.js" @ONLY)
unset(QUILLON_LIBRARY)
unset(QUILLON_LICENSE)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${_here}/package-lock.json")

set_property(GLOBAL PROPERTY QUILLON_SCRIPT_LIBRARY_FOLDER "${_libraries}")
set(QUILLON_SCRIPT_LIBRARY_FILES
  "${_made}/handlebars.min-v4.0.5.js" "${_made}/htmlparser.js" "${_made}/d3.v3.min.js")
