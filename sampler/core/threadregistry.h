#ifndef SAMPLER_CORE_THREADREGISTRY_H
#define SAMPLER_CORE_THREADREGISTRY_H

// The threads of the process, as the wrappers know them and the sampling thread sees them. A thread
// has a slot from its creation to its end; only the thread itself writes there while it lives, only
// the sampling thread looks. No locks, no heap.

#include "core/spoolformat.h"

#include <atomic>
#include <cstdint>

namespace fern {

constexpr std::uint32_t MaxThreads = 1024; // alive at a time; those beyond aren't sampled

// A cache line each, so that neighbours don't slow one another down.
struct alignas(64) Slot {
    static constexpr std::int32_t Free = 0;
    static constexpr std::int32_t Claimed = -1; // the thread is being created

    // In place of a category: the thread, of an OpenMP team, waits there for work. Whether that is inside or
    // outside of a parallel region depends on whether the team's master has left the region meanwhile.
    static constexpr std::uint32_t WaitsInTeam = 100;

    std::atomic<std::int32_t> tid; // of a living thread, or one of the above
    std::atomic<std::uint32_t> category; // spool::Category
    std::uint32_t ownCategory; // what the thread does when no wrapper is active
    std::atomic<std::uint32_t> regionsLeft; // OpenMP regions that this thread began and has left
    // Counted since the process began by all threads that ever had this slot.
    std::atomic<std::uint64_t> mpiCollectiveBytes;
    std::atomic<std::uint64_t> mpiPointToPointBytes;
    // Handed from the creator to the new thread.
    void (*routine)(); // of the type that its thread has
    void *argument;
    std::atomic<std::uint32_t> teamRegion; // OpenMP: the master's regionsLeft when the thread's region began
    std::atomic<std::uint16_t> team; // slot of the master
    bool isInBarrier; // only the thread itself looks
    // Calls through wrappers, counted round and round by all threads that ever had this slot.
    std::atomic<std::uint32_t> calls;
};

static_assert(sizeof(Slot) == 64);

// The calling thread's slot; nullptr in threads that aren't sampled. Read by every wrapper, so it
// lies in static thread-local storage (initial-exec).
extern __thread Slot *currentSlot;

namespace registry {

// The main thread's slot is the first one.
extern Slot slots[MaxThreads];

// Slots that were ever in use, as a bound for looking through them.
std::uint32_t usedSlots();
// Most threads alive at a time, and threads that found no free slot.
std::uint32_t mostThreads();
std::uint64_t missedThreads();

inline std::uint16_t indexOf(const Slot &slot)
{
    return static_cast<std::uint16_t>(&slot - slots);
}
// What the thread of a slot is doing, for who looks from outside.
spool::Category categoryOf(const Slot &slot);

// Gives the calling thread, the process's main one, the first slot.
void adoptMainThread();
// Takes a free slot for a thread that is about to be created; nullptr if there is none.
Slot *claim();
// Makes a claimed slot the calling thread's own.
void occupy(Slot &slot);
// Gives a slot back: its thread has ended or was never made.
void release(Slot &slot);
// In a forked child: all threads but the calling one are gone, which is now the main one.
void reset();

} // namespace registry
} // namespace fern

#endif
