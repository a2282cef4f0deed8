#ifndef SAMPLER_MPI_WRAPPER_H
#define SAMPLER_MPI_WRAPPER_H

// What the generated wrappers are made of. Results travel as words, too: a C program looks at its lower half
// only, Fortran's subroutines at nothing.

#include "core/categoryscope.h"
#include "mpi/actions.h"
#include "mpi/lifecycle.h"

#include <utility>

namespace fern::mpi {

// A name as in C, without "MPI_", and where it was called from.
struct Call {
    const char *name;
    const void *caller;
};

// The function that a wrapper stands in for.
struct Real {
    Function function; // nullptr if there is none
    bool isMpi; // else it is something of the same name that has nothing to do with MPI
};

Real findReal(Binding binding, Call call);

// Of one call and binding: where the real function is known once it was found.
using Known = std::atomic<Function>;

constexpr int InC = -1; // in place of the argument that Fortran's result code has

namespace wrapping {

template <typename... Words> Word invoke(Function function, Words... words)
{
    return reinterpret_cast<Word (*)(Words...)>(function)(words...);
}

template <std::size_t... I>
inline __attribute__((always_inline)) Word invokeWith(
    Function function, const Word *words, std::index_sequence<I...> /*numbers*/)
{
    return invoke(function, words[I]...);
}

// Where the real function isn't MPI's, or isn't there: the caller learns that as from any call that fails.
template <int Result, typename... Words>
__attribute__((noinline, cold)) Word withoutMpi(const Real &real, Words... words)
{
    if (real.function != nullptr)
        return invoke(real.function, words...);
    const int code = noSuchCall();
    if constexpr (Result >= 0) {
        const Word all[] = {words...};
        if (all[Result] != 0)
            *reinterpret_cast<int *>(all[Result]) = code;
    }
    return code;
}

// Fortran's results come by address, which mpi_f08 allows to be absent.
template <int Result> bool isSuccess(Word result, const Word *words)
{
    if constexpr (Result == InC) {
        return static_cast<int>(result) == 0;
    } else {
        const int *code = reinterpret_cast<const int *>(words[Result]);
        return code == nullptr || *code == 0;
    }
}

} // namespace wrapping

// A wrapper's body: says what the thread does, and counts if the thread didn't do something else before.
// `Result` is the number of Fortran's result code.
template <Binding B, Counts Size, spool::Category Category, class Action, int Result, typename... Words>
inline __attribute__((always_inline)) Word wrap(Known &known, Call call, Words... arguments)
{
    Function function = known.load(std::memory_order_relaxed);
    if (__builtin_expect(function == nullptr, false)) {
        const Real real = findReal(B, call);
        if (!real.isMpi)
            return wrapping::withoutMpi<Result>(real, arguments...);
        function = real.function;
        known.store(function, std::memory_order_relaxed);
    }
    const CategoryScope scope(Category);
    Slot *const slot = scope.outermost();
    if (slot == nullptr)
        return wrapping::invoke(function, arguments...);
    Word words[sizeof...(Words) + 1] = {arguments..., 0};
    Arguments<B, Size> a(words);
    Action action;
    action.before(a);
    const Word result = wrapping::invokeWith(function, words, std::index_sequence_for<Words...>());
    if (wrapping::isSuccess<Result>(result, words))
        action.after(a, Account(*slot, Category));
    return result;
}

// The same for calls that change what the sampler knows: these count always.
template <Binding B, class Hook, int Result, typename... Words>
inline __attribute__((always_inline)) Word wrapAround(Known &known, Call call, Words... arguments)
{
    Function function = known.load(std::memory_order_relaxed);
    if (__builtin_expect(function == nullptr, false)) {
        const Real real = findReal(B, call);
        if (!real.isMpi)
            return wrapping::withoutMpi<Result>(real, arguments...);
        function = real.function;
        known.store(function, std::memory_order_relaxed);
    }
    const CategoryScope scope(spool::MpiOther);
    Word words[sizeof...(Words) + 1] = {arguments..., 0};
    const Arguments<B, Counts::Int> a(words);
    Hook::before(a);
    const Word result = wrapping::invoke(function, arguments...);
    if (wrapping::isSuccess<Result>(result, words))
        Hook::after(a);
    return result;
}

} // namespace fern::mpi

#endif
