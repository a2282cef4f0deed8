#ifndef SAMPLER_WRAPPERS_EXAMINATION_H
#define SAMPLER_WRAPPERS_EXAMINATION_H

#include <cstdint>

// For who reads about the measurement; once, when the library arrives.
namespace fern {

// How long a wrapper's own work takes, in picoseconds.
std::uint64_t timeWrapper();

// Looks for another library that takes calls before our wrappers. Nothing to do where ours is preloaded
// first. Functions of such names in the program itself are its own affair.
void findRivals();

} // namespace fern

#endif
