#ifndef HOST_CLI_LAUNCHERTABLE_H
#define HOST_CLI_LAUNCHERTABLE_H

#include "core/export.h"

#include <QString>
#include <QVector>

// How variables get from a launcher's command line into the environment of the processes that it starts, and
// not into the launcher's own.
enum class Forwarding {
    Unknown, // the launcher has to be asked what it is
    Inherited, // it hands its own environment on, so that the variables have to be there
    OpenMpi, // -x NAME=VALUE for each group of processes
    Hydra, // -genv NAME VALUE
    Srun, // --export=ALL,NAME=VALUE
    Aprun, // -e NAME=VALUE
    Jsrun // -E NAME=VALUE
};

// A launcher of parallel jobs by the name of its file.
struct LauncherRow {
    const char *name;
    Forwarding forwarding;
};

// Every launcher that is known by name. mpirun and mpiexec can be anybody's.
BRIVANE_HOST_EXPORT const QVector<LauncherRow> &launcherTable();

// The row of a name, null if it is no launcher.
BRIVANE_HOST_EXPORT const LauncherRow *launcherNamed(const QString &name);

// A way of forwarding by its name in the configuration file ("openmpi"), Unknown for any other text; and
// back.
BRIVANE_HOST_EXPORT Forwarding forwardingFromName(const QString &name);
BRIVANE_HOST_EXPORT QString forwardingName(Forwarding forwarding);

// What a launcher is by the text that it prints for --version; Inherited if the text doesn't tell.
BRIVANE_HOST_EXPORT Forwarding forwardingFromVersion(const QString &version);

#endif
