#ifndef HOST_WORKFLOW_JOBENVIRONMENT_H
#define HOST_WORKFLOW_JOBENVIRONMENT_H

#include "workflow/launchforwarding.h"

#include <QByteArray>
#include <QList>
#include <QString>

class KELPConfig;

// Where the sampler lies: beside the library or program that holds this code.
QByteArray samplerPath();

// Where the program lies that reads GPUs for it; empty if it isn't installed.
QByteArray gpuReaderPath();

// Whether the sampler is there; if not, `error` says so.
bool isSamplerThere(const QByteArray &sampler, QString *error);

// A path of the sampler that the dynamic linker takes. Blanks and colons part the names in LD_PRELOAD, so a
// library in a folder with such a name gets a link in `workFolder`.
QByteArray preloadablePath(const QByteArray &sampler, const QString &workFolder);

// Our environment, without what a sampler that watches us was told.
QList<QByteArray> plainEnvironment();

// Where the job's processes leave their spools.
struct SpoolFolders {
    QString spool; // on this node, and where it is seen
    QString gather; // what other nodes hand over; empty if they can't
};

// What the sampler needs in the environment of the job: itself in front of what is preloaded already, the
// folders for the spools, the point in time that the bins of all processes are counted from, a day ago, the
// programs that hand over spools and read GPUs if they are there, the interval between the first samples and
// the events if some are configured, and how many samples the ranks of an MPI job merge their profiles to.
// Where ranks are selected they don't: then each has to be read for itself. Where the ranks of the command
// run several programs, they don't wait long for each other: one of these may be static.
QList<Variable> samplerVariables(
    const QByteArray &sampler, const SpoolFolders &folders, const KELPConfig &launch);

#endif
