#include "core/placement.h"

#include "core/rawsystem.h"

#include <cstddef>

// From the C library 2.35 on: where each thread's area for restartable sequences lies, from its thread
// pointer.
extern "C" const std::ptrdiff_t __rseq_offset __attribute__((weak)); // NOLINT(*-reserved-identifier,cert-dcl*)

namespace fern {

namespace {

// The area begins as the kernel's struct rseq does.
struct RestartableSequences {
    std::uint32_t processorAtStart;
    std::uint32_t processor; // that the thread runs on or ran on last; MaxProcessors or more if nobody tells
};

constexpr std::uint32_t MaxProcessors = 8192;
constexpr std::uint32_t WordBits = 64;
std::uint64_t mask[MaxProcessors / WordBits];

const void *firstThread = nullptr;

} // namespace

void Placement::adoptMainThread()
{
    const char *const thread = static_cast<const char *>(__builtin_thread_pointer());
    if (firstThread == nullptr)
        firstThread = thread;
    mMainProcessor = nullptr;
    // The memory of a child's main thread that was another thread at the parent's may be given back at its
    // end.
    if (&__rseq_offset != nullptr && thread == firstThread)
        mMainProcessor
            = &reinterpret_cast<const volatile RestartableSequences *>(thread + __rseq_offset)->processor;
}

std::uint32_t Placement::wanted(bool isNodeFull) const
{
    const std::uint32_t processor = isNodeFull && mMainProcessor != nullptr ? *mMainProcessor : Anywhere;
    return processor < MaxProcessors ? processor : Anywhere;
}

void Placement::move(bool isNodeFull)
{
    const std::uint32_t processor = wanted(isNodeFull);
    mProcessor = processor;
    long size = sizeof(mask);
    if (processor != Anywhere) {
        for (std::uint64_t &word : mask)
            word = 0;
        mask[processor / WordBits] = std::uint64_t(1) << processor % WordBits;
    } else {
        size = raw::call(SYS_sched_getaffinity, raw::getpid(), sizeof(mask), raw::address(mask));
    }
    if (size > 0)
        raw::call(SYS_sched_setaffinity, 0, size, raw::address(mask));
}

} // namespace fern
