#include "metrics/lustrefigures.h"

#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"

#include <errno.h>
#include <fcntl.h>

namespace fern {

namespace {

constexpr double NsPerSecond = 1e9;

using Path = TextBuilder<1024>;

// What getdents64 writes.
struct Entry {
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t size;
    unsigned char type;
    char name[1];
};

// The sum in a line such as "read_bytes  12 samples [bytes] 4096 1048576 9437184": calls, then least, most
// and sum behind the bracket.
std::uint64_t sumOf(const char *text, const char *label)
{
    const char *at = afterLabel(text, label);
    if (at == nullptr)
        return 0;
    takeNumber(at); // of calls
    while (*at != ']' && *at != '\n' && *at != '\0')
        ++at;
    if (*at != ']')
        return 0;
    takeNumber(++at); // least
    takeNumber(at); // most
    return takeNumber(at);
}

} // namespace

void LustreFigures::open()
{
    mIsOpen = true;
    mLastNs = 0;
    mMountCount = 0;
    mState = spool::SourceAbsent;
    Path inProc;
    inProc << settings.procfs << "/fs/lustre/llite";
    openMountsIn(inProc.text());
    Path inDebug;
    inDebug << settings.sysfs << "/kernel/debug/lustre/llite";
    openMountsIn(inDebug.text());
    if (mMountCount > 0) {
        mState = spool::SourceRead;
        return;
    }
    // The folder for debugging is closed to most users on every node: what tells is this one.
    Path module;
    module << settings.sysfs << "/fs/lustre";
    if (const int folder = raw::open(module.text(), O_DIRECTORY); folder >= 0) {
        raw::close(folder);
        mState = spool::SourceRefused;
    }
}

void LustreFigures::openMountsIn(const char *folder)
{
    if (folder == nullptr)
        return;
    const int list = raw::open(folder, O_DIRECTORY);
    if (list < 0)
        return;
    alignas(Entry) char entries[2048];
    for (;;) {
        const long size = raw::call(SYS_getdents64, list, raw::address(entries), sizeof(entries));
        if (size <= 0)
            break;
        for (long at = 0; at < size;) {
            const auto *entry = reinterpret_cast<const Entry *>(entries + at);
            // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): the kernel wrote it.
            at += entry->size;
            if (entry->name[0] == '.' || mMountCount == MaxMounts)
                continue;
            Path stats;
            stats << folder << "/" << entry->name << "/stats";
            if (const int file = stats.text() != nullptr ? raw::open(stats.text()) : -1; file >= 0)
                mMounts[mMountCount++] = file;
        }
    }
    raw::close(list);
}

LustreFigures::Rates LustreFigures::read(std::uint64_t timeNs)
{
    if (!mIsOpen)
        open();
    if (mMountCount == 0)
        return {-1.0, -1.0};
    std::uint64_t bytesRead = 0;
    std::uint64_t bytesWritten = 0;
    for (int i = 0; i < mMountCount; ++i) {
        char text[4096];
        text[raw::readAt(mMounts[i], text, sizeof(text) - 1, 0)] = '\0';
        bytesRead += sumOf(text, "read_bytes");
        bytesWritten += sumOf(text, "write_bytes");
    }
    Rates rates{-1.0, -1.0};
    // Counts fall when someone sets them back or unmounts.
    if (mLastNs != 0 && timeNs > mLastNs && bytesRead >= mRead && bytesWritten >= mWritten) {
        const double seconds = static_cast<double>(timeNs - mLastNs) / NsPerSecond;
        rates = {static_cast<double>(bytesRead - mRead) / seconds,
            static_cast<double>(bytesWritten - mWritten) / seconds};
    }
    mLastNs = timeNs;
    mRead = bytesRead;
    mWritten = bytesWritten;
    return rates;
}

} // namespace fern
