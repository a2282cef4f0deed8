// The wrappers that follow from the table alone.

#include "core/sampler.h"
#include "wrappers/files.h"
#include "wrappers/hooks.h"

using fern::isFile;

#define FERN_CALL(result, name, parameters, arguments, kind, condition)                                      \
    FERN_WRAPPER(result, name, parameters)                                                                   \
    {                                                                                                        \
        const fern::CategoryScope scope(fern::spool::kind, condition);                                       \
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
