#ifndef SAMPLER_ACCELERATOR_ACCELERATORLIBRARY_H
#define SAMPLER_ACCELERATOR_ACCELERATORLIBRARY_H

// The real functions behind the wrapped calls of accelerators' libraries, whichever the program has. None is
// linked: arguments travel as machine words.

#include "core/words.h"

namespace fern::accelerator {

enum class Library : unsigned { CudaRuntime, CudaDriver, Hip };

enum class Call : unsigned {
#define FERN_ACCELERATOR(library, name, words) name,
#include "accelerator/acceleratorcalls.def"
    Count
};

using Function = void (*)();

// The function that the code at `caller` would have called if the wrapper weren't there. nullptr if the
// process has no such function. Quick but for a caller's first call; leaves errno alone.
Function find(Call call, const void *caller);

// What a library's calls give where the library is missing or hasn't found its device.
Word codeWithout(Library library);

} // namespace fern::accelerator

#endif
