#ifndef HOST_WORKFLOW_LAUNCHERRECOGNITION_H
#define HOST_WORKFLOW_LAUNCHERRECOGNITION_H

#include "cli/launchertable.h"

#include <QByteArray>
#include <QMap>
#include <QString>

// How the launcher `program`, a path, hands variables on. `configured` decides first: ways by the names or
// paths of launchers. Then the name decides, and where links lead to another file, that file's name. A
// launcher whose name is anybody's is run with --version, for a few seconds at most. A program that is no
// launcher: Inherited.
Forwarding recogniseLauncher(const QByteArray &program, const QMap<QString, Forwarding> &configured);

#endif
