#include "core/kernelview.h"

#include "core/rawsystem.h"
#include "core/text.h"

namespace fern {

namespace {

// System calls in which a thread waits, and what for. Not read() and write(), which may be those of a pipe
// or a socket; what isn't here is sleep.
struct Row {
    long call;
    spool::Category category;
};

constexpr Row Rows[] = {
    {SYS_futex, spool::PthreadSync},
#ifdef SYS_futex_waitv
    {SYS_futex_waitv, spool::PthreadSync},
#endif
    {SYS_io_uring_enter, spool::IoOther},
    {SYS_io_getevents, spool::IoOther},
    {SYS_io_pgetevents, spool::IoOther},
    {SYS_pread64, spool::IoRead},
    {SYS_preadv, spool::IoRead},
    {SYS_preadv2, spool::IoRead},
    {SYS_pwrite64, spool::IoWrite},
    {SYS_pwritev, spool::IoWrite},
    {SYS_pwritev2, spool::IoWrite},
    {SYS_fsync, spool::IoOther},
    {SYS_fdatasync, spool::IoOther},
    {SYS_sync, spool::IoOther},
    {SYS_syncfs, spool::IoOther},
    {SYS_sync_file_range, spool::IoOther},
    {SYS_msync, spool::IoWrite},
    {SYS_openat, spool::IoOther},
    {SYS_getdents64, spool::IoOther},
};

spool::Category categoryOfCall(long call)
{
    for (const Row &row : Rows) {
        if (row.call == call)
            return row.category;
    }
    return spool::Sleep;
}

// "running", or the number of the system call and its arguments; -1 is a thread that waits in none, for a
// page of its memory for instance.
KernelView::Answer understand(const char *text)
{
    if (text[0] == 'r')
        return {true, true, spool::Compute};
    if (text[0] == '-')
        return {true, false, spool::Compute};
    return {isDigit(text[0]), false, categoryOfCall(static_cast<long>(takeNumber(text)))};
}

} // namespace

KernelView::Answer KernelView::ask(std::uint32_t slot, std::int32_t tid, bool mayOpen)
{
    File &file = mFiles[slot];
    if (file.tid != tid) {
        if (file.tid != 0)
            raw::close(file.descriptor);
        TextBuilder<64> path;
        path << "/proc/self/task/" << static_cast<std::uint64_t>(tid) << "/syscall";
        file = {tid, mayOpen ? raw::open(path.text()) : -1};
        mUsed = slot >= mUsed ? slot + 1 : mUsed;
    }
    char text[160];
    const std::size_t length
        = file.descriptor >= 0 ? raw::readOnceAt(file.descriptor, text, sizeof(text) - 1, 0) : 0;
    text[length] = '\0';
    return understand(text);
}

void KernelView::end()
{
    for (std::uint32_t i = 0; i < mUsed; ++i) {
        if (mFiles[i].tid != 0)
            raw::close(mFiles[i].descriptor);
    }
    forget();
}

void KernelView::forget()
{
    for (std::uint32_t i = 0; i < mUsed; ++i)
        mFiles[i] = File{};
    mUsed = 0;
}

} // namespace fern
