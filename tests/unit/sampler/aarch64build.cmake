# cmake -DSOURCE=... -DBUILD=... -P aarch64build.cmake
#
# Builds the sampler and a program for it to watch for AArch64, where the tools are there.
foreach(tool IN ITEMS aarch64-linux-gnu-gcc aarch64-linux-gnu-g++ qemu-aarch64 ninja)
  find_program(found_${tool} ${tool})
  if(NOT found_${tool})
    message("SKIPPED: there is no ${tool}")
    return()
  endif()
endforeach()

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}")
  endif()
endfunction()

run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BUILD}" -G Ninja "--toolchain=${SOURCE}/cmake/toolchain-aarch64.cmake"
  -DQUILLON_SAMPLER_ONLY=ON -DQUILLON_WERROR=ON)
run("${CMAKE_COMMAND}" --build "${BUILD}")
run(aarch64-linux-gnu-gcc -O1 -std=gnu11 -pthread -o "${BUILD}/client-shares"
  "${SOURCE}/tests/unit/sampler/clients/shares.c")
