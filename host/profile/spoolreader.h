#ifndef HOST_PROFILE_SPOOLREADER_H
#define HOST_PROFILE_SPOOLREADER_H

#include "core/export.h"
#include "sampler/core/spoolformat.h"

#include <QString>
#include <QVector>

// What is known of one process of the job, the bins of its spool left out.
struct SpoolProcess {
    QString path; // of the spool
    quint32 flags = 0; // fern::spool::HeaderFlag
    int pid = 0;
    int mpiRank = -1; // with FlagMpi
    int mpiSize = 0; // with FlagMpi
    int logicalCores = 0;
    int physicalCores = 0; // 0 if unknown
    int ompNumThreads = 0; // 0 if unset
    int maxThreads = 0;
    quint64 nodeMemory = 0; // bytes
    quint64 startNs = 0; // real time
    quint64 lastNs = 0; // never before startNs
    quint64 firstBinNs = 0; // real time at which the first bin begins
    quint64 intervalNs = 0; // width of a bin; never 0
    int binCount = 0; // at least 1
    quint64 ticks = 0;
    quint64 threadsMissed = 0;
    QString hostname;
    QString executable;
};

namespace SpoolReader {

// Reads what is known of a process. False, with the reason in `reason`, if the file can't be read, isn't a
// spool of this version, or contradicts itself.
BRIVANE_HOST_EXPORT bool readProcess(const QString &path, SpoolProcess *process, QString *reason);

// Reads the bins of a process that readProcess() gave. A spool that has shrunk or changed in between is a
// failure, too.
BRIVANE_HOST_EXPORT bool readBins(
    const SpoolProcess &process, QVector<fern::spool::Bin> *bins, QString *reason);

} // namespace SpoolReader

#endif
