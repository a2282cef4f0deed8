#ifndef SAMPLER_METRICS_NODEFIGURES_H
#define SAMPLER_METRICS_NODEFIGURES_H

#include "metrics/procfile.h"

#include <cstdint>

namespace fern::node {

struct Cores {
    std::int32_t logical; // online; 0 if unknown
    std::int32_t physical; // 0 if unknown
};

// From /sys/devices/system/cpu, not from what this process may use: reports compare the node's load
// with the node's cores.
Cores countCores();

// Bytes; 0 if unknown.
std::uint64_t totalMemory();

// Figures of the node that change while the job runs.
class Figures {
public:
    void open();
    // Memory in use in percent of all: what couldn't be had without swapping. Negative if unknown.
    double memoryUsedPercent();
    struct Load {
        // Average of the last minute in percent of the physical cores, of the logical ones where these are
        // unknown. Negative if unknown.
        double averagePercent;
        std::int32_t
            running; // threads that have or want a processor now, the caller among them; 0 if unknown
    };
    Load load(const Cores &cores);

private:
    ProcFile mMemory;
    ProcFile mLoad;
};

} // namespace fern::node

#endif
