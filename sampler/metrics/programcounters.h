#ifndef SAMPLER_METRICS_PROGRAMCOUNTERS_H
#define SAMPLER_METRICS_PROGRAMCOUNTERS_H

#include "core/spool.h"
#include "core/threadregistry.h"
#include "metrics/sandbox.h"

#include <cstdint>

struct perf_event_mmap_page;

namespace fern {

// Where the threads compute. The kernel notes a thread's program counter after every few milliseconds
// of its CPU time outside of the kernel, in a ring of one page for each thread; the sampling thread
// empties the rings at its looks and keeps program counters and the code around them in the spool. What
// the instructions are is found out by the host. No signals, and nothing that the program could see.
class ProgramCounters {
public:
    // A sampling thread ends, and its descriptors go with it.
    void end();
    // In a forked child: the rings aren't there. Everything begins anew.
    void forget();

    // One look at the thread in a slot, which is doing `category`. The first time that it `works` the
    // kernel is asked to watch it.
    void look(Spool &spool, Sandbox &sandbox, std::uint32_t slot, std::int32_t tid, std::uint32_t category,
        bool works, std::uint64_t timeNs);

    // To be called in even intervals with the number of times that the processors went from one thread of the
    // process to another meanwhile. Who is watched takes longer for that: where it happens often, the kernel
    // watches in every second interval only, or in one of more, up to one of twenty.
    void pace(std::uint64_t switches);

private:
    struct Ring {
        std::int32_t tid; // of the watched thread; 0 for none
        int event; // descriptor; negative if the kernel refused
        perf_event_mmap_page *page; // followed by the data
    };
    static constexpr std::uint32_t IndexSize = 2 * spool::MaxCodeBlocks; // a power of two

    void watch(Spool &spool, Ring &ring, std::int32_t tid, bool isAllowed);
    void leave(Ring &ring);
    void setResting(bool rests);
    void empty(Spool &spool, Ring &ring, std::uint32_t category, std::uint64_t timeNs);
    bool hasCode(Spool &spool, std::uint64_t address);
    bool hasBlock(Spool &spool, std::uint64_t address);

    Ring mRings[MaxThreads] = {}; // by slot
    std::uint32_t mUsedRings = 0;
    std::uint32_t mRested = 0; // intervals since the kernel watched
    bool mRests = false;
    std::uint64_t mBlockAddresses[IndexSize] = {}; // hashed; 0 for a free place
    int mMemory = -1; // the process's memory as a file
};

} // namespace fern

#endif
