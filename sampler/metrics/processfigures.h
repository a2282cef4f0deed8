#ifndef SAMPLER_METRICS_PROCESSFIGURES_H
#define SAMPLER_METRICS_PROCESSFIGURES_H

#include "metrics/procfile.h"

#include <cstdint>

namespace fern::process {

// What the process has counted up to a moment.
struct Counters {
    std::uint64_t bytesRead;
    std::uint64_t bytesWritten;
    std::uint64_t cpuNs;
    std::uint64_t mpiCollectiveBytes;
    std::uint64_t mpiPointToPointBytes;
    std::uint32_t wrappedCalls; // round and round
    bool hasBytes; // bytes read and written are known
};

// CPU time of the calling thread, the sampling one.
std::uint64_t ownCpuNs();

// How often a processor went from one of the process's threads to another thread, ended threads included.
std::uint64_t switchesOfThreads();

class Figures {
public:
    void open();
    // Resident size in bytes; 0 if unknown.
    std::uint64_t residentBytes();
    // The counters without the sampler's own share: `ownBytesWritten` and `earlierOwnCpuNs` (that of
    // earlier sampling threads of the process) are what the caller knows of it.
    Counters count(std::uint64_t ownBytesWritten, std::uint64_t earlierOwnCpuNs);

private:
    ProcFile mMemory;
    ProcFile mIo;
};

// Whether the main thread has ended and nobody but the sampling thread is left.
bool isDeserted();

} // namespace fern::process

#endif
