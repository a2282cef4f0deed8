#ifndef SAMPLER_METRICS_POWERFIGURES_H
#define SAMPLER_METRICS_POWERFIGURES_H

#include "core/spoolformat.h"

#include <cstdint>

namespace fern {

// Power of the node, from what the kernel shows of its sensors in sysfs:
//   class/powercap/intel-rapl:N    energy of a processor package, in microjoules, which wraps around
//   cray/pm_counters/power         power of the node, in watts
//   class/hwmon/hwmonN             an ACPI power meter or one of the IPMI, in microwatts
class PowerFigures {
public:
    struct Watts {
        double cpu; // all packages; negative if unknown
        double system; // negative if unknown
    };

    // Its descriptors are gone with a sampling thread; the next reading opens the sensors.
    void close() { mIsOpen = false; }
    bool isOpen() const { return mIsOpen; }
    // Power now. That of the processors is a mean since the last call, so the first one knows none.
    Watts read(std::uint64_t timeNs);

    spool::SourceState cpuState() const { return mCpuState; }
    spool::SourceState systemState() const { return mSystemState; }

private:
    static constexpr int MaxPackages = 16;
    struct Package {
        int energyFile;
        std::uint64_t range; // microjoules at which the counter begins anew
        std::uint64_t energy; // at the last reading, microjoules
    };

    void open();
    void openPackages();
    void openSystem();
    double readCpu(std::uint64_t timeNs);
    double readSystem();

    Package mPackages[MaxPackages] = {};
    int mPackageCount = 0;
    int mSystemFile = -1;
    double mSystemUnit = 1.0; // watts
    spool::SourceState mCpuState = spool::SourceUnknown;
    spool::SourceState mSystemState = spool::SourceUnknown;
    bool mIsOpen = false;
    std::uint64_t mLastNs = 0; // when the packages were last read; 0 if they weren't
};

} // namespace fern

#endif
