#ifndef SAMPLER_MPI_GENERATOR_WRAPPERWRITER_H
#define SAMPLER_MPI_GENERATOR_WRAPPERWRITER_H

#include "mpi/generator/calltable.h"

namespace fern::mpi::generator {

enum class Binding { C, Fortran, Fortran2008 };

// Symbols of calls that an MPI library may not have yet: seen by programs that are linked to them, and not by
// dlsym(), by which programs find out what there is.
constexpr const char *LaterVersion = "FERN_LATER";

// C++ source of the wrappers of all calls in one binding.
std::string wrappersOf(const std::vector<CallRow> &rows, Binding binding);

// The symbols of all bindings as nm shows them, one a line.
std::string symbolsOf(const std::vector<CallRow> &rows);

} // namespace fern::mpi::generator

#endif
