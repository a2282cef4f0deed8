#ifndef SAMPLER_OPENMP_OMPT_H
#define SAMPLER_OPENMP_OMPT_H

#include <atomic>

namespace fern::openmp {

extern std::atomic<bool> isActive;

// Whether an OpenMP runtime has taken the sampler as its tool: then it tells us what it does, by the tools
// interface of OpenMP 5, and the wrappers of GCC's names, which such runtimes have too, are silent.
inline bool isToolActive()
{
    return isActive.load(std::memory_order_relaxed);
}

} // namespace fern::openmp

#endif
