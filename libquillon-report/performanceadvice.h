#ifndef QUILLON_REPORT_PERFORMANCEADVICE_H
#define QUILLON_REPORT_PERFORMANCEADVICE_H

#include "rateclassification.h"

#include <QPair>
#include <QString>

// The sentences under each subsection of a report. Every function takes figures of one job and gives the
// primary and the secondary sentence, the null string where there is none; the sentences hold spans whose
// class is the id of the metric or subsection they speak of. Times are percentages (0 to 100), rates bytes
// per second, loads percentages of the cores. A figure that could not be measured is a NaN, for which every
// comparison is false.

// `cpu`: share of the job's time; `singleCore`, `numeric` (scalar), `vector`, `memory`, `cpuWaiting`: shares
// of that. Findings stack: the weightiest comes first, and of what it displaces only the newest stays.
QPair<QString, QString> cpuAdvice(
    double cpu, double singleCore, double numeric, double vector, double memory, double cpuWaiting);

// `total`: share of the job's time; `overhead`: share of that; `compute` has no say. A `loadAvg` of 0 means
// that the system's load is unknown: no advice.
QPair<QString, QString> openmpAdvice(
    double total, double compute, double overhead, double physicalCoreUtilization, double loadAvg);

// As openmpAdvice, for threads outside OpenMP; `overhead` is the share of synchronisation.
QPair<QString, QString> threadsAdvice(
    double compute, double overhead, double physicalCoreUtilization, double loadAvg);

// `mpi`: share of the job's time; `collective`, `p2p`: shares of that. No advice when one of the rates is 0.
QPair<QString, QString> mpiAdvice(
    double mpi, double collective, double p2p, double collectiveRate, double p2pRate);

// `io`: share of the job's time; `reads`, `writes`: shares of that. A rate of 0 is a very low one.
QPair<QString, QString> ioAdvice(double io, double reads, double writes, double readRate, double writeRate);

// `mean` and `peak`: memory of a process in bytes; `peakNode`: peak of a node in percent. No advice when a
// peak is 0.
QPair<QString, QString> memAdvice(double mean, double peak, double peakNode, int numProcs);

// Judges the cycles per instruction; there is never a second sentence.
QPair<QString, QString> cyclesPerInsAdvice(double perfCyclesPerIns);

// `gpusInUse`, `memAccess`, `memPeakPercent`: percentages. A sentence that isn't there is empty.
QPair<QString, QString> cudaAdvice(double gpusInUse, double memAccess, double memPeakPercent);

// Messages that aren't empty come first, and what the figures suggest follows, as far as two places go. A
// second sentence that isn't there is empty.
QPair<QString, QString> energyAdvice(bool haveCpuEnergy, bool haveAccEnergy, const QString &warningMessage,
    const QString &sysError, const QString &cpuError, const QString &trappedError, double peakMemoryPercent,
    double mpiTimePercent, double energyCpuPercent, double memoryAccessPercent, double accUsage);

// What a rate of this class suggests; for a value that is no class, whom to ask.
QString mpiRateAdvice(RateClassification c);
QString ioRateAdvice(RateClassification c);

#endif
