#ifndef SAMPLER_MPI_SCRATCH_H
#define SAMPLER_MPI_SCRATCH_H

#include <cstddef>

namespace fern::mpi {

// Room for as long as a call takes, without the heap: on the stack if it is little, otherwise in mapped
// memory, of which one piece is kept for the next call.
class Scratch {
public:
    // cppcheck-suppress uninitMemberVar; most calls need none of it
    Scratch() = default;
    ~Scratch();
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    // The room, whose content is undefined; nullptr if there is no memory. To be asked once.
    unsigned char *take(std::size_t size) { return size <= sizeof mOnStack ? mOnStack : map(size); }

private:
    unsigned char *map(std::size_t size);

    alignas(16) unsigned char mOnStack[4096];
    void *mMapped = nullptr; // begins with its own size
};

} // namespace fern::mpi

#endif
