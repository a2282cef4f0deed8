#ifndef SAMPLER_MPI_MESSAGES_H
#define SAMPLER_MPI_MESSAGES_H

// Messages among the samplers of a job's ranks, on communicators that the program doesn't know. Nothing waits
// for longer than it has patience, whatever became of the other ranks, and waiting leaves the processor to
// those who work.

#include "mpi/mpilibrary.h"

#include <cstddef>
#include <cstdint>

namespace fern::mpi {

// How long to wait for others. Time in which the process was stopped doesn't count.
class Patience {
public:
    // Ends early where `isInVain`, which is asked again and again, says so.
    explicit Patience(std::uint64_t limitNs, bool (*isInVain)() = nullptr)
        : mLimitNs(limitNs)
        , mIsInVain(isInVain)
    {
    }
    // Lets a little time pass, the more the longer it has been waited for; with `isPrompt` only what others
    // take at once. False when there is no patience left.
    bool wait(bool isPrompt = false);

private:
    std::uint64_t mLimitNs;
    bool (*mIsInVain)();
    std::uint64_t mWaitedNs = 0;
};

// While it lives, errors on the program's own communicator are ours alone: they neither end the program nor
// call what it has set for them.
class QuietErrors {
public:
    explicit QuietErrors(Word communicator);
    ~QuietErrors();
    QuietErrors(const QuietErrors &) = delete;
    QuietErrors &operator=(const QuietErrors &) = delete;

private:
    Word mCommunicator;
    Word mHandler = 0;
    bool mIsSet;
};

struct Communicator {
    Word handle = 0;
    int rank = 0;
    int size = 0;
};

// A part of a communicator, those that give the same colour, which isn't negative. All ranks have to call it.
// False if MPI refuses.
bool split(const Communicator &all, int colour, Communicator *part);
// All ranks of it have to call it.
void release(Communicator &communicator);

// Each number becomes the greatest that any rank gave. `numbers` has to outlive a failure.
bool greatest(const Communicator &all, std::int64_t *numbers, int count, Patience patience);
// What rank 0 has, for all. Likewise.
bool spread(const Communicator &all, std::int64_t *number, Patience patience);

// A message from rank to rank. `bytes` has to outlive a failure.
bool send(
    const Communicator &all, int rank, const void *bytes, std::size_t size, Patience patience, bool isPrompt);
bool receive(
    const Communicator &all, int rank, void *bytes, std::size_t size, Patience patience, bool isPrompt);

} // namespace fern::mpi

#endif
