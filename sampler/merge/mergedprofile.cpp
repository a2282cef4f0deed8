#include "merge/mergedprofile.h"

#include "core/figurekinds.h"
#include "core/rawsystem.h"
#include "core/text.h"

#include <cstring>
#include <sys/mman.h>

namespace fern::merged {

namespace {

constexpr std::int64_t NsPerMs = 1000000;

// As spools add bins up.
void addTo(spool::Figure &total, const spool::Figure &figure)
{
    if (figure.count > 0) {
        const bool first = total.count == 0;
        total.minimum = first || figure.minimum < total.minimum ? figure.minimum : total.minimum;
        total.maximum = first || figure.maximum > total.maximum ? figure.maximum : total.maximum;
        total.count += figure.count;
    }
    total.sum += figure.sum;
}

void collect(Statistics &statistics, const spool::Figure &gauge)
{
    if (gauge.count > 0)
        statistics.add(gauge.sum / static_cast<double>(gauge.count), gauge.minimum, gauge.maximum);
}

std::int64_t clamp(std::int64_t value, std::int64_t least, std::int64_t most)
{
    return value < least ? least : value > most ? most : value;
}

template <typename Number> Number larger(Number a, Number b)
{
    return a < b ? b : a;
}

} // namespace

Times timesOf(const spool::Header &header, std::int64_t shiftNs)
{
    Times times{};
    times.startNs = static_cast<std::int64_t>(header.startNs) + shiftNs;
    times.intervalNs = static_cast<std::int64_t>(header.intervalNs);
    times.firstBinNs
        = static_cast<std::int64_t>(header.epochNs + header.firstBin * header.intervalNs) + shiftNs;
    times.binCount = static_cast<int>(header.binCount);
    const std::int64_t binsEndNs = times.firstBinNs + times.binCount * times.intervalNs;
    times.beginNs = clamp(times.startNs, times.firstBinNs, binsEndNs);
    times.endNs = clamp(static_cast<std::int64_t>(header.lastNs) + shiftNs, times.beginNs, binsEndNs);
    return times;
}

MergedProfile *MergedProfile::create()
{
    const long memory = raw::call(
        SYS_mmap, 0, sizeof(MergedProfile), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    // Fresh pages are zero, which is what all arrays begin with: they stay untouched until they are used.
    return memory < 0 && memory > -4096 ? nullptr : reinterpret_cast<MergedProfile *>(memory);
}

void MergedProfile::release()
{
    raw::call(SYS_munmap, raw::address(this), sizeof(MergedProfile));
}

void MergedProfile::begin(const Timeline &timeline, std::uint64_t world)
{
    mTimeline = timeline;
    mIsNodeOpen = true;
    std::memcpy(mHeader.magic, Magic, sizeof(Magic));
    mHeader.formatVersion = FormatVersion;
    mHeader.headerSize = sizeof(Header);
    mHeader.spoolFormatVersion = spool::FormatVersion;
    mHeader.processSize = sizeof(Process);
    mHeader.categoryCount = spool::CategoryCount;
    mHeader.figureCount = spool::FigureCount;
    mHeader.world = world;
    mHeader.epochNs = timeline.epochNs();
    mHeader.beginNs = timeline.beginNs();
    mHeader.endNs = timeline.endNs();
    mHeader.widthNs = timeline.widthNs();
    mHeader.sampleCount = static_cast<std::uint32_t>(timeline.numSamples());
    mHeader.processStep = 1;
    mHeader.counterStep = 1;
}

void MergedProfile::addRank(const Rank &rank)
{
    const spool::Header &header = *rank.header;
    if (mHeader.ranks == 0) {
        copyText(mHeader.hostname, header.hostname);
        copyText(mHeader.executable, header.executable);
    }
    ++mHeader.ranks;
    mHeader.nodeLogicalCores = larger(mHeader.nodeLogicalCores, header.logicalCores);
    mHeader.nodePhysicalCores = larger(mHeader.nodePhysicalCores, header.physicalCores);
    mHeader.nodeMemoryBytes = larger(mHeader.nodeMemoryBytes, header.nodeMemory);
    if (header.ompNumThreads > 0)
        addThreads(header.ompNumThreads, header.ompNumThreads);
    addProcess(header);

    const Times times = timesOf(header, rank.shiftNs);
    for (int bin = 0; bin < times.binCount; ++bin)
        addHits(rank.bins[bin], mTimeline.sampleOf(times, bin));
    for (std::uint32_t figure = 0; figure < spool::FigureCount; ++figure)
        addFigure(rank, times, static_cast<spool::FigureId>(figure));
    addCode(rank, times);
}

void MergedProfile::addHits(const spool::Bin &bin, int sample)
{
    const std::uint32_t *const kinds[HitKinds]
        = {bin.mainHits, bin.mainActiveHits, bin.otherHits, bin.otherActiveHits, bin.mainAloneHits};
    for (std::uint32_t kind = 0; kind < HitKinds; ++kind) {
        for (std::uint32_t category = 0; category < spool::CategoryCount; ++category) {
            if (kinds[kind][category] == 0)
                continue;
            mHeader.hitColumns[kind] |= 1U << category;
            mHits[kind][category][sample] += kinds[kind][category];
        }
    }
}

void MergedProfile::addFigure(const Rank &rank, const Times &times, spool::FigureId figure)
{
    const spool::FigureKind kind = spool::kindOf(figure);
    if (kind == spool::FigureKind::MadeByHost)
        return;
    mTotal = {};
    for (spool::Figure &sample : mBySample)
        sample = {};
    for (int bin = 0; bin < times.binCount; ++bin) {
        addTo(mBySample[mTimeline.sampleOf(times, bin)], rank.bins[bin].figures[figure]);
        addTo(mTotal, rank.bins[bin].figures[figure]);
    }
    if (mTotal.count == 0)
        return;
    switch (kind) {
    case spool::FigureKind::Gauge:
        return addGauge(figure);
    case spool::FigureKind::Rate:
        return addRate(figure, times, rank.header->maxThreads);
    case spool::FigureKind::Ratio:
        return addRatio(rank, times);
    case spool::FigureKind::Total:
        return addTotal(figure, mTimeline.sampleOf(times, 0));
    case spool::FigureKind::NodeGauge:
        mHeader.nodeColumns |= std::uint64_t(1) << figure;
        for (int sample = 0; sample < mTimeline.numSamples(); ++sample)
            addTo(mNode[figure][sample], mBySample[sample]);
        return addTo(mHeader.nodeTotals[figure], mTotal);
    case spool::FigureKind::MadeByHost:
        return;
    }
}

void MergedProfile::addGauge(spool::FigureId figure)
{
    mHeader.figureColumns |= std::uint64_t(1) << figure;
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample)
        collect(mFigures[figure][sample], mBySample[sample]);
    collect(mHeader.wholeRun[figure], mTotal);
}

void MergedProfile::addRate(spool::FigureId figure, const Times &times, std::int32_t maxThreads)
{
    const auto addRate = [&](Statistics &statistics, const spool::Figure &counted, std::int64_t ns) {
        double value = counted.sum * spool::perSecond(figure) / static_cast<double>(ns);
        if (figure == spool::FigureCpuTime && maxThreads > 0 && value > maxThreads)
            value = maxThreads;
        statistics.add(value, value, value);
    };
    mHeader.figureColumns |= std::uint64_t(1) << figure;
    const std::int64_t livedNs = larger<std::int64_t>(times.endNs - times.beginNs, 1);
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample) {
        if (mTimeline.isLongEnough(times, sample))
            addRate(mFigures[figure][sample], mBySample[sample], mTimeline.livedNs(times, sample));
    }
    addRate(mHeader.wholeRun[figure], mTotal, livedNs);
}

