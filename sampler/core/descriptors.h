#ifndef SAMPLER_CORE_DESCRIPTORS_H
#define SAMPLER_CORE_DESCRIPTORS_H

// Which descriptors are files. Sockets, pipes and terminals are read and written with the same calls,
// and waiting for a peer or a person isn't file I/O.

#include <atomic>

namespace fern::descriptors {

enum Kind : unsigned char { Unknown, File, Other };

// Descriptors beyond are asked for every time.
constexpr unsigned Remembered = 4096;
extern std::atomic<unsigned char> kinds[Remembered];

// What is remembered of a descriptor.
inline Kind rememberedKind(int fd)
{
    const auto index = static_cast<unsigned>(fd);
    return index < Remembered ? static_cast<Kind>(kinds[index].load(std::memory_order_relaxed)) : Unknown;
}

// Asks the kernel at the first call for a descriptor and remembers the answer. Leaves errno alone.
bool isFile(int fd);

// The descriptor means something else from now on.
void forget(int fd);
// Forgets all. Called once a second, so that a change that no wrapper saw is soon found out.
void forgetAll();

} // namespace fern::descriptors

#endif
