#ifndef SAMPLER_METRICS_PERFCOUNTERS_H
#define SAMPLER_METRICS_PERFCOUNTERS_H

#include "core/spool.h"
#include "core/threadregistry.h"
#include "metrics/sandbox.h"

#include <cstdint>

namespace fern {

// What the processor counts of the threads: cycles and instructions where there are counters for them, and up
// to eight events that the site has chosen. A thread's counters are opened when it first works, in groups
// that the processor can hold at a time, and a group is read by one call. A group that had to share the
// counters with others has counted for a part of the time; the rest is reckoned in proportion.
class PerfCounters {
public:
    // A sampling thread starts and ends: its descriptors come and go with it.
    void begin();
    void end();
    // In a forked child: the counters aren't there. Everything begins anew.
    void forget();

    // One look at the thread in a slot. The first time that it `works` its counters are opened.
    void look(Sandbox &sandbox, std::uint32_t slot, std::int32_t tid, bool works);
    // Puts into the spool what was counted since the last call, which was at `fromNs`.
    void read(Spool &spool, std::uint64_t fromNs, std::uint64_t toNs);

private:
    static constexpr std::uint32_t MaxEvents = spool::EventBase + spool::MaxSiteEvents;
    static constexpr std::uint32_t GroupSize = 4;
    static constexpr std::int32_t None = -1;
    struct Event {
        std::uint32_t type;
        std::uint64_t config;
        std::int32_t leader; // index of its group's first event; itself, or None if it can't be counted
        spool::SourceState state;
        double counted; // since the last call of read()
        bool ran; // ever
        bool waited; // ever wanted to run while others had the counters
    };
    struct Thread;

    bool isHardware(std::uint32_t event) const;
    std::uint32_t groupSize(std::uint32_t leader) const;
    std::int32_t leaderFor(std::uint32_t event) const;
    bool openAll(Thread &thread);
    long open(std::uint32_t event, const Thread &thread, std::int32_t leader) const;
    void collect(Thread &thread);
    void leave(Thread &thread);

    static Thread threads[MaxThreads]; // by slot; not in the object, which is data and not zeros
    Event mEvents[MaxEvents] = {};
    std::uint32_t mCount = 0; // of mEvents
    std::uint32_t mUsedSlots = 0;
    std::uint64_t mDescriptors = 0; // in use
    std::uint64_t mDescriptorLimit = 0;
    std::uint64_t mThreadsMissed = 0;
};

} // namespace fern

#endif