// Cycles per instruction: those of what was counted of both.
void MergedProfile::addRatio(const Rank &rank, const Times &times)
{
    spool::Figure all{};
    for (spool::Figure &sample : mDivisors)
        sample = {};
    for (int bin = 0; bin < times.binCount; ++bin) {
        const spool::Figure &instructions = rank.bins[bin].figures[spool::FigureInstructions];
        addTo(mDivisors[mTimeline.sampleOf(times, bin)], instructions);
        addTo(all, instructions);
    }
    const auto addQuotient = [](Statistics &statistics, double cycles, double instructions) {
        const double value = instructions > 0 ? cycles / instructions : 0;
        if (instructions > 0)
            statistics.add(value, value, value);
    };
    if (all.count == 0)
        return;
    mHeader.figureColumns |= std::uint64_t(1) << spool::FigureCycles;
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample)
        addQuotient(mFigures[spool::FigureCycles][sample], mBySample[sample].sum, mDivisors[sample].sum);
    addQuotient(mHeader.wholeRun[spool::FigureCycles], mTotal.sum, all.sum);
}

// A count goes on being true when its process has ended.
void MergedProfile::addTotal(spool::FigureId figure, int first)
{
    mHeader.figureColumns |= std::uint64_t(1) << figure;
    double soFar = 0;
    for (int sample = first; sample < mTimeline.numSamples(); ++sample) {
        soFar += mBySample[sample].sum;
        mFigures[figure][sample].add(soFar, soFar, soFar);
    }
    mHeader.wholeRun[figure].add(mTotal.sum, mTotal.sum, mTotal.sum);
}

