#ifndef HOST_WORKFLOW_NAMERESERVATION_H
#define HOST_WORKFLOW_NAMERESERVATION_H

#include <QString>

// Keeps other programs of ours from choosing file names in `folder` until this one has ended: between
// choosing a name and writing the file another could choose the same. Waits for one that holds the folder,
// for half a minute at most. Where the folder can't be locked nothing is held, and nobody waits.
void holdNamesIn(const QString &folder);

#endif
