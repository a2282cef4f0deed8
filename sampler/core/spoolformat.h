#ifndef SAMPLER_CORE_SPOOLFORMAT_H
#define SAMPLER_CORE_SPOOLFORMAT_H

// The spool: what one process of the job leaves behind. One mapped file per process (per program that
// it ran, if it became another one by exec), named HOST-PID-START.spool, written by the
// sampler while the process runs and read by the host after the job; always up to date, so that a
// process that is killed still has a profile. Plain data in the machine's own byte order: writer and
// reader run on machines of one kind.
//
// Layout of the file: one Header, then Header::binCapacity times Bin; at CodeOffset
// Header::codeBlockCount times CodeBlock, and at CountersOffset Header::programCounterCount times
// ProgramCounter. Between these the file has holes, and it ends where it was last written to.

#include <cstdint>

namespace fern::spool {

constexpr char Magic[8] = {'F', 'E', 'R', 'N', 'S', 'P', 'L', '\0'};
constexpr std::uint32_t FormatVersion = 7;

// Bins of a run at most; when they are full, neighbours are added up and the interval doubles.
constexpr std::uint32_t MaxBins = 1000;

// What a hit stands for, in nanoseconds. A thousand threads fill a bin's numbers in a bin of seven minutes,
// which is a run of five days; they stop there.
constexpr std::uint64_t HitUnitNs = 100'000;

// What a rank does for no longer than this after the ranks have merged their profiles isn't kept.
constexpr std::uint64_t ShortTailNs = 1'000'000'000;

// What a thread is doing. The numbers are those of the host's Category::Enum, so that a reader
// need not translate; they are part of the .fern format, too. MPI calls are told apart by kind,
// file I/O by direction.
enum Category : std::uint32_t {
    Compute = 0, // in the program's own code: no wrapper is active
    MpiCollective = 1,
    MpiPointToPoint = 2,
    MpiOther = 3, // start-up, communicators, datatypes, ...
    IoRead = 4,
    IoWrite = 5,
    IoOther = 6, // open, close, sync, ...
    OpenMp = 7, // inside a parallel region, computing
    Accelerator = 8, // waiting for an accelerator
    PthreadCompute = 9, // a plain thread beside the main one, computing: it uses a processor
    OpenMpRuntimeOutOfRegion = 10,
    OpenMpRuntimeInRegion = 11,
    PthreadSync = 12, // waiting for a lock, a condition, another thread
    MpiIoRead = 13,
    MpiIoWrite = 14,
    Sleep = 15, // asleep by its own wish, or waiting in a way that is none of the others'
    OpenMpMonitor = 19, // a thread of the OpenMP runtime that is for itself and never in a team
    CategoryCount = 24 // room for those to come
};

// A sampled figure. A gauge (resident size, load) keeps the readings of its bin; a counter (bytes)
// adds up in `sum` what was counted during the bin, and nothing else is looked at. Figures are read
// less often than bins may follow each other: a gauge's reading stands for all bins since the reading
// before, and what a counter counted is spread over them. Adding two bins
// adds sum and count and widens minimum and maximum. A count of 0 means: nothing was read.
struct Figure {
    double sum;
    double minimum;
    double maximum;
    std::uint64_t count;
};

// Events that a site has counted, by its own choice, beside cycles and instructions.
constexpr std::uint32_t MaxSiteEvents = 8;
constexpr std::uint32_t EventBase = 2;

enum FigureId : std::uint32_t {
    FigureRss, // gauge, bytes
    FigureNodeMemoryUsedPercent, // gauge, percent of the node's memory
    FigureLoadAveragePercent, // gauge, load average in percent of the node's physical cores
    FigureBytesRead, // counter, bytes that the process read, as the kernel counts them (rchar)
    FigureBytesWritten, // counter, likewise (wchar)
    FigureMpiCollectiveBytes, // counter, payload sent and received
    FigureMpiPointToPointBytes, // counter, likewise
    FigureCpuTime, // counter, nanoseconds of CPU time of the whole process
    // Instructions by kind, gauges, in percent; filled by the host from program counters and code.
    FigureInstrVectorFp,
    FigureInstrVectorInt,
    FigureInstrFp, // scalar and vector
    FigureInstrInt, // scalar and vector
    FigureInstrMemory,
    FigureCpuPower, // gauge, watts of all processors of the node
    FigureSystemPower, // gauge, watts of the whole node
    FigureCycles, // counter, of the processor, outside of the kernel
    FigureInstructions, // counter, likewise
    FigureSiteEvent, // counters, one for each of Header::siteEvents
    FigureSiteEventEnd = FigureSiteEvent + MaxSiteEvents,
    FigureLustreRead = FigureSiteEventEnd, // gauge, bytes a second of the whole node
    FigureLustreWritten, // gauge, likewise
    FigureGpuUsage, // gauge, percent of the time that the node's GPUs were busy, as their mean
    FigureGpuMemoryAccess, // gauge, percent of the time that their memory was read or written, likewise
    FigureGpuMemoryUsed, // gauge, bytes of all GPUs of the node
    FigureGpuPower, // gauge, milliwatts of all GPUs of the node
    FigureCount = 40 // room for those to come
};

struct Bin {
    // Hits: for how long threads were found doing something, in units of HitUnitNs. A look stands for the
    // time since the look before, so that shares stay those of time when a busy machine delays looks.
    // `active` is the CPU time that the threads used meanwhile, in the same units.
    std::uint32_t mainHits[CategoryCount];
    std::uint32_t mainActiveHits[CategoryCount];
    std::uint32_t otherHits[CategoryCount]; // of all threads but the main one
    std::uint32_t otherActiveHits[CategoryCount];
    // Hits of the main thread during which no other thread of the process was at work.
    std::uint32_t mainAloneHits[CategoryCount];
    Figure figures[FigureCount];
};

// A piece of the program's code, as it was when a program counter was first seen there or beside it.
struct CodeBlock {
    std::uint64_t address; // a multiple of CodeBlockSize
    std::uint8_t code[128];
};

constexpr std::uint32_t CodeBlockSize = sizeof(CodeBlock::code);
constexpr std::uint32_t MaxCodeBlocks = 2048;

// Where a thread was found computing. They are kept as they come; when there is no room for more, every
// second one is dropped, and from then on only every second one of those that come is kept, and so on.
struct ProgramCounter {
    std::uint64_t address;
    std::uint32_t timeMs; // since Header::startNs
    std::uint32_t category; // spool::Category: what the thread was doing at that time
};

constexpr std::uint32_t MaxProgramCounters = 16384;

// Where figures come from: the rows of host/profile/metrics.def, which says of each what it is.
enum SourceId : std::uint32_t {
    SourceNone,
    SourceCores,
    SourceMemorySize,
    SourceResidentSize,
    SourceMemory,
    SourceLoad,
    SourceCpuClock,
    SourceBytes,
    SourceMpiCalls,
    SourceProgramCounters,
    SourceCpuPower,
    SourceSystemPower,
    SourceBudget,
    SourceSampler,
    SourceCycles,
    SourceSiteEvents,
    SourceLustre,
    SourceGpus,
    SourceGpuUsage,
    SourceGpuMemory,
    SourceGpuPower,
    SourceCount = 32 // room for those to come
};

// What became of a source. Of several processes the greatest counts: it tells more.
enum SourceState : std::uint32_t {
    SourceUnknown, // nobody looked, or there is nothing to tell
    SourceRead,
    SourceAbsent,
    SourceLimited, // it is there, but there was no room for more, of descriptors for instance
    SourceRefused, // it is there, but this user may not read it
    SourceStateCount
};

// An event that the site has chosen.
struct SiteEvent {
    char name[44]; // as the site calls it; empty: there is none
    std::uint32_t state; // SourceState
};

enum HeaderFlag : std::uint32_t {
    FlagEnded = 1u << 0, // the process reached its end; without it, it was killed
    FlagMpi = 1u << 1, // MPI was initialised: mpiRank and mpiSize are set
    FlagLauncher = 1u << 2, // a launcher or shell by its name: counted only where nothing else ran
    FlagExec = 1u << 3, // the process became another program by exec, which has a spool of its own
    FlagMpiFinalized = 1u << 4,
    FlagReader = 1u << 5, // no process of the job: it reads figures of the node
    FlagMerged = 1u << 6 // holds only what came after the ranks merged their profiles
};

struct Header {
    char magic[8];
    std::uint32_t formatVersion;
    std::uint32_t headerSize; // sizeof(Header)
    std::uint32_t binSize; // sizeof(Bin)
    std::uint32_t binCapacity; // bins that the file has room for; grows with the run, MaxBins at most
    std::uint32_t categoryCount; // CategoryCount of the writer
    std::uint32_t figureCount; // FigureCount of the writer

