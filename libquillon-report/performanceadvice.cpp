#include "performanceadvice.h"

#include "advicesentences.h"
#include "api/defaultmetrics.h"
#include "core/branding.h"

#include <QObject>
#include <QStringList>

#include <algorithm>
#include <iterator>

namespace {

using namespace advicesentences;
using Advice = QPair<QString, QString>;

// Shares of time below this one (percent) are noise.
constexpr double measurable = 0.05;

// The first row all of whose findings were made. The last one, which needs none, holds whatever they are.
template <typename Row, std::size_t size> const Row &firstRow(const Row (&rows)[size], unsigned findings)
{
    return *std::find_if(std::begin(rows), std::end(rows) - 1,
        [=](const Row &row) { return (row.needs & findings) == row.needs; });
}

Advice firstTwo(QStringList sentences)
{
    while (sentences.size() < 2) {
        sentences.append(QLatin1String(""));
    }
    return {sentences.at(0), sentences.at(1)};
}

// --- CPU

// What bounds a core.
Advice coreAdvice(double numeric, double vector, double memory)
{
    const bool mostlyScalar = numeric > vector * 0.5;
    if (numeric + vector < memory) {
        return {say(memoryBound),
            say(vector < measurable ? notVectorized
                    : mostlyScalar  ? littleVectorized
                                    : none)};
    }
    return {say(mostlyScalar ? arithmeticBound : wellOptimized), say(memory > 33 ? memoryAccesses : none)};
}

// --- Threads

enum ThreadFinding : unsigned {
    NoTime = 1,
    HighOverhead = 2,
    Oversubscribed = 4,
    LowUtilization = 8,
    HighLoad = 16,
};

struct ThreadRow {
    unsigned needs; // ThreadFinding
    Sentence primary;
    Sentence secondary;
};

unsigned threadFindings(double time, double overhead, double physicalCoreUtilization, double loadAvg)
{
    return (time < measurable ? NoTime : 0u) | (overhead > 25 ? HighOverhead : 0u)
        | (physicalCoreUtilization > 100 ? Oversubscribed : 0u)
        | (physicalCoreUtilization < 90 - overhead ? LowUtilization : 0u) | (loadAvg > 125 ? HighLoad : 0u);
}

template <std::size_t size> Advice threadAdvice(const ThreadRow (&rows)[size], unsigned findings)
{
    const ThreadRow &row = firstRow(rows, findings);
    return {say(row.primary), say(row.secondary)};
}

constexpr ThreadRow openmpRows[] = {
    {NoTime, openmpIdle, none},
    {HighOverhead | Oversubscribed, openmpSynchronizing, openmpOversubscribed},
    {HighOverhead | LowUtilization | HighLoad, openmpSynchronizing, openmpLowAndShared},
    {HighOverhead | HighLoad, openmpSynchronizing, loadIsBackground},
    {HighOverhead, openmpSynchronizing, openmpFineGrained},
    {LowUtilization | HighLoad, openmpUnusedCores, loadIsSharedByThreads},
    {LowUtilization, openmpUnusedCores, none},
    {HighLoad, loadIsOtherJobs, none},
    {0, openmpGood, none},
};

constexpr ThreadRow threadsRows[] = {
    {NoTime | LowUtilization | HighLoad, threadsIdle, loadIsSharedByProcesses},
    {NoTime | LowUtilization, threadsIdle, threadsTooFewProcesses},
    {NoTime | HighLoad, threadsIdle, loadIsOtherJobs},
    {NoTime, threadsIdle, none},
    {HighOverhead | Oversubscribed | HighLoad, threadsSynchronizing, threadsOversubscribed},
    {HighOverhead | LowUtilization | HighLoad, threadsSynchronizing, threadsLowAndShared},
    {HighOverhead | HighLoad, threadsSynchronizing, loadIsBackground},
    {HighOverhead, threadsSynchronizing, threadsFineGrained},
    {LowUtilization | HighLoad, threadsUnusedCores, loadIsSharedByThreads},
    {LowUtilization, threadsUnusedCores, none},
    {HighLoad, loadIsOtherJobs, none},
    {0, threadsGood, none},
};

// --- Transfers: MPI and I/O

constexpr const char *unknownRate
    = QT_TRANSLATE_NOOP("QObject", "Contact %1 for advice on interpreting this result.");

// By RateClassification.
constexpr const char *mpiRateSentences[] = {
    QT_TRANSLATE_NOOP("QObject",
        "This suggests load imbalance is causing synchronization overhead; use an MPI profiler to "
        "investigate."),
    QT_TRANSLATE_NOOP("QObject",
        "This can be caused by inefficient message sizes, such as many small messages, or by imbalanced "
        "workloads causing processes to wait."),
    QT_TRANSLATE_NOOP("QObject",
        "Using larger messages and overlapping communication and computation may increase the effective "
        "transfer rate."),
    QT_TRANSLATE_NOOP("QObject",
        "It may be possible to improve this further by overlapping communication and computation or reducing "
        "the amount of communication required."),
    QT_TRANSLATE_NOOP("QObject",
        "This suggests asynchronous communication is being well-overlapped with computation. To improve "
        "further, try reducing the amount of communication required."),
};

// The one for low rates speaks of writes whatever the direction is.
constexpr const char *ioContention = QT_TRANSLATE_NOOP("QObject",
    "This may be caused by contention for the filesystem or inefficient access patterns. Use an I/O profiler "
    "to investigate which write calls are affected.");
constexpr const char *ioAsynchronous = QT_TRANSLATE_NOOP("QObject",
    "It may be possible to achieve faster effective transfer rates using asynchronous file operations.");
constexpr const char *ioReduced = QT_TRANSLATE_NOOP("QObject",
    "This suggests asynchronous file operations are successfully reducing application time spent "
    "waiting. To improve further, try reducing the amount of data transfer required.");
constexpr const char *ioRateSentences[]
    = {ioContention, ioContention, ioAsynchronous, ioAsynchronous, ioReduced};

template <std::size_t size> QString rateAdvice(const char *const (&sentences)[size], RateClassification c)
{
    return c >= RATE_VERY_LOW && c <= RATE_VERY_HIGH
        ? QObject::tr(sentences[c])
        : QObject::tr(unknownRate).arg(QString::fromUtf8(Branding::SupportTeamName));
}

// One of the two ways in which time goes into transfers, and what is said of it.
struct TransferKind {
    PodLatin1String percentId;
    PodLatin1String rateId;
    const char *mostTime; // %1 percentId, %2 rateId, %3 class of the rate, %4 advice
    const char *rateOnly; // %1 rateId, %2 class of the rate, %3 advice
};

struct Transfer {
    const TransferKind &kind;
    double percent;
    RateClassification rateClass;
    QString advice;
};

constexpr TransferKind collectiveCalls
    = {DefaultMetrics::MpiCollectivePercent, DefaultMetrics::MpiCollectiveRate,
        QT_TRANSLATE_NOOP("QObject",
            "Most of the time is spent in <span class=\"%1\">collective calls</span> with <span "
            "class=\"%2\">%3</span> transfer rate. %4"),
        QT_TRANSLATE_NOOP("QObject", "The collective transfer rate is <span class=\"%1\">%2</span>. %3")};
constexpr TransferKind pointToPointCalls = {DefaultMetrics::MpiP2pPercent, DefaultMetrics::MpiP2pRate,
    QT_TRANSLATE_NOOP("QObject",
        "Most of the time is spent in <span class=\"%1\">point-to-point calls</span> with <span "
        "class=\"%2\">%3</span> transfer rate. %4"),
    QT_TRANSLATE_NOOP("QObject", "The point-to-point transfer rate is <span class=\"%1\">%2</span>. %3")};
constexpr TransferKind readOperations = {DefaultMetrics::IoReadPercent, DefaultMetrics::IoReadRate,
    QT_TRANSLATE_NOOP("QObject",
        "Most of the time is spent in <span class=\"%1\">read operations</span> with <span "
        "class=\"%2\">%3</span> effective transfer rate. %4"),
    QT_TRANSLATE_NOOP("QObject", "The effective read transfer rate is <span class=\"%1\">%2</span>. %3")};
constexpr TransferKind writeOperations = {DefaultMetrics::IoWritePercent, DefaultMetrics::IoWriteRate,
    QT_TRANSLATE_NOOP("QObject",
        "Most of the time is spent in <span class=\"%1\">write operations</span> with <span "
        "class=\"%2\">%3</span> effective transfer rate. %4"),
    QT_TRANSLATE_NOOP("QObject", "The effective write transfer rate is <span class=\"%1\">%2</span>. %3")};

// The kind that takes most of the time, and the other one if it is slow and not negligible.
Advice transferAdvice(const Transfer &most, const Transfer &other)
{
    Advice advice;
    advice.first = QObject::tr(most.kind.mostTime)
                       .arg(QString(most.kind.percentId), QString(most.kind.rateId),
                           stringFromClassification(most.rateClass, true), most.advice);
    if (other.percent > 30 && other.rateClass <= RATE_LOW) {
        advice.second = QObject::tr(other.kind.rateOnly)
                            .arg(QString(other.kind.rateId), stringFromClassification(other.rateClass, false),
                                other.advice);
    }
    return advice;
}

enum MemoryFinding : unsigned { ManyProcesses = 1, Loaded = 2, Balanced = 4 };

struct CyclesRow {
    double above;
    const char *text;
};

constexpr CyclesRow cyclesRows[] = {
    {2,
        "<span class=\"%1\">Cycles per instruction</span> is high. Lower values are better but are "
        "application-dependent. High values may indicate memory latency or branch mispredictions."},
    {1,
        "<span class=\"%1\">Cycles per instruction</span> is moderate. Lower values are better but are "
        "application-dependent. High values may indicate memory latency or branch mispredictions."},
    {0,
        "<span class=\"%1\">Cycles per instruction</span> is low, which is good. Vectorization allows "
        "multiple instructions per clock cycle."},
};

} // namespace

