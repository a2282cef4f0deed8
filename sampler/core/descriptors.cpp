#include "core/descriptors.h"

#include "core/rawsystem.h"

#include <sys/stat.h>

namespace fern::descriptors {

std::atomic<unsigned char> kinds[Remembered];

namespace {

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
    Kind kind = rememberedKind(fd);
    if (kind == Unknown) {
        kind = askKernel(fd);
        if (static_cast<unsigned>(fd) < Remembered)
            kinds[fd].store(kind, std::memory_order_relaxed);
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
