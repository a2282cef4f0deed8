#include "core/wholefile.h"

#include "core/rawsystem.h"
#include "core/text.h"

#include <errno.h>
#include <fcntl.h>

namespace fern {

namespace {

bool writeAll(int file, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const long written = raw::call(SYS_write, file, raw::address(bytes), static_cast<long>(size));
        if (written == -EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

bool writeWholeFile(const char *folder, const char *name, const void *bytes, std::size_t size)
{
    TextBuilder<4608> path;
    path << folder << "/" << name;
    TextBuilder<4608> temporary;
    temporary << folder << "/." << name;
    if (path.text() == nullptr || temporary.text() == nullptr)
        return false;
    const int file = raw::open(temporary.text(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (file < 0)
        return false;
    bool isWritten = writeAll(file, static_cast<const char *>(bytes), size);
    isWritten
        = raw::call(SYS_close, file) == 0 && isWritten; // where a network file system says that it is full
    isWritten = isWritten
        && raw::call(SYS_renameat2, AT_FDCWD, raw::address(temporary.text()), AT_FDCWD,
               raw::address(path.text()), 0)
            == 0;
    if (!isWritten)
        raw::call(SYS_unlinkat, AT_FDCWD, raw::address(temporary.text()), 0);
    return isWritten;
}

} // namespace fern
