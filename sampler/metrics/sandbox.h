#ifndef SAMPLER_METRICS_SANDBOX_H
#define SAMPLER_METRICS_SANDBOX_H

#include "metrics/procfile.h"

#include <cstdint>

namespace fern {

// Whether the program has shut itself in by filters of system calls since it began: then it may be killed for
// a call that it didn't expect. Reading files goes on: it always did.
class Sandbox {
public:
    // At a sampling thread's start. Which filters it has tells its own file or, if the process's main thread
    // has made it, that thread's: it began with the same ones, and what is put on all threads is put on both.
    void begin(bool isMadeByMainThread);
    // Reads a file of /proc: to be asked before a new thing is tried, not at every look.
    bool isTighter();

private:
    ProcFile mStatus;
    std::uint64_t mFilters = 0; // when sampling began
    bool mKnowsFilters = false;
    bool mIsTighter = false; // for good
};

} // namespace fern

#endif
