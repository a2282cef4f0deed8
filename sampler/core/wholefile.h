#ifndef SAMPLER_CORE_WHOLEFILE_H
#define SAMPLER_CORE_WHOLEFILE_H

#include <cstddef>

namespace fern {

// Writes a file that nobody else can read, under a temporary name at first, so that it is there whole or not
// at all. False if that failed; nothing is left then. Raw system calls only; `bytes` may be a mapped file.
bool writeWholeFile(const char *folder, const char *name, const void *bytes, std::size_t size);

} // namespace fern

#endif
