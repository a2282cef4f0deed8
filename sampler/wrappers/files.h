#ifndef SAMPLER_WRAPPERS_FILES_H
#define SAMPLER_WRAPPERS_FILES_H

#include "core/categoryscope.h"
#include "core/descriptors.h"

#include <stdio.h>

namespace fern {

// Whether a wrapped call works on a file: what is remembered of its descriptor at once, the kernel's answer
// for who needs a yes or a no.
class FileAnswer {
public:
    explicit FileAnswer(int fd)
        : mDescriptor(fd)
        , mRemembered(descriptors::rememberedKind(fd))
    {
    }
    descriptors::Kind remembered() const { return mRemembered; }
    // A thread that isn't sampled isn't worth a question to the kernel.
    operator bool() const
    {
        return mRemembered != descriptors::Unknown
            ? mRemembered == descriptors::File
            : currentSlot != nullptr && descriptors::isFile(mDescriptor);
    }

private:
    int mDescriptor;
    descriptors::Kind mRemembered;
};

inline FileAnswer isFile(int fd)
{
    return FileAnswer(fd);
}

// Streams that aren't backed by a descriptor (memory, callbacks) carry a negative one.
inline FileAnswer isFile(const FILE *stream)
{
    return isFile(stream->_fileno);
}

} // namespace fern

#endif
