// Opening takes a mode only if it may create a file; closing and duplicating change what a descriptor is.

#include "wrappers/files.h"
#include "wrappers/hooks.h"

#include <fcntl.h>

using fern::CategoryScope;
using fern::isFile;

namespace {

bool wantsMode(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

} // namespace

#define FERN_OPEN(name, parameters, first)                                                                   \
    FERN_WRAPPER(int, name, parameters)                                                                      \
    {                                                                                                        \
        mode_t mode = 0;                                                                                     \
        if (wantsMode(flags)) {                                                                              \
            va_list list;                                                                                    \
            va_start(list, flags);                                                                           \
            mode = va_arg(list, mode_t);                                                                     \
            va_end(list);                                                                                    \
        }                                                                                                    \
        const CategoryScope scope(fern::spool::IoOther);                                                     \
        return FERN_REAL(name)(first, flags, mode);                                                          \
    }
#define FERN_BOTH(a, b) a, b

FERN_OPEN(open, (const char *path, int flags, ...), path)
FERN_OPEN(open64, (const char *path, int flags, ...), path)
FERN_OPEN(openat, (int folder, const char *path, int flags, ...), FERN_BOTH(folder, path))
FERN_OPEN(openat64, (int folder, const char *path, int flags, ...), FERN_BOTH(folder, path))

FERN_WRAPPER(int, close, (int fd))
{
    const CategoryScope scope(fern::spool::IoOther, isFile(fd));
    fern::descriptors::forget(fd);
    return FERN_REAL(close)(fd);
}

FERN_WRAPPER(int, dup2, (int fd, int wanted))
{
    const int result = FERN_REAL(dup2)(fd, wanted);
    fern::descriptors::forget(wanted);
    return result;
}

FERN_WRAPPER(int, dup3, (int fd, int wanted, int flags))
{
    const int result = FERN_REAL(dup3)(fd, wanted, flags);
    fern::descriptors::forget(wanted);
    return result;
}

// Between files and anything else: what is written to a file is written, else it is read.
#define FERN_TRANSFER(name, parameters, ...)                                                                 \
    FERN_WRAPPER(ssize_t, name, parameters)                                                                  \
    {                                                                                                        \
        const bool isWritten = isFile(to);                                                                   \
        const CategoryScope scope(                                                                           \
            isWritten ? fern::spool::IoWrite : fern::spool::IoRead, isWritten || isFile(from));              \
        return FERN_REAL(name)(__VA_ARGS__);                                                                 \
    }

FERN_TRANSFER(sendfile, (int to, int from, off_t *at, size_t size), to, from, at, size)
FERN_TRANSFER(sendfile64, (int to, int from, off64_t *at, size_t size), to, from, at, size)
FERN_TRANSFER(splice, (int from, off64_t *fromAt, int to, off64_t *toAt, size_t size, unsigned flags), from,
    fromAt, to, toAt, size, flags)
