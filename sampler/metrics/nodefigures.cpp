#include "metrics/nodefigures.h"

#include "core/text.h"

namespace fern::node {

namespace {

constexpr std::uint64_t BytesPerKilobyte = 1024;

// The value behind a label of /proc/meminfo, in bytes.
std::uint64_t memoryLine(const char *text, const char *label)
{
    const char *value = afterLabel(text, label);
    return value != nullptr ? takeNumber(value) * BytesPerKilobyte : 0;
}

// Whether a CPU is the first of those that share its core. A CPU without topology is a core of its own.
bool isFirstOfItsCore(std::uint64_t cpu)
{
    char text[256];
    TextBuilder<128> path;
    path << "/sys/devices/system/cpu/cpu" << cpu << "/topology/thread_siblings_list";
    if (raw::readTextFile(path.text(), text, sizeof(text)) == 0)
        return true;
    const char *at = text;
    return takeNumber(at) == cpu;
}

} // namespace

Cores countCores()
{
    char online[1024];
    raw::readTextFile("/sys/devices/system/cpu/online", online, sizeof(online));
    Cores cores{0, 0};
    // Ranges such as "0-3,8-11".
    for (const char *at = online; isDigit(*at);) {
        const std::uint64_t first = takeNumber(at);
        std::uint64_t last = first;
        if (*at == '-')
            last = takeNumber(++at);
        for (std::uint64_t cpu = first; cpu <= last; ++cpu) {
            ++cores.logical;
            cores.physical += isFirstOfItsCore(cpu) ? 1 : 0;
        }
        if (*at == ',')
            ++at;
    }
    return cores;
}

std::uint64_t totalMemory()
{
    char text[2048];
    raw::readTextFile("/proc/meminfo", text, sizeof(text));
    return memoryLine(text, "MemTotal:");
}

void Figures::open()
{
    mMemory.open("/proc/meminfo");
    mLoad.open("/proc/loadavg");
}

double Figures::memoryUsedPercent()
{
    const char *text = mMemory.read();
    const std::uint64_t total = text != nullptr ? memoryLine(text, "MemTotal:") : 0;
    if (total == 0)
        return -1.0;
    const std::uint64_t available = memoryLine(text, "MemAvailable:");
    return 100.0 * (static_cast<double>(total) - static_cast<double>(available)) / static_cast<double>(total);
}

// Like "0.62 0.63 1.92 2/87 10270": averages, how many of all threads run, the newest process.
Figures::Load Figures::load(const Cores &cores)
{
    const char *text = mLoad.read();
    const std::int32_t count = cores.physical > 0 ? cores.physical : cores.logical;
    if (text == nullptr || count <= 0)
        return {-1.0, 0};
    // Two digits behind the point, always.
    const double whole = static_cast<double>(takeNumber(text));
    const double hundredths = *text == '.' ? static_cast<double>(takeNumber(++text)) : 0.0;
    std::uint64_t running = 0;
    while (*text != '\0' && *text != '/') {
        ++text;
        if (*text >= '0' && *text <= '9')
            running = takeNumber(text);
    }
    return {100.0 * (whole + hundredths / 100.0) / count, static_cast<std::int32_t>(running)};
}

} // namespace fern::node
