#ifndef HOST_WORKFLOW_JOBENVIRONMENT_H
#define HOST_WORKFLOW_JOBENVIRONMENT_H

#include <QByteArray>
#include <QList>
#include <QString>

// Where the sampler lies: beside the library or program that holds this code.
QByteArray samplerPath();

// A path of the sampler that the dynamic linker takes. Blanks and colons part the names in LD_PRELOAD, so a
// library in a folder with such a name gets a link in `workFolder`.
QByteArray preloadablePath(const QByteArray &sampler, const QString &workFolder);

// Our environment and what the sampler needs: itself in front of what is preloaded already, the folder for
// the spools, and the point in time, now, that all processes of the job count from.
QList<QByteArray> jobEnvironment(const QByteArray &sampler, const QString &spoolFolder);

#endif
