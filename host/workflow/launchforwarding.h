#ifndef HOST_WORKFLOW_LAUNCHFORWARDING_H
#define HOST_WORKFLOW_LAUNCHFORWARDING_H

#include "cli/launchertable.h"

#include <QByteArray>
#include <QList>

// A variable of the environment.
struct Variable {
    QByteArray name;
    QByteArray value;
};

// What is really started: words and environment ("NAME=VALUE").
struct Launch {
    QList<QByteArray> command;
    QList<QByteArray> environment;
};

// Adds `variables` to a launch so that the job's processes have them, in the way of the launcher that is the
// command's first word. The user's own words stay as they are, one apart: where the user says by --export
// which variables srun hands on, ours join them. Inherited and Unknown put the variables into the
// environment.
Launch withVariables(const Launch &launch, Forwarding forwarding, const QList<Variable> &variables);

#endif
