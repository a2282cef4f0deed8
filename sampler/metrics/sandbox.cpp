#include "metrics/sandbox.h"

#include "core/text.h"

namespace fern {

void Sandbox::begin(bool isMadeByMainThread)
{
    // What the kernel remembers of names in a thread's own folder goes when the thread does. A thread that
    // ends together with the process may be kept from it by who waits for the process, and turns in circles
    // for it.
    mStatus.open(isMadeByMainThread ? "/proc/self/status" : "/proc/thread-self/status");
    isTighter();
}

bool Sandbox::isTighter()
{
    if (mIsTighter)
        return true;
    const char *text = mStatus.read();
    const char *value = text != nullptr ? afterLabel(text, "Seccomp_filters:") : nullptr;
    if (value == nullptr && text != nullptr)
        value = afterLabel(text, "Seccomp:"); // kernels before 5.9
    const std::uint64_t filters = value != nullptr ? takeNumber(value) : 0;
    if (!mKnowsFilters)
        mFilters = filters;
    mKnowsFilters = true;
    mIsTighter = filters > mFilters;
    return mIsTighter;
}

} // namespace fern
