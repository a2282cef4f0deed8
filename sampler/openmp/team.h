#ifndef SAMPLER_OPENMP_TEAM_H
#define SAMPLER_OPENMP_TEAM_H

// What threads of an OpenMP program do, written into their slots: computing in a parallel region, or in the
// runtime, inside or outside of a region. A wrapped call around all of it (MPI that uses OpenMP itself) wins.

#include "core/categoryscope.h"
#include "core/processstate.h"

namespace fern::openmp {

// A parallel region: its master's slot and the number of regions that the master had left when it began.
struct Region {
    Slot *master;
    std::uint32_t number;
};

// The region that a thread is about to begin as its master. Without a slot nobody's.
inline Region nextRegion(Slot *master)
{
    return {master, master != nullptr ? master->regionsLeft.load(std::memory_order_relaxed) : 0};
}

inline void leaveRegion(Slot &master)
{
    master.regionsLeft.store(
        master.regionsLeft.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// The thread belongs to the region; it is the runtime's own until it computes there.
inline void joinTeam(Slot &slot, const Region &region)
{
    slot.team.store(registry::indexOf(*region.master), std::memory_order_relaxed);
    slot.teamRegion.store(region.number, std::memory_order_relaxed);
}

inline void doOnly(Slot &slot, std::uint32_t category)
{
    slot.ownCategory = category;
    slot.category.store(category, std::memory_order_relaxed);
}

// Whether nothing but the program's own code and the OpenMP runtime is at work.
inline bool isFree(const Slot &slot)
{
    const std::uint32_t category = slot.category.load(std::memory_order_relaxed);
    return category == slot.ownCategory || category == Slot::WaitsInTeam
        || category == spool::OpenMpRuntimeInRegion || category == spool::OpenMpRuntimeOutOfRegion;
}

// Work of the runtime for the calling thread.
inline spool::Category runtimeCategory(const Slot &slot)
{
    return slot.ownCategory == spool::OpenMp ? spool::OpenMpRuntimeInRegion : spool::OpenMpRuntimeOutOfRegion;
}

// Around a body of code that a thread of a team, or a task, runs.
class ComputeScope {
public:
    explicit inline __attribute__((always_inline)) ComputeScope(Slot *slot)
        : mSlot(slot != nullptr && isFree(*slot) ? slot : nullptr)
    {
        if (mSlot == nullptr)
            return;
        mOwnCategory = mSlot->ownCategory;
        mCategory = mSlot->category.load(std::memory_order_relaxed);
        doOnly(*mSlot, spool::OpenMp);
    }
    ~ComputeScope()
    {
        if (mSlot == nullptr)
            return;
        mSlot->ownCategory = mOwnCategory;
        mSlot->category.store(mCategory, std::memory_order_relaxed);
    }
    ComputeScope(const ComputeScope &) = delete;
    ComputeScope &operator=(const ComputeScope &) = delete;

private:
    Slot *mSlot;
    std::uint32_t mOwnCategory = 0;
    std::uint32_t mCategory = 0;
};

void askThreadNumber();
// Asks the runtime how many threads it takes for a region, once; called by a master.
inline void noteThreadNumber()
{
    if (__builtin_expect(processState.ompThreads.load(std::memory_order_relaxed) == 0, false))
        askThreadNumber();
}

} // namespace fern::openmp

#endif
