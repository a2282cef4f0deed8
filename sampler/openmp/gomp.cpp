// GCC's OpenMP runtime: the compiler calls it by name, so its calls are wrapped. Bodies of regions and tasks
// are exchanged for bodies of ours, which say that the thread computes and call the program's.

#include "core/words.h"
#include "openmp/ompt.h"
#include "openmp/team.h"

#include <dlfcn.h>
#include <utility>

namespace fern::openmp {

namespace {

using Body = void (*)(void *);

enum class Call : unsigned {
#define FERN_GOMP_REGION(name, words) name,
#define FERN_GOMP_TASKS(name, words) name,
#define FERN_GOMP_RUNTIME(name, words) name,
#include "openmp/gompcalls.def"
    Count
};

constexpr const char *Names[] = {
#define FERN_GOMP_REGION(name, words) #name,
#define FERN_GOMP_TASKS(name, words) #name,
#define FERN_GOMP_RUNTIME(name, words) #name,
#include "openmp/gompcalls.def"
};

#define FERN_GOMP_REGION(name, words) using name##Type = Word(FERN_PARAMETERS_##words);
#define FERN_GOMP_TASKS(name, words) using name##Type = Word(FERN_PARAMETERS_##words);
#define FERN_GOMP_RUNTIME(name, words) using name##Type = Word(FERN_PARAMETERS_##words);
#include "openmp/gompcalls.def"

std::atomic<void *> functions[static_cast<unsigned>(Call::Count)];

// The next library's function; of one that was loaded by dlopen() for a module alone, as of an extension of
// Python, it is found through the code that called.
void *find(const char *name, const void *caller)
{
    void *function = dlsym(RTLD_NEXT, name);
    Dl_info info;
    if (function == nullptr && dladdr(caller, &info) != 0 && info.dli_fname != nullptr) {
        // It stays open, since `functions` keeps what was found.
        if (void *module = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD))
            function = dlsym(module, name);
    }
    dlerror(); // a program may ask for errors of its own only
    return function;
}

__attribute__((noinline, cold)) void *findAndKeep(Call call, const void *caller)
{
    void *function = find(Names[static_cast<unsigned>(call)], caller);
    functions[static_cast<unsigned>(call)].store(function, std::memory_order_relaxed);
    return function;
}

template <typename Type> inline __attribute__((always_inline)) Type *real(Call call, const void *caller)
{
    void *function = functions[static_cast<unsigned>(call)].load(std::memory_order_relaxed);
    if (__builtin_expect(function == nullptr, false))
        function = findAndKeep(call, caller);
    return reinterpret_cast<Type *>(function);
}

// The slot that a wrapper writes to; none if the runtime tells us itself what it does.
Slot *slotOfCaller()
{
    return isToolActive() ? nullptr : currentSlot;
}

// What a region's threads are handed instead of the program's data: in a cache line of its own, since the
// master goes on to write to its stack beside it.
struct alignas(64) RegionData {
    Word firstWord; // of the program's data: the runtime looks there for reductions
    Body body;
    void *data;
    Region region;
};

void runRegion(void *handed)
{
    const RegionData &given = *static_cast<const RegionData *>(handed);
    const Region region = given.region;
    Slot *slot = currentSlot;
    {
        const ComputeScope scope(slot);
        given.body(given.data);
    }
    // The master of the region may be gone from here on, and `given` with it.
    if (slot != nullptr && slot != region.master && isFree(*slot)) {
        joinTeam(*slot, region);
        doOnly(*slot, Slot::WaitsInTeam);
    }
}

// Tasks have no data of their own that we could add to, so there is a function of ours for each body that a
// program has; programs with more bodies have some that count as the runtime's.
constexpr unsigned MaxTaskBodies = 256;
std::atomic<Body> taskBodies[MaxTaskBodies];

template <unsigned Index> void runTask(void *data)
{
    const ComputeScope scope(slotOfCaller());
    taskBodies[Index].load(std::memory_order_relaxed)(data);
}

template <unsigned... Index> Body taskRunner(unsigned index, std::integer_sequence<unsigned, Index...>)
{
    static constexpr Body Runners[] = {runTask<Index>...};
    return Runners[index];
}

Body ourTaskBody(Body body)
{
    // Fibonacci hashing.
    const auto hash = reinterpret_cast<std::uint64_t>(body) * 0x9e3779b97f4a7c15;
    constexpr unsigned Tries = 16;
    for (unsigned i = 0; i < Tries; ++i) {
        const unsigned index = ((hash >> 32) + i) % MaxTaskBodies;
        Body known = nullptr;
        if (taskBodies[index].load(std::memory_order_relaxed) == body
            || taskBodies[index].compare_exchange_strong(known, body, std::memory_order_relaxed)
            || known == body)
            return taskRunner(index, std::make_integer_sequence<unsigned, MaxTaskBodies>());
    }
    return body;
}

} // namespace
} // namespace fern::openmp

