#ifndef SAMPLER_CORE_SETTINGS_H
#define SAMPLER_CORE_SETTINGS_H

#include "core/spoolformat.h"

#include <cstdint>

namespace fern {

// What the environment asks for, read once at the start: the program may change its environment later.
//   QUILLON_SAMPLER_SPOOL     absolute path of the folder for spools; without it nothing is sampled
//   QUILLON_SAMPLER_GATHER  absolute path of the folder to which nodes that don't have the one for spools
//                             hand over theirs; without it nothing is sampled there
//   QUILLON_SAMPLER_KEEPER    path of the program that does so
//   TMPDIR                    where the spools lie on such nodes; default /tmp
//   QUILLON_SAMPLER_EPOCH     the job's epoch, CLOCK_REALTIME in ns; default: the process's start
//   QUILLON_SAMPLER_INTERVAL  width of the first bins in ms, 1 to 60000; default 20
//   QUILLON_SAMPLER_MERGE     samples of the merged profile, 2 to 1000: the ranks of an MPI job make one;
//                             default: they don't
//   QUILLON_SAMPLER_PATIENCE  how long they wait for each other to do so, in ms; default 60000
//   QUILLON_SAMPLER_CLOCK     what this node's clock is behind, in ms, for tests; default 0
//   QUILLON_SAMPLER_SYSFS     where the node's sensors are, for tests; default /sys
//   QUILLON_SAMPLER_PROCFS    where its file systems' counters are, likewise; default /proc
//   QUILLON_SAMPLER_GPU_READER  path of the program that reads the node's GPUs; without it nothing does
//   QUILLON_SAMPLER_NVML      the library that it takes, for tests; default: the system's
//   LD_LIBRARY_PATH           handed on to that program
//   OMP_NUM_THREADS           only noted
//   QUILLON_SAMPLER_EVENTS    events to count, NAME:TYPE:CONFIG with commas between, the numbers those of
//                             perf_event_open
struct Settings {
    struct SiteEvent {
        char name[sizeof(spool::SiteEvent::name)];
        std::uint32_t type;
        std::uint64_t config;
    };

    char spoolFolder[4096]; // the host's, or that of the node (core/nodefolder.h)
    char gatherFolder[4096]; // empty if unset, as the two that follow
    char spoolKeeper[4096];
    char temporaryFolder[4096];
    char sysfs[512];
    char procfs[512]; // of the node, not of the process
    char gpuReader[4096]; // empty if unset, as the two that follow
    char nvml[4096];
    char libraryPath[4096];
    std::uint64_t epochNs;
    std::uint64_t intervalNs;
    std::int32_t ompNumThreads; // 0 if unset
    std::uint32_t mergedSamples; // 0 if the ranks don't merge their profiles
    std::uint64_t patienceNs;
    std::uint64_t clockBehindNs;
    std::uint64_t pageSize; // bytes
    SiteEvent siteEvents[spool::MaxSiteEvents];
    std::uint32_t siteEventCount;
};

extern Settings settings;

// Fills `settings`. False if this process isn't to be sampled: no folder, no sensible value, or a
// program that runs with more rights than its user.
bool readSettings();

} // namespace fern

#endif
