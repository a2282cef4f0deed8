#ifndef HOST_WORKFLOW_STAGETIMES_H
#define HOST_WORKFLOW_STAGETIMES_H

#include "core/export.h"

#include <QElapsedTimer>
#include <QString>

// Where the time goes that a user waits for reports: one stage after the other, and all of it.
class BRIVANE_HOST_EXPORT StageTimes {
public:
    // Begins anew: the job has ended.
    void start();

    // Ends a stage, and the next one begins. A line for people: "<stage>: 12 ms".
    QString end(const QString &stage);

    // Likewise of all that passed since start(); null if nothing was started.
    QString all(const QString &name) const;

private:
    QElapsedTimer mClock;
    qint64 mStageNs = 0; // when the stage began
};

#endif