    std::uint32_t flags; // HeaderFlag
    std::int32_t pid;
    std::int32_t parentPid;
    std::int32_t mpiRank;
    std::int32_t mpiSize;
    std::int32_t logicalCores; // of the node
    std::int32_t physicalCores; // of the node; 0 if unknown
    std::int32_t ompNumThreads; // OMP_NUM_THREADS as set in the environment; 0 if unset
    std::int32_t maxThreads; // most threads that were alive at a time
    std::int32_t gpus; // of the node; 0 if unknown
    std::uint64_t nodeMemory; // bytes
    std::uint64_t gpuMemory; // bytes, of all GPUs of the node; 0 if unknown

    // Time. The epoch is common to the job (the host hands it down), so that bins of all processes
    // have the same borders: bin i of this file covers
    // [epoch + (firstBin + i) * interval, epoch + (firstBin + i + 1) * interval).
    std::uint64_t epochNs; // CLOCK_REALTIME
    std::uint64_t startNs; // CLOCK_REALTIME at the sampler's start
    std::uint64_t lastNs; // start plus CLOCK_MONOTONIC time passed until the last update
    std::uint64_t intervalNs; // width of a bin; the first interval times a power of two
    std::uint64_t firstBin;
    std::uint64_t binCount; // bins in use, the one being filled included

