#ifndef SAMPLER_CORE_PLACEMENT_H
#define SAMPLER_CORE_PLACEMENT_H

#include <cstdint>

namespace fern {

// Which processor the sampling thread runs on. A node with processors to spare has an idle one for it. On a
// full one it takes that of somebody who computes, often of another process of the job: who waits for that
// one would be seen waiting. So it goes to the main thread's own, which is stopped for the look.
class Placement {
public:
    // By the process's main thread, the forked child's as well.
    void adoptMainThread();
    // A new sampling thread, which runs wherever its maker may.
    void begin() { mProcessor = Anywhere; }

    // Whether the sampling thread would have to be moved to be right.
    bool wantsMove(bool isNodeFull) const { return wanted(isNodeFull) != mProcessor; }
    // By the sampling thread: goes to the main thread's processor, or wherever that may be.
    void move(bool isNodeFull);

private:
    static constexpr std::uint32_t Anywhere = ~0U;

    std::uint32_t wanted(bool isNodeFull) const;

    const volatile std::uint32_t *mMainProcessor = nullptr; // kept up to date by the kernel; null if it isn't
    std::uint32_t mProcessor = Anywhere; // that we are bound to
};

} // namespace fern

#endif
