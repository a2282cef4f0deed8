#include "core/census.h"

#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace fern::census {

namespace {

// The file: how many ranks are there, by the size of their world. A script may run jobs of several sizes.
struct World {
    std::atomic<std::int32_t> size; // 0: a free place
    std::atomic<std::int32_t> present;
};
constexpr std::uint32_t Worlds = 512;
constexpr long FileSize = Worlds * sizeof(World);

World *world = nullptr;
std::int32_t local = 0; // ranks of the world on this node; 0 if unknown
std::atomic<std::int32_t> enteredProcess{0}; // a forked child hasn't

// By the kernel's number of this start: containers of one node may have names of their own.
int openFile()
{
    char node[37] = {}; // 36 letters
    const int source = raw::open("/proc/sys/kernel/random/boot_id");
    const long length = raw::call(SYS_pread64, source, raw::address(node), sizeof(node) - 1, 0);
    raw::close(source);
    TextBuilder<4608> path;
    path << settings.spoolFolder << "/" << node << Suffix;
    if (length <= 0 || path.text() == nullptr)
        return -1;
    return raw::open(path.text(), O_RDWR | O_CREAT | O_NOFOLLOW, 0600);
}

World *mapFile()
{
    const int file = openFile();
    if (file < 0)
        return nullptr;
    // Touching a page that the disk has no room for would end the program.
    long memory = raw::call(SYS_fallocate, file, 0, 0, FileSize);
    if (memory == 0)
        memory = raw::call(SYS_mmap, 0, FileSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    raw::close(file);
    return memory < 0 && memory > -4096 ? nullptr : reinterpret_cast<World *>(memory);
}

World *placeOf(World *worlds, std::int32_t size)
{
    for (std::uint32_t i = 0; i < Worlds; ++i) {
        World &place = worlds[(static_cast<std::uint32_t>(size) + i) % Worlds];
        std::int32_t found = 0;
        if (place.size.compare_exchange_strong(found, size) || found == size)
            return &place;
    }
    return nullptr;
}

} // namespace

void enter(std::int32_t worldSize, std::int32_t localSize)
{
    static std::atomic<bool> hasBegun{false}; // Fortran's MPI_Init may call that of C
    if (hasBegun.exchange(true))
        return;
    World *worlds = mapFile();
    world = worlds != nullptr ? placeOf(worlds, worldSize) : nullptr;
    if (world == nullptr)
        return;
    local = localSize < worldSize ? localSize : worldSize;
    world->present.fetch_add(1);
    enteredProcess.store(raw::getpid(), std::memory_order_release);
}

void leave()
{
    std::int32_t process = raw::getpid();
    if (enteredProcess.compare_exchange_strong(process, 0))
        world->present.fetch_sub(1);
}

Presence presence()
{
    if (enteredProcess.load(std::memory_order_acquire) != raw::getpid())
        return Presence::Unknown;
    const std::int32_t count = world->present.load(std::memory_order_acquire);
    if (count >= world->size.load(std::memory_order_relaxed))
        return Presence::All;
    return count < local ? Presence::Incomplete : Presence::Unknown;
}

} // namespace fern::census