    // The sampler about itself.
    std::uint64_t ticks; // times that the sampling thread looked
    std::uint64_t samplerCpuNs; // CPU time of the sampling thread
    std::uint64_t threadsMissed; // threads that found no free slot
    std::uint64_t ticksMissed; // times that it should have looked and had no processor
    std::uint64_t wrappedCalls; // calls that threads made through wrappers, the outermost ones
    std::uint64_t wrapperPs; // picoseconds that a wrapper's own work took, tried at the start
    std::uint64_t processCpuNs; // CPU time of the process without the sampling thread
    std::uint32_t rivalNames; // wrapped names that another preloaded library takes before us
    std::uint32_t evenMorePadding;
    char rival[256]; // path of the first such library

    std::uint32_t codeBlockCount;
    std::uint32_t programCounterCount;
    std::uint32_t programCounterStep; // one of so many program counters is kept; a power of two
    std::uint32_t morePadding;
    std::uint64_t programCountersLost; // found no code block, or came too fast
    std::uint32_t sourceStates[SourceCount]; // SourceState by SourceId
    SiteEvent siteEvents[MaxSiteEvents];
    std::uint64_t threadsUncounted; // threads whose events couldn't be counted
    std::uint64_t world; // number of the job whose ranks merge their profiles; 0 before they do

    char hostname[256];
    char executable[4096]; // path, as the kernel knows it
    // Followed by the bins. The writer changes header and bins between two increments of this number;
    // it is odd while a change is under way (only the doubling of the interval moves bins).
    std::uint64_t changeCount;
};

constexpr std::uint64_t CodeOffset = sizeof(Header) + std::uint64_t(MaxBins) * sizeof(Bin);
constexpr std::uint64_t CountersOffset = CodeOffset + std::uint64_t(MaxCodeBlocks) * sizeof(CodeBlock);

static_assert(sizeof(Figure) == 32);
static_assert(sizeof(CodeBlock) == 8 + CodeBlockSize);
static_assert(sizeof(ProgramCounter) == 16);
static_assert(sizeof(Bin) == 5 * sizeof(std::uint32_t) * CategoryCount + sizeof(Figure) * FigureCount);

} // namespace fern::spool

#endif
