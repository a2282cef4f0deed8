#ifndef SAMPLER_CORE_PROCESSSTATE_H
#define SAMPLER_CORE_PROCESSSTATE_H

#include "core/spoolformat.h"

#include <atomic>
#include <cstdint>

namespace fern {

// What the wrappers learn about the process; the sampling thread copies it into the spool.
struct ProcessState {
    std::atomic<std::uint32_t> flags; // spool::HeaderFlag
    std::atomic<std::int32_t> mpiRank;
    std::atomic<std::int32_t> mpiSize;
    std::atomic<std::int32_t> ompThreads; // that OpenMP takes for a region; 0 before the first one
};

// What is found out about wrapping when the library arrives, and doesn't change any more.
struct Wrapping {
    std::uint64_t wrapperPs; // as in spool::Header, as all of these
    std::uint32_t rivalNames;
    char rival[256];
};

extern Wrapping wrapping;

extern ProcessState processState;

} // namespace fern

#endif
