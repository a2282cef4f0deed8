#include "core/sampler.h"

#include "core/census.h"
#include "core/descriptors.h"
#include "core/processstate.h"
#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/watcher.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <time.h>

namespace fern {

ProcessState processState;
Wrapping wrapping;

namespace sampler {

namespace {

enum Order : std::uint32_t {
    GoOn,
    Stop, // for a while
    StopForExec,
    StopForGood
};

constexpr std::uint64_t NsPerSecond = 1000000000;

// The kernel's own header for it clashes with the C library's in some versions.
struct SchedulingAttributes {
    std::uint32_t size;
    std::uint32_t policy;
    std::uint64_t flags;
    std::int32_t nice;
    std::uint32_t priority;
    std::uint64_t runtime;
    std::uint64_t deadline;
    std::uint64_t period;
};

Watcher watcher;
alignas(64) char stack[64 * 1024];
std::atomic<std::uint32_t> order{GoOn};
std::atomic<std::uint32_t> threadId{0}; // cleared by the kernel at the sampling thread's end
std::atomic<std::int32_t> watchedProcess{0}; // 0: nothing is sampled
std::atomic<bool> isBusy{false}; // someone starts or stops the sampling thread
bool isForkedChild = false;
bool isMadeByMainThread = false; // the sampling thread
std::uint64_t tailNs = 0; // when the tail began; 0 if it has not

// Closes every descriptor in a table of the calling thread's own. The program's pipes must reach their
// end and its own close_range() must not hit us.
void leaveDescriptors()
{
    if (raw::call(SYS_close_range, 0, ~0U, CLOSE_RANGE_UNSHARE) == 0)
        return;
    // Kernels before 5.9.
    if (raw::call(SYS_unshare, CLONE_FILES) != 0)
        return;
    rlimit limit{1024, 1024};
    raw::call(SYS_prlimit64, 0, RLIMIT_NOFILE, 0, raw::address(&limit));
    constexpr rlim_t Highest = 65536;
    for (rlim_t fd = 0; fd < limit.rlim_cur && fd < Highest; ++fd)
        raw::call(SYS_close, static_cast<long>(fd));
}

// Once a second; false if the process would end if it weren't for this thread.
bool keepHouse()
{
    descriptors::forgetAll();
    return !process::isDeserted();
}

// One look at a random moment of every tick, so that a program with a rhythm isn't always met at the
// same place. `state` is the generator's, never 0.
std::uint64_t momentInTick(std::uint64_t tickNs, std::uint64_t &state)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    constexpr std::uint64_t Steps = 1024;
    return tickNs / Steps * ((state >> 32) % Steps);
}

void sampleUntilStopped()
{
    std::uint64_t tickNs = watcher.tickNs();
    std::uint64_t houseNs = raw::clockNs(CLOCK_MONOTONIC);
    std::uint64_t random = houseNs | 1;
    // The first tick passes without a look: most processes of a shell script live no longer.
    std::uint64_t tick = houseNs + tickNs;
    for (;;) {
        const std::uint64_t deadline = tick + momentInTick(tickNs, random);
        raw::Waited waited = raw::Waited::Woken;
        while (order.load(std::memory_order_acquire) == GoOn && waited == raw::Waited::Woken)
            waited = raw::waitUntil(order, GoOn, deadline);
        if (order.load(std::memory_order_acquire) != GoOn || waited == raw::Waited::Refused)
            return;
        const std::uint64_t now = raw::clockNs(CLOCK_MONOTONIC);
        if (!watcher.look(now))
            return;
        // After a delay the tick that is under way has its look, but not those that are over.
        const std::uint64_t passed = now >= tick + tickNs ? (now - tick) / tickNs : 1;
        watcher.missTicks(passed - 1);
        tick += passed * tickNs;
        tickNs = watcher.tickNs();
        if (now - houseNs >= NsPerSecond) {
            houseNs = now;
            if (!keepHouse())
                return;
        }
    }
}

// Asks for short turns on a processor, which come sooner (Linux 6.12; earlier ones take no notice). Where all
// processors are busy a look would otherwise wait for the end of a turn of the program that it is to see.
void askForShortTurns()
{
    SchedulingAttributes attributes{};
    attributes.size = sizeof(attributes);
    if (raw::call(SYS_sched_getattr, 0, raw::address(&attributes), sizeof(attributes), 0) != 0
        || attributes.policy != SCHED_OTHER)
        return;
    constexpr std::uint64_t ShortestTurnNs = 100'000;
    attributes.runtime = ShortestTurnNs;
    raw::call(SYS_sched_setattr, 0, raw::address(&attributes), 0);
}

void samplingThread()
{
    raw::call(SYS_prctl, PR_SET_NAME, raw::address("fern-sampler"));
    askForShortTurns();
    leaveDescriptors();
    watcher.begin(isMadeByMainThread);
    sampleUntilStopped();
    // A child that was forked to do one quick thing isn't worth a file.
    watcher.finish(order.load(std::memory_order_acquire) == StopForGood && !isForkedChild);
}

void startThread()
{
    order.store(GoOn, std::memory_order_relaxed);
    isMadeByMainThread = raw::gettid() == raw::getpid();
    raw::startThread(samplingThread, stack + sizeof(stack), threadId);
}

// Stops the thread and waits until the kernel counts it no longer. False if there is none, or if the
// caller isn't in the watched process, or if someone else is at it.
bool stopThread(Order why)
{
    const std::int32_t pid = raw::getpid();
    if (pid != watchedProcess.load(std::memory_order_relaxed)
        || isBusy.exchange(true, std::memory_order_acquire))
        return false;
    const std::uint32_t tid = threadId.load(std::memory_order_acquire);
    if (tid != 0) {
        order.store(why, std::memory_order_release);
        raw::wake(order);
        constexpr int Patience = 20;
        for (int i = 0; i < Patience && threadId.load(std::memory_order_acquire) != 0; ++i)
            raw::waitForKernel(threadId, tid, NsPerSecond / 10);
        // The word is cleared a moment before the thread is really gone.
        constexpr int Moments = 1000;
        for (int i = 0; i < Moments && raw::call(SYS_tgkill, pid, tid, 0) == 0; ++i)
            raw::call(SYS_sched_yield);
    }
    const bool isStopped = tid != 0 && threadId.load(std::memory_order_acquire) == 0;
    isBusy.store(false, std::memory_order_release);
    return isStopped;
}

void watchThisProcess()
{
    tailNs = 0;
    processState.flags.store(0, std::memory_order_relaxed);
    watcher.reset(raw::clockNs(CLOCK_REALTIME) - settings.clockBehindNs, raw::clockNs(CLOCK_MONOTONIC));
    watchedProcess.store(raw::getpid(), std::memory_order_relaxed);
    isBusy.store(false, std::memory_order_relaxed);
    threadId.store(0, std::memory_order_relaxed);
    startThread();
}

} // namespace

void start()
{
    registry::adoptMainThread();
    watchThisProcess();
}

void startInChild()
{
    if (watchedProcess.load(std::memory_order_relaxed) == 0)
        return;
    registry::reset();
    isForkedChild = true;
    watchThisProcess();
}

void end()
{
    if (raw::getpid() != watchedProcess.load(std::memory_order_relaxed))
        return;
    census::leave();
    processState.flags.fetch_or(spool::FlagEnded, std::memory_order_relaxed);
    const bool isStopped = stopThread(StopForGood);
    if (isStopped && tailNs != 0 && timeNs() - tailNs < spool::ShortTailNs)
        watcher.spool()->remove();
}

bool pause()
{
    return stopThread(Stop);
}

void resume()
{
    if (isBusy.exchange(true, std::memory_order_acquire))
        return;
    startThread();
    isBusy.store(false, std::memory_order_release);
}

bool beforeExec()
{
    if (raw::getpid() != watchedProcess.load(std::memory_order_relaxed))
        return false;
    processState.flags.fetch_or(spool::FlagExec, std::memory_order_relaxed);
    return stopThread(StopForExec);
}

void afterExec(bool wasStopped)
{
    if (raw::getpid() != watchedProcess.load(std::memory_order_relaxed))
        return;
    processState.flags.fetch_and(~static_cast<std::uint32_t>(spool::FlagExec), std::memory_order_relaxed);
    if (wasStopped)
        resume();
}

Spool *spool()
{
    return raw::getpid() == watchedProcess.load(std::memory_order_relaxed) ? watcher.spool() : nullptr;
}

std::uint64_t timeNs()
{
    return watcher.timeNs();
}

void beginTail()
{
    tailNs = timeNs();
    processState.flags.fetch_or(spool::FlagMerged, std::memory_order_relaxed);
    watcher.spool()->restart(tailNs);
    watcher.spool()->header().flags = processState.flags.load(std::memory_order_relaxed);
}

} // namespace sampler
} // namespace fern