void MergedProfile::closeNode()
{
    for (std::uint32_t f = 0; f < spool::FigureCount; ++f) {
        const auto figure = static_cast<spool::FigureId>(f);
        if ((mHeader.nodeColumns >> f & 1) == 0)
            continue;
        std::memcpy(mBySample, mNode[f], sizeof(mBySample));
        mTotal = mHeader.nodeTotals[f];
        addGauge(figure);
        if (spool::integralOf(figure) >= 0)
            addIntegral(figure);
        std::memset(mNode[f], 0, sizeof(mNode[f]));
        mHeader.nodeTotals[f] = {};
    }
    const auto addFact = [](Statistics &statistics, double fact) {
        if (fact > 0)
            statistics.add(fact, fact, fact);
    };
    addFact(mHeader.logicalCores, mHeader.nodeLogicalCores);
    addFact(mHeader.physicalCores, mHeader.nodePhysicalCores);
    addFact(mHeader.nodeMemory, static_cast<double>(mHeader.nodeMemoryBytes));
    mHeader.nodeColumns = 0;
    mHeader.nodeLogicalCores = mHeader.nodePhysicalCores = 0;
    mHeader.nodeMemoryBytes = 0;
    ++mHeader.nodes;
    mIsNodeOpen = false;
}

// A node's mean power, or the like, in each sample by the time that this took, in the milliseconds that
// profiles count in.
void MergedProfile::addIntegral(spool::FigureId figure)
{
    constexpr double SecondsPerMs = 1e-3;
    const auto integral = static_cast<std::uint32_t>(spool::integralOf(figure));
    const std::uint64_t sharers
        = spool::isDivided(static_cast<int>(integral)) ? static_cast<std::uint64_t>(mHeader.ranks) : 1;
    const auto add = [sharers](Statistics &statistics, double amount) {
        const double share = amount / static_cast<double>(sharers);
        statistics.join({sharers, share, share, share, 0});
    };
    mHeader.integralColumns |= std::uint64_t(1) << integral;
    const std::int64_t beginNs = mTimeline.beginNs();
    const std::int64_t wholeMs
        = larger<std::int64_t>((mTimeline.endNs() - beginNs + NsPerMs - 1) / NsPerMs, 1);
    double soFar = 0;
    std::int64_t fromMs = 0;
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample) {
        const bool isLast = sample + 1 == mTimeline.numSamples();
        const std::int64_t toMs = isLast ? wholeMs : (mTimeline.borderNs(sample + 1) - beginNs) / NsPerMs;
        const spool::Figure &power = mBySample[sample];
        if (power.count > 0)
            soFar += power.sum / static_cast<double>(power.count) * static_cast<double>(toMs - fromMs)
                * SecondsPerMs;
        add(mIntegrals[integral][sample], soFar);
        fromMs = toMs;
    }
    add(mHeader.integralWholeRun[integral], soFar);
}

void MergedProfile::addThreads(std::int32_t least, std::int32_t most)
{
    if (mHeader.leastOmpThreads == 0 || least < mHeader.leastOmpThreads)
        mHeader.leastOmpThreads = least;
    mHeader.mostOmpThreads = larger(mHeader.mostOmpThreads, most);
}

void MergedProfile::addProcess(const spool::Header &header)
{
    Process process;
    const auto *bytes = reinterpret_cast<const unsigned char *>(&header);
    std::memcpy(process.front, bytes, Process::Front);
    std::memcpy(process.back, bytes + sizeof(header) - Process::Back, Process::Back);
    addProcesses(&process, 1, 1);
}

