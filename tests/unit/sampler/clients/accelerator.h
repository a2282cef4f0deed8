#ifndef TESTS_SAMPLER_CLIENTS_ACCELERATOR_H
#define TESTS_SAMPLER_CLIENTS_ACCELERATOR_H

// A stand-in for an accelerator's library, made from the sampler's table of calls: each call takes as long as
// it was told to and answers with a number that tells its name, its arguments and which library it came from.

#include "core/words.h"

using fern::Word;

// The rows of one library: LIBRARY_NAME is defined when a program or a stand-in is compiled.
#if defined(LIBRARY_CudaRuntime)
#define FERN_ROW_CudaRuntime(name, words) STAND_IN_CALL(name, words)
#else
#define FERN_ROW_CudaRuntime(name, words)
#endif
#if defined(LIBRARY_CudaDriver)
#define FERN_ROW_CudaDriver(name, words) STAND_IN_CALL(name, words)
#else
#define FERN_ROW_CudaDriver(name, words)
#endif
#if defined(LIBRARY_Hip)
#define FERN_ROW_Hip(name, words) STAND_IN_CALL(name, words)
#else
#define FERN_ROW_Hip(name, words)
#endif

// How long the next calls take, in seconds, and whether they burn processor time meanwhile, as drivers do.
extern "C" void standInTakes(double duration, bool burns);

// What a call answers; positive.
inline Word standInAnswer(int identity, const char *name, const Word *arguments, int count)
{
    std::uint64_t sum = static_cast<std::uint64_t>(identity);
    for (; *name != '\0'; ++name)
        sum = sum * 31 + static_cast<unsigned char>(*name);
    for (int i = 0; i < count; ++i)
        sum = sum * 31 + static_cast<std::uint64_t>(arguments[i]);
    return static_cast<Word>((sum ^ sum >> 32) & 0x7fffffff);
}

#endif
