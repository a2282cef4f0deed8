#include "core/settings.h"

#include "core/rawsystem.h"
#include "core/spoolformat.h"
#include "core/text.h"

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

namespace fern {

Settings settings;

namespace {

constexpr std::uint64_t NsPerMs = 1000000;
constexpr std::uint64_t DefaultIntervalMs = 20;
constexpr std::uint64_t MaxIntervalMs = 60000;
// A rank that isn't sampled, since its node lacks the library for one, never comes: the others must not be
// kept for long.
constexpr std::uint64_t DefaultPatienceMs = 60'000;

// The number that a variable starts with, `otherwise` if it is unset or starts with something else.
std::uint64_t numberFromEnvironment(const char *name, std::uint64_t otherwise)
{
    const char *text = secure_getenv(name);
    return text != nullptr && isDigit(*text) ? takeNumber(text) : otherwise;
}

// Takes NAME:TYPE:CONFIG from `text` and moves it behind; false if something else stands there.
bool takeEvent(const char *&text, Settings::SiteEvent &event)
{
    std::size_t length = 0;
    while (*text != ':' && *text != '\0' && length + 1 < sizeof(event.name))
        event.name[length++] = *text++;
    event.name[length] = '\0';
    if (length == 0 || *text != ':' || !isDigit(*++text))
        return false;
    event.type = static_cast<std::uint32_t>(takeNumber(text));
    if (*text != ':' || !isDigit(*++text))
        return false;
    event.config = takeNumber(text);
    return true;
}

void readEvents(const char *text)
{
    settings.siteEventCount = 0;
    while (text != nullptr && settings.siteEventCount < spool::MaxSiteEvents
        && takeEvent(text, settings.siteEvents[settings.siteEventCount])) {
        ++settings.siteEventCount;
        text = *text == ',' ? text + 1 : nullptr;
    }
}

// Empty if the variable is unset or doesn't fit.
template <std::size_t Size> void textFromEnvironment(char (&target)[Size], const char *name)
{
    const char *text = secure_getenv(name);
    copyText(target, text != nullptr ? text : "");
    if (text == nullptr || !equal(target, text))
        target[0] = '\0';
}

} // namespace

bool readSettings()
{
    const char *folder = secure_getenv("QUILLON_SAMPLER_SPOOL");
    if (folder == nullptr || folder[0] != '/')
        return false;
    copyText(settings.spoolFolder, folder);
    if (!equal(settings.spoolFolder, folder))
        return false;

    textFromEnvironment(settings.gatherFolder, "QUILLON_SAMPLER_GATHER");
    textFromEnvironment(settings.spoolKeeper, "QUILLON_SAMPLER_KEEPER");
    textFromEnvironment(settings.temporaryFolder, "TMPDIR");
    const std::uint64_t intervalMs = numberFromEnvironment("QUILLON_SAMPLER_INTERVAL", DefaultIntervalMs);
    if (intervalMs == 0 || intervalMs > MaxIntervalMs)
        return false;
    settings.intervalNs = intervalMs * NsPerMs;
    settings.epochNs = numberFromEnvironment("QUILLON_SAMPLER_EPOCH", raw::clockNs(CLOCK_REALTIME));
    settings.ompNumThreads = static_cast<std::int32_t>(numberFromEnvironment("OMP_NUM_THREADS", 0));
    const std::uint64_t samples = numberFromEnvironment("QUILLON_SAMPLER_MERGE", 0);
    settings.mergedSamples
        = samples >= 2 && samples <= spool::MaxBins ? static_cast<std::uint32_t>(samples) : 0;
    settings.patienceNs = numberFromEnvironment("QUILLON_SAMPLER_PATIENCE", DefaultPatienceMs) * NsPerMs;
    settings.clockBehindNs = numberFromEnvironment("QUILLON_SAMPLER_CLOCK", 0) * NsPerMs;
    const char *sysfs = secure_getenv("QUILLON_SAMPLER_SYSFS");
    copyText(settings.sysfs, sysfs != nullptr ? sysfs : "/sys");
    const char *procfs = secure_getenv("QUILLON_SAMPLER_PROCFS");
    copyText(settings.procfs, procfs != nullptr ? procfs : "/proc");
    readEvents(secure_getenv("QUILLON_SAMPLER_EVENTS"));
    textFromEnvironment(settings.gpuReader, "QUILLON_SAMPLER_GPU_READER");
    textFromEnvironment(settings.nvml, "QUILLON_SAMPLER_NVML");
    textFromEnvironment(settings.libraryPath, "LD_LIBRARY_PATH");
    settings.pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return true;
}

} // namespace fern
