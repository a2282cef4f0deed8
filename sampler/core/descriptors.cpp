#include "core/descriptors.h"

#include "core/rawsystem.h"

#include <atomic>
#include <sys/stat.h>

namespace fern::descriptors {

namespace {

enum Kind : unsigned char { Unknown, File, Other };

// Descriptors beyond are asked for every time.
constexpr unsigned Remembered = 4096;
std::atomic<unsigned char> kinds[Remembered];

Kind askKernel(int fd)
{
    struct stat status { };
    if (raw::call(SYS_fstat, fd, raw::address(&status)) != 0)
        return Unknown;
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode) || S_ISBLK(status.st_mode) ? File : Other;
}

} // namespace

bool isFile(int fd)
{
    if (fd < 0)
        return false;
    const auto index = static_cast<unsigned>(fd);
    if (index >= Remembered)
        return askKernel(fd) == File;
    unsigned char kind = kinds[index].load(std::memory_order_relaxed);
    if (kind == Unknown) {
        kind = askKernel(fd);
        kinds[index].store(kind, std::memory_order_relaxed);
    }
    return kind == File;
}

void forget(int fd)
{
    if (fd >= 0 && static_cast<unsigned>(fd) < Remembered)
        kinds[fd].store(Unknown, std::memory_order_relaxed);
}

void forgetAll()
{
    for (std::atomic<unsigned char> &kind : kinds)
        kind.store(Unknown, std::memory_order_relaxed);
}

} // namespace fern::descriptors
