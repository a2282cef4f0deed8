#ifndef SAMPLER_MERGE_MERGEDPROFILE_H
#define SAMPLER_MERGE_MERGEDPROFILE_H

#include "core/mergedformat.h"
#include "core/timeline.h"

namespace fern::merged {

// One rank's spool, as it lies in memory.
struct Rank {
    const spool::Header *header;
    const spool::Bin *bins;
    const spool::CodeBlock *blocks;
    const spool::ProgramCounter *counters;
    // What to add to the rank's times so that they are those of rank 0: a multiple of its interval.
    std::int64_t shiftNs;
    // The address that stands for one of the rank's own in all ranks.
    std::uint64_t (*commonAddress)(std::uint64_t address);
};

// When a process lived and where its bins lie, for fern::Timeline.
struct Times {
    std::int64_t startNs;
    std::int64_t intervalNs;
    std::int64_t firstBinNs;
    std::int64_t beginNs;
    std::int64_t endNs;
    int binCount;
};
Times timesOf(const spool::Header &header, std::int64_t shiftNs);

// Profiles of ranks, being merged: those of a node's processes first, then those of nodes. Lies in memory of
// its own that is only taken where it is written to. What comes out is what the host makes of the same
// spools (host/profile/spoolmetrics.cpp): the rules are the same.
class MergedProfile {
public:
    // nullptr if there is no memory.
    static MergedProfile *create();
    void release();

    // Begins anew. All that is added must have the same timeline, of at most spool::MaxBins samples.
    void begin(const Timeline &timeline, std::uint64_t world);
    // Ranks of a node, and what others have packed, in the order of ranks. A packed profile is refused, with
    // false, if it belongs to another timeline, or is of another node while this one isn't closed.
    void addRank(const Rank &rank);
    bool add(const View &packed);
    // All ranks of the node are there: what belongs to the node counts once from now on.
    void closeNode();

    std::size_t packedSize() const;
    void pack(unsigned char *target) const;
    // The most that a packed profile can have.
    static std::size_t largestSize();

private:
    static constexpr std::uint32_t IndexSize = 2 * spool::MaxCodeBlocks; // a power of two

    void addHits(const spool::Bin &bin, int sample);
    void addFigure(const Rank &rank, const Times &times, spool::FigureId figure);
    void addGauge(spool::FigureId figure);
    void addRate(spool::FigureId figure, const Times &times, std::int32_t maxThreads);
    void addRatio(const Rank &rank, const Times &times);
    void addTotal(spool::FigureId figure, int first);
    void addIntegral(spool::FigureId figure);
    void addProcess(const spool::Header &header);
    void addProcesses(const Process *processes, std::uint32_t count, std::uint32_t step);
    void thinProcesses();
    void addCode(const Rank &rank, const Times &times);
    void addBlock(const spool::CodeBlock &block);
    void addCounter(const Counter &counter, std::uint32_t step);
    void thinCounters();
    void addThreads(std::int32_t least, std::int32_t most);

    Timeline mTimeline;
    bool mIsNodeOpen = false;
    Header mHeader = {};
    std::uint64_t mHits[HitKinds][spool::CategoryCount][spool::MaxBins] = {};
    Statistics mFigures[spool::FigureCount][spool::MaxBins] = {};
    Statistics mIntegrals[MaxIntegrals][spool::MaxBins] = {};
    spool::Figure mNode[spool::FigureCount][spool::MaxBins] = {};
    // One figure of one process or node.
    spool::Figure mBySample[spool::MaxBins] = {};
    spool::Figure mTotal = {};
    spool::Figure mDivisors[spool::MaxBins] = {}; // of a ratio
    Process mProcesses[2 * MaxProcesses] = {};
    spool::CodeBlock mBlocks[spool::MaxCodeBlocks] = {};
    std::uint16_t mBlockIndex[IndexSize] = {}; // number of a block and one; 0 for a free place
    Counter mCounters[MaxCounters] = {};
    std::uint32_t mCountersSeen = 0; // since the last one that was kept
};

} // namespace fern::merged

#endif
