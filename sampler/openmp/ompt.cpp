// Other OpenMP runtimes than GCC's (LLVM's and its kin), through the tools interface of OpenMP 5: the runtime
// looks for a function named ompt_start_tool and calls us back from then on.

#include "openmp/ompt.h"

#include "core/processstate.h"
#include "core/words.h"
#include "openmp/team.h"

#include <cstdlib>
#include <dlfcn.h>

namespace fern::openmp {

namespace {

// Numbers and signatures of the OpenMP API, version 5.0, chapter 4; only what is used here.
enum Event {
    ThreadBegin = 1,
    ParallelBegin = 3,
    ParallelEnd = 4,
    TaskCreate = 5,
    TaskSchedule = 6,
    ImplicitTask = 7,
    SyncRegionWait = 16,
    MutexAcquire = 26,
    MutexAcquired = 27
};
enum ThreadKind { WorkerThread = 2, OtherThread = 3 };
enum Endpoint { Begin = 1, End = 2 };
enum TaskFlag { InitialTask = 1, ExplicitTask = 4 };

// A word of the runtime's for the tool, kept with each region and each task.
union Data {
    std::uint64_t value;
    void *pointer;
};

using Callback = void (*)();
using SetCallback = int (*)(Event event, Callback callback);
using Lookup = Callback (*)(const char *name);

struct Tool {
    int (*initialize)(Lookup lookup, int device, Data *data);
    void (*finalize)(Data *data);
    Data data;
};

// What a task's word says; an implicit task's says what its thread was before.
constexpr std::uint64_t ExplicitTaskMark = 1000;

void threadBegins(ThreadKind kind, Data *)
{
    Slot *slot = currentSlot;
    if (slot == nullptr)
        return;
    if (kind == WorkerThread) {
        slot->teamRegion.store(~0U, std::memory_order_relaxed); // of no region yet
        doOnly(*slot, Slot::WaitsInTeam);
    } else if (kind == OtherThread) {
        doOnly(*slot, spool::OpenMpMonitor);
    }
}

void parallelBegins(Data *, const void *, Data *parallel, unsigned, int, const void *)
{
    Slot *slot = currentSlot;
    parallel->value = 0;
    if (slot == nullptr)
        return;
    noteThreadNumber();
    const Region region = nextRegion(slot);
    parallel->value = std::uint64_t(registry::indexOf(*slot) + 1) << 32 | region.number;
    if (slot->category.load(std::memory_order_relaxed) == slot->ownCategory)
        slot->category.store(spool::OpenMpRuntimeInRegion, std::memory_order_relaxed);
}

void parallelEnds(Data *, Data *, int, const void *)
{
    Slot *slot = currentSlot;
    if (slot == nullptr)
        return;
    leaveRegion(*slot);
    if (isFree(*slot))
        slot->category.store(slot->ownCategory, std::memory_order_relaxed);
}

void implicitTaskBegins(Slot &slot, const Data *parallel, Data *task)
{
    if (parallel == nullptr || parallel->value == 0 || !isFree(slot))
        return;
    joinTeam(
        slot, {&registry::slots[(parallel->value >> 32) - 1], static_cast<std::uint32_t>(parallel->value)});
    task->value = slot.ownCategory + 1;
    doOnly(slot, spool::OpenMp);
}

void implicitTaskEnds(Slot &slot, Data *task)
{
    if (task->value == 0)
        return;
    slot.ownCategory = static_cast<std::uint32_t>(task->value - 1);
    slot.isInBarrier = false;
    slot.category.store(Slot::WaitsInTeam, std::memory_order_relaxed);
}

void implicitTask(Endpoint endpoint, Data *parallel, Data *task, unsigned, unsigned, int flags)
{
    Slot *slot = currentSlot;
    if (slot == nullptr || task == nullptr || (flags & InitialTask) != 0)
        return;
    if (endpoint == Begin) {
        task->value = 0;
        implicitTaskBegins(*slot, parallel, task);
    } else {
        implicitTaskEnds(*slot, task);
    }
}

// LLVM's workers learn of a region's end when the next one begins: until then they are in its last barrier.
void barrier(int, Endpoint endpoint, Data *, Data *, const void *)
{
    Slot *slot = currentSlot;
    if (slot == nullptr || slot->ownCategory != spool::OpenMp || !isFree(*slot))
        return;
    slot->isInBarrier = endpoint == Begin;
    slot->category.store(
        endpoint == Begin ? Slot::WaitsInTeam : slot->ownCategory, std::memory_order_relaxed);
}

void taskCreated(Data *, const void *, Data *task, int flags, int, const void *)
{
    if ((flags & ExplicitTask) != 0 && task != nullptr)
        task->value = ExplicitTaskMark;
}

void taskScheduled(Data *, int, Data *next)
{
    Slot *slot = currentSlot;
    if (slot == nullptr || slot->ownCategory != spool::OpenMp || !isFree(*slot))
        return;
    const bool computes = !slot->isInBarrier || (next != nullptr && next->value == ExplicitTaskMark);
    slot->category.store(computes ? spool::OpenMp : Slot::WaitsInTeam, std::memory_order_relaxed);
}

void mutexWanted(int, unsigned, unsigned, std::uint64_t, const void *)
{
    Slot *slot = currentSlot;
    if (slot != nullptr && slot->category.load(std::memory_order_relaxed) == slot->ownCategory)
        slot->category.store(runtimeCategory(*slot), std::memory_order_relaxed);
}

void mutexAcquired(int, std::uint64_t, const void *)
{
    Slot *slot = currentSlot;
    if (slot != nullptr && isFree(*slot))
        slot->category.store(slot->ownCategory, std::memory_order_relaxed);
}

template <typename Function> Callback callback(Function *function)
{
    return reinterpret_cast<Callback>(function);
}

int initialize(Lookup lookup, int, Data *)
{
    const auto set = reinterpret_cast<SetCallback>(lookup("ompt_set_callback"));
    if (set == nullptr)
        return 0;
    set(ThreadBegin, callback(threadBegins));
    set(ParallelBegin, callback(parallelBegins));
    set(ParallelEnd, callback(parallelEnds));
    set(ImplicitTask, callback(implicitTask));
    set(SyncRegionWait, callback(barrier));
    set(TaskCreate, callback(taskCreated));
    set(TaskSchedule, callback(taskScheduled));
    set(MutexAcquire, callback(mutexWanted));
    set(MutexAcquired, callback(mutexAcquired));
    isActive.store(true, std::memory_order_relaxed);
    return 1;
}

void finalize(Data *)
{
    isActive.store(false, std::memory_order_relaxed);
}

Tool tool{initialize, finalize, {}};

} // namespace

std::atomic<bool> isActive{false};

void askThreadNumber()
{
    const auto ask = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "omp_get_max_threads"));
    if (ask == nullptr)
        dlerror(); // a program may ask for errors of its own only
    processState.ompThreads.store(ask != nullptr ? ask() : -1, std::memory_order_relaxed);
}

} // namespace fern::openmp

// A tool that the program brings along goes first: there is room for one only.
extern "C" __attribute__((visibility("default"))) fern::openmp::Tool *ompt_start_tool(
    unsigned version, const char *runtime)
{
    using Start = fern::openmp::Tool *(*)(unsigned, const char *);
    if (const auto next = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "ompt_start_tool"))) {
        if (fern::openmp::Tool *tool = next(version, runtime))
            return tool;
    }
    dlerror();
    return getenv("QUILLON_SAMPLER_SPOOL") != nullptr ? &fern::openmp::tool : nullptr;
}
