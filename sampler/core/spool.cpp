#include "core/spool.h"

#include "core/launchers.h"
#include "core/processstate.h"
#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"
#include "metrics/nodefigures.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/utsname.h>

namespace fern {

namespace {

// Room that a file begins with; it doubles when it is used up. A script's hundreds of short processes
// shouldn't cost a megabyte of a memory file system each.
constexpr std::uint32_t FirstCapacity = 8;
constexpr std::uint64_t FullSize
    = spool::CountersOffset + spool::MaxProgramCounters * sizeof(spool::ProgramCounter);

// What code and program counters grow by, some 8 kB each.
constexpr std::uint32_t CodeStep = 64;
constexpr std::uint32_t CounterStep = 512;
static_assert(spool::MaxCodeBlocks % CodeStep == 0);
static_assert(spool::MaxProgramCounters % CounterStep == 0);

void add(spool::Figure &target, const spool::Figure &source)
{
    if (source.count == 0)
        return;
    const bool first = target.count == 0;
    target.sum += source.sum;
    target.minimum = first || source.minimum < target.minimum ? source.minimum : target.minimum;
    target.maximum = first || source.maximum > target.maximum ? source.maximum : target.maximum;
    target.count += source.count;
}

void add(spool::Bin &target, const spool::Bin &source)
{
    for (std::uint32_t c = 0; c < spool::CategoryCount; ++c) {
        addHits(target.mainHits[c], source.mainHits[c]);
        addHits(target.mainActiveHits[c], source.mainActiveHits[c]);
        addHits(target.otherHits[c], source.otherHits[c]);
        addHits(target.otherActiveHits[c], source.otherActiveHits[c]);
        addHits(target.mainAloneHits[c], source.mainAloneHits[c]);
    }
    for (std::uint32_t f = 0; f < spool::FigureCount; ++f)
        add(target.figures[f], source.figures[f]);
}

} // namespace

bool Spool::create(std::uint64_t startNs)
{
    utsname node{};
    raw::call(SYS_uname, raw::address(&node));
    TextBuilder<sizeof(mPath)> path;
    path << settings.spoolFolder << "/" << node.nodename << "-" << static_cast<std::uint64_t>(raw::getpid())
         << "-" << startNs << ".spool";
    if (path.text() == nullptr)
        return false;
    copyText(mPath, path.text());

    mFile = raw::open(mPath, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (mFile < 0)
        return false;
    raw::call(SYS_fchmod, mFile, 0600);
    // The whole range is mapped at once; pages behind the file's end are never touched.
    long mapping = -ENOSPC;
    if (allocate(0, sizeof(spool::Header) + FirstCapacity * sizeof(spool::Bin)))
        mapping = raw::call(SYS_mmap, 0, FullSize, PROT_READ | PROT_WRITE, MAP_SHARED, mFile, 0);
    if (mapping < 0 && mapping > -4096) {
        raw::call(SYS_unlinkat, AT_FDCWD, raw::address(mPath), 0);
        closeFile();
        return false;
    }
    raw::call(SYS_madvise, mapping, FullSize, MADV_DONTFORK);
    mHeader = reinterpret_cast<spool::Header *>(mapping);
    // cppcheck-suppress nullPointerArithmeticRedundantCheck; the kernel gives an address or an error
    mBins = reinterpret_cast<spool::Bin *>(mHeader + 1);
    const auto base = reinterpret_cast<std::uintptr_t>(mHeader);
    mCodeBlocks = reinterpret_cast<spool::CodeBlock *>(base + spool::CodeOffset);
    mCounters = reinterpret_cast<spool::ProgramCounter *>(base + spool::CountersOffset);
    fillHeader(startNs);
    return true;
}

void Spool::fillHeader(std::uint64_t startNs)
{
    spool::Header &header = *mHeader;
    header.formatVersion = spool::FormatVersion;
    header.headerSize = sizeof(spool::Header);
    header.binSize = sizeof(spool::Bin);
    header.binCapacity = FirstCapacity;
    header.categoryCount = spool::CategoryCount;
    header.figureCount = spool::FigureCount;
    header.pid = raw::getpid();
    header.parentPid = static_cast<std::int32_t>(raw::call(SYS_getppid));
    header.ompNumThreads = settings.ompNumThreads;
    const node::Cores cores = node::countCores();
    header.logicalCores = cores.logical;
    header.physicalCores = cores.physical;
    header.nodeMemory = node::totalMemory();
    header.epochNs = settings.epochNs;
    header.startNs = startNs;
    header.lastNs = startNs;
    header.intervalNs = settings.intervalNs;
    header.firstBin = numberOfBin(startNs);
    header.binCount = 1;
    header.programCounterStep = 1;
    for (std::uint32_t i = 0; i < settings.siteEventCount; ++i)
        copyText(header.siteEvents[i].name, settings.siteEvents[i].name);
    header.wrapperPs = wrapping.wrapperPs;
    header.rivalNames = wrapping.rivalNames;
    copyText(header.rival, wrapping.rival);

    utsname node{};
    raw::call(SYS_uname, raw::address(&node));
    copyText(header.hostname, node.nodename);
    // The kernel doesn't terminate the path; the file's bytes are zero.
    raw::call(SYS_readlinkat, AT_FDCWD, raw::address("/proc/self/exe"), raw::address(header.executable),
        sizeof(header.executable) - 1);
    if (isLauncher(header.executable))
        processState.flags.fetch_or(spool::FlagLauncher, std::memory_order_relaxed);
    header.flags = processState.flags.load(std::memory_order_relaxed);
    // Last: a reader takes the file for a spool from now on.
    std::atomic_thread_fence(std::memory_order_release);
    for (std::size_t i = 0; i < sizeof(header.magic); ++i)
        header.magic[i] = spool::Magic[i];
}

void Spool::closeFile()
{
    raw::close(mFile);
    mFile = -1;
}

void Spool::openFile()
{
    mFile = raw::open(mPath, O_RDWR | O_NOFOLLOW);
}

void Spool::forget()
{
    mHeader = nullptr;
    mBins = nullptr;
    mCodeBlocks = nullptr;
    mCounters = nullptr;
    mCodeCapacity = 0;
    mCounterCapacity = 0;
    mCountersSeen = 0;
    mFile = -1;
    mBytesWritten = 0;
}

void Spool::restart(std::uint64_t startNs)
{
    std::atomic_thread_fence(std::memory_order_release);
    ++mHeader->changeCount;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    for (std::uint64_t i = 0; i < mHeader->binCount; ++i)
        mBins[i] = spool::Bin{};
    mHeader->startNs = startNs;
    mHeader->lastNs = startNs;
    mHeader->firstBin = numberOfBin(startNs);
    mHeader->binCount = 1;
    mHeader->programCounterCount = 0;
    mHeader->programCounterStep = 1;
    mCountersSeen = 0;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    ++mHeader->changeCount;
}

void Spool::remove()
{
    raw::call(SYS_unlinkat, AT_FDCWD, raw::address(mPath), 0);
}

bool Spool::allocate(std::uint64_t offset, std::uint64_t size)
{
    // Without real blocks a full disk would kill the program at its next look. Some file systems
    // can't allocate; there zeros are written.
    if (raw::call(SYS_fallocate, mFile, 0, static_cast<long>(offset), static_cast<long>(size)) == 0)
        return true;
    static const char zeros[4096] = {};
    while (size > 0) {
        const long step = static_cast<long>(size < sizeof(zeros) ? size : sizeof(zeros));
        const long written
            = raw::call(SYS_pwrite64, mFile, raw::address(zeros), step, static_cast<long>(offset));
        if (written <= 0)
            return false;
        mBytesWritten += static_cast<std::uint64_t>(written);
        offset += static_cast<std::uint64_t>(written);
        size -= static_cast<std::uint64_t>(written);
    }
    return true;
}

bool Spool::grow()
{
    const std::uint32_t capacity = mHeader->binCapacity;
    const std::uint32_t wanted = 2 * capacity < spool::MaxBins ? 2 * capacity : spool::MaxBins;
    if (wanted == capacity || mFile < 0
        || !allocate(
            sizeof(spool::Header) + capacity * sizeof(spool::Bin), (wanted - capacity) * sizeof(spool::Bin)))
        return false;
    mHeader->binCapacity = wanted;
    return true;
}

std::uint64_t Spool::numberOfBin(std::uint64_t timeNs) const
{
    return timeNs > mHeader->epochNs ? (timeNs - mHeader->epochNs) / mHeader->intervalNs : 0;
}

spool::Bin &Spool::binAt(std::uint64_t timeNs)
{
    for (;;) {
        const std::uint64_t number = numberOfBin(timeNs);
        const std::uint64_t index = number > mHeader->firstBin ? number - mHeader->firstBin : 0;
        if (index < mHeader->binCapacity) {
            if (index >= mHeader->binCount)
                mHeader->binCount = index + 1;
            return mBins[index];
        }
        if (!grow())
            doubleInterval();
    }
}

void Spool::doubleInterval()
{
    std::atomic_thread_fence(std::memory_order_release);
    ++mHeader->changeCount;
    std::atomic_thread_fence(std::memory_order_seq_cst);

    const std::uint64_t first = mHeader->firstBin;
    const std::uint64_t count = mHeader->binCount;
    const std::uint64_t newFirst = first / 2;
    std::uint64_t newCount = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t target = (first + i) / 2 - newFirst;
        if (target == newCount) {
            mBins[target] = mBins[i];
            ++newCount;
        } else {
            add(mBins[target], mBins[i]);
        }
    }
    for (std::uint64_t i = newCount; i < count; ++i)
        mBins[i] = spool::Bin{};
    mHeader->firstBin = newFirst;
    mHeader->binCount = newCount;
    mHeader->intervalNs *= 2;

    std::atomic_thread_fence(std::memory_order_seq_cst);
    ++mHeader->changeCount;
}

// Calls `action` with each bin that lies between two moments, and the part of the time that does so.
template <typename Action> void Spool::forEachBin(std::uint64_t fromNs, std::uint64_t toNs, Action action)
{
    binAt(toNs); // whatever moves moves now
    std::uint64_t begin = fromNs;
    do {
        const std::uint64_t border = mHeader->epochNs + (numberOfBin(begin) + 1) * mHeader->intervalNs;
        const std::uint64_t end = border < toNs ? border : toNs;
        action(binAt(begin),
            toNs > fromNs ? static_cast<double>(end - begin) / static_cast<double>(toNs - fromNs) : 1.0);
        begin = end;
    } while (begin < toNs);
}

spool::CodeBlock *Spool::newCodeBlock()
{
    const std::uint32_t count = mHeader->codeBlockCount;
    if (count == spool::MaxCodeBlocks)
        return nullptr;
    if (count == mCodeCapacity) {
        if (mFile < 0
            || !allocate(
                spool::CodeOffset + count * sizeof(spool::CodeBlock), CodeStep * sizeof(spool::CodeBlock)))
            return nullptr;
        mCodeCapacity += CodeStep;
    }
    return &mCodeBlocks[count];
}

bool Spool::addProgramCounter(const spool::ProgramCounter &counter)
{
    if (++mCountersSeen < mHeader->programCounterStep)
        return true;
    mCountersSeen = 0;
    const std::uint32_t count = mHeader->programCounterCount;
    if (count == mCounterCapacity) {
        if (mFile < 0
            || !allocate(spool::CountersOffset + count * sizeof(spool::ProgramCounter),
                CounterStep * sizeof(spool::ProgramCounter)))
            return false;
        mCounterCapacity += CounterStep;
    }
    mCounters[count] = counter;
    ++mHeader->programCounterCount;
    if (mHeader->programCounterCount == spool::MaxProgramCounters)
        dropEverySecondCounter();
    return true;
}

void Spool::dropEverySecondCounter()
{
    std::atomic_thread_fence(std::memory_order_release);
    ++mHeader->changeCount;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    mHeader->programCounterCount /= 2;
    for (std::uint32_t i = 0; i < mHeader->programCounterCount; ++i)
        mCounters[i] = mCounters[2 * i + 1];
    mHeader->programCounterStep *= 2;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    ++mHeader->changeCount;
}

void Spool::addReading(spool::FigureId id, std::uint64_t fromNs, std::uint64_t toNs, double value)
{
    forEachBin(fromNs, toNs, [&](spool::Bin &bin, double) {
        add(bin.figures[id], {value, value, value, 1});
    });
}

void Spool::addCounted(spool::FigureId id, std::uint64_t fromNs, std::uint64_t toNs, double amount)
{
    forEachBin(fromNs, toNs, [&](spool::Bin &bin, double part) {
        bin.figures[id].sum += amount * part;
        ++bin.figures[id].count;
    });
}

} // namespace fern
