#ifndef SAMPLER_CORE_WATCHER_H
#define SAMPLER_CORE_WATCHER_H

#include "core/kernelview.h"
#include "core/placement.h"
#include "core/spool.h"
#include "core/threadregistry.h"
#include "metrics/lustrefigures.h"
#include "metrics/nodefigures.h"
#include "metrics/perfcounters.h"
#include "metrics/powerfigures.h"
#include "metrics/processfigures.h"
#include "metrics/programcounters.h"

#include <cstdint>

namespace fern {

// What the sampling thread does at its looks. It outlives the thread: a later one goes on with it. Raw
// system calls only.
class Watcher {
public:
    // The process begins to be watched; in a forked child everything begins anew.
    void reset(std::uint64_t startNs, std::uint64_t startMonotonicNs);

    // At a sampling thread's start: opens what it reads. The first time this is the counters' zero.
    void begin(bool isMadeByMainThread);
    // One look at the main thread, and at all threads and at the figures if it is time; `monotonicNs` is now.
    // The first look makes the spool. False if there can't be one.
    bool look(std::uint64_t monotonicNs);
    // The last look of a sampling thread. Without a spool so far, one is made if `wantsSpool`.
    void finish(bool wantsSpool);

    // Looks that should have been and weren't.
    void missTicks(std::uint64_t count) { mTicksMissed += count; }
    // While there is no sampling thread: the spool, and the time now on its clock.
    Spool *spool() { return mSpool.isMapped() ? &mSpool : nullptr; }
    std::uint64_t timeNs() const;

    // How long to the next look, in nanoseconds; asked after each.
    std::uint64_t tickNs() const;

private:
    // A thread at the last look.
    struct Seen {
        std::int32_t tid;
        std::uint64_t cpuNs;
        std::uint64_t countedCpuNs; // of these, what was counted in whole units
    };
    // What became of a thread since then.
    struct Passed {
        std::uint64_t cpuNs;
        std::uint32_t activeHits;
    };

    // Up to where the time of threads is accounted for.
    struct Accounted {
        std::uint64_t lookNs; // the last look
        std::uint64_t hitsNs; // up to which time is counted in hits
    };
    // What a look stands for.
    struct Stretch {
        std::uint64_t passedNs;
        std::uint32_t hits;
    };
    // A thread's slot as a look saw it.
    struct Noted {
        std::int32_t tid;
        std::uint32_t category;
    };
    // What a thread was found doing.
    struct Found {
        std::uint32_t category;
        std::uint32_t activeHits;
        bool works;
    };

    std::uint64_t realTime(std::uint64_t monotonicNs) const;
    bool createSpool();
    Passed cpuTimeOf(std::uint32_t index, std::int32_t tid);
    KernelView::Answer askKernel(std::uint32_t index, std::int32_t tid);
    static Stretch account(Accounted &accounted, std::uint64_t timeNs);
    void noteWords(std::uint32_t count);
    Found lookAt(std::uint32_t index, const Stretch &stretch, std::uint64_t timeNs);
    void lookAtOthers(spool::Bin &bin, std::uint64_t timeNs);
    void lookAtMain(spool::Bin &bin, std::uint64_t timeNs);
    void readFigures(std::uint64_t timeNs);
    void choosePace(std::uint64_t timeNs, std::uint64_t passedNs, std::uint64_t cpuNs);
    void readSensors(std::uint64_t timeNs);
    void updateHeader(std::uint64_t timeNs);

    Spool mSpool;
    node::Cores mCores{};
    node::Figures mNode;
    process::Figures mProcess;
    PowerFigures mPower;
    LustreFigures mLustre;
    Sandbox mSandbox;
    Placement mPlacement;
    ProgramCounters mProgramCounters;
    KernelView mKernelView;
    PerfCounters mPerfCounters;
    process::Counters mCounted{}; // at mFiguresNs
    std::uint64_t mSwitches = 0; // between threads, from the process's start
    std::uint64_t mStartNs = 0; // CLOCK_REALTIME
    std::uint64_t mStartMonotonicNs = 0;
    Accounted mMain{}; // the main thread
    Accounted mOthers{};
    bool mOthersWork = false; // at the last look at them
    std::uint32_t mMainCalls = 0; // through wrappers, at mFiguresNs
    bool mIsQuick = false; // whether the main thread is looked at between looks at all
    bool mIsNodeFull = false; // nearly all of its processors have somebody
    bool mIsIdle = false; // a launcher that does nothing itself
    std::uint64_t mFiguresNs = 0; // time of the last reading
    std::uint64_t mPowerNs = 0; // likewise, of the sensors
    std::uint64_t mEarlierCpuNs = 0; // of earlier sampling threads of this process
    std::uint64_t mTicks = 0;
    std::uint64_t mTicksMissed = 0;
    bool mHasBegun = false;
    bool mHasLookedForGpus = false;
    Noted mNoted[MaxThreads] = {}; // by slot
    std::uint32_t mNotedCount = 0;
    Seen mSeen[MaxThreads] = {}; // by slot; another thread's entry means nothing, so it needn't be cleared
};

} // namespace fern

#endif
