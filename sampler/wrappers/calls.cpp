// The wrappers that follow from the table alone.

#include "core/sampler.h"
#include "wrappers/files.h"
#include "wrappers/hooks.h"

#include <errno.h>

using fern::isFile;

#define FERN_CALL(result, name, parameters, arguments, kind, condition)                                      \
    FERN_WRAPPER(result, name, parameters)                                                                   \
    {                                                                                                        \
        const fern::CategoryScope scope(fern::spool::kind, condition);                                       \
        return FERN_REAL(name) arguments;                                                                    \
    }
// Threads that aren't sampled take the lock as they ever did.
#define FERN_LOCK(result, name, parameters, arguments, tryCall, busy)                                        \
    FERN_WRAPPER(result, name, parameters)                                                                   \
    {                                                                                                        \
        if (fern::currentSlot == nullptr)                                                                    \
            return FERN_REAL(name) arguments;                                                                \
        if (const result tried = tryCall arguments; tried != (busy))                                         \
            return tried;                                                                                    \
        const fern::CategoryScope scope(fern::spool::PthreadSync);                                           \
        return FERN_REAL(name) arguments;                                                                    \
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
