#include "core/watcher.h"

#include "core/nodefolder.h"
#include "core/processstate.h"
#include "core/rawsystem.h"
#include "core/settings.h"
#include "metrics/gpureader.h"

#include <time.h>

namespace fern {

namespace {

constexpr std::uint64_t MaxTickNs = 10'000'000;
// A share is as good as the number of looks that it is made from. Where the main thread goes from one thing
// to the next in microseconds, a hundred looks a second leave a share of a run of ten seconds uncertain
// by 1.6 points of percent, 250 by one. From then on a hundred a second keep it there.
constexpr std::uint64_t QuickTickNs = 4'000'000;
constexpr std::uint64_t QuickForNs = 10'000'000'000;
// A launcher or a shell mostly waits for what it has started, which may need its processor.
constexpr std::uint64_t IdleTickNs = 100'000'000;
// Reading all figures costs as much as several looks.
constexpr std::uint64_t FigureIntervalNs = 100'000'000;
// Sensors and file systems are shared by all processes of a node, and some answer slowly.
constexpr std::uint64_t PowerIntervalNs = 500'000'000;
// Sensors and the places where a program computes are only worth asking once it has lived for a while.
constexpr std::uint64_t ShortLifeNs = 100'000'000;
// A thread worked if it ran for this part of the time since the last look: waking up to look around isn't
// work.
constexpr std::uint64_t WorkPart = 20;
// A node is full with fewer than this part of its processors to spare: not all that compute do so all the
// time.
constexpr std::int32_t SparePart = 8;
constexpr std::uint32_t MainIndex = 0; // the main thread's slot
// What a look can stand for: beyond that the process didn't run at all.
constexpr std::uint64_t MaxGapNs = 1'000'000'000;

} // namespace

void Watcher::reset(std::uint64_t startNs, std::uint64_t startMonotonicNs)
{
    mSpool.forget();
    mProgramCounters.forget();
    mPerfCounters.forget();
    mKernelView.forget();
    mStartNs = mFiguresNs = mPowerNs = startNs;
    mMain = mOthers = {startNs, startNs};
    mOthersWork = false;
    mIsQuick = mIsIdle = mIsNodeFull = false;
    mPlacement.adoptMainThread();
    mMainCalls = 0;
    mStartMonotonicNs = startMonotonicNs;
    mEarlierCpuNs = 0;
    mSwitches = 0;
    mTicks = mTicksMissed = 0;
    mHasBegun = false;
    mHasLookedForGpus = false;
    raw::bytesRead = 0;
}

std::uint64_t Watcher::tickNs() const
{
    if (mIsIdle)
        return IdleTickNs;
    const std::uint64_t tickNs = mIsQuick ? QuickTickNs : MaxTickNs;
    return settings.intervalNs < tickNs ? settings.intervalNs : tickNs;
}

std::uint64_t Watcher::realTime(std::uint64_t monotonicNs) const
{
    return mStartNs + monotonicNs - mStartMonotonicNs;
}

std::uint64_t Watcher::timeNs() const
{
    return realTime(raw::clockNs(CLOCK_MONOTONIC));
}

void Watcher::begin(bool isMadeByMainThread)
{
    mNode.open();
    mProcess.open();
    mPower.close();
    mLustre.close();
    mSandbox.begin(isMadeByMainThread);
    mPlacement.begin();
    mPerfCounters.begin();
    if (mSpool.isMapped())
        mSpool.openFile();
    if (!mHasBegun)
        mCounted = mProcess.count(mSpool.bytesWritten(), mEarlierCpuNs);
    mHasBegun = true;
}

bool Watcher::createSpool()
{
    // The node's folder may just be taken away, since the job seemed to be over.
    const int attempts = nodefolder::isChosen() ? 3 : 1;
    bool isThere = false;
    for (int i = 0; i < attempts && !isThere; ++i)
        isThere = nodefolder::prepare() && mSpool.create(mStartNs);
    if (!mSandbox.isTighter())
        nodefolder::startKeeper();
    return isThere;
}

bool Watcher::look(std::uint64_t monotonicNs)
{
    const std::uint64_t time = realTime(monotonicNs);
    // Looks come at random moments of their ticks: half a tick more or less, and all threads have theirs as
    // often as without those in between.
    const bool isAtAll = !mIsQuick || time - mOthers.lookNs + QuickTickNs / 2 >= MaxTickNs;
    noteWords(isAtAll ? registry::usedSlots() : MainIndex + 1);
    if (!mSpool.isMapped()) {
        if (!createSpool())
            return false;
        mCores = {mSpool.header().logicalCores, mSpool.header().physicalCores};
    }
    spool::Bin &bin = mSpool.binAt(time);
    if (isAtAll)
        lookAtOthers(bin, time);
    lookAtMain(bin, time);
    if (mTicks == 0 || time - mFiguresNs >= FigureIntervalNs)
        readFigures(time);
    const bool areSensorsDue
        = mPower.isOpen() ? time - mPowerNs >= PowerIntervalNs : time - mStartNs >= ShortLifeNs;
    if (areSensorsDue)
        readSensors(time);
    if (!mHasLookedForGpus && time - mStartNs >= ShortLifeNs) {
        mHasLookedForGpus = true;
        if (!mSandbox.isTighter())
            startGpuReader(mSpool);
    }
    // Behind the start of the reader, which would be bound as well.
    if (mHasLookedForGpus && mPlacement.wantsMove(mIsNodeFull) && !mSandbox.isTighter())
        mPlacement.move(mIsNodeFull);
    ++mTicks;
    updateHeader(time);
    return true;
}

void Watcher::finish(bool wantsSpool)
{
    const std::uint64_t now = raw::clockNs(CLOCK_MONOTONIC);
    if (mSpool.isMapped() || (wantsSpool && look(now))) {
        const std::uint64_t time = realTime(now);
        readFigures(time);
        if (mPower.isOpen())
            readSensors(time);
        updateHeader(time);
    }
    mProgramCounters.end();
    mKernelView.end();
    mPerfCounters.end();
    mEarlierCpuNs += process::ownCpuNs();
    mSpool.closeFile();
}

Watcher::Passed Watcher::cpuTimeOf(std::uint32_t index, std::int32_t tid)
{
    Seen &seen = mSeen[index];
    if (seen.tid != tid)
        seen = {tid, 0, 0};
    const std::uint64_t cpuNs = raw::clockNs(raw::threadCpuClock(tid));
    if (cpuNs <= seen.cpuNs) // a thread that has just ended has no clock any more
        return {0, 0};
    const std::uint64_t passedNs = cpuNs - seen.cpuNs;
    const std::uint64_t hits = (cpuNs - seen.countedCpuNs) / spool::HitUnitNs;
    seen.cpuNs = cpuNs;
    seen.countedCpuNs += hits * spool::HitUnitNs;
    return {passedNs, static_cast<std::uint32_t>(hits)};
}

KernelView::Answer Watcher::askKernel(std::uint32_t index, std::int32_t tid)
{
    const bool mayOpen = !mKernelView.knows(index, tid) && !mSandbox.isTighter();
    return mKernelView.ask(index, tid, mayOpen);
}

// What a look at `timeNs` stands for. What is less than a hit is left for the next one.
Watcher::Stretch Watcher::account(Accounted &accounted, std::uint64_t timeNs)
{
    const std::uint64_t passedNs = timeNs - accounted.lookNs;
    accounted.lookNs = timeNs;
    const std::uint64_t uncountedNs = timeNs > accounted.hitsNs ? timeNs - accounted.hitsNs : 0;
    if (uncountedNs > MaxGapNs)
        accounted.hitsNs = timeNs - MaxGapNs;
    const std::uint64_t hits = (timeNs - accounted.hitsNs) / spool::HitUnitNs;
    accounted.hitsNs += hits * spool::HitUnitNs;
    return {passedNs, static_cast<std::uint32_t>(hits)};
}

// First of all, before anything that takes time: a thread whose processor was taken away for the look lets
// others wait for it, and that isn't what they do otherwise.
void Watcher::noteWords(std::uint32_t count)
{
    mNotedCount = count;
    for (std::uint32_t i = 0; i < count; ++i) {
        const Slot &slot = registry::slots[i];
        mNoted[i] = {slot.tid.load(std::memory_order_acquire), registry::categoryOf(slot)};
    }
}

Watcher::Found Watcher::lookAt(std::uint32_t index, const Stretch &stretch, std::uint64_t timeNs)
{
    const std::int32_t tid = mNoted[index].tid;
    const Passed passed = cpuTimeOf(index, tid);
    bool works = passed.cpuNs * WorkPart >= stretch.passedNs;
    std::uint32_t category = mNoted[index].category;
    if (timeNs - mStartNs >= ShortLifeNs) {
        mProgramCounters.look(mSpool, mSandbox, {index, tid, category, works, mSeen[index].cpuNs, timeNs});
        mPerfCounters.look(mSandbox, index, tid, works);
    }
    // No wrapper sees what it does, and for a part of the time it didn't compute: it waits in a call of
    // its own, or for a processor.
    const bool isUnseen = category == spool::Compute || category == spool::PthreadCompute;
    if (isUnseen && (stretch.passedNs - stretch.passedNs / WorkPart) > passed.cpuNs) {
        const KernelView::Answer answer = askKernel(index, tid);
        if (!answer.isKnown)
            category = works || index == MainIndex ? category : spool::Sleep;
        else if (!answer.runs && answer.category != spool::Compute)
            category = answer.category;
        works = works || (answer.isKnown && answer.runs);
    }
    return {category, passed.activeHits < stretch.hits ? passed.activeHits : stretch.hits, works};
}

void Watcher::lookAtOthers(spool::Bin &bin, std::uint64_t timeNs)
{
    const Stretch stretch = account(mOthers, timeNs);
    mOthersWork = false;
    for (std::uint32_t i = mNotedCount; i-- > MainIndex + 1;) {
        if (mNoted[i].tid <= 0)
            continue;
        const Found found = lookAt(i, stretch, timeNs);
        addHits(bin.otherHits[found.category], stretch.hits);
        addHits(bin.otherActiveHits[found.category], found.activeHits);
        // Turning in circles until there is work is none.
        mOthersWork = mOthersWork || (found.works && found.category != spool::OpenMpRuntimeOutOfRegion);
    }
}

void Watcher::lookAtMain(spool::Bin &bin, std::uint64_t timeNs)
{
    const Stretch stretch = account(mMain, timeNs);
    if (mNoted[MainIndex].tid <= 0)
        return;
    const Found found = lookAt(MainIndex, stretch, timeNs);
    addHits(bin.mainHits[found.category], stretch.hits);
    addHits(bin.mainActiveHits[found.category], found.activeHits);
    if (!mOthersWork)
        addHits(bin.mainAloneHits[found.category], stretch.hits);
}

void Watcher::readFigures(std::uint64_t timeNs)
{
    const process::Counters counted = mProcess.count(mSpool.bytesWritten(), mEarlierCpuNs);
    const std::uint64_t fromNs = mFiguresNs;
    const auto add = [&](spool::FigureId id, std::uint64_t process::Counters::*counter) {
        const std::uint64_t before = mCounted.*counter;
        const std::uint64_t after = counted.*counter;
        mSpool.addCounted(id, fromNs, timeNs, after > before ? static_cast<double>(after - before) : 0.0);
    };
    if (counted.hasBytes && mCounted.hasBytes) {
        add(spool::FigureBytesRead, &process::Counters::bytesRead);
        add(spool::FigureBytesWritten, &process::Counters::bytesWritten);
    }
    add(spool::FigureCpuTime, &process::Counters::cpuNs);
    add(spool::FigureMpiCollectiveBytes, &process::Counters::mpiCollectiveBytes);
    add(spool::FigureMpiPointToPointBytes, &process::Counters::mpiPointToPointBytes);
    spool::Header &header = mSpool.header();
    header.wrappedCalls += static_cast<std::uint32_t>(counted.wrappedCalls - mCounted.wrappedCalls);
    const std::uint64_t cpuNs = counted.cpuNs > mCounted.cpuNs ? counted.cpuNs - mCounted.cpuNs : 0;
    header.processCpuNs += cpuNs;
    mCounted = counted;
    mFiguresNs = timeNs;
    mPerfCounters.read(mSpool, fromNs, timeNs);
    choosePace(timeNs, timeNs - fromNs, cpuNs);

    if (const std::uint64_t resident = mProcess.residentBytes())
        mSpool.addReading(spool::FigureRss, fromNs, timeNs, static_cast<double>(resident));
    if (const double used = mNode.memoryUsedPercent(); used >= 0.0)
        mSpool.addReading(spool::FigureNodeMemoryUsedPercent, fromNs, timeNs, used);
    const node::Figures::Load load = mNode.load(mCores);
    if (load.averagePercent >= 0.0)
        mSpool.addReading(spool::FigureLoadAveragePercent, fromNs, timeNs, load.averagePercent);
    mIsNodeFull = load.running - 1 >= mCores.logical - mCores.logical / SparePart;
    header.samplerCpuNs = mEarlierCpuNs + process::ownCpuNs();
}

// How often to look from now on, and how long to have program counters taken.
void Watcher::choosePace(std::uint64_t timeNs, std::uint64_t passedNs, std::uint64_t cpuNs)
{
    const bool isLauncher = (mSpool.header().flags & spool::FlagLauncher) != 0;
    const std::uint32_t mainCalls = registry::slots[MainIndex].calls.load(std::memory_order_relaxed);
    // From one call to the next there is nothing to tell apart.
    mIsQuick = !isLauncher && mainCalls != mMainCalls && timeNs - mStartNs < QuickForNs;
    mIsIdle = isLauncher && timeNs - mStartNs >= ShortLifeNs && cpuNs * WorkPart < passedNs;
    mMainCalls = mainCalls;
    if (mSandbox.isTighter())
        return;
    const std::uint64_t switches = process::switchesOfThreads();
    mProgramCounters.pace(switches - mSwitches, cpuNs > passedNs ? cpuNs : passedNs);
    mSwitches = switches;
}

void Watcher::readSensors(std::uint64_t timeNs)
{
    const PowerFigures::Watts watts = mPower.read(timeNs);
    if (watts.cpu >= 0.0)
        mSpool.addReading(spool::FigureCpuPower, mPowerNs, timeNs, watts.cpu);
    if (watts.system >= 0.0)
        mSpool.addReading(spool::FigureSystemPower, mPowerNs, timeNs, watts.system);
    const LustreFigures::Rates lustre = mLustre.read(timeNs);
    if (lustre.read >= 0.0) {
        mSpool.addReading(spool::FigureLustreRead, mPowerNs, timeNs, lustre.read);
        mSpool.addReading(spool::FigureLustreWritten, mPowerNs, timeNs, lustre.written);
    }
    mSpool.header().sourceStates[spool::SourceLustre] = mLustre.state();
    mSpool.header().sourceStates[spool::SourceCpuPower] = mPower.cpuState();
    mSpool.header().sourceStates[spool::SourceSystemPower] = mPower.systemState();
    mPowerNs = timeNs;
}

void Watcher::updateHeader(std::uint64_t timeNs)
{
    spool::Header &header = mSpool.header();
    header.flags = processState.flags.load(std::memory_order_relaxed);
    header.mpiRank = processState.mpiRank.load(std::memory_order_relaxed);
    header.mpiSize = processState.mpiSize.load(std::memory_order_relaxed);
    if (const std::int32_t threads = processState.ompThreads.load(std::memory_order_relaxed); threads > 0)
        header.ompNumThreads = threads;
    header.maxThreads = static_cast<std::int32_t>(registry::mostThreads());
    header.threadsMissed = registry::missedThreads();
    header.lastNs = timeNs;
    header.ticks = mTicks;
    header.ticksMissed = mTicksMissed;
}

} // namespace fern