Advice cpuAdvice(
    double cpu, double singleCore, double numeric, double vector, double memory, double cpuWaiting)
{
    if (cpu < measurable) {
        return {say(noComputation), {}};
    }
    Advice advice = coreAdvice(numeric, vector, memory);
    if (singleCore < 99 && singleCore > 50) {
        advice = {say(serialSections), advice.first};
    }
    if (cpuWaiting >= 50) {
        advice = {say(waitingForAccelerators), advice.first};
    }
    return advice;
}

Advice openmpAdvice(double total, double, double overhead, double physicalCoreUtilization, double loadAvg)
{
    if (loadAvg == 0) {
        return {};
    }
    return threadAdvice(openmpRows, threadFindings(total, overhead, physicalCoreUtilization, loadAvg));
}

Advice threadsAdvice(double compute, double overhead, double physicalCoreUtilization, double loadAvg)
{
    if (loadAvg == 0) {
        return {};
    }
    return threadAdvice(
        threadsRows, threadFindings(compute + overhead, overhead, physicalCoreUtilization, loadAvg));
}

QString mpiRateAdvice(RateClassification c)
{
    return rateAdvice(mpiRateSentences, c);
}

QString ioRateAdvice(RateClassification c)
{
    return rateAdvice(ioRateSentences, c);
}

