#ifndef HOST_WORKFLOW_GPUCHECK_H
#define HOST_WORKFLOW_GPUCHECK_H

#include <QHash>
#include <QString>

// What this machine's GPUs can tell, asked of the program that reads them for a job.
class GpuCheck {
public:
    // Asks; takes as long as the driver takes to answer, half a minute at most.
    GpuCheck();

    // Why a metric can't be had; the null string if it can, or isn't one of GPUs.
    QString whyNot(const QString &metric) const;

private:
    QHash<int, quint32> mStates; // fern::spool::SourceState by fern::spool::SourceId
};

#endif
