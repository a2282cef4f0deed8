#include "metrics/perfcounters.h"

#include "core/settings.h"

#include <errno.h>
#include <linux/perf_event.h>
#include <sys/ioctl.h>
#include <sys/resource.h>

namespace fern {

namespace {

// Cycles and instructions stand in front of the site's own events, in one group: their ratio is right even
// where they share the counters with others.
constexpr std::uint32_t Cycles = 0;
constexpr std::uint32_t Instructions = 1;
static_assert(spool::EventBase == 2);
static_assert(spool::FigureInstructions == spool::FigureCycles + 1);
static_assert(spool::FigureSiteEvent == spool::FigureCycles + spool::EventBase);

// What a group's leader reads.
struct Reading {
    std::uint64_t count;
    std::uint64_t enabled; // ns in which the thread ran
    std::uint64_t running; // ns of these in which the group counted
    std::uint64_t values[4];
};

// These happen in the kernel. All others are counted in the program alone.
bool needsKernel(std::uint32_t type, std::uint64_t config)
{
    return type == PERF_TYPE_SOFTWARE
        && (config == PERF_COUNT_SW_CONTEXT_SWITCHES || config == PERF_COUNT_SW_CPU_MIGRATIONS);
}

} // namespace

struct PerfCounters::Thread {
    std::int32_t tid; // 0 for none
    bool isOpen;
    int files[MaxEvents];
    // As of the last reading; the times stand with a group's leader.
    std::uint64_t values[MaxEvents];
    std::uint64_t enabled[MaxEvents];
    std::uint64_t running[MaxEvents];
};

PerfCounters::Thread PerfCounters::threads[MaxThreads];

void PerfCounters::begin()
{
    rlimit limit{1024, 1024};
    raw::call(SYS_prlimit64, 0, RLIMIT_NOFILE, 0, raw::address(&limit));
    mDescriptorLimit = limit.rlim_cur / 2; // the rest is for program counters
    if (mCount > 0)
        return;
    const auto add = [this](std::uint32_t type, std::uint64_t config) {
        mEvents[mCount++] = {type, config, None, spool::SourceUnknown, 0.0, false, false};
    };
    add(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES);
    add(PERF_TYPE_HARDWARE, PERF_COUNT_HW_INSTRUCTIONS);
    for (std::uint32_t i = 0; i < settings.siteEventCount; ++i)
        add(settings.siteEvents[i].type, settings.siteEvents[i].config);
}

void PerfCounters::end()
{
    for (std::uint32_t i = 0; i < mUsedSlots; ++i) {
        leave(threads[i]);
        threads[i] = Thread{};
    }
    mUsedSlots = 0;
}

void PerfCounters::forget()
{
    for (std::uint32_t i = 0; i < mUsedSlots; ++i)
        threads[i] = Thread{};
    mUsedSlots = 0;
    mCount = 0;
    mDescriptors = 0;
    mThreadsMissed = 0;
}

void PerfCounters::look(Sandbox &sandbox, std::uint32_t slot, std::int32_t tid, bool works)
{
    Thread &thread = threads[slot];
    if (thread.tid == tid)
        return;
    if (thread.isOpen) {
        collect(thread); // counters outlive their thread
        leave(thread);
    }
    if (!works)
        return;
    thread = Thread{};
    thread.tid = tid;
    for (int &file : thread.files)
        file = -1;
    if (slot >= mUsedSlots)
        mUsedSlots = slot + 1;
    if (sandbox.isTighter() || !openAll(thread))
        ++mThreadsMissed;
}

bool PerfCounters::isHardware(std::uint32_t event) const
{
    return mEvents[event].type != PERF_TYPE_SOFTWARE;
}

std::uint32_t PerfCounters::groupSize(std::uint32_t leader) const
{
    std::uint32_t size = 0;
    for (std::uint32_t i = leader; i < mCount; ++i)
        size += mEvents[i].leader == static_cast<std::int32_t>(leader) ? 1 : 0;
    return size;
}

// The leader of a group that has room for an event; None if it has to begin one.
std::int32_t PerfCounters::leaderFor(std::uint32_t event) const
{
    for (std::uint32_t i = event; i-- > 0;) {
        if (mEvents[i].leader == static_cast<std::int32_t>(i) && isHardware(i) == isHardware(event)
            && groupSize(i) < GroupSize)
            return static_cast<std::int32_t>(i);
    }
    return None;
}

long PerfCounters::open(std::uint32_t event, const Thread &thread, std::int32_t leader) const
{
    perf_event_attr attributes{};
    attributes.size = sizeof(attributes);
    attributes.type = mEvents[event].type;
    attributes.config = mEvents[event].config;
    attributes.read_format
        = PERF_FORMAT_GROUP | PERF_FORMAT_TOTAL_TIME_ENABLED | PERF_FORMAT_TOTAL_TIME_RUNNING;
    attributes.exclude_kernel = needsKernel(attributes.type, attributes.config) ? 0 : 1;
    attributes.exclude_hv = 1;
    attributes.disabled = leader == None ? 1 : 0;
    return raw::call(SYS_perf_event_open, raw::address(&attributes), thread.tid, -1,
        leader == None ? -1 : thread.files[leader], PERF_FLAG_FD_CLOEXEC);
}

// Opens the counters of a thread. What the first thread's tell of an event, that it can't be counted or that
// it needs a group of its own, holds for all. False if there was no room for this one.
bool PerfCounters::openAll(Thread &thread)
{
    for (std::uint32_t i = 0; i < mCount; ++i) {
        Event &event = mEvents[i];
        const bool isNew = event.state == spool::SourceUnknown;
        if (!isNew && event.leader == None)
            continue;
        const std::int32_t self = static_cast<std::int32_t>(i);
        if (isNew)
            event.leader = leaderFor(i);
        std::int32_t leader = event.leader == self ? None : event.leader;
        long file = mDescriptors < mDescriptorLimit ? open(i, thread, leader) : -EMFILE;
        if (isNew && leader != None && file == -EINVAL) {
            leader = None; // the processor can't hold it beside the others
            file = open(i, thread, leader);
        }
        switch (-file) {
        case ESRCH: // the thread has ended
        case EMFILE:
        case ENFILE:
        case ENOMEM:
            if (isNew)
                event.leader = None;
            leave(thread);
            return file == -ESRCH;
        default:
            break;
        }
        if (file < 0 && !isNew) {
            leave(thread);
            return false;
        }
        if (file < 0) {
            event.leader = None;
            event.state = file == -EPERM || file == -EACCES ? spool::SourceRefused : spool::SourceAbsent;
            continue;
        }
        thread.files[i] = static_cast<int>(file);
        thread.isOpen = true;
        ++mDescriptors;
        if (isNew) {
            event.leader = leader == None ? self : leader;
            event.state = spool::SourceRead;
        }
    }
    // What joins a group that counts already may have to wait for the thread's next turn on a processor.
    for (std::uint32_t i = 0; i < mCount; ++i) {
        if (mEvents[i].leader == static_cast<std::int32_t>(i) && thread.files[i] >= 0)
            raw::call(SYS_ioctl, thread.files[i], PERF_EVENT_IOC_ENABLE, 0);
    }
    return true;
}

void PerfCounters::collect(Thread &thread)
{
    for (std::uint32_t leader = 0; leader < mCount; ++leader) {
        if (mEvents[leader].leader != static_cast<std::int32_t>(leader) || thread.files[leader] < 0)
            continue;
        Reading reading{};
        static_assert(sizeof(reading.values) == GroupSize * sizeof(std::uint64_t));
        if (raw::read(thread.files[leader], reinterpret_cast<char *>(&reading), sizeof(reading)) == 0)
            continue;
        const std::uint64_t enabled = reading.enabled - thread.enabled[leader];
        const std::uint64_t running = reading.running - thread.running[leader];
        thread.enabled[leader] = reading.enabled;
        thread.running[leader] = reading.running;
        std::uint32_t place = 0;
        for (std::uint32_t i = leader; i < mCount && place < reading.count; ++i) {
            Event &event = mEvents[i];
            if (event.leader != static_cast<std::int32_t>(leader) || thread.files[i] < 0)
                continue;
            const std::uint64_t gained = reading.values[place] - thread.values[i];
            thread.values[i] = reading.values[place++];
            event.ran = event.ran || running > 0;
            event.waited = event.waited || enabled > running;
            if (running > 0)
                event.counted += static_cast<double>(gained)
                    * (static_cast<double>(enabled) / static_cast<double>(running));
        }
    }
}

void PerfCounters::leave(Thread &thread)
{
    if (thread.isOpen) {
        // Members first: a group that loses its leader falls apart.
        for (std::uint32_t i = mCount; i-- > 0;) {
            if (thread.files[i] >= 0) {
                raw::close(thread.files[i]);
                --mDescriptors;
            }
        }
    }
    const std::int32_t tid = thread.tid;
    thread = Thread{};
    thread.tid = tid; // not tried again
}

void PerfCounters::read(Spool &spool, std::uint64_t fromNs, std::uint64_t toNs)
{
    for (std::uint32_t i = 0; i < mUsedSlots; ++i) {
        if (threads[i].isOpen)
            collect(threads[i]);
    }
    spool::Header &header = spool.header();
    header.threadsUncounted = mThreadsMissed;
    for (std::uint32_t i = 0; i < mCount; ++i) {
        Event &event = mEvents[i];
        if (event.ran)
            spool.addCounted(
                static_cast<spool::FigureId>(spool::FigureCycles + i), fromNs, toNs, event.counted);
        event.counted = 0.0;
        spool::SourceState state = event.state;
        if (state <= spool::SourceRead && !event.ran && (event.waited || mThreadsMissed > 0))
            state = spool::SourceLimited;
        if (i >= spool::EventBase)
            header.siteEvents[i - spool::EventBase].state = state;
    }
    if (mCount > Instructions)
        header.sourceStates[spool::SourceCycles] = mEvents[Cycles].state > mEvents[Instructions].state
            ? mEvents[Cycles].state
            : mEvents[Instructions].state;
}

} // namespace fern
