#ifndef HOST_PROFILE_SPOOLMERGER_H
#define HOST_PROFILE_SPOOLMERGER_H

#include "core/export.h"
#include "profile/profilerdata.h"

#include <QString>
#include <QStringList>

#include <functional>

// What a user can ask of a profile.
struct MergeOptions {
    // Whether an MPI rank is to be part of the profile; empty: all are.
    std::function<bool(int rank)> isSelected;
    // From 2 to ProfilerData::MaxSamples.
    int maxSamples = ProfilerData::MaxSamples;
    // Called before each process is read, with the number of those done and of all.
    std::function<void(int done, int all)> progress;
    // Gets what the user should know even if not curious; may be null.
    QStringList *warnings = nullptr;
};

// Makes a job's profile from the spools in a folder, one for each process, whatever became of the process.
// Which processes are the job: profile/jobchoice.h.
//
// Sets the samples, the metrics and these facts: target (the first process's program), hostname, start time,
// processes, nodes, profiled ranks and OMP_NUM_THREADS. The caller adds the command line and the notes.
//
// False if no spool holds anything to count; `profile` is then unchanged. A spool that can't be used is
// skipped: `remarks`, which may be null, gets one message for each, located by its file name, and one for
// each program that isn't counted.
BRIVANE_HOST_EXPORT bool mergeSpools(const QString &folder, ProfilerData *profile, QStringList *remarks,
    const MergeOptions &options = MergeOptions());

#endif