using fern::CategoryScope;
using fern::Slot;
using fern::Word;
using namespace fern::openmp;

#define FERN_GOMP_WRAPPER(name, words)                                                                       \
    extern "C" __attribute__((visibility("default"))) Word name(FERN_PARAMETERS_##words)
// The real function, or the end of the wrapper: a program that asks whether there is a runtime finds our
// names.
#define FERN_GOMP_REAL(name)                                                                                 \
    auto *function = real<name##Type>(Call::name, __builtin_return_address(0));                              \
    if (function == nullptr)                                                                                 \
    return 0

#define FERN_GOMP_RUNTIME(name, words)                                                                       \
    FERN_GOMP_WRAPPER(name, words)                                                                           \
    {                                                                                                        \
        FERN_GOMP_REAL(name);                                                                                \
        Slot *slot = slotOfCaller();                                                                         \
        const CategoryScope scope(                                                                           \
            slot != nullptr ? runtimeCategory(*slot) : fern::spool::OpenMp, slot != nullptr);                \
        return function(FERN_ARGUMENTS_##words);                                                             \
    }

#define FERN_GOMP_TASKS(name, words)                                                                         \
    FERN_GOMP_WRAPPER(name, words)                                                                           \
    {                                                                                                        \
        FERN_GOMP_REAL(name);                                                                                \
        Slot *slot = slotOfCaller();                                                                         \
        const CategoryScope scope(                                                                           \
            slot != nullptr ? runtimeCategory(*slot) : fern::spool::OpenMp, slot != nullptr);                \
        if (slot != nullptr)                                                                                 \
            a0 = reinterpret_cast<Word>(ourTaskBody(reinterpret_cast<Body>(a0)));                            \
        return function(FERN_ARGUMENTS_##words);                                                             \
    }

#define FERN_GOMP_REGION(name, words)                                                                        \
    FERN_GOMP_WRAPPER(name, words)                                                                           \
    {                                                                                                        \
        FERN_GOMP_REAL(name);                                                                                \
        Slot *slot = slotOfCaller();                                                                         \
        if (slot == nullptr)                                                                                 \
            return function(FERN_ARGUMENTS_##words);                                                         \
        noteThreadNumber();                                                                                  \
        RegionData data{Call::name == Call::GOMP_parallel_reductions ? *reinterpret_cast<Word *>(a1) : 0,    \
            reinterpret_cast<Body>(a0), reinterpret_cast<void *>(a1), nextRegion(slot)};                     \
        a0 = reinterpret_cast<Word>(&runRegion);                                                             \
        a1 = reinterpret_cast<Word>(&data);                                                                  \
        const CategoryScope scope(fern::spool::OpenMpRuntimeInRegion);                                       \
        const Word result = function(FERN_ARGUMENTS_##words);                                                \
        leaveRegion(*slot);                                                                                  \
        return result;                                                                                       \
    }
#include "openmp/gompcalls.def"
