#ifndef HOST_WORKFLOW_CONFIGFILE_H
#define HOST_WORKFLOW_CONFIGFILE_H

#include <QString>
#include <QStringList>

class KELPConfig;

// The user's configuration: fern.conf in BrivaneGlobals::localConfigDir(), in the manner of .ini files. It
// needn't exist. Command-line options and the environment prevail over it.
//
//     [profile]
//     samples=500             as --samples
//     interval=10             as --interval
//     disabled-metrics=a, b   as --disable-metrics
//     perf-events=a, b        events that are counted (profile/perfevents.h), as FERN_PERF_EVENTS=a,b
//     [power]
//     command="..."           prints the power of this node in watts (workflow/powercommand.h)
//     [launchers]
//     openmpi=/opt/mpi/bin/mpirun, our-mpirun    names or paths of launchers, by how they hand variables on:
//     hydra=...                                  openmpi, hydra, srun, aprun, jsrun or inherited
namespace ConfigFile {

QString path();

// Reads the file into `config`. False, with a sentence in `error`, if it can't be read or holds something
// else.
bool read(KELPConfig *config, QString *error);

// Removes the file; `removed` tells whether there was one. False, with a sentence in `error`, if that failed.
bool remove(bool *removed, QString *error);

// Looks for all launchers in PATH and writes down how each hands variables on. Other settings stay as they
// are. `found` gets a line for each launcher.
bool detect(QStringList *found, QString *error);

} // namespace ConfigFile

#endif