Advice mpiAdvice(double mpi, double collective, double p2p, double collectiveRate, double p2pRate)
{
    if (mpi == 0) {
        return {say(noMpi), {}};
    }
    if (collectiveRate == 0 || p2pRate == 0) {
        return {};
    }
    const RateClassification collectiveClass = classifyTransferRate(collectiveRate);
    const RateClassification p2pClass = classifyTransferRate(p2pRate);
    const Transfer collectives
        = {collectiveCalls, collective, collectiveClass, mpiRateAdvice(collectiveClass)};
    const Transfer pointToPoint = {pointToPointCalls, p2p, p2pClass, mpiRateAdvice(p2pClass)};
    return collective > p2p ? transferAdvice(collectives, pointToPoint)
                            : transferAdvice(pointToPoint, collectives);
}

Advice ioAdvice(double io, double reads, double writes, double readRate, double writeRate)
{
    if (io == 0) {
        return {say(noIo), {}};
    }
    const RateClassification readClass = classifyTransferRate(readRate);
    const RateClassification writeClass = classifyTransferRate(writeRate);
    const Transfer reading = {readOperations, reads, readClass, ioRateAdvice(readClass)};
    const Transfer writing = {writeOperations, writes, writeClass, ioRateAdvice(writeClass)};
    return reads > writes ? transferAdvice(reading, writing) : transferAdvice(writing, reading);
}

