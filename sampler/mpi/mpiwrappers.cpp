// The wrappers of MPI's C binding.

#include "core/categoryscope.h"
#include "core/processstate.h"
#include "mpi/mpilibrary.h"
#include "mpi/payload.h"

#include <stddef.h>

#define FERN_PARAMETERS_0 void
#define FERN_PARAMETERS_1 Word a0
#define FERN_PARAMETERS_2 FERN_PARAMETERS_1, Word a1
#define FERN_PARAMETERS_3 FERN_PARAMETERS_2, Word a2
#define FERN_PARAMETERS_4 FERN_PARAMETERS_3, Word a3
#define FERN_PARAMETERS_5 FERN_PARAMETERS_4, Word a4
#define FERN_PARAMETERS_6 FERN_PARAMETERS_5, Word a5
#define FERN_PARAMETERS_7 FERN_PARAMETERS_6, Word a6
#define FERN_PARAMETERS_8 FERN_PARAMETERS_7, Word a7
#define FERN_PARAMETERS_9 FERN_PARAMETERS_8, Word a8
#define FERN_PARAMETERS_10 FERN_PARAMETERS_9, Word a9
#define FERN_PARAMETERS_11 FERN_PARAMETERS_10, Word a10
#define FERN_PARAMETERS_12 FERN_PARAMETERS_11, Word a11

#define FERN_ARGUMENTS_0
#define FERN_ARGUMENTS_1 a0
#define FERN_ARGUMENTS_2 FERN_ARGUMENTS_1, a1
#define FERN_ARGUMENTS_3 FERN_ARGUMENTS_2, a2
#define FERN_ARGUMENTS_4 FERN_ARGUMENTS_3, a3
#define FERN_ARGUMENTS_5 FERN_ARGUMENTS_4, a4
#define FERN_ARGUMENTS_6 FERN_ARGUMENTS_5, a5
#define FERN_ARGUMENTS_7 FERN_ARGUMENTS_6, a6
#define FERN_ARGUMENTS_8 FERN_ARGUMENTS_7, a7
#define FERN_ARGUMENTS_9 FERN_ARGUMENTS_8, a8
#define FERN_ARGUMENTS_10 FERN_ARGUMENTS_9, a9
#define FERN_ARGUMENTS_11 FERN_ARGUMENTS_10, a10
#define FERN_ARGUMENTS_12 FERN_ARGUMENTS_11, a11

namespace fern::mpi {

namespace {

// Whatever an MPI library's codes mean, 0 is success and this isn't: a program that only found out by
// our symbols that MPI is "there" learns that it isn't.
constexpr int NoMpi = 16;

enum class Call : unsigned {
#define FERN_MPI(name, argumentCount, category, payload) name,
#define FERN_MPI_SPECIAL(name, argumentCount) name,
#include "mpi/mpicalls.def"
    Count
};

constexpr const char *Names[] = {
#define FERN_MPI(name, argumentCount, category, payload) "PMPI_" #name,
#define FERN_MPI_SPECIAL(name, argumentCount) "PMPI_" #name,
#include "mpi/mpicalls.def"
};

#define FERN_MPI(name, argumentCount, category, payload)                                                     \
    using name##Type = int(FERN_PARAMETERS_##argumentCount);
#define FERN_MPI_SPECIAL(name, argumentCount) using name##Type = int(FERN_PARAMETERS_##argumentCount);
#include "mpi/mpicalls.def"

std::atomic<Function> functions[static_cast<unsigned>(Call::Count)];

template <typename Type> Type *real(Call call, const void *caller)
{
    const auto index = static_cast<unsigned>(call);
    Function function = functions[index].load(std::memory_order_relaxed);
    if (__builtin_expect(function == nullptr, false)) {
        function = find(Names[index], caller);
        functions[index].store(function, std::memory_order_relaxed);
    }
    return reinterpret_cast<Type *>(function);
}

// Only the thread itself writes its slot, so no read-modify-write is needed.
void addBytes(std::atomic<std::uint64_t> &counter, std::uint64_t bytes)
{
    if (bytes != 0)
        counter.store(counter.load(std::memory_order_relaxed) + bytes, std::memory_order_relaxed);
}

void countPayload(Slot &slot, spool::Category category, std::uint64_t bytes)
{
    if (category == spool::MpiCollective)
        addBytes(slot.mpiCollectiveBytes, bytes);
    else if (category == spool::MpiPointToPoint)
        addBytes(slot.mpiPointToPointBytes, bytes);
}

void noteInitialised()
{
    processState.mpiRank.store(rankIn(world()), std::memory_order_relaxed);
    processState.mpiSize.store(sizeOf(world()), std::memory_order_relaxed);
    processState.flags.fetch_or(spool::FlagMpi, std::memory_order_relaxed);
}

} // namespace
} // namespace fern::mpi

#define FERN_MPI_WRAPPER(name, argumentCount)                                                                \
    extern "C" __attribute__((visibility("default"))) int MPI_##name(FERN_PARAMETERS_##argumentCount)

// The real function, or the end of the wrapper.
#define FERN_MPI_REAL(name)                                                                                  \
    auto *function                                                                                           \
        = fern::mpi::real<fern::mpi::name##Type>(fern::mpi::Call::name, __builtin_return_address(0));        \
    if (function == nullptr)                                                                                 \
    return fern::mpi::NoMpi

using fern::CategoryScope;
using fern::Slot;
using fern::mpi::Word;
using namespace fern::mpi::payload;

#define FERN_MPI(name, argumentCount, kind, payload)                                                         \
    FERN_MPI_WRAPPER(name, argumentCount)                                                                    \
    {                                                                                                        \
        FERN_MPI_REAL(name);                                                                                 \
        const CategoryScope scope(fern::spool::kind);                                                        \
        if (Slot *slot = scope.outermost()) {                                                                \
            const Word words[] = {FERN_ARGUMENTS_##argumentCount};                                           \
            fern::mpi::countPayload(*slot, fern::spool::kind, payload(words));                               \
        }                                                                                                    \
        return function(FERN_ARGUMENTS_##argumentCount);                                                     \
    }
#include "mpi/mpicalls.def"

FERN_MPI_WRAPPER(Init, 2)
{
    FERN_MPI_REAL(Init);
    const CategoryScope scope(fern::spool::MpiOther);
    const int result = function(a0, a1);
    if (result == 0)
        fern::mpi::noteInitialised();
    return result;
}

FERN_MPI_WRAPPER(Init_thread, 4)
{
    FERN_MPI_REAL(Init_thread);
    const CategoryScope scope(fern::spool::MpiOther);
    const int result = function(a0, a1, a2, a3);
    if (result == 0)
        fern::mpi::noteInitialised();
    return result;
}

FERN_MPI_WRAPPER(Finalize, 0)
{
    FERN_MPI_REAL(Finalize);
    const CategoryScope scope(fern::spool::MpiOther);
    const int result = function();
    if (result == 0)
        fern::processState.flags.fetch_or(fern::spool::FlagMpiFinalized, std::memory_order_relaxed);
    return result;
}

FERN_MPI_WRAPPER(Type_free, 1)
{
    FERN_MPI_REAL(Type_free);
    const CategoryScope scope(fern::spool::MpiOther);
    fern::mpi::forgetTypeAt(a0);
    return function(a0);
}
