#ifndef SAMPLER_CORE_KERNELVIEW_H
#define SAMPLER_CORE_KERNELVIEW_H

#include "core/threadregistry.h"

namespace fern {

// What the kernel says that a thread is doing which no wrapper sees: whether it computes or would if it had
// a processor, or in which system call it waits. One question costs one to two microseconds, so it is for
// threads that look like computing and don't use their time. The sampling thread's alone.
class KernelView {
public:
    struct Answer {
        bool isKnown;
        bool runs; // or waits for nothing but a processor
        spool::Category category; // of one that waits; Compute if it is in no system call
    };

    // `mayOpen` says whether a file may be opened for a thread that wasn't asked for yet.
    Answer ask(std::uint32_t slot, std::int32_t tid, bool mayOpen);
    bool knows(std::uint32_t slot, std::int32_t tid) const { return mFiles[slot].tid == tid; }

    // At a sampling thread's end: its descriptors go with it.
    void end();
    // In a forked child: they aren't there.
    void forget();

private:
    struct File {
        std::int32_t tid;
        int descriptor;
    };

    File mFiles[MaxThreads] = {}; // by slot
    std::uint32_t mUsed = 0;
};

} // namespace fern

#endif