Advice memAdvice(double mean, double peak, double peakNode, int numProcs)
{
    if (peak == 0 || peakNode == 0) {
        return {};
    }
    const QString loadClass = classifyMemory(peakNode);
    const QString goodOneProcess
        = QObject::tr("The peak node memory usage is %1. You can use a memory debugger to check this is "
                      "being allocated from the places you would expect.")
              .arg(loadClass);
    const QString load
        = QObject::tr("The <span class=\"%1\">peak node memory usage</span> is %2. Running with fewer MPI "
                      "processes and more data on each process may be more efficient.")
              .arg(QString(DefaultMetrics::MemNodePeakPercent), loadClass);
    const QString loadOneProcess
        = QObject::tr("The <span class=\"%1\">peak node memory</span> usage is %2. Larger problem sets can "
                      "be run before scaling to multiple nodes.")
              .arg(QString(DefaultMetrics::MemNodePeakPercent), loadClass);

    const struct {
        unsigned needs; // MemoryFinding
        QString first;
        QString second;
    } rows[] = {
        {ManyProcesses | Loaded | Balanced, say(memoryGood), {}},
        {ManyProcesses | Loaded, say(memoryUnbalanced), {}},
        {ManyProcesses | Balanced, load, {}},
        {ManyProcesses, say(memoryUnbalanced), load},
        {Loaded, goodOneProcess, {}},
        {0, loadOneProcess, {}},
    };
    const auto &row = firstRow(rows,
        (numProcs > 1 ? ManyProcesses : 0u) | (peakNode >= 70 ? Loaded : 0u)
            | (peak / mean < 1.5 ? Balanced : 0u));
    return {row.first, row.second};
}

Advice cyclesPerInsAdvice(double perfCyclesPerIns)
{
    const double perfCyclesPerInsRounded = fround(perfCyclesPerIns);
    for (const CyclesRow &row : cyclesRows) {
        if (perfCyclesPerInsRounded > row.above) {
            return {QString::fromLatin1(row.text).arg(QString(DefaultMetrics::PerfCyclesPerIns)), {}};
        }
    }
    return {};
}

Advice cudaAdvice(double gpusInUse, double memAccess, double memPeakPercent)
{
    if (gpusInUse == 0) {
        return firstTwo({say(gpusUnused)});
    }
    // In the order of their weight: only two get a place.
    QStringList sentences;
    if (gpusInUse <= 50) {
        sentences << say(gpusLow);
    }
    if (memAccess > 30) {
        sentences << say(gpuMemoryAccesses);
    }
    if (memPeakPercent < 50) {
        sentences << QObject::tr("The <span class=\"%1\">peak GPU memory usage</span> is %2. It may be more "
                                 "efficient to offload a larger portion of the dataset to each device.")
                         .arg(QString(DefaultMetrics::CudaPeakMemoryPercent), classifyMemory(memPeakPercent));
    }
    if (gpusInUse > 50) {
        sentences << say(gpusAcceptable);
    }
    if (gpusInUse > 70) {
        sentences << say(gpusGood);
    }
    return firstTwo(sentences);
}

Advice energyAdvice(bool haveCpuEnergy, bool haveAccEnergy, const QString &warningMessage,
    const QString &sysError, const QString &cpuError, const QString &trappedError, double peakMemoryPercent,
    double mpiTimePercent, double energyCpuPercent, double memoryAccessPercent, double accUsage)
{
    QStringList sentences = {warningMessage, cpuError, sysError, trappedError};
    sentences.removeAll(QString()); // the empty ones
    if (haveCpuEnergy && peakMemoryPercent < 50 && mpiTimePercent > 30) {
        sentences << say(energyLostInMpi);
    }
    if (haveCpuEnergy && energyCpuPercent > 50 && memoryAccessPercent > 50) {
        sentences << say(energyLostOnMemory);
    }
    if (haveAccEnergy && accUsage < 1) {
        sentences << say(acceleratorsUnused);
    } else if (haveAccEnergy && accUsage < 20) {
        sentences << say(acceleratorsLow);
    }
    if (sentences.isEmpty()) {
        sentences << say(energyOptimal);
    }
    return firstTwo(sentences);
}
