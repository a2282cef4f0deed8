// The wrappers of the calls that wait for an accelerator.

#include "accelerator/acceleratorlibrary.h"
#include "core/categoryscope.h"

namespace accelerator = fern::accelerator;
using fern::Word;

// Results travel as words, too: a program looks at the lower half only.
#define FERN_ACCELERATOR(library, name, words)                                                               \
    extern "C" __attribute__((visibility("default"))) Word name(FERN_PARAMETERS_##words)                     \
    {                                                                                                        \
        const accelerator::Function function                                                                 \
            = accelerator::find(accelerator::Call::name, __builtin_return_address(0));                       \
        if (__builtin_expect(function == nullptr, false))                                                    \
            return accelerator::codeWithout(accelerator::Library::library);                                  \
        const fern::CategoryScope scope(fern::spool::Accelerator);                                           \
        return reinterpret_cast<Word (*)(FERN_PARAMETERS_##words)>(function)(FERN_ARGUMENTS_##words);        \
    }
#include "accelerator/acceleratorcalls.def"
