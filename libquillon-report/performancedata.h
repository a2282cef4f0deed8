#ifndef QUILLON_REPORT_PERFORMANCEDATA_H
#define QUILLON_REPORT_PERFORMANCEDATA_H

#include "api/performancemetric.h"

#include <QString>

#include <limits>

namespace quillon::report {

// What a job's total energy figure was made from.
class TotalEnergyBasis {
public:
    enum ValueType {
        None = 0, // no total is known
        System = 1, // the whole-system sensor
        CpuPlusAcc = 2, // CPU sensor plus accelerators
        CpuOnly = 3, // CPU sensor alone
        AccOnly = 4 // accelerators alone
    };

    TotalEnergyBasis(ValueType value = None)
        : mValue(value)
    {
    }
    operator ValueType() const { return mValue; }

private:
    ValueType mValue;
};

// The figures of one finished job: what classification, advice and the filling of a report read.
//
// Percentages run from 0 to 100 and fractions, being shares of sample hits, from 0 to 1. Powers are in
// watts, memory in bytes, rates in bytes per second, energies in joules or, in names ending in InWh,
// watt-hours. A NaN is a figure that couldn't be measured.
struct PerformanceData {
    bool isValid = false; // the profile had a model and the computation ran to its end

    double logicalCoresPerNode = 0.0; // mean over the nodes
    double physicalCoresPerNode = 0.0; // mean over the nodes, the logical count where it isn't known
    int msAtEnd = 0; // when sampling ended, milliseconds

    // The main threads' time.
    double mpiPercent = 0.0;
    double ioPercent = 0.0;
    double cpuPercent = 0.0; // what remains for computation, never below 0
    double openmpComputePercent = 0.0; // inside OpenMP regions, computing
    double openmpOverheadPercent = 0.0; // in the OpenMP runtime
    double openmpPercent = 0.0; // sum of the two above
    double singleCorePercent = 0.0; // computation outside OpenMP, never below 0
    bool isOpenMP = false; // openmpPercent is above 0

    bool enableAccPackMetrics = false; // accelerators were present, and their figures below are filled
    DoublePrecision numGpus{0.0, 0}; // per node: the mean, and 1 decimal place where nodes differ, else 0

    // Instruction mix. The figures named allCpu are in percent of all instructions; those without `all` are
    // rescaled to the time that is left for them, and so are memory, scalar and vector shares of CPU time.
    double cpuMem = 0.0;
    double cpuWaitingTimePercent = 0.0; // main threads waiting for the accelerator
    double allCpuVecNum = 0.0;
    double allCpuScalarNum = 0.0;
    double allCpuMem = 0.0;
    double allCpuOther = 0.0; // the rest, never below 0
    double openmpNum = 0.0; // openmpPercent as a share of cpuPercent
    double singleCoreNum = 0.0; // singleCorePercent as a share of cpuPercent
    double cpuOther = 0.0; // allCpuOther less MPI and I/O, never below 0
    double cpuScalarNum = 0.0;
    double cpuVecNum = 0.0;

    QString mpiCollectiveBytesPerSecMetricName;
    double mpiCollectiveFraction = 0.0; // of the main threads' hits
    double mpiP2pFraction = 0.0; // of the main threads' hits
    double mpiBoth = 0.0; // sum of the two fractions
    double mpiCollective = 0.0; // percent of MPI time
    double mpiP2p = 0.0; // percent of MPI time
    double mpiCollectiveRate = 0.0; // effective, that is while in such calls
    double mpiP2pRate = 0.0; // effective, that is while in such calls

    QString charsReadMetricName;
    QString charsWrittenMetricName;
    double ioReadFraction = 0.0; // of all cores' hits
    double ioWriteFraction = 0.0; // of all cores' hits
    double ioBoth = 0.0; // sum of the two fractions
    double ioRead = 0.0; // percent of I/O time
    double ioWrite = 0.0; // percent of I/O time
    double ioReadRate = 0.0; // effective, that is while reading
    double ioWriteRate = 0.0; // effective, that is while writing

