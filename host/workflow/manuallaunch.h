#ifndef HOST_WORKFLOW_MANUALLAUNCH_H
#define HOST_WORKFLOW_MANUALLAUNCH_H

#include "workflow/launchforwarding.h"

#include <QList>

// A job that the user starts by hand. Prints `variables`, as a shell takes them, to the standard output, and
// waits until the user says by a line or the end of the standard input, or by a signal, that the job is over.
// The result is what to exit with: ExitSuccess, or 128 plus the number of the signal.
int waitForManualJob(const QList<Variable> &variables);

#endif
