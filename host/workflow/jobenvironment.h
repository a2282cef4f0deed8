#ifndef HOST_WORKFLOW_JOBENVIRONMENT_H
#define HOST_WORKFLOW_JOBENVIRONMENT_H

#include "workflow/launchforwarding.h"

#include <QByteArray>
#include <QList>
#include <QString>

class FERNConfig;

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

// What the sampler needs in the environment of the job: itself in front of what is preloaded already, the
// folder for the spools, the point in time, now, that all processes of the job count from, the program that
// reads GPUs if there is one, and what the configuration says of the interval between the first samples and of
// events.
QList<Variable> samplerVariables(
    const QByteArray &sampler, const QString &spoolFolder, const FERNConfig &config);

#endif
