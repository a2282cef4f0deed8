# cmake -DSOURCE=folder -DLIBRARIES=folder of the script libraries -DNAME=name-version -DFOLDER=for the result
#       -P SourceArchive.cmake
#
# The committed sources, the script libraries as far as they are used, and the commit's name, which ScriptLibraries.cmake
# and WriteCommit.cmake look for.
set(tree "${FOLDER}/source-archive/${NAME}")
file(REMOVE_RECURSE "${tree}")
file(MAKE_DIRECTORY "${tree}")

function(run)
  execute_process(${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "This failed: ${ARGN}")
  endif()
endfunction()

run(COMMAND git archive --format=tar "--output=${tree}.tar" HEAD WORKING_DIRECTORY "${SOURCE}")
run(COMMAND "${CMAKE_COMMAND}" -E tar xf "${tree}.tar" WORKING_DIRECTORY "${tree}")
file(REMOVE "${tree}.tar")
run(COMMAND git rev-parse --short=12 HEAD WORKING_DIRECTORY "${SOURCE}" OUTPUT_FILE "${tree}/COMMIT")

foreach(file IN ITEMS
    handlebars/package.json handlebars/LICENSE handlebars/dist/handlebars.min.js
    d3/package.json d3/LICENSE d3/d3.min.js
    htmlparser/package.json htmlparser/LICENSE htmlparser/lib/htmlparser.min.js)
  get_filename_component(folder "${tree}/script-libraries/${file}" DIRECTORY)
  file(COPY "${LIBRARIES}/${file}" DESTINATION "${folder}")
endforeach()

run(COMMAND "${CMAKE_COMMAND}" -E tar czf "${FOLDER}/${NAME}.tar.gz" "${NAME}"
  WORKING_DIRECTORY "${FOLDER}/source-archive")
file(REMOVE_RECURSE "${FOLDER}/source-archive")
message(STATUS "${FOLDER}/${NAME}.tar.gz")
