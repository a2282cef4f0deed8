#ifndef SAMPLER_CORE_CATEGORYSCOPE_H
#define SAMPLER_CORE_CATEGORYSCOPE_H

#include "core/threadregistry.h"

namespace fern {

// Says what the calling thread does until the end of the block. Nested scopes change nothing: a write
// inside an MPI call is MPI. A thread that isn't sampled is left alone.
class CategoryScope {
public:
    // Without `applies` the scope does nothing.
    explicit inline __attribute__((always_inline))
    CategoryScope(spool::Category category, bool applies = true)
        : mSlot(applies ? currentSlot : nullptr)
    {
        if (mSlot == nullptr)
            return;
        if (mSlot->category.load(std::memory_order_relaxed) == mSlot->ownCategory) {
            mSlot->category.store(category, std::memory_order_relaxed);
        } else {
            mSlot = nullptr;
        }
    }
    ~CategoryScope()
    {
        if (mSlot == nullptr)
            return;
        mSlot->category.store(mSlot->ownCategory, std::memory_order_relaxed);
        // Counted here and not above: a system call waits for what was written just before it.
        mSlot->calls.store(mSlot->calls.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    CategoryScope(const CategoryScope &) = delete;
    CategoryScope &operator=(const CategoryScope &) = delete;

    // The slot if this scope is the outermost one, else nullptr: who counts calls or bytes counts here.
    Slot *outermost() const { return mSlot; }

private:
    Slot *mSlot;
};

} // namespace fern

#endif
