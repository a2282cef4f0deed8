// The wrappers that follow from the table alone.

#include "core/sampler.h"
#include "wrappers/files.h"
#include "wrappers/hooks.h"
#include "wrappers/locks.h"

#include <errno.h>

using fern::isFile;
using fern::isTaken;
using fern::isTakenByWriter;

namespace {

// What a row's condition says without a question to the kernel.
enum class Answer : unsigned char { Unknown, Yes, No };

inline Answer answer(bool holds)
{
    return holds ? Answer::Yes : Answer::No;
}

inline Answer answer(const fern::FileAnswer &isFile)
{
    const fern::descriptors::Kind kind = isFile.remembered();
    return kind == fern::descriptors::Unknown ? Answer::Unknown : answer(kind == fern::descriptors::File);
}

} // namespace

// What takes a question, to the dynamic linker or to the kernel, has a function of its own: the wrapper needs
// no place for its arguments then, and is half as long.
#define FERN_CALL(result, name, parameters, arguments, kind, condition)                                      \
    static __attribute__((noinline, cold)) result ask_##name parameters                                      \
    {                                                                                                        \
        const fern::CategoryScope scope(fern::spool::kind, condition);                                       \
        return FERN_REAL(name) arguments;                                                                    \
    }                                                                                                        \
    FERN_WRAPPER(result, name, parameters)                                                                   \
    {                                                                                                        \
        auto *const function = FERN_KNOWN(name);                                                             \
        if (__builtin_expect(function == nullptr, false))                                                    \
            return ask_##name arguments;                                                                     \
        if (fern::currentSlot == nullptr)                                                                    \
            return function arguments;                                                                       \
        const Answer applies = answer(condition);                                                            \
        if (applies == Answer::No)                                                                           \
            return function arguments;                                                                       \
        if (__builtin_expect(applies == Answer::Unknown, false))                                             \
            return ask_##name arguments;                                                                     \
        const fern::CategoryScope scope(fern::spool::kind);                                                  \
        return function arguments;                                                                           \
    }
#define FERN_ALONE(result, name, parameters, arguments)                                                      \
    FERN_WRAPPER(result, name, parameters)                                                                   \
    {                                                                                                        \
        const bool isPaused = fern::sampler::pause();                                                        \
        const result value = FERN_REAL(name) arguments;                                                      \
        if (isPaused)                                                                                        \
            fern::sampler::resume();                                                                         \
        return value;                                                                                        \
    }
#include "wrappers/calls.def"