    QString memProcessMetricName;
    QString memNodePercentMetricName;
    double memNodePeak = 0.0; // percent of a node's memory, a whole number; 0 if unknown
    double memMean = 0.0; // of a process
    double memPeak = 0.0; // of a process, a whole number; 0 if unknown

    QString systemLoadAvgMetricName;
    double loadAvg = 0.0;

    double openmpComputeFraction = 0.0; // of all cores' hits
    double openmpOverheadFraction = 0.0; // in the OpenMP runtime and its monitor thread
    double openmpCompute = 0.0; // percent of OpenMP time
    double openmpOverhead = 0.0; // percent of OpenMP time
    double openmpPhysicalCoreUtilization = 0.0; // peak of active cores, percent of a process's cores

    double threadsComputeFraction = 0.0; // of all cores' hits
    double threadsSyncFraction = 0.0; // of all cores' hits
    double threadsCompute = 0.0; // percent of thread time
    double threadsSync = 0.0; // percent of thread time
    double threadsPhysicalCoreUtilization = 0.0; // mean of active cores, percent of a process's cores

    double energyAccTotal = 0.0; // joules
    bool isEnergyAccDefined = false; // cudaAvgPower is not NaN
    double perfCyclesPerIns = std::numeric_limits<double>::quiet_NaN(); // unknown until computed

    double cudaAvgPower = 0.0; // mean, summed over the nodes
    double avgGPUsInUse = 0.0; // mean utilisation, percent
    double cudaTotalMemory = 0.0;
    double cudaPeakMemoryUsed = 0.0; // peak of the sum over the ranks
    double cudaPeakMemoryUsedPercent = 0.0;
    double cudaMeanMemoryUsed = 0.0; // mean of the sum over the ranks
    double cudaMeanMemoryUsedPercent = 0.0;
    double cudaMemoryAccess = 0.0; // mean share of time accessing accelerator memory, percent

    bool enableEnergyMetrics = false; // true in every record that the computation has filled
    QString cpuPowerMetric;
    QString sysPowerMetric;
    QString cpuEnergyMetric;
    QString sysEnergyMetric;
    double energyCpuTotal = 0.0; // joules
    double nodePeakPower = 0.0; // a whole number; 0 if unknown
    double nodeMeanPower = 0.0;
    double energySysTotal = 0.0; // joules
    double energyTotal = 0.0; // joules, from energyTotalBasis
    bool isEnergyCpuDefined = false; // the CPU's energy is known and its power had no error
    TotalEnergyBasis energyTotalBasis;
    double energyCpuPercent = 0.0; // of energyTotal
    double energyAccPercent = 0.0; // of energyTotal
    double energyOtherPercent = 0.0; // what a system total leaves over, may be negative; NaN without one
    double energyTotalInWh = 0.0;
    double energyCpuInWh = 0.0;
    double energyAccInWh = 0.0;

    bool hasBudgetedMetric = false;
    double nodePowerBudget = std::numeric_limits<double>::quiet_NaN(); // of a node; unknown until computed
    double energyBudgetedTotalInWh = 0.0; // what the budget would have allowed
    bool hasTrappedCapacity = false; // budget and system energy are known, and the budget was kept
    double energyTrappedTotalInWh = 0.0; // budgeted energy not used
    double energyTrappedPercent = 0.0; // of energyBudgetedTotalInWh

    // CPU power (per node) and energy by activity.
    double mpiMeanCpuPower = 0.0;
    double ioMeanCpuPower = 0.0;
    double ompMeanCpuPower = std::numeric_limits<double>::quiet_NaN(); // unknown until computed
    double otherMeanCpuPower = 0.0; // while computing
    double mpiCpuEnergyInWh = 0.0;
    double ioCpuEnergyInWh = 0.0;
    double ompCpuEnergyInWh = std::numeric_limits<double>::quiet_NaN(); // unknown until computed
    double otherCpuEnergyInWh = 0.0; // the rest of the CPU's energy, never below 0
};

} // namespace quillon::report

#endif
