#ifndef HOST_PROFILE_SPOOLMERGER_H
#define HOST_PROFILE_SPOOLMERGER_H

#include "core/export.h"

#include <QString>
#include <QStringList>

class ProfilerData;

// Makes a job's profile from the spools in a folder, one for each process, whatever became of the process.
//
// The job is what ran under MPI if anything did; otherwise every process but launchers, shells and those
// that became another program; and those, too, if there was nothing else. Sets the samples, the metrics and
// these facts: target (the first process's program), hostname, start time, processes, nodes, profiled ranks
// and OMP_NUM_THREADS. The caller adds the command line and the notes.
//
// False if no spool holds anything to count; `profile` is then unchanged. A spool that can't be used is
// skipped: `remarks`, which may be null, gets one message for each, located by its file name.
BRIVANE_HOST_EXPORT bool mergeSpools(const QString &folder, ProfilerData *profile, QStringList *remarks);

#endif
