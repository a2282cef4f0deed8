#ifndef SAMPLER_METRICS_LUSTREFIGURES_H
#define SAMPLER_METRICS_LUSTREFIGURES_H

#include "core/spoolformat.h"

#include <cstdint>

namespace fern {

// Bytes that the node reads from and writes to Lustre file systems, all mounts together. The client counts
// them in a file "stats" for each mount, in fs/lustre/llite of procfs or, in newer releases,
// kernel/debug/lustre/llite of sysfs, which only an administrator may read as a rule.
class LustreFigures {
public:
    struct Rates { // bytes a second; negative if unknown
        double read;
        double written;
    };

    // Its descriptors are gone with a sampling thread; the next reading opens the files.
    void close() { mIsOpen = false; }
    // Means since the last call, so the first one knows none.
    Rates read(std::uint64_t timeNs);

    spool::SourceState state() const { return mState; }

private:
    static constexpr int MaxMounts = 16;

    void open();
    void openMountsIn(const char *folder);

    int mMounts[MaxMounts] = {};
    int mMountCount = 0;
    spool::SourceState mState = spool::SourceUnknown;
    bool mIsOpen = false;
    std::uint64_t mLastNs = 0; // 0 if nothing was read yet
    std::uint64_t mRead = 0;
    std::uint64_t mWritten = 0;
};

} // namespace fern

#endif
