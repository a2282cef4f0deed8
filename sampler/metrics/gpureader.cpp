#include "metrics/gpureader.h"

#include "core/orphan.h"
#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"
#include "gpureader/claim.h"

#include <errno.h>
#include <fcntl.h>
#include <initializer_list>
#include <sys/utsname.h>

namespace fern {

namespace {

// The reader's environment.
struct Variables {
    TextBuilder<4200> spool;
    TextBuilder<64> epoch;
    TextBuilder<64> interval;
    TextBuilder<4200> nvml;
    TextBuilder<4200> libraryPath;
    char *pointers[6];
};
Variables variables;

bool hasDevice()
{
    // On Linux, and on Linux beside another system's driver.
    constexpr long Exists = 0;
    return raw::call(SYS_faccessat, AT_FDCWD, raw::address("/dev/nvidiactl"), Exists) == 0
        || raw::call(SYS_faccessat, AT_FDCWD, raw::address("/dev/dxg"), Exists) == 0;
}

void prepareVariables()
{
    variables = Variables{};
    variables.spool << "QUILLON_SAMPLER_SPOOL=" << settings.spoolFolder;
    variables.epoch << "QUILLON_SAMPLER_EPOCH=" << settings.epochNs;
    variables.interval << "QUILLON_SAMPLER_INTERVAL=" << settings.intervalNs / 1'000'000;
    std::size_t count = 0;
    const auto add = [&](const char *text) { variables.pointers[count++] = const_cast<char *>(text); };
    add(variables.spool.text());
    add(variables.epoch.text());
    add(variables.interval.text());
    if (settings.nvml[0] != '\0') {
        variables.nvml << "QUILLON_SAMPLER_NVML=" << settings.nvml;
        add(variables.nvml.text());
    }
    if (settings.libraryPath[0] != '\0') {
        variables.libraryPath << "LD_LIBRARY_PATH=" << settings.libraryPath;
        add(variables.libraryPath.text());
    }
}

} // namespace

void startGpuReader(Spool &spool)
{
    if (settings.gpuReader[0] != '/')
        return;
    if (settings.nvml[0] == '\0' && !hasDevice()) {
        for (const spool::SourceId source :
            {spool::SourceGpus, spool::SourceGpuUsage, spool::SourceGpuMemory, spool::SourceGpuPower})
            spool.header().sourceStates[source] = spool::SourceAbsent;
        return;
    }
    utsname node{};
    raw::call(SYS_uname, raw::address(&node));
    gpureader::ClaimPath claim;
    claim << settings.spoolFolder << "/" << node.nodename << gpureader::ClaimSuffix;
    if (claim.text() == nullptr || raw::call(SYS_mkdirat, AT_FDCWD, raw::address(claim.text()), 0700) != 0)
        return;
    prepareVariables();
    char *const arguments[] = {settings.gpuReader, nullptr};
    if (!startOrphan(settings.gpuReader, arguments, variables.pointers))
        raw::call(SYS_unlinkat, AT_FDCWD, raw::address(claim.text()), AT_REMOVEDIR);
}

} // namespace fern
