#ifndef SAMPLER_MPI_HELPER_H
#define SAMPLER_MPI_HELPER_H

#include "mpi/mpilibrary.h"

#include <atomic>

namespace fern::mpi {

// A function of MPI that the sampler itself calls, found at its first call.
template <typename Result, typename... Arguments> class Helper {
public:
    explicit constexpr Helper(const char *name)
        : mName(name)
    {
    }
    // What MPI gives, or -1 if there is no such function.
    Result operator()(Arguments... arguments)
    {
        Function function = mFunction.load(std::memory_order_relaxed);
        if (function == nullptr) {
            function = find(mName, nullptr);
            mFunction.store(function, std::memory_order_relaxed);
        }
        return function != nullptr ? reinterpret_cast<Result (*)(Arguments...)>(function)(arguments...) : -1;
    }

private:
    const char *mName;
    std::atomic<Function> mFunction{nullptr};
};

} // namespace fern::mpi

#endif
