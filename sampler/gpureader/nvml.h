#ifndef SAMPLER_GPUREADER_NVML_H
#define SAMPLER_GPUREADER_NVML_H

// NVIDIA's management library, as far as it is used: loaded at run time, so nothing of it is needed to build.

#include "core/spoolformat.h"

#include <cstdint>
#include <vector>

namespace fern::gpureader {

// Figures of all GPUs of the node. Negative where there is none.
struct Reading {
    double usage; // percent of the time that a GPU was busy, mean of those that tell
    double memoryAccess; // percent of the time that memory was read or written, likewise
    double memoryUsed; // bytes; there is no sum if one of the GPUs doesn't tell
    double power; // milliwatts, likewise
};

// What became of each source of figures.
struct States {
    spool::SourceState gpus = spool::SourceUnknown;
    spool::SourceState usage = spool::SourceUnknown;
    spool::SourceState memory = spool::SourceUnknown;
    spool::SourceState power = spool::SourceUnknown;
};

class Nvml {
public:
    // Loads a library, starts it and looks for the GPUs; may take seconds. False if it can't be used:
    // states() say why.
    bool open(const char *library);
    // Reads all GPUs; may wait for a device.
    Reading read();
    void close();

    int count() const { return static_cast<int>(mDevices.size()); }
    std::uint64_t memory() const { return mMemory; } // bytes of all GPUs; 0 if one doesn't tell
    const States &states() const { return mStates; }

private:
    using Code = int;
    using Device = void *;
    struct Utilization {
        unsigned gpu; // percent
        unsigned memory; // percent
    };
    struct Memory {
        unsigned long long total; // bytes
        unsigned long long free;
        unsigned long long used;
    };

    bool findFunctions();
    bool findDevices();
    double readMemory(std::uint64_t *total);

    void *mLibrary = nullptr;
    Code (*mInit)() = nullptr;
    Code (*mShutdown)() = nullptr;
    Code (*mCount)(unsigned *) = nullptr;
    Code (*mHandle)(unsigned, Device *) = nullptr;
    Code (*mUtilization)(Device, Utilization *) = nullptr;
    Code (*mMemoryInfo)(Device, Memory *) = nullptr;
    Code (*mPower)(Device, unsigned *) = nullptr;
    std::vector<Device> mDevices;
    std::uint64_t mMemory = 0;
    States mStates;
};

} // namespace fern::gpureader

#endif
