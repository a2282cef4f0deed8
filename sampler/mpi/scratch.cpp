#include "mpi/scratch.h"

#include "core/rawsystem.h"

#include <atomic>
#include <sys/mman.h>

namespace fern::mpi {

namespace {

constexpr std::size_t Header = 16;

std::atomic<void *> spare{nullptr};

std::size_t sizeOf(const void *mapping)
{
    return *static_cast<const std::size_t *>(mapping);
}

void unmap(void *mapping)
{
    raw::call(SYS_munmap, raw::address(mapping), static_cast<long>(sizeOf(mapping)));
}

} // namespace

unsigned char *Scratch::map(std::size_t size)
{
    mMapped = spare.exchange(nullptr, std::memory_order_acquire);
    if (mMapped != nullptr && sizeOf(mMapped) < size + Header) {
        unmap(mMapped);
        mMapped = nullptr;
    }
    if (mMapped == nullptr) {
        const long room = raw::call(SYS_mmap, 0, static_cast<long>(size + Header), PROT_READ | PROT_WRITE,
            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (room < 0 && room > -4096)
            return nullptr;
        mMapped = reinterpret_cast<void *>(room);
        // cppcheck-suppress nullPointerRedundantCheck; the kernel gives an address or an error
        *static_cast<std::size_t *>(mMapped) = size + Header;
    }
    // cppcheck-suppress nullPointerArithmeticRedundantCheck; the kernel gives an address or an error
    return static_cast<unsigned char *>(mMapped) + Header;
}

Scratch::~Scratch()
{
    if (mMapped == nullptr)
        return;
    if (void *older = spare.exchange(mMapped, std::memory_order_release))
        unmap(older);
}

} // namespace fern::mpi
