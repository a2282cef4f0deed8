#include "mpi/handover.h"

#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"
#include "core/wholefile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace fern::mpi::handover {

namespace {

using Name = TextBuilder<128>;

Name nameOf(std::int64_t world, int rank)
{
    Name name;
    name << static_cast<std::uint64_t>(world) << "-" << static_cast<std::uint64_t>(rank) << Suffix;
    return name;
}

// A file's bytes, which outlive its name and descriptor; nullptr if there are none.
unsigned char *map(int file, std::size_t *size)
{
    struct stat status { };
    if (raw::call(SYS_fstat, file, raw::address(&status)) != 0 || status.st_size <= 0)
        return nullptr;
    const long memory = raw::call(SYS_mmap, 0, status.st_size, PROT_READ, MAP_PRIVATE, file, 0);
    *size = static_cast<std::size_t>(status.st_size);
    return memory < 0 && memory > -4096 ? nullptr : reinterpret_cast<unsigned char *>(memory);
}

} // namespace

std::int64_t place(const char *hostname)
{
    struct stat status { };
    const int folder = raw::open(settings.spoolFolder, O_DIRECTORY | O_PATH);
    const bool isKnown = raw::call(SYS_fstat, folder, raw::address(&status)) == 0;
    raw::close(folder);
    const std::uint64_t number = hashOf(status.st_ino, hashOf(status.st_dev, hashOf(hostname)));
    return isKnown ? static_cast<std::int64_t>(number >> 2 | 1) : 0;
}

bool give(std::int64_t world, int rank, const void *bytes, std::size_t size)
{
    const Name name = nameOf(world, rank);
    return name.text() != nullptr && writeWholeFile(settings.spoolFolder, name.text(), bytes, size);
}

unsigned char *take(std::int64_t world, int rank, std::size_t *size, Patience patience)
{
    TextBuilder<4608> path;
    const Name name = nameOf(world, rank);
    if (name.text() == nullptr)
        return nullptr;
    path << settings.spoolFolder << "/" << name.text();
    if (path.text() == nullptr)
        return nullptr;
    int file = raw::open(path.text(), O_NOFOLLOW);
    while (file < 0 && patience.wait())
        file = raw::open(path.text(), O_NOFOLLOW);
    if (file < 0)
        return nullptr;
    unsigned char *bytes = map(file, size);
    raw::call(SYS_unlinkat, AT_FDCWD, raw::address(path.text()), 0);
    raw::close(file);
    return bytes;
}

} // namespace fern::mpi::handover
