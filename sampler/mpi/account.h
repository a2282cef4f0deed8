#ifndef SAMPLER_MPI_ACCOUNT_H
#define SAMPLER_MPI_ACCOUNT_H

#include "core/threadregistry.h"

namespace fern::mpi {

// Where the bytes of a call go: the counters of the calling thread.
class Account {
public:
    Account(Slot &slot, spool::Category category)
        : mSlot(slot)
        , mCategory(category)
    {
    }
    spool::Category category() const { return mCategory; }
    inline __attribute__((always_inline)) void add(std::uint64_t bytes) const { add(bytes, mCategory); }
    inline __attribute__((always_inline)) void add(std::uint64_t bytes, spool::Category category) const
    {
        if (category == spool::MpiCollective)
            addTo(mSlot.mpiCollectiveBytes, bytes);
        else if (category == spool::MpiPointToPoint)
            addTo(mSlot.mpiPointToPointBytes, bytes);
    }

private:
    // Only the thread itself writes its slot, so no read-modify-write is needed.
    static void addTo(std::atomic<std::uint64_t> &counter, std::uint64_t bytes)
    {
        if (bytes != 0)
            counter.store(counter.load(std::memory_order_relaxed) + bytes, std::memory_order_relaxed);
    }

    Slot &mSlot;
    spool::Category mCategory;
};

} // namespace fern::mpi

#endif
