#include "mpi/merging.h"

#include "core/census.h"
#include "core/processstate.h"
#include "core/rawsystem.h"
#include "core/sampler.h"
#include "core/settings.h"
#include "core/spool.h"
#include "core/text.h"
#include "core/wholefile.h"
#include "merge/mergedprofile.h"
#include "merge/modules.h"
#include "mpi/clocks.h"
#include "mpi/handover.h"
#include "mpi/messages.h"

#include <atomic>
#include <sys/mman.h>
#include <time.h>

namespace fern::mpi {

namespace {

// What the ranks tell each other when they arrive, and agree on later: of each number all get the greatest.
enum Arrival {
    Latest,
    MinusEarliest,
    NotReady, // 1: a rank can't merge
    MinusPatience, // the least of all ranks
    Place, // where a rank hands over its profile
    MinusPlace,
    ArrivalCount
};
enum Agreement {
    Refusal, // 1: a rank can't go on
    MinusBegin, // the job's, as the three that follow, on rank 0's clock
    End,
    Interval, // of the widest bins
    Epoch,
    MinusEpoch,
    Samples, // that there may be
    MinusSamples,
    World, // the job's number
    AgreementCount
};

// When this rank left MPI_Init, on the clock that counts while the node sleeps and that nobody sets.
std::atomic<std::uint64_t> begunNs{0};

// What is sent and received outlives a message that doesn't come in time.
std::int64_t arrivals[ArrivalCount];
std::int64_t agreement[AgreementCount];
std::int64_t refusal;
std::uint64_t takenSize;
std::uint64_t handedSize;

// Never given back: a late message may still be written to it.
unsigned char *takeMemory(std::size_t size)
{
    const long memory = raw::call(
        SYS_mmap, 0, static_cast<long>(size), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory < 0 && memory > -4096 ? nullptr : reinterpret_cast<unsigned char *>(memory);
}

bool isSomeoneMissing()
{
    return census::presence() == census::Presence::Incomplete;
}

// As long as all ranks need each other: one that has left ends it.
Patience patience()
{
    return Patience(settings.patienceNs, isSomeoneMissing);
}

// How long to wait for ranks of other nodes, of which nobody knows whether they are sampled: a small part of
// what the job took. Those whom everybody knows to be sampled may take their time, as the end of MPI would
// wait for them, too.
std::uint64_t patienceWithArrivals(Spool *spool)
{
    if (census::presence() == census::Presence::All || spool == nullptr)
        return settings.patienceNs;
    constexpr std::uint64_t LeastNs = 2'000'000'000;
    constexpr std::uint64_t Part = 20;
    const std::uint64_t partNs = (sampler::timeNs() - spool->header().startNs) / Part;
    const std::uint64_t limitNs = partNs > LeastNs ? partNs : LeastNs;
    return limitNs < settings.patienceNs ? limitNs : settings.patienceNs;
}

class Merging {
public:
    Merging()
        : mWorld{world(), processState.mpiRank.load(std::memory_order_relaxed),
            processState.mpiSize.load(std::memory_order_relaxed)}
    {
    }

    // `spool`: nullptr if the rank has none.
    bool haveAllArrived(Spool *spool);
    // All ranks come here or none, their samplers paused. False if the spools have to stay.
    bool run(Spool *spool);

private:
    bool findNodes(const spool::Header &header);
    bool agree(const spool::Header &header, bool isFine);
    bool addOwn(Spool &spool);
    bool gather(const Communicator &all, bool isFine);
    bool takeFrom(const Communicator &all, int rank);
    bool handTo(const Communicator &all, int rank, bool isFine);
    unsigned char *fetch(const Communicator &all, int rank, std::size_t *size) const;
    bool deliver(const Communicator &all, int rank, const unsigned char *bytes, std::size_t size) const;
    bool write(const spool::Header &header) const;

    Communicator mWorld;
    Communicator mNode;
    bool mIsOneNode = false; // all profiles go by files: mNode has no handle
    Communicator mLeaders; // the first ranks of the nodes; of size 0 where there is one node
    std::int64_t mShiftNs = 0; // from this rank's clock to rank 0's, as a multiple of its interval
    merged::MergedProfile *mProfile = nullptr;
};

// A rank that doesn't come at all must not keep the others from ending, and one that comes late must not wait
// for those who have lost patience. Who has lost it can't tell, but how far the arrivals lie apart is the
// same for everybody; the other half of the patience is for the ways of the messages. Nodes' clocks may
// differ by more than that, so arrivals are counted from the ranks' common way out of MPI_Init.
bool Merging::haveAllArrived(Spool *spool)
{
    const auto now = static_cast<std::int64_t>(raw::clockNs(CLOCK_BOOTTIME) - begunNs.load());
    const std::uint64_t limitNs = patienceWithArrivals(spool);
    const std::int64_t place = spool != nullptr ? handover::place(spool->header().hostname) : 0;
    arrivals[Latest] = now;
    arrivals[MinusEarliest] = -now;
    arrivals[NotReady] = spool != nullptr ? 0 : 1;
    arrivals[MinusPatience] = -static_cast<std::int64_t>(limitNs);
    arrivals[Place] = place;
    arrivals[MinusPlace] = -place;
    if (isSomeoneMissing() || !greatest(mWorld, arrivals, ArrivalCount, Patience(limitNs, isSomeoneMissing)))
        return false;
    mIsOneNode = arrivals[Place] != 0 && arrivals[Place] == -arrivals[MinusPlace];
    return arrivals[NotReady] == 0
        && arrivals[Latest] + arrivals[MinusEarliest] <= -arrivals[MinusPatience] / 2;
}

bool Merging::run(Spool *spool)
{
    static const spool::Header noHeader{};
    const spool::Header &header = spool != nullptr ? spool->header() : noHeader;
    bool isFine = findNodes(header);
    if (isFine && mLeaders.size > 1) {
        const auto intervalNs = static_cast<std::int64_t>(header.intervalNs);
        const ClockOffset offset = findClockOffset(mNode, mLeaders, patience());
        isFine = offset.isKnown;
        if (intervalNs > 0)
            mShiftNs = offset.ns >= 0 ? (offset.ns + intervalNs / 2) / intervalNs * intervalNs
                                      : -((-offset.ns + intervalNs / 2) / intervalNs * intervalNs);
    }
    if (!agree(header, isFine && spool != nullptr))
        return false;

    spool->header().world = static_cast<std::uint64_t>(agreement[World]);
    isFine = gather(mNode, addOwn(*spool));
    if (mNode.rank == 0) {
        if (isFine)
            mProfile->closeNode();
        if (mLeaders.size > 1)
            isFine = gather(mLeaders, isFine);
        if (mWorld.rank == 0)
            isFine = isFine && write(header);
    }
    refusal = isFine ? 0 : 1;
    // Who knows of the end first leaves first, without being missed.
    if (!greatest(mWorld, &refusal, 1, Patience(settings.patienceNs)) || refusal != 0)
        return false;
    if (!mIsOneNode) {
        release(mNode);
        release(mLeaders);
    }
    mProfile->release();
    return true;
}

bool Merging::findNodes(const spool::Header &header)
{
    if (mIsOneNode) {
        mNode = {0, mWorld.rank, mWorld.size};
        return true;
    }
    const auto colour = static_cast<int>(hashOf(header.hostname) & 0x3fffffff);
    if (!split(mWorld, colour, &mNode))
        return false;
    return mNode.size == mWorld.size || split(mWorld, mNode.rank == 0 ? 0 : 1, &mLeaders);
}

bool Merging::agree(const spool::Header &header, bool isFine)
{
    const merged::Times times = merged::timesOf(header, mShiftNs);
    const auto epoch = static_cast<std::int64_t>(header.epochNs);
    const auto samples = static_cast<std::int64_t>(settings.mergedSamples);
    const std::uint64_t number
        = hashOf(header.hostname, header.startNs ^ static_cast<std::uint64_t>(header.pid) << 40);
    agreement[Refusal] = isFine ? 0 : 1;
    agreement[MinusBegin] = -times.beginNs;
    agreement[End] = times.endNs;
    agreement[Interval] = times.intervalNs;
    agreement[Epoch] = epoch;
    agreement[MinusEpoch] = -epoch;
    agreement[Samples] = samples;
    agreement[MinusSamples] = -samples;
    agreement[World] = mWorld.rank == 0 ? static_cast<std::int64_t>(number >> 1 | 1) : 0;
    return greatest(mWorld, agreement, AgreementCount, patience()) && agreement[Refusal] == 0
        && agreement[Epoch] == -agreement[MinusEpoch] && agreement[Samples] == -agreement[MinusSamples];
}

bool Merging::addOwn(Spool &spool)
{
    mProfile = merged::MergedProfile::create();
    if (mProfile == nullptr)
        return false;
    const Timeline timeline(
        agreement[Epoch], -agreement[MinusBegin], agreement[End], agreement[Interval], agreement[Samples]);
    if (timeline.numSamples() > static_cast<int>(spool::MaxBins))
        return false;
    const spool::Header &header = spool.header();
    modules::find(header.executable, static_cast<std::uint32_t>(mWorld.rank));
    mProfile->begin(timeline, static_cast<std::uint64_t>(agreement[World]));
    mProfile->addRank(
        {&header, spool.bins(), spool.codeBlocks(), spool.counters(), mShiftNs, modules::commonAddress});
    return true;
}

// Along a binomial tree to rank 0. A rank that has failed says so to the one that waits for it.
bool Merging::gather(const Communicator &all, bool isFine)
{
    for (int distance = 1; distance < all.size; distance *= 2) {
        if ((all.rank & distance) != 0)
            return handTo(all, all.rank - distance, isFine);
        if (all.rank + distance < all.size)
            isFine = takeFrom(all, all.rank + distance) && isFine;
    }
    return isFine;
}

bool Merging::takeFrom(const Communicator &all, int rank)
{
    std::size_t size = 0;
    unsigned char *bytes
        = mIsOneNode ? handover::take(agreement[World], rank, &size, patience()) : fetch(all, rank, &size);
    merged::View packed;
    const bool isTaken
        = bytes != nullptr && packed.open(bytes, size) && mProfile != nullptr && mProfile->add(packed);
    if (bytes != nullptr)
        raw::call(SYS_munmap, raw::address(bytes), static_cast<long>(size));
    return isTaken;
}

// Memory with what a rank sends; nullptr if it has failed. A late message may still be written there.
unsigned char *Merging::fetch(const Communicator &all, int rank, std::size_t *size) const
{
    takenSize = 0;
    if (!receive(all, rank, &takenSize, sizeof(takenSize), patience(), false) || takenSize == 0
        || takenSize > merged::MergedProfile::largestSize())
        return nullptr;
    unsigned char *bytes = takeMemory(takenSize);
    *size = takenSize;
    return bytes != nullptr && receive(all, rank, bytes, takenSize, patience(), false) ? bytes : nullptr;
}

bool Merging::handTo(const Communicator &all, int rank, bool isFine)
{
    const std::size_t size = isFine ? mProfile->packedSize() : 0;
    unsigned char *bytes = isFine ? takeMemory(size) : nullptr;
    if (bytes != nullptr)
        mProfile->pack(bytes);
    if (!deliver(all, rank, bytes, bytes != nullptr ? size : 0) || bytes == nullptr)
        return false;
    raw::call(SYS_munmap, raw::address(bytes), static_cast<long>(size));
    return true;
}

// A size of 0 says that there is nothing.
bool Merging::deliver(const Communicator &all, int rank, const unsigned char *bytes, std::size_t size) const
{
    if (mIsOneNode)
        return handover::give(agreement[World], mWorld.rank, bytes, size);
    handedSize = size;
    return send(all, rank, &handedSize, sizeof(handedSize), patience(), false)
        && (size == 0 || send(all, rank, bytes, size, patience(), false));
}

bool Merging::write(const spool::Header &header) const
{
    const std::size_t size = mProfile->packedSize();
    unsigned char *bytes = takeMemory(size);
    TextBuilder<512> name;
    name << header.hostname << "-" << static_cast<std::uint64_t>(header.pid) << "-" << header.startNs
         << ".merged";
    if (bytes == nullptr || name.text() == nullptr)
        return false;
    mProfile->pack(bytes);
    const bool isWritten = writeWholeFile(settings.spoolFolder, name.text(), bytes, size);
    raw::call(SYS_munmap, raw::address(bytes), static_cast<long>(size));
    return isWritten;
}

} // namespace

void noteBeginOfMpi()
{
    begunNs.store(raw::clockNs(CLOCK_BOOTTIME));
}

void mergeRanks()
{
    static std::atomic<bool> hasBegun{false}; // Fortran's MPI_Finalize may call that of C
    const bool isRank = (processState.flags.load(std::memory_order_relaxed) & spool::FlagMpi) != 0
        && processState.mpiSize.load(std::memory_order_relaxed) > 1;
    if (settings.mergedSamples == 0 || !isRank || hasBegun.exchange(true))
        return;
    const QuietErrors quiet(world());
    Merging merging;
    if (merging.haveAllArrived(sampler::spool())) {
        const bool isPaused = sampler::pause();
        if (merging.run(isPaused ? sampler::spool() : nullptr))
            sampler::beginTail();
        if (isPaused)
            sampler::resume();
    }
    census::leave();
}

} // namespace fern::mpi
