#ifndef SAMPLER_WRAPPERS_HOOKS_H
#define SAMPLER_WRAPPERS_HOOKS_H

// The real functions behind the wrapped calls of the C library.

#include <pthread.h>
#include <semaphore.h>
#include <setjmp.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <threads.h>
#include <time.h>
#include <wchar.h>

// A wrapper carries the name of what it wraps as its symbol only, so that its C++ name doesn't clash
// with the headers' declarations, which differ from one C library to the next in their attributes.
#define FERN_WRAPPER(result, name, parameters)                                                               \
    extern "C" result wrapped_##name parameters __asm__(#name);                                              \
    extern "C" __attribute__((visibility("default"))) result wrapped_##name parameters

namespace fern::hooks {

enum class Id : unsigned {
#define FERN_CALL(result, name, parameters, arguments, category, condition) name,
#define FERN_ALONE(result, name, parameters, arguments) name,
#define FERN_SPECIAL(result, name, parameters) name,
#include "wrappers/calls.def"
    Count
};

#define FERN_CALL(result, name, parameters, arguments, category, condition)                                  \
    using name##Type = result parameters;
#define FERN_ALONE(result, name, parameters, arguments) using name##Type = result parameters;
#define FERN_SPECIAL(result, name, parameters) using name##Type = result parameters;
#include "wrappers/calls.def"

extern void *functions[static_cast<unsigned>(Id::Count)];

const char *nameOf(Id id);

// Looks up every function: the dynamic linker takes locks that a wrapper mustn't take.
void findAll();
// For a wrapper that is called before that, by another library's initialisation.
void *find(Id id);

// nullptr if it wasn't looked up yet.
template <typename Type> Type *known(Id id)
{
    return reinterpret_cast<Type *>(functions[static_cast<unsigned>(id)]);
}

template <typename Type> Type *real(Id id)
{
    void *function = functions[static_cast<unsigned>(id)];
    if (__builtin_expect(function == nullptr, false))
        function = find(id);
    return reinterpret_cast<Type *>(function);
}

} // namespace fern::hooks

// The real function of a wrapped call, with its type.
#define FERN_REAL(name) (fern::hooks::real<fern::hooks::name##Type>(fern::hooks::Id::name))
#define FERN_KNOWN(name) (fern::hooks::known<fern::hooks::name##Type>(fern::hooks::Id::name))

#endif
