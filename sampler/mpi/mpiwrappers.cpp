// The wrappers of MPI's calls, in C and in Fortran.

#include "core/categoryscope.h"
#include "core/processstate.h"
#include "core/words.h"
#include "mpi/payload.h"

namespace fern::mpi {

namespace {

// Whatever an MPI library's codes mean, 0 is success and this isn't: a program that only found out by
// our symbols that MPI is "there" learns that it isn't.
constexpr int NoMpi = 16;

enum class Call : unsigned {
#define FERN_MPI(Name, name, words, fortranWords, category, payload) Name,
#define FERN_MPI_C(Name, words) Name,
#define FERN_MPI_SPECIAL(Name, name, words, fortranWords) Name,
#include "mpi/mpicalls.def"
    Count
};

// The profiling entries. Their second letters begin the names that programs call.
constexpr const char *Names[static_cast<unsigned>(Call::Count)][static_cast<unsigned>(Binding::Count)] = {
#define FERN_MPI(Name, name, words, fortranWords, category, payload)                                         \
    {"PMPI_" #Name, "pmpi_" #name "_", "pmpi_" #name "_f08_"},
#define FERN_MPI_C(Name, words) {"PMPI_" #Name, nullptr, nullptr},
#define FERN_MPI_SPECIAL(Name, name, words, fortranWords)                                                    \
    {"PMPI_" #Name, "pmpi_" #name "_", "pmpi_" #name "_f08_"},
#include "mpi/mpicalls.def"
};

// Results travel as words, too: a C program looks at its lower half only, Fortran's subroutines at nothing.
#define FERN_MPI(Name, name, words, fortranWords, category, payload)                                         \
    using Name##Type = Word(FERN_PARAMETERS_##words);                                                        \
    using Name##FortranType = Word(FERN_PARAMETERS_##fortranWords);
#define FERN_MPI_C(Name, words) using Name##Type = Word(FERN_PARAMETERS_##words);
#define FERN_MPI_SPECIAL(Name, name, words, fortranWords)                                                    \
    using Name##Type = Word(FERN_PARAMETERS_##words);                                                        \
    using Name##FortranType = Word(FERN_PARAMETERS_##fortranWords);
#include "mpi/mpicalls.def"

std::atomic<Function> functions[static_cast<unsigned>(Call::Count)][static_cast<unsigned>(Binding::Count)];

// MPICH has no profiling entries for mpi_f08: there the next function of the call's own name is taken.
Function findCall(Call call, Binding binding, const void *caller)
{
    const char *name = Names[static_cast<unsigned>(call)][static_cast<unsigned>(binding)];
    Function function = find(name, caller);
    return function == nullptr && binding == Binding::Fortran2008 ? find(name + 1, caller) : function;
}

template <typename Type> Type *real(Call call, Binding binding, const void *caller)
{
    std::atomic<Function> &known = functions[static_cast<unsigned>(call)][static_cast<unsigned>(binding)];
    Function function = known.load(std::memory_order_relaxed);
    if (__builtin_expect(function == nullptr, false)) {
        function = findCall(call, binding, caller);
        known.store(function, std::memory_order_relaxed);
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

void noteFinalized()
{
    processState.flags.fetch_or(spool::FlagMpiFinalized, std::memory_order_relaxed);
}

// Fortran's results come by address, which mpi_f08 allows to be absent.
bool isSuccess(Word address)
{
    const int *result = reinterpret_cast<const int *>(address);
    return result == nullptr || *result == 0;
}

} // namespace
} // namespace fern::mpi

using fern::CategoryScope;
using fern::Slot;
using fern::mpi::Binding;
using fern::mpi::Word;
using namespace fern::mpi::payload;

#define FERN_MPI_ENTRY(symbol, words)                                                                        \
    extern "C" __attribute__((visibility("default"))) Word symbol(FERN_PARAMETERS_##words)

// The real function, or the end of the wrapper.
#define FERN_MPI_REAL(Name, type, binding)                                                                   \
    auto *function = fern::mpi::real<fern::mpi::Name##type>(                                                 \
        fern::mpi::Call::Name, Binding::binding, __builtin_return_address(0));                               \
    if (function == nullptr)                                                                                 \
    return fern::mpi::NoMpi

#define FERN_MPI_WRAPPER(Name, symbol, type, binding, words, kind, payload)                                  \
    FERN_MPI_ENTRY(symbol, words)                                                                            \
    {                                                                                                        \
        FERN_MPI_REAL(Name, type, binding);                                                                  \
        const CategoryScope scope(fern::spool::kind);                                                        \
        if (Slot *slot = scope.outermost()) {                                                                \
            const Word arguments[words + 1] = {FERN_ARGUMENTS_##words};                                      \
            fern::mpi::countPayload(                                                                         \
                *slot, fern::spool::kind, payload(fern::mpi::Arguments(arguments, Binding::binding)));       \
        }                                                                                                    \
        return function(FERN_ARGUMENTS_##words);                                                             \
    }

#define FERN_MPI(Name, name, words, fortranWords, kind, payload)                                             \
    FERN_MPI_WRAPPER(Name, MPI_##Name, Type, C, words, kind, payload)                                        \
    FERN_MPI_WRAPPER(Name, mpi_##name##_, FortranType, Fortran, fortranWords, kind, payload)                 \
    FERN_MPI_WRAPPER(Name, mpi_##name##_f08_, FortranType, Fortran2008, fortranWords, kind, payload)
#define FERN_MPI_C(Name, words) FERN_MPI_WRAPPER(Name, MPI_##Name, Type, C, words, MpiOther, none)
#include "mpi/mpicalls.def"

// Before and after are what happens around the real function, which gives `result`.
#define FERN_MPI_AROUND(Name, symbol, type, binding, words, before, after)                                   \
    FERN_MPI_ENTRY(symbol, words)                                                                            \
    {                                                                                                        \
        FERN_MPI_REAL(Name, type, binding);                                                                  \
        const CategoryScope scope(fern::spool::MpiOther);                                                    \
        before;                                                                                              \
        [[maybe_unused]] const Word result = function(FERN_ARGUMENTS_##words);                               \
        after;                                                                                               \
        return result;                                                                                       \
    }
#define FERN_MPI_AFTER(Name, name, words, fortranWords, error, action)                                       \
    FERN_MPI_AROUND(Name, MPI_##Name, Type, C, words, , if (static_cast<int>(result) == 0) action)           \
    FERN_MPI_AROUND(                                                                                         \
        Name, mpi_##name##_, FortranType, Fortran, fortranWords, , if (fern::mpi::isSuccess(error)) action)  \
    FERN_MPI_AROUND(Name, mpi_##name##_f08_, FortranType, Fortran2008, fortranWords, ,                       \
        if (fern::mpi::isSuccess(error)) action)

FERN_MPI_AFTER(Init, init, 2, 1, a0, fern::mpi::noteInitialised())
FERN_MPI_AFTER(Init_thread, init_thread, 4, 3, a2, fern::mpi::noteInitialised())
FERN_MPI_AFTER(Finalize, finalize, 0, 1, a0, fern::mpi::noteFinalized())

#define FERN_FORGET_FORTRAN_TYPE                                                                             \
    fern::mpi::forgetType(fern::mpi::typeFromFortran(*reinterpret_cast<const int *>(a0)))
FERN_MPI_AROUND(Type_free, MPI_Type_free, Type, C, 1, fern::mpi::forgetType(fern::mpi::handleAt(a0, 0)), )
FERN_MPI_AROUND(Type_free, mpi_type_free_, FortranType, Fortran, 2, FERN_FORGET_FORTRAN_TYPE, )
FERN_MPI_AROUND(Type_free, mpi_type_free_f08_, FortranType, Fortran2008, 2, FERN_FORGET_FORTRAN_TYPE, )
