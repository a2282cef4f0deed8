#ifndef HOST_PROFILE_SPOOLREADER_H
#define HOST_PROFILE_SPOOLREADER_H

#include "core/export.h"
#include "sampler/core/spoolformat.h"

#include <QString>
#include <QVector>

#include <array>

// An event that the site has chosen, and what became of it in a process.
struct CountedEvent {
    QString name;
    quint32 state = 0; // fern::spool::SourceState
};

// What is known of one process of the job, the bins of its spool left out. Times are real times in
// nanoseconds.
struct SpoolProcess {
    QString path; // of the spool
    quint32 flags = 0; // fern::spool::HeaderFlag
    int pid = 0;
    int mpiRank = -1; // with FlagMpi
    int mpiSize = 0; // with FlagMpi
    int logicalCores = 0; // of the node, as the two that follow; 0 if unknown
    int physicalCores = 0;
    quint64 nodeMemory = 0; // bytes
    int gpus = 0; // of the node, by its reader; 0 if unknown
    quint64 gpuMemory = 0; // bytes
    int ompNumThreads = 0; // 0 if unset
    int maxThreads = 0; // most threads at a time; 0 if unknown
    quint64 ticks = 0; // times that the sampler looked
    quint64 threadsMissed = 0;
    quint64 ticksMissed = 0; // times that it should have looked and had no processor
    quint64 wrappedCalls = 0;
    double wrapperNs = 0; // what a wrapper's own work took when it was tried
    quint64 cpuNs = 0; // CPU time without that of the sampling thread
    quint32 rivalNames = 0; // wrapped names that another library takes first, and its path
    QString rival;
    QString hostname;
    QString executable; // path
    quint64 world = 0; // number of the job whose ranks merge their profiles; 0 if they don't
    int ranks = 0; // that it stands for, where it is their merged profile; 0 for a process

    std::array<quint32, fern::spool::SourceCount> sourceStates = {}; // fern::spool::SourceState by SourceId
    int codeBlockCount = 0;
    int programCounterCount = 0;
    quint64 programCountersLost = 0;
    QVector<CountedEvent> siteEvents; // in the order of their figures
    quint64 threadsUncounted = 0; // threads whose events couldn't be counted
    quint64 samplerCpuNs = 0; // CPU time of the sampling thread

    qint64 startNs = 0; // when sampling began, before any clamping to bins
    qint64 epochNs = 0; // from which bins are counted
    qint64 intervalNs = 0; // width of a bin; above 0
    qint64 firstBinNs = 0; // when the first bin begins
    int binCount = 0; // above 0
    qint64 beginNs = 0; // when the process was first and last seen, within its bins
    qint64 endNs = 0;

    bool is(fern::spool::HeaderFlag flag) const { return (flags & flag) != 0; }
};

// Where a process computed: program counters, and the code around them.
struct SpoolCode {
    QVector<fern::spool::CodeBlock> blocks;
    QVector<fern::spool::ProgramCounter> counters;
};

namespace SpoolReader {

// Reads what is known of a process. False, with the reason in `reason`, if the file can't be read, isn't a
// spool of this version, or contradicts itself.
BRIVANE_HOST_EXPORT bool readProcess(const QString &path, SpoolProcess *process, QString *reason);

// What a spool's header says of its process; likewise.
bool fromHeader(const fern::spool::Header &header, SpoolProcess *process, QString *reason);

// Reads the bins of a process that readProcess() gave. A spool that has shrunk or changed in between is a
// failure, too.
BRIVANE_HOST_EXPORT bool readBins(
    const SpoolProcess &process, QVector<fern::spool::Bin> *bins, QString *reason);

// Reads the code of a process that readProcess() gave; empty if it was never sampled.
BRIVANE_HOST_EXPORT bool readCode(const SpoolProcess &process, SpoolCode *code, QString *reason);

} // namespace SpoolReader

#endif
