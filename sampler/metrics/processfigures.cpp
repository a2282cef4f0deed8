#include "metrics/processfigures.h"

#include "core/settings.h"
#include "core/text.h"
#include "core/threadregistry.h"

#include <sys/resource.h>
#include <time.h>

namespace fern::process {

namespace {

std::uint64_t less(std::uint64_t whole, std::uint64_t part)
{
    return whole > part ? whole - part : 0;
}

std::uint64_t counterLine(const char *text, const char *label)
{
    const char *value = afterLabel(text, label);
    return value != nullptr ? takeNumber(value) : 0;
}

} // namespace

std::uint64_t ownCpuNs()
{
    return raw::clockNs(CLOCK_THREAD_CPUTIME_ID);
}

std::uint64_t switchesOfThreads()
{
    rusage usage{};
    raw::call(SYS_getrusage, RUSAGE_SELF, raw::address(&usage));
    return static_cast<std::uint64_t>(usage.ru_nvcsw) + static_cast<std::uint64_t>(usage.ru_nivcsw);
}

void Figures::open()
{
    mMemory.open("/proc/self/statm");
    mIo.open("/proc/self/io");
}

std::uint64_t Figures::residentBytes()
{
    const char *text = mMemory.read();
    if (text == nullptr)
        return 0;
    takeNumber(text); // the address space's size
    return takeNumber(text) * settings.pageSize;
}

Counters Figures::count(std::uint64_t ownBytesWritten, std::uint64_t earlierOwnCpuNs)
{
    Counters result{};
    const std::uint64_t ownBytesRead = raw::bytesRead;
    if (const char *text = mIo.read()) {
        result.hasBytes = true;
        result.bytesRead = less(counterLine(text, "rchar:"), ownBytesRead);
        result.bytesWritten = less(counterLine(text, "wchar:"), ownBytesWritten);
    }
    result.cpuNs = less(raw::clockNs(CLOCK_PROCESS_CPUTIME_ID), earlierOwnCpuNs + ownCpuNs());
    const std::uint32_t slotCount = registry::usedSlots();
    for (std::uint32_t i = 0; i < slotCount; ++i) {
        const Slot &slot = registry::slots[i];
        result.mpiCollectiveBytes += slot.mpiCollectiveBytes.load(std::memory_order_relaxed);
        result.mpiPointToPointBytes += slot.mpiPointToPointBytes.load(std::memory_order_relaxed);
        result.wrappedCalls += slot.calls.load(std::memory_order_relaxed);
    }
    return result;
}

bool isDeserted()
{
    char text[1024];
    raw::readTextFile("/proc/self/stat", text, sizeof(text));
    // The program's name stands in brackets and may hold anything; what follows is the main thread's
    // state as field 3, and the number of threads as field 20.
    const char *at = text;
    for (const char *c = text; *c != '\0'; ++c) {
        if (*c == ')')
            at = c + 1;
    }
    if (at[0] != ' ' || at[1] != 'Z')
        return false;
    for (int field = 3; field < 20 && *at != '\0'; ++field) {
        ++at;
        while (*at != '\0' && *at != ' ')
            ++at;
    }
    return takeNumber(at) <= 2;
}

} // namespace fern::process
