#include "core/threadregistry.h"

#include "core/rawsystem.h"

namespace fern {

__thread Slot *currentSlot = nullptr;

namespace registry {

Slot slots[MaxThreads];

namespace {

std::atomic<std::uint32_t> used{0};
std::atomic<std::uint32_t> alive{0};
std::atomic<std::uint32_t> most{0};
std::atomic<std::uint64_t> missed{0};

bool isInRegion(std::uint32_t category)
{
    return category == spool::OpenMp || category == spool::OpenMpRuntimeInRegion;
}

void raise(std::atomic<std::uint32_t> &maximum, std::uint32_t value)
{
    std::uint32_t before = maximum.load(std::memory_order_relaxed);
    while (before < value && !maximum.compare_exchange_weak(before, value, std::memory_order_relaxed)) { }
}

} // namespace

std::uint32_t usedSlots()
{
    return used.load(std::memory_order_acquire);
}

std::uint32_t mostThreads()
{
    return most.load(std::memory_order_relaxed);
}

std::uint64_t missedThreads()
{
    return missed.load(std::memory_order_relaxed);
}

spool::Category categoryOf(const Slot &slot)
{
    const std::uint32_t category = slot.category.load(std::memory_order_relaxed);
    if (category != Slot::WaitsInTeam)
        return static_cast<spool::Category>(category);
    const Slot &master = slots[slot.team.load(std::memory_order_relaxed)];
    const std::uint32_t left = master.regionsLeft.load(std::memory_order_relaxed)
        - slot.teamRegion.load(std::memory_order_relaxed);
    // Of the team that has just left a region, whose master is in the next one: it is about to start there,
    // and on a busy machine it waits for a processor first.
    const bool isStarting = left == 1 && isInRegion(master.category.load(std::memory_order_relaxed));
    return left == 0 || isStarting ? spool::OpenMpRuntimeInRegion : spool::OpenMpRuntimeOutOfRegion;
}

void adoptMainThread()
{
    Slot &slot = slots[0];
    slot.ownCategory = spool::Compute;
    raise(used, 1);
    raise(most, alive.fetch_add(1, std::memory_order_relaxed) + 1);
    occupy(slot);
}

Slot *claim()
{
    for (std::uint32_t i = 1; i < MaxThreads; ++i) {
        std::int32_t expected = Slot::Free;
        if (slots[i].tid.load(std::memory_order_relaxed) != Slot::Free
            || !slots[i].tid.compare_exchange_strong(expected, Slot::Claimed, std::memory_order_acquire))
            continue;
        slots[i].ownCategory = spool::PthreadCompute;
        raise(used, i + 1);
        raise(most, alive.fetch_add(1, std::memory_order_relaxed) + 1);
        return &slots[i];
    }
    missed.fetch_add(1, std::memory_order_relaxed);
    return nullptr;
}

void occupy(Slot &slot)
{
    slot.category.store(slot.ownCategory, std::memory_order_relaxed);
    slot.tid.store(raw::gettid(), std::memory_order_release);
    currentSlot = &slot;
}

void release(Slot &slot)
{
    alive.fetch_sub(1, std::memory_order_relaxed);
    slot.tid.store(Slot::Free, std::memory_order_release);
}

void reset()
{
    const std::uint32_t count = usedSlots();
    for (std::uint32_t i = 0; i < count; ++i) {
        slots[i].tid.store(Slot::Free, std::memory_order_relaxed);
        slots[i].mpiCollectiveBytes.store(0, std::memory_order_relaxed);
        slots[i].mpiPointToPointBytes.store(0, std::memory_order_relaxed);
    }
    used.store(0, std::memory_order_relaxed);
    alive.store(0, std::memory_order_relaxed);
    most.store(0, std::memory_order_relaxed);
    missed.store(0, std::memory_order_relaxed);
    adoptMainThread();
}

} // namespace registry
} // namespace fern
