#ifndef SAMPLER_MERGE_MODULES_H
#define SAMPLER_MERGE_MODULES_H

#include <cstdint>

namespace fern::modules {

// Looks for the program and its libraries. Takes the dynamic linker's lock: not for the sampling thread.
// `executable` is the program's path; `salt` tells this process from others.
void find(const char *executable, std::uint32_t salt);

// The address that stands for one of this process's in all processes of a job, wherever each has its
// libraries. Code of no module, such as what was made at run time, gets one that no other process has. The
// lower twelve bits stay.
std::uint64_t commonAddress(std::uint64_t address);

} // namespace fern::modules

#endif
