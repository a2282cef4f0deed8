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

    // A thread as a look sees it: the one in a slot, which is doing `category`, and works or only wakes up to
    // look around, with the CPU time that it has used since it began.
    struct Look {
        std::uint32_t slot;
        std::int32_t tid;
        std::uint32_t category;
        bool works;
        std::uint64_t cpuNs;
        std::uint64_t timeNs;
    };
    // When it first works the kernel is asked to watch it.
    void look(Spool &spool, Sandbox &sandbox, const Look &look);

    // To be called ten times a second with the number of times that the processors went from one thread of
    // the process to another meanwhile, and how long that was, or the CPU time of all threads if that is
    // more. Who is watched takes longer for a switch: where there are many, the kernel watches each thread
    // for one half of its CPU time, or a quarter, down to one part of 32.
    void pace(std::uint64_t switches, std::uint64_t spanNs);

private:
    struct Ring {
        std::int32_t tid; // of the watched thread; 0 for none
        int event; // descriptor; negative if the kernel refused
        perf_event_mmap_page *page; // followed by the data
    };
    static constexpr std::uint32_t IndexSize = 2 * spool::MaxCodeBlocks; // a power of two

    void watch(Spool &spool, Ring &ring, std::int32_t tid, bool isAllowed);
    void leave(Ring &ring);
    bool hasTurn(const Look &look) const;
    void empty(Spool &spool, Ring &ring, std::uint32_t category, std::uint64_t timeNs);
    bool hasCode(Spool &spool, std::uint64_t address);
    bool hasBlock(Spool &spool, std::uint64_t address);

    Ring mRings[MaxThreads] = {}; // by slot
    std::uint32_t mUsedRings = 0;
    std::uint32_t mParts = 1; // of a thread's CPU time, of which one is watched; a power of two
    std::uint64_t mBlockAddresses[IndexSize] = {}; // hashed; 0 for a free place
    int mMemory = -1; // the process's memory as a file
};

} // namespace fern

#endif
