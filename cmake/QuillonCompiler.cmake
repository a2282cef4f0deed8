# How our own code is compiled: language level, warnings, visibility, sanitizers, ccache, layout of the build tree.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

option(QUILLON_WERROR "Treat warnings in our own code as errors" OFF)
option(QUILLON_COVERAGE "Instrument for gcov" OFF)
set(QUILLON_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")

# The build tree has the shape of an installed tree, so that a program finds its data and libraries
# from its own place in both.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/stage/${CMAKE_INSTALL_BINDIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/stage/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

# Linked by every target of ours, never by what it installs.
add_library(quillon-compiler INTERFACE)
target_compile_options(quillon-compiler INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-align
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>
  $<$<BOOL:${QUILLON_WERROR}>:-Werror>
  $<$<BOOL:${QUILLON_COVERAGE}>:--coverage>
  $<$<BOOL:${QUILLON_COVERAGE}>:-fprofile-update=atomic>)
target_compile_definitions(quillon-compiler INTERFACE
  QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS $<$<NOT:$<CONFIG:Debug>>:NDEBUG>)
target_link_options(quillon-compiler INTERFACE $<$<BOOL:${QUILLON_COVERAGE}>:--coverage>)

add_library(quillon-sanitize INTERFACE)
if(QUILLON_SANITIZE)
  target_compile_options(quillon-sanitize INTERFACE -fsanitize=${QUILLON_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(quillon-sanitize INTERFACE -fsanitize=${QUILLON_SANITIZE})
endif()

# The sampler lives inside other programs, which don't bring a sanitizer's library along. Undefined behaviour can be
# caught without one: the program ends by SIGILL. Checks of dynamic types would need the library after all.
add_library(quillon-sanitize-guest INTERFACE)
if(QUILLON_SANITIZE MATCHES "undefined")
  target_compile_options(quillon-sanitize-guest INTERFACE
    -fsanitize=undefined -fno-sanitize=vptr -fsanitize-undefined-trap-on-error)
endif()
