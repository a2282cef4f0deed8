#ifndef HOST_PROFILE_JOBCHOICE_H
#define HOST_PROFILE_JOBCHOICE_H

#include "profile/spoolreader.h"

#include <QStringList>
#include <QVector>

// Which of the processes that left a spool are the job.
struct JobChoice {
    QVector<SpoolProcess> job;
    QStringList leftOut; // a sentence for each program that isn't counted, with the reason
};

// The MPI ranks where there are any. Otherwise the programs that do the work: neither launchers and shells,
// nor programs that became another one, nor helpers, programs whose processes together worked for less than a
// hundredth of the time that those of the busiest one did. Those, too, where nothing else ran. Empty only for
// no processes.
JobChoice chooseJob(const QVector<SpoolProcess> &processes);

#endif
