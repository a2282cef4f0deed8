#include "mpi/messages.h"

#include "core/rawsystem.h"
#include "mpi/helper.h"

#include <time.h>

namespace fern::mpi {

namespace {

constexpr int Tag = 1;

Helper<int, Word, int, int, Word *> commSplit("PMPI_Comm_split");
Helper<int, Word *> commFree("PMPI_Comm_free");
Helper<int, Word, Word> commSetErrhandler("PMPI_Comm_set_errhandler");
Helper<int, Word, Word *> commGetErrhandler("PMPI_Comm_get_errhandler");
Helper<int, Word *> errhandlerFree("PMPI_Errhandler_free");
Helper<int, const void *, void *, int, Word, Word, Word, Word *> iallreduce("PMPI_Iallreduce");
Helper<int, void *, int, Word, int, Word, Word *> ibcast("PMPI_Ibcast");
Helper<int, const void *, int, Word, int, int, Word, Word *> isend("PMPI_Isend");
Helper<int, void *, int, Word, int, int, Word, Word *> irecv("PMPI_Irecv");
Helper<int, Word *, int *, Word> test("PMPI_Test");

Word byteType()
{
    return predefined("ompi_mpi_byte", 0x4c00010d);
}

Word numberType()
{
    return predefined("ompi_mpi_int64_t", 0x4c00083a);
}

Word maximum()
{
    return predefined("ompi_mpi_op_max", 0x58000001);
}

Word errorsReturn()
{
    return predefined("ompi_mpi_errors_return", 0x54000001);
}

// A request that isn't done in time is left alone: MPI may still write into its buffer.
bool isDone(Word request, Patience patience, bool isPrompt)
{
    for (;;) {
        int flag = 0;
        if (test(&request, &flag, ignoredStatus()) != 0)
            return false;
        if (flag != 0)
            return true;
        if (!patience.wait(isPrompt))
            return false;
    }
}

} // namespace

bool Patience::wait(bool isPrompt)
{
    constexpr std::uint64_t ShortestPauseNs = 20'000;
    constexpr std::uint64_t LongestPauseNs = 2'000'000;
    constexpr std::uint64_t Share = 16; // a pause is at most this part too long
    constexpr std::uint64_t LongestTurnNs = 10'000'000; // the process was stopped if it takes longer
    if (mIsInVain != nullptr && mIsInVain())
        return false;
    const std::uint64_t beforeNs = raw::clockNs(CLOCK_MONOTONIC);
    if (isPrompt) {
        raw::call(SYS_sched_yield);
    } else {
        const std::uint64_t share = mWaitedNs / Share;
        const std::uint64_t pauseNs = share < ShortestPauseNs ? ShortestPauseNs
            : share > LongestPauseNs                          ? LongestPauseNs
                                                              : share;
        const timespec pause{0, static_cast<long>(pauseNs)};
        raw::call(SYS_nanosleep, raw::address(&pause), 0);
    }
    const std::uint64_t passedNs = raw::clockNs(CLOCK_MONOTONIC) - beforeNs;
    mWaitedNs += passedNs < LongestTurnNs ? passedNs : LongestTurnNs;
    return mWaitedNs < mLimitNs;
}

QuietErrors::QuietErrors(Word communicator)
    : mCommunicator(communicator)
    , mIsSet(commGetErrhandler(communicator, &mHandler) == 0
          && commSetErrhandler(communicator, errorsReturn()) == 0)
{
}

QuietErrors::~QuietErrors()
{
    if (!mIsSet)
        return;
    commSetErrhandler(mCommunicator, mHandler);
    errhandlerFree(&mHandler);
}

bool split(const Communicator &all, int colour, Communicator *part)
{
    Word handle = 0;
    if (commSplit(all.handle, colour, 0, &handle) != 0)
        return false;
    commSetErrhandler(handle, errorsReturn());
    *part = {handle, rankIn(handle), sizeOf(handle)};
    return part->rank >= 0 && part->size > 0;
}

void release(Communicator &communicator)
{
    if (communicator.size > 0)
        commFree(&communicator.handle);
    communicator = {};
}

bool greatest(const Communicator &all, std::int64_t *numbers, int count, Patience patience)
{
    constexpr int Most = 16;
    static std::int64_t given[Most];
    for (int i = 0; i < count && i < Most; ++i)
        given[i] = numbers[i];
    Word request = 0;
    return count <= Most
        && iallreduce(given, numbers, count, numberType(), maximum(), all.handle, &request) == 0
        && isDone(request, patience, false);
}

bool spread(const Communicator &all, std::int64_t *number, Patience patience)
{
    Word request = 0;
    return ibcast(number, 1, numberType(), 0, all.handle, &request) == 0 && isDone(request, patience, false);
}

bool send(
    const Communicator &all, int rank, const void *bytes, std::size_t size, Patience patience, bool isPrompt)
{
    Word request = 0;
    return isend(bytes, static_cast<int>(size), byteType(), rank, Tag, all.handle, &request) == 0
        && isDone(request, patience, isPrompt);
}

bool receive(
    const Communicator &all, int rank, void *bytes, std::size_t size, Patience patience, bool isPrompt)
{
    Word request = 0;
    return irecv(bytes, static_cast<int>(size), byteType(), rank, Tag, all.handle, &request) == 0
        && isDone(request, patience, isPrompt);
}

} // namespace fern::mpi
