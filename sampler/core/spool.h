#ifndef SAMPLER_CORE_SPOOL_H
#define SAMPLER_CORE_SPOOL_H

#include "core/spoolformat.h"

#include <cstdint>

namespace fern {

// Adds hits up to the highest number that there is.
inline void addHits(std::uint32_t &hits, std::uint32_t more)
{
    if (__builtin_add_overflow(hits, more, &hits))
        hits = ~std::uint32_t(0);
}

// The spool of this process, written by the sampling thread alone, with raw system calls only. Times
// are CLOCK_REALTIME in nanoseconds.
class Spool {
public:
    // Creates, allocates and maps the file. False, and nothing is left behind, if that isn't possible.
    bool create(std::uint64_t startNs);
    bool isMapped() const { return mHeader != nullptr; }
    // The sampling thread's descriptors end with it; a later one opens the file anew. The mapping
    // stays. If the file can't be opened, it just doesn't grow.
    void closeFile();
    void openFile();
    // Begins anew: what the spool holds is in other hands. Code stays, since it isn't looked at twice.
    void restart(std::uint64_t startNs);
    // The file goes; what is written from now on is lost.
    void remove();
    // In a forked child: the mapping isn't there. Forgets the parent's spool.
    void forget();

    spool::Header &header() { return *mHeader; }
    const spool::Bin *bins() const { return mBins; }
    const spool::CodeBlock *codeBlocks() const { return mCodeBlocks; }
    const spool::ProgramCounter *counters() const { return mCounters; }
    // The bin of a moment: room is made for it, if need be by doubling the interval, which moves all
    // other bins. A moment before the first bin belongs to the first bin.
    spool::Bin &binAt(std::uint64_t timeNs);
    // Which bin a moment falls into, counted from the epoch; changes its meaning with the interval.
    std::uint64_t numberOfBin(std::uint64_t timeNs) const;

    // A reading of a gauge: it stands for all bins since the reading before.
    void addReading(spool::FigureId id, std::uint64_t fromNs, std::uint64_t toNs, double value);
    // What a counter counted between two moments, spread evenly over the bins between them.
    void addCounted(spool::FigureId id, std::uint64_t fromNs, std::uint64_t toNs, double amount);

    // Room for one more piece of code; nullptr if there is none. It counts once commitCodeBlock() is called.
    spool::CodeBlock *newCodeBlock();
    void commitCodeBlock() { ++mHeader->codeBlockCount; }
    // Keeps a program counter, or passes it over if it is not its turn. False if there is no room.
    bool addProgramCounter(const spool::ProgramCounter &counter);

    // Bytes that were written to allocate the file, for who counts the process's writing.
    std::uint64_t bytesWritten() const { return mBytesWritten; }

private:
    template <typename Action> void forEachBin(std::uint64_t fromNs, std::uint64_t toNs, Action action);
    bool grow();
    bool allocate(std::uint64_t offset, std::uint64_t size);
    void doubleInterval();
    void dropEverySecondCounter();
    void fillHeader(std::uint64_t startNs);

    spool::Header *mHeader = nullptr;
    spool::Bin *mBins = nullptr;
    spool::CodeBlock *mCodeBlocks = nullptr;
    spool::ProgramCounter *mCounters = nullptr;
    std::uint32_t mCodeCapacity = 0; // allocated so far
    std::uint32_t mCounterCapacity = 0;
    std::uint32_t mCountersSeen = 0; // since the last one that was kept
    int mFile = -1;
    std::uint64_t mBytesWritten = 0;
    char mPath[4608] = {};
};

} // namespace fern

#endif
