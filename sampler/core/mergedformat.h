#ifndef SAMPLER_CORE_MERGEDFORMAT_H
#define SAMPLER_CORE_MERGEDFORMAT_H

// The merged profile: what all ranks of an MPI job leave behind together, when they have reached its end.
// Also what they send each other on the way to it. Its size depends on what was measured, not on how many
// ranks there are: samples hold sums and statistics over the ranks.
//
// One file, named HOST-PID-START.merged, with these parts one after another:
//   Header
//   for each bit of Header::hitColumns, by kind and category: Header::sampleCount times uint64
//   for each bit of Header::figureColumns: Header::sampleCount times Statistics
//   for each bit of Header::integralColumns: likewise
//   for each bit of Header::nodeColumns: Header::sampleCount times Figure (only on the way)
//   Header::processCount times Process
//   Header::codeBlockCount times spool::CodeBlock
//   Header::counterCount times Counter

#include "spoolformat.h" // beside this file, for whoever includes it

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace fern::merged {

constexpr char Magic[8] = {'F', 'E', 'R', 'N', 'M', 'R', 'G', '\0'};
constexpr std::uint32_t FormatVersion = 1;

constexpr std::uint32_t HitKinds = 5; // main, mainActive, other, otherActive, mainAlone, as in spool::Bin
constexpr std::uint32_t MaxIntegrals = 4; // by spool::integralOf()
constexpr std::uint32_t MaxProcesses = 256;
constexpr std::uint32_t MaxCounters = spool::MaxProgramCounters;

// Readings summed up. A count of 0 means that there are none.
struct Statistics {
    std::uint64_t count;
    double minimum;
    double maximum;
    double mean;
    double squaredDeviations; // from the mean, added up

    // A reading that is itself a mean over time, with the least and the greatest value seen.
    void add(double value, double least, double greatest) { join({1, least, greatest, value, 0}); }
    // As if the readings of both had been added to one.
    void join(const Statistics &other)
    {
        if (other.count == 0)
            return;
        if (count == 0) {
            *this = other;
            return;
        }
        minimum = other.minimum < minimum ? other.minimum : minimum;
        maximum = other.maximum > maximum ? other.maximum : maximum;
        const auto own = static_cast<double>(count);
        const auto others = static_cast<double>(other.count);
        const double difference = other.mean - mean;
        mean += difference * others / (own + others);
        squaredDeviations
            += other.squaredDeviations + difference * difference * own * others / (own + others);
        count += other.count;
    }
};

// What a rank's spool says of it, but for the program's path. Kept of all ranks of small jobs; where there
// are more than MaxProcesses, of every second, fourth and so on.
struct Process {
    static constexpr std::size_t Front = offsetof(spool::Header, executable);
    static constexpr std::size_t Back = sizeof(spool::Header) - Front - sizeof(spool::Header::executable);
    unsigned char front[Front]; // of a spool::Header
    unsigned char back[Back]; // behind the path
};

// A program counter of some rank. Addresses are the same for all ranks: each module of the program has a
// place of its own that follows from its name.
struct Counter {
    std::uint64_t address;
    std::uint32_t rank;
    std::uint16_t sample;
    std::uint8_t bin; // the rank's own bin within the sample; 255 stands for all behind it, too
    std::uint8_t category; // spool::Category
};

struct Header {
    char magic[8];
    std::uint32_t formatVersion;
    std::uint32_t headerSize; // sizeof(Header)
    std::uint64_t size; // of all parts together
    std::uint32_t spoolFormatVersion; // of the processes' headers
    std::uint32_t processSize; // sizeof(Process)
    std::uint32_t categoryCount;
    std::uint32_t figureCount;

    std::uint64_t world; // the job's number, which stands in its ranks' spools, too
    std::int32_t ranks;
    std::int32_t nodes;
    std::int32_t leastOmpThreads; // 0 where nobody set them
    std::int32_t mostOmpThreads;

    // The samples, as fern::Timeline has them.
    std::int64_t epochNs;
    std::int64_t beginNs;
    std::int64_t endNs;
    std::int64_t widthNs;
    std::uint32_t sampleCount;

    std::uint32_t hitColumns[HitKinds]; // bits by category
    std::uint64_t figureColumns; // bits by spool::FigureId
    std::uint64_t nodeColumns; // likewise
    std::uint64_t integralColumns;
    std::uint32_t processCount;
    std::uint32_t processStep; // one of so many ranks is kept; a power of two
    std::uint32_t codeBlockCount;
    std::uint32_t counterCount;
    std::uint32_t counterStep; // one of so many is kept; a power of two
    std::uint32_t padding;

    Statistics wholeRun[spool::FigureCount];
    Statistics integralWholeRun[MaxIntegrals];
    // Of the node that is being put together; only on the way.
    spool::Figure nodeTotals[spool::FigureCount];
    std::int32_t nodeLogicalCores;
    std::int32_t nodePhysicalCores;
    std::uint64_t nodeMemoryBytes;

    Statistics logicalCores; // over nodes, as the two that follow
    Statistics physicalCores;
    Statistics nodeMemory;

    char hostname[256]; // of rank 0, as the path
    char executable[4096];
};

// The parts of a merged profile that lies in memory.
class View {
public:
    // False if it isn't one, or was written by another version, or contradicts itself.
    bool open(const void *data, std::size_t size)
    {
        mHeader = static_cast<const Header *>(data);
        if (size < sizeof(Header) || std::memcmp(mHeader->magic, Magic, sizeof(Magic)) != 0
            || mHeader->formatVersion != FormatVersion || mHeader->headerSize != sizeof(Header)
            || mHeader->spoolFormatVersion != spool::FormatVersion || mHeader->processSize != sizeof(Process)
            || mHeader->categoryCount != spool::CategoryCount || mHeader->figureCount != spool::FigureCount
            || mHeader->size != size || mHeader->sampleCount > spool::MaxBins
            || mHeader->processCount > MaxProcesses || mHeader->codeBlockCount > spool::MaxCodeBlocks
            || mHeader->counterCount > MaxCounters || mHeader->processStep == 0 || mHeader->counterStep == 0)
            return false;
        return sizeOf(*mHeader) == size;
    }
    const Header &header() const { return *mHeader; }

    // By sample; nullptr for columns that aren't there.
    const std::uint64_t *hits(std::uint32_t kind, std::uint32_t category) const
    {
        if ((mHeader->hitColumns[kind] >> category & 1) == 0)
            return nullptr;
        std::size_t columns = countBits(mHeader->hitColumns[kind] & ((std::uint64_t(1) << category) - 1));
        for (std::uint32_t k = 0; k < kind; ++k)
            columns += countBits(mHeader->hitColumns[k]);
        return reinterpret_cast<const std::uint64_t *>(part(0)) + columns * mHeader->sampleCount;
    }
    const Statistics *figure(std::uint32_t figure) const
    {
        return column<Statistics>(1, mHeader->figureColumns, figure);
    }
    const Statistics *integral(std::uint32_t integral) const
    {
        return column<Statistics>(2, mHeader->integralColumns, integral);
    }
    const spool::Figure *node(std::uint32_t figure) const
    {
        return column<spool::Figure>(3, mHeader->nodeColumns, figure);
    }
    const Process *processes() const { return reinterpret_cast<const Process *>(part(4)); }
    const spool::CodeBlock *blocks() const { return reinterpret_cast<const spool::CodeBlock *>(part(5)); }
    const Counter *counters() const { return reinterpret_cast<const Counter *>(part(6)); }

    // Bytes of a part of the file, in their order, and of all of it.
    static constexpr int Parts = 7;
    static std::size_t sizeOfPart(const Header &header, int number)
    {
        std::size_t columns = 0;
        switch (number) {
        case 0:
            for (const std::uint32_t mask : header.hitColumns)
                columns += countBits(mask);
            return columns * header.sampleCount * sizeof(std::uint64_t);
        case 1:
            return countBits(header.figureColumns) * header.sampleCount * sizeof(Statistics);
        case 2:
            return countBits(header.integralColumns) * header.sampleCount * sizeof(Statistics);
        case 3:
            return countBits(header.nodeColumns) * header.sampleCount * sizeof(spool::Figure);
        case 4:
            return header.processCount * sizeof(Process);
        case 5:
            return header.codeBlockCount * sizeof(spool::CodeBlock);
        default:
            return header.counterCount * sizeof(Counter);
        }
    }
    static std::size_t sizeOf(const Header &header)
    {
        std::size_t size = sizeof(Header);
        for (int number = 0; number < Parts; ++number)
            size += sizeOfPart(header, number);
        return size;
    }

private:
    static std::size_t countBits(std::uint64_t mask)
    {
        return static_cast<std::size_t>(__builtin_popcountll(mask));
    }
    const unsigned char *part(int number) const
    {
        const auto *at = reinterpret_cast<const unsigned char *>(mHeader) + sizeof(Header);
        for (int before = 0; before < number; ++before)
            at += sizeOfPart(*mHeader, before);
        return at;
    }
    template <typename Entry> const Entry *column(int number, std::uint64_t mask, std::uint32_t wanted) const
    {
        if ((mask >> wanted & 1) == 0)
            return nullptr;
        const std::size_t before = countBits(mask & ((std::uint64_t(1) << wanted) - 1));
        return reinterpret_cast<const Entry *>(part(number)) + before * mHeader->sampleCount;
    }

    const Header *mHeader = nullptr;
};

static_assert(sizeof(Process) % 8 == 0 && sizeof(Header) % 8 == 0);
static_assert(sizeof(Statistics) == 40);
static_assert(sizeof(Counter) == 16);
static_assert(spool::FigureCount <= 64 && spool::CategoryCount <= 32);

} // namespace fern::merged

#endif
