#include "wrappers/threads.h"

#include "core/threadregistry.h"
#include "openmp/team.h"
#include "wrappers/hooks.h"

#include <atomic>

namespace fern::threads {

namespace {

// A thread can end by returning, by pthread_exit() and by cancellation; its data's destructor is called
// in all three.
pthread_key_t endKey;
std::atomic<bool> hasEndKey{false};

void threadEnds(void *slot)
{
    currentSlot = nullptr;
    registry::release(*static_cast<Slot *>(slot));
}

// `Result` is what the thread's routine gives: of POSIX threads an address, of C11's a number.
template <typename Result> Result runThread(void *data)
{
    Slot &slot = *static_cast<Slot *>(data);
    const auto routine = reinterpret_cast<Result (*)(void *)>(slot.routine);
    void *argument = slot.argument;
    registry::occupy(slot);
    watchEndOfThisThread();
    return routine(argument);
}

} // namespace

void prepare()
{
    if (pthread_key_create(&endKey, threadEnds) == 0)
        hasEndKey.store(true, std::memory_order_release);
    watchEndOfThisThread();
}

void watchEndOfThisThread()
{
    // Keys made as early as ours have their place in the thread's descriptor: nothing is allocated.
    if (hasEndKey.load(std::memory_order_acquire))
        pthread_setspecific(endKey, currentSlot);
}

// Threads that an MPI or an accelerator's library makes for itself, as it starts or later, aren't the
// program's.
bool isMadeByLibrary()
{
    if (currentSlot == nullptr)
        return false;
    switch (currentSlot->category.load(std::memory_order_relaxed)) {
    case spool::MpiCollective:
    case spool::MpiPointToPoint:
    case spool::MpiOther:
    case spool::MpiIoRead:
    case spool::MpiIoWrite:
    case spool::Accelerator:
        return true;
    default:
        return false;
    }
}

// A slot for a thread that is about to be made; nullptr if it is to run as if we weren't there.
Slot *slotForNewThread()
{
    if (!hasEndKey.load(std::memory_order_acquire) || isMadeByLibrary())
        return nullptr;
    Slot *slot = registry::claim();
    // GCC's OpenMP runtime makes its threads when a region begins.
    if (slot != nullptr && currentSlot != nullptr
        && currentSlot->category.load(std::memory_order_relaxed) == spool::OpenMpRuntimeInRegion) {
        openmp::joinTeam(*slot, openmp::nextRegion(currentSlot));
        slot->ownCategory = Slot::WaitsInTeam;
    }
    return slot;
}

} // namespace fern::threads

FERN_WRAPPER(int, pthread_create,
    (pthread_t * thread, const pthread_attr_t *attributes, void *(*routine)(void *), void *argument))
{
    fern::Slot *slot = fern::threads::slotForNewThread();
    if (slot == nullptr)
        return FERN_REAL(pthread_create)(thread, attributes, routine, argument);
    slot->routine = reinterpret_cast<void (*)()>(routine);
    slot->argument = argument;
    const int result = FERN_REAL(pthread_create)(thread, attributes, fern::threads::runThread<void *>, slot);
    // cppcheck-suppress knownConditionTrueFalse; what the macro calls is unknown to it
    if (result != 0)
        fern::registry::release(*slot);
    return result;
}

FERN_WRAPPER(int, thrd_create, (thrd_t * thread, int (*routine)(void *), void *argument))
{
    fern::Slot *slot = fern::threads::slotForNewThread();
    if (slot == nullptr)
        return FERN_REAL(thrd_create)(thread, routine, argument);
    slot->routine = reinterpret_cast<void (*)()>(routine);
    slot->argument = argument;
    const int result = FERN_REAL(thrd_create)(thread, fern::threads::runThread<int>, slot);
    if (result != thrd_success)
        fern::registry::release(*slot);
    return result;
}