void MergedProfile::addProcesses(const Process *processes, std::uint32_t count, std::uint32_t step)
{
    while (mHeader.processStep < step)
        thinProcesses();
    const std::uint32_t skipped = mHeader.processStep / step;
    for (std::uint32_t i = 0; i < count; i += skipped)
        mProcesses[mHeader.processCount++] = processes[i];
    while (mHeader.processCount > MaxProcesses)
        thinProcesses();
}

void MergedProfile::thinProcesses()
{
    mHeader.processCount = (mHeader.processCount + 1) / 2;
    for (std::size_t i = 0; i < mHeader.processCount; ++i)
        mProcesses[i] = mProcesses[2 * i];
    mHeader.processStep *= 2;
}

void MergedProfile::addCode(const Rank &rank, const Times &times)
{
    for (std::uint32_t i = 0; i < rank.header->codeBlockCount; ++i) {
        spool::CodeBlock block = rank.blocks[i];
        block.address = rank.commonAddress(block.address);
        addBlock(block);
    }
    const std::uint32_t step = larger(rank.header->programCounterStep, 1U);
    mCountersSeen = 0;
    for (std::uint32_t i = 0; i < rank.header->programCounterCount; ++i) {
        const spool::ProgramCounter &counter = rank.counters[i];
        const std::int64_t ns = times.startNs + counter.timeMs * NsPerMs - times.firstBinNs;
        const int bin = static_cast<int>(clamp(ns / times.intervalNs, 0, times.binCount - 1));
        const int sample = mTimeline.sampleOf(times, bin);
        const std::int64_t binNs = times.firstBinNs + bin * times.intervalNs - mTimeline.borderNs(sample);
        addCounter({rank.commonAddress(counter.address), static_cast<std::uint32_t>(rank.header->mpiRank),
                       static_cast<std::uint16_t>(sample),
                       static_cast<std::uint8_t>(clamp(binNs / times.intervalNs, 0, 255)),
                       static_cast<std::uint8_t>(counter.category)},
            step);
    }
}

// Code that another rank has at the same address stays: programs of one name are one program.
void MergedProfile::addBlock(const spool::CodeBlock &block)
{
    constexpr std::uint64_t Spread = 0x9e3779b97f4a7c15; // 2^64 by the golden ratio, made odd
    std::uint64_t place = (block.address / spool::CodeBlockSize * Spread >> 40) % IndexSize;
    for (; mBlockIndex[place] != 0; place = (place + 1) % IndexSize) {
        if (mBlocks[mBlockIndex[place] - 1].address == block.address)
            return;
    }
    if (mHeader.codeBlockCount == spool::MaxCodeBlocks)
        return;
    mBlocks[mHeader.codeBlockCount] = block;
    mBlockIndex[place] = static_cast<std::uint16_t>(++mHeader.codeBlockCount);
}

void MergedProfile::addCounter(const Counter &counter, std::uint32_t step)
{
    while (mHeader.counterStep < step)
        thinCounters();
    if (++mCountersSeen < mHeader.counterStep / step)
        return;
    mCountersSeen = 0;
    if (mHeader.counterCount == MaxCounters)
        thinCounters();
    mCounters[mHeader.counterCount++] = counter;
}

void MergedProfile::thinCounters()
{
    mHeader.counterCount /= 2;
    for (std::uint32_t i = 0; i < mHeader.counterCount; ++i)
        mCounters[i] = mCounters[2 * i + 1];
    mHeader.counterStep *= 2;
}

