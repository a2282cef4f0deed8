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

extern ProcessState processState;

} // namespace fern

#endif
