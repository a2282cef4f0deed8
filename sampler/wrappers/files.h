#ifndef SAMPLER_WRAPPERS_FILES_H
#define SAMPLER_WRAPPERS_FILES_H

#include "core/categoryscope.h"
#include "core/descriptors.h"

#include <stdio.h>

namespace fern {

// What a wrapped call works on. A thread that isn't sampled isn't worth a question to the kernel.
inline bool isFile(int fd)
{
    return currentSlot != nullptr && descriptors::isFile(fd);
}

// Streams that aren't backed by a descriptor (memory, callbacks) carry a negative one.
inline bool isFile(const FILE *stream)
{
    return isFile(stream->_fileno);
}

} // namespace fern

#endif