bool MergedProfile::add(const View &packed)
{
    const Header &other = packed.header();
    if (other.world != mHeader.world || other.sampleCount != mHeader.sampleCount
        || other.beginNs != mHeader.beginNs || other.widthNs != mHeader.widthNs
        || (mIsNodeOpen && !equal(other.hostname, mHeader.hostname)))
        return false;
    const std::uint32_t samples = mHeader.sampleCount;
    for (std::uint32_t kind = 0; kind < HitKinds; ++kind) {
        mHeader.hitColumns[kind] |= other.hitColumns[kind];
        for (std::uint32_t category = 0; category < spool::CategoryCount; ++category) {
            if (const std::uint64_t *column = packed.hits(kind, category))
                for (std::uint32_t sample = 0; sample < samples; ++sample)
                    mHits[kind][category][sample] += column[sample];
        }
    }
    for (std::uint32_t figure = 0; figure < spool::FigureCount; ++figure) {
        if (const Statistics *column = packed.figure(figure))
            for (std::uint32_t sample = 0; sample < samples; ++sample)
                mFigures[figure][sample].join(column[sample]);
        if (const spool::Figure *column = packed.node(figure))
            for (std::uint32_t sample = 0; sample < samples; ++sample)
                addTo(mNode[figure][sample], column[sample]);
        mHeader.wholeRun[figure].join(other.wholeRun[figure]);
        addTo(mHeader.nodeTotals[figure], other.nodeTotals[figure]);
    }
    for (std::uint32_t integral = 0; integral < MaxIntegrals; ++integral) {
        if (const Statistics *column = packed.integral(integral))
            for (std::uint32_t sample = 0; sample < samples; ++sample)
                mIntegrals[integral][sample].join(column[sample]);
        mHeader.integralWholeRun[integral].join(other.integralWholeRun[integral]);
    }
    mHeader.figureColumns |= other.figureColumns;
    mHeader.nodeColumns |= other.nodeColumns;
    mHeader.integralColumns |= other.integralColumns;
    mHeader.nodeLogicalCores = larger(mHeader.nodeLogicalCores, other.nodeLogicalCores);
    mHeader.nodePhysicalCores = larger(mHeader.nodePhysicalCores, other.nodePhysicalCores);
    mHeader.nodeMemoryBytes = larger(mHeader.nodeMemoryBytes, other.nodeMemoryBytes);
    mHeader.logicalCores.join(other.logicalCores);
    mHeader.physicalCores.join(other.physicalCores);
    mHeader.nodeMemory.join(other.nodeMemory);
    mHeader.ranks += other.ranks;
    mHeader.nodes += other.nodes;
    if (other.leastOmpThreads > 0)
        addThreads(other.leastOmpThreads, other.mostOmpThreads);
    addProcesses(packed.processes(), other.processCount, other.processStep);
    for (std::uint32_t i = 0; i < other.codeBlockCount; ++i)
        addBlock(packed.blocks()[i]);
    mCountersSeen = 0;
    for (std::uint32_t i = 0; i < other.counterCount; ++i)
        addCounter(packed.counters()[i], other.counterStep);
    return true;
}

std::size_t MergedProfile::packedSize() const
{
    return View::sizeOf(mHeader);
}

void MergedProfile::pack(unsigned char *target) const
{
    const auto write = [&target](const void *bytes, std::size_t size) {
        std::memcpy(target, bytes, size);
        target += size;
    };
    const std::size_t samples = mHeader.sampleCount;
    Header header = mHeader;
    header.size = packedSize();
    write(&header, sizeof(header));
    for (std::uint32_t kind = 0; kind < HitKinds; ++kind) {
        for (std::uint32_t category = 0; category < spool::CategoryCount; ++category) {
            if ((mHeader.hitColumns[kind] >> category & 1) != 0)
                write(mHits[kind][category], samples * sizeof(std::uint64_t));
        }
    }
    for (std::uint32_t figure = 0; figure < spool::FigureCount; ++figure) {
        if ((mHeader.figureColumns >> figure & 1) != 0)
            write(mFigures[figure], samples * sizeof(Statistics));
    }
    for (std::uint32_t integral = 0; integral < MaxIntegrals; ++integral) {
        if ((mHeader.integralColumns >> integral & 1) != 0)
            write(mIntegrals[integral], samples * sizeof(Statistics));
    }
    for (std::uint32_t figure = 0; figure < spool::FigureCount; ++figure) {
        if ((mHeader.nodeColumns >> figure & 1) != 0)
            write(mNode[figure], samples * sizeof(spool::Figure));
    }
    write(mProcesses, mHeader.processCount * sizeof(Process));
    write(mBlocks, mHeader.codeBlockCount * sizeof(spool::CodeBlock));
    write(mCounters, mHeader.counterCount * sizeof(Counter));
}

std::size_t MergedProfile::largestSize()
{
    return sizeof(MergedProfile);
}

} // namespace fern::merged
