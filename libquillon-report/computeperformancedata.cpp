#include "computeperformancedata.h"

#include "activitypower.h"
#include "api/defaultmetrics.h"
#include "metricreaders.h"

#include "core/environment.h"
#include "profile/metricids.h"
#include "profile/multisamplepsvmodelrootitem.h"
#include "profile/profilerdata.h"

#include <QStringList>

#include <limits>
#include <memory>

namespace quillon::report {

namespace {

constexpr double notAvailable = std::numeric_limits<double>::quiet_NaN();

constexpr double leastPhysicalCores = 0.01; // a mean up to this says that nobody counted them
constexpr double milliwattsPerWatt = 1000.0;
constexpr double msPerSecond = 1000.0;
constexpr double msPerHour = 3600000.0;
constexpr double joulesPerWattHour = 3600.0;

// A profile and what several steps ask of its merged model.
struct Run {
    const ProfilerData &data;
    const MultiSamplePSVModelRootItem &model;
    double maxHits;
    double mainThreadHits;

    // Hits of the main threads in a category, in percent of their time.
    double mainThreadPercent(Category::Enum category) const
    {
        return model.getTotalHitsFrom(DataScope::MAIN_THREAD, category) * 100 / mainThreadHits;
    }

    // What one process has of the physical cores.
    double physicalCoresPerProcess(double physicalCoresPerNode) const
    {
        return data.numNodes() * physicalCoresPerNode / data.numTargetProcs();
    }
};

// The value if it is above 0, else 0: a NaN becomes 0.
double orZero(double value)
{
    return value > 0 ? value : 0.0;
}

double wattHours(double joules)
{
    return joules / joulesPerWattHour;
}

void computeCores(PerformanceData &result, const ProfilerData &data)
{
    result.logicalCoresPerNode = data.getMetricOrEmpty(METRIC_NUM_CORES_PER_NODE).mean().to_double();
    const double physicalCores = data.getMetricOrEmpty(METRIC_NUM_PHYSICAL_CORES_PER_NODE).mean().to_double();
    result.physicalCoresPerNode
        = physicalCores > leastPhysicalCores ? physicalCores : result.logicalCoresPerNode;
}

// The cores of a process if the largest node's were shared out evenly, rounded up.
int maxCoresPerProcess(const ProfilerData &data)
{
    const int processes = data.numTargetProcs();
    if (processes <= 0)
        return 0;
    const qint64 coresPerNode = data.getMetricOrEmpty(METRIC_NUM_CORES_PER_NODE).max().to_int();
    return static_cast<int>((coresPerNode * data.numNodes() + processes - 1) / processes);
}

void computeTimeSplit(PerformanceData &result, const Run &run)
{
    result.mpiPercent = run.model.getTotalMpiHits(DataScope::MAIN_THREAD) * 100 / run.mainThreadHits;
    result.ioPercent = run.model.getIOHits(DataScope::MAIN_THREAD) * 100 / run.mainThreadHits;
    result.cpuPercent = orZero(100 - (result.ioPercent + result.mpiPercent));
    result.openmpComputePercent = run.mainThreadPercent(Category::OMP);
    const double overheadHits
        = run.model.getTotalHitsFrom(DataScope::MAIN_THREAD, Category::OMP_RUNTIME_IN_REGION)
        + run.model.getTotalHitsFrom(DataScope::MAIN_THREAD, Category::OMP_RUNTIME_OUT_OF_REGION);
    result.openmpOverheadPercent = overheadHits * 100 / run.mainThreadHits;
    result.openmpPercent = result.openmpComputePercent + result.openmpOverheadPercent;
    result.singleCorePercent = orZero(result.cpuPercent - result.openmpPercent);
    result.isOpenMP = result.openmpPercent > 0;
}

void computeAcceleratorPresence(PerformanceData &result, const Run &run)
{
    if (run.data.hasMetric(METRIC_NVIDIA_GPUS_COUNT)) {
        const double gpusPerNode = getSingleValueMetric(run.data, METRIC_NVIDIA_GPUS_COUNT);
        result.enableAccPackMetrics = gpusPerNode > 0;
        if (result.enableAccPackMetrics) {
            const bool anyDiff = run.data.metric(METRIC_NVIDIA_GPUS_COUNT).standardDeviation() > 0.0;
            result.numGpus = DoublePrecision(gpusPerNode, anyDiff ? 1 : 0);
        }
    }
    result.cpuWaitingTimePercent = run.mainThreadPercent(Category::ACCELERATOR);
}

void computeInstructionMix(PerformanceData &result, const Run &run)
{
    result.allCpuVecNum
        = meanOrNan(run.data, METRIC_INSTR_VECTOR_FP) + meanOrNan(run.data, METRIC_INSTR_VECTOR_INT);
    result.allCpuScalarNum
        = meanOrNan(run.data, METRIC_INSTR_FP) + meanOrNan(run.data, METRIC_INSTR_INT) - result.allCpuVecNum;
    result.allCpuMem = meanOrNan(run.data, METRIC_INSTR_MEM);

    const double instructionSum = result.allCpuScalarNum + result.allCpuVecNum + result.allCpuMem;
    const double accountedSum = instructionSum + result.cpuWaitingTimePercent;
    result.allCpuOther = 100 - accountedSum;
    if (result.allCpuOther < 0)
        result.allCpuOther = 0.0;

    if (result.cpuPercent != 0) {
        result.openmpNum = result.openmpPercent * 100 / result.cpuPercent;
        result.singleCoreNum = result.singleCorePercent * 100 / result.cpuPercent;
    }

    result.cpuOther = orZero(result.allCpuOther - (result.mpiPercent + result.ioPercent));
    const double scale = instructionSum != 0 ? (100 - result.cpuOther) / accountedSum : 0.0;
    result.cpuScalarNum = result.allCpuScalarNum * scale;
    result.cpuVecNum = result.allCpuVecNum * scale;
    result.cpuMem = result.allCpuMem * scale;
}

// What is transferred per second while in calls that take this fraction of the time.
double effectiveRate(double fraction, double meanRate)
{
    return fraction > 0 ? 1 / fraction * meanRate : 0.0;
}

void computeMpiSplit(PerformanceData &result, const Run &run)
{
    result.mpiCollectiveBytesPerSecMetricName = METRIC_MPI_COLLECTIVE_BYTES_PER_SEC;
    result.mpiCollectiveFraction
        = run.model.getMpiCollectiveHits(DataScope::MAIN_THREAD) / run.mainThreadHits;
    result.mpiP2pFraction = run.model.getMpiP2pHits(DataScope::MAIN_THREAD) / run.mainThreadHits;
    result.mpiBoth = result.mpiCollectiveFraction + result.mpiP2pFraction;

    const double scale = result.mpiBoth > 0 ? 1 / result.mpiBoth * 100 : 0.0;
    result.mpiCollective = result.mpiCollectiveFraction * scale;
    result.mpiP2p = result.mpiP2pFraction * scale;

    result.mpiCollectiveRate = effectiveRate(
        result.mpiCollectiveFraction, meanOrNan(run.data, METRIC_MPI_COLLECTIVE_BYTES_PER_SEC));
    result.mpiP2pRate
        = effectiveRate(result.mpiP2pFraction, meanOrNan(run.data, METRIC_MPI_P2P_BYTES_PER_SEC));
}

// The metric itself, unless only its substitute was measured without an error.
QString usableMetric(const ProfilerData &data, const QString &metricId, const QString &substituteId)
{
    return !data.hasMetricNoErrors(metricId) && data.hasMetricNoErrors(substituteId) ? substituteId
                                                                                     : metricId;
}

void computeIoSplit(PerformanceData &result, const Run &run)
{
    result.charsReadMetricName = usableMetric(run.data, METRIC_CHARS_READ, METRIC_LUSTRE_CHARS_READ);
    result.charsWrittenMetricName = usableMetric(run.data, METRIC_CHARS_WRITTEN, METRIC_LUSTRE_CHARS_WRITTEN);

    result.ioReadFraction = run.model.getIOReadHits(DataScope::ALL_CORES) / run.maxHits;
    result.ioWriteFraction = run.model.getIOWriteHits(DataScope::ALL_CORES) / run.maxHits;
    result.ioBoth = result.ioReadFraction + result.ioWriteFraction;
    const double scale = result.ioBoth > 0 ? 1 / result.ioBoth * 100 : 0.0;
    result.ioRead = result.ioReadFraction * scale;
    result.ioWrite = result.ioWriteFraction * scale;

    // The fractions are of all cores' time, the bytes those of processes.
    const double rateCorrection = run.maxHits > 0 ? run.mainThreadHits / run.maxHits : 0.0;
    const auto rate = [&](double fraction, const QString &metricId) {
        if (!(fraction > 0))
            return 0.0;
        const double bytes = run.data.getMetricOrEmpty(metricId).mean().to_double();
        return msPerSecond / (result.msAtEnd * fraction) * rateCorrection * bytes;
    };
    result.ioReadRate = rate(result.ioReadFraction, result.charsReadMetricName);
    result.ioWriteRate = rate(result.ioWriteFraction, result.charsWrittenMetricName);
}

void computeMemoryAndLoad(PerformanceData &result, const ProfilerData &data)
{
    result.memProcessMetricName = METRIC_RSS;
    result.memNodePercentMetricName = METRIC_NODE_MEM_USED;
    result.systemLoadAvgMetricName = METRIC_LOAD_AVG;
    result.memNodePeak = static_cast<double>(maxOrNan(data, METRIC_NODE_MEM_USED));
    result.memMean = meanOrNan(data, METRIC_RSS);
    result.memPeak = static_cast<double>(maxOrNan(data, METRIC_RSS));
    result.loadAvg = meanOrNan(data, METRIC_LOAD_AVG);
}

// What turns two fractions into percentages of their sum.
double scaleToPercent(double sumOfFractions)
{
    return sumOfFractions > 0 ? 100 / sumOfFractions : 0.0;
}

void computeOpenMp(PerformanceData &result, const Run &run)
{
    constexpr DataScope::Enum stretched = DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI;
    result.openmpComputeFraction
        = run.model.getTotalHitsFrom(DataScope::ALL_CORES, Category::OMP) / run.maxHits;
    const double overheadHits = run.model.getTotalHitsFrom(stretched, Category::OMP_RUNTIME_IN_REGION)
        + run.model.getTotalHitsFrom(stretched, Category::OMP_RUNTIME_OUT_OF_REGION)
        + run.model.getActiveHits(stretched, Category::OMP_MONITOR);
    result.openmpOverheadFraction = overheadHits / run.maxHits;

    const double scale = scaleToPercent(result.openmpComputeFraction + result.openmpOverheadFraction);
    result.openmpCompute = result.openmpComputeFraction * scale;
    result.openmpOverhead = result.openmpOverheadFraction * scale;
    result.openmpPhysicalCoreUtilization = run.data.maxAvgActiveCoresPerProc() * 100
        / run.physicalCoresPerProcess(result.physicalCoresPerNode);
}

void computeThreads(PerformanceData &result, const Run &run)
{
    result.threadsComputeFraction
        = run.model.getTotalHitsFrom(DataScope::ALL_CORES, Category::PTHREAD_COMPUTE) / run.maxHits;
    result.threadsSyncFraction
        = run.model.getTotalHitsFrom(DataScope::ALL_CORES, Category::PTHREAD_SYNC) / run.maxHits;

    const double scale = scaleToPercent(result.threadsComputeFraction + result.threadsSyncFraction);
    result.threadsCompute = result.threadsComputeFraction * scale;
    result.threadsSync = result.threadsSyncFraction * scale;
    result.threadsPhysicalCoreUtilization = run.data.averageActiveCoresPerProcess() * 100
        / run.physicalCoresPerProcess(result.physicalCoresPerNode);
}

void computeAccelerators(PerformanceData &result, const ProfilerData &data)
{
    if (!result.enableAccPackMetrics)
        return;
    result.cudaAvgPower = meanOfTheSumOrNan(data, METRIC_NVIDIA_POWER) / milliwattsPerWatt;
    result.isEnergyAccDefined = !PMetricValue::isNan(result.cudaAvgPower);
    if (result.isEnergyAccDefined)
        result.energyAccTotal = data.getSampledRuntimeMs() * result.cudaAvgPower / msPerSecond;
    result.avgGPUsInUse = meanOrNan(data, METRIC_NVIDIA_GPU_USAGE);

    result.cudaTotalMemory
        = static_cast<double>(data.getMetricOrEmpty(METRIC_NVIDIA_TOTAL_MEMORY).exactSum().to_uint64_t());
    const auto percentOfTotal = [&](double bytes) {
        return result.cudaTotalMemory > 0 ? bytes * 100 / result.cudaTotalMemory : 0.0;
    };
    result.cudaPeakMemoryUsed = maxOfTheSumOrNan(data, METRIC_NVIDIA_MEMORY_USED);
    result.cudaPeakMemoryUsedPercent = percentOfTotal(result.cudaPeakMemoryUsed);
    result.cudaMeanMemoryUsed = meanOfTheSumOrNan(data, METRIC_NVIDIA_MEMORY_USED);
    result.cudaMeanMemoryUsedPercent = percentOfTotal(result.cudaMeanMemoryUsed);
    result.cudaMemoryAccess = meanOrNan(data, METRIC_NVIDIA_MEMORY_SYS_USAGE);
}

// The stem of a sensor's metric ids: what the environment says, even if that is empty; else the first
// candidate that measured power without an error; else the first candidate.
QString energyMetricBase(
    const ProfilerData &data, const QString &fromEnvironment, const QStringList &candidates)
{
    if (!fromEnvironment.isNull())
        return fromEnvironment;
    for (const QString &candidate : candidates) {
        if (data.hasMetricNoErrors(candidate + QLatin1String("_power")))
            return candidate;
    }
    return candidates.first();
}

void chooseEnergyMetrics(PerformanceData &result, const ProfilerData &data)
{
    static brivane::CachedEnvironment cpuSetting("CPU_ENERGY_METRIC");
    static brivane::CachedEnvironment sysSetting("SYSTEM_ENERGY_METRIC");
    const QString cpuBase = energyMetricBase(data, cpuSetting.string(), {QStringLiteral("rapl")});
    const QString sysBase = energyMetricBase(data, sysSetting.string(), {QStringLiteral("system")});
    result.cpuPowerMetric = cpuBase + QLatin1String("_power");
    result.sysPowerMetric = sysBase + QLatin1String("_power");
    result.cpuEnergyMetric = cpuBase + QLatin1String("_energy");
    result.sysEnergyMetric = sysBase + QLatin1String("_energy");
}

void chooseEnergyTotal(PerformanceData &result)
{
    if (!PMetricValue::isNan(result.energySysTotal)) {
        result.energyTotal = result.energySysTotal;
        result.energyTotalBasis = TotalEnergyBasis::System;
    } else if (result.isEnergyCpuDefined && result.isEnergyAccDefined) {
        result.energyTotal = result.energyCpuTotal + result.energyAccTotal;
        result.energyTotalBasis = TotalEnergyBasis::CpuPlusAcc;
    } else if (result.isEnergyCpuDefined) {
        result.energyTotal = result.energyCpuTotal;
        result.energyTotalBasis = TotalEnergyBasis::CpuOnly;
    } else if (result.isEnergyAccDefined) {
        result.energyTotal = result.energyAccTotal;
        result.energyTotalBasis = TotalEnergyBasis::AccOnly;
    } else {
        result.energyTotal = notAvailable;
        result.energyTotalBasis = TotalEnergyBasis::None;
    }
}

void computeEnergy(PerformanceData &result, const ProfilerData &data)
{
    const QString cpuError = data.getFirstMetricError(result.cpuPowerMetric);
    // The energy metrics count up over the run, so that their maximum is the total.
    result.energyCpuTotal = maxOfTheSumOrNan(data, result.cpuEnergyMetric);
    result.nodePeakPower = static_cast<double>(maxOrNan(data, result.sysPowerMetric));
    result.nodeMeanPower = meanOrNan(data, result.sysPowerMetric);
    result.energySysTotal = maxOfTheSumOrNan(data, result.sysEnergyMetric);
    result.isEnergyCpuDefined = !PMetricValue::isNan(result.energyCpuTotal) && cpuError.isNull();
    chooseEnergyTotal(result);

    result.energyTotalInWh = wattHours(result.energyTotal);
    result.energyCpuPercent = result.energyCpuTotal * 100 / result.energyTotal;
    result.energyAccPercent
        = result.enableAccPackMetrics ? result.energyAccTotal * 100 / result.energyTotal : 0.0;
    result.energyOtherPercent = notAvailable;
    if (!PMetricValue::isNan(result.energySysTotal)) {
        const auto known = [](double percent) { return PMetricValue::isNan(percent) ? 0.0 : percent; };
        result.energyOtherPercent = 100 - known(result.energyCpuPercent) - known(result.energyAccPercent);
    }
    result.energyCpuInWh = result.isEnergyCpuDefined ? wattHours(result.energyCpuTotal) : notAvailable;
    result.energyAccInWh = result.isEnergyAccDefined ? wattHours(result.energyAccTotal) : notAvailable;
}

void computeBudget(PerformanceData &result, const ProfilerData &data, double runtimeInHours)
{
    const QString budgetedError = data.getFirstMetricError(METRIC_BUDGETED_POWER);
    result.hasBudgetedMetric = data.hasMetric(METRIC_BUDGETED_POWER);
    result.energyBudgetedTotalInWh = notAvailable;
    result.energyTrappedTotalInWh = notAvailable;
    result.energyTrappedPercent = notAvailable;
    if (!result.hasBudgetedMetric || !budgetedError.isEmpty())
        return;

    const ScalarMetric budget = data.metric(METRIC_BUDGETED_POWER);
    const double energyBudgetedInW = budget.exactSum().to_double();
    result.nodePowerBudget = budget.mean().to_double();
    result.energyBudgetedTotalInWh = runtimeInHours * energyBudgetedInW;
    if (PMetricValue::isNan(result.energySysTotal))
        return;

    const double trappedInWh = result.energyBudgetedTotalInWh - result.energyTotalInWh;
    if (trappedInWh < 0)
        return;
    result.hasTrappedCapacity = true;
    result.energyTrappedTotalInWh = trappedInWh;
    result.energyTrappedPercent = 100 * trappedInWh / result.energyBudgetedTotalInWh;
}

void computeCpuPowerByActivity(PerformanceData &result, const Run &run, double runtimeInHours)
{
    const QString &metric = result.cpuPowerMetric;
    result.mpiMeanCpuPower = weightedAverage(run.data, metric, mpiWeightForEnergy);
    result.ioMeanCpuPower = weightedAverage(run.data, metric, ioWeightForEnergy);
    result.ompMeanCpuPower = weightedAverage(run.data, metric, openmpWeightForEnergy);
    result.otherMeanCpuPower = weightedAverage(run.data, metric, computeWeightForEnergy);

    const auto energyInWh = [&](double meanPower, ActivityWeight weight) {
        return run.data.numNodes() * meanPower * weight(run.model) * runtimeInHours;
    };
    result.mpiCpuEnergyInWh = energyInWh(result.mpiMeanCpuPower, mpiWeightForEnergy);
    result.ioCpuEnergyInWh = energyInWh(result.ioMeanCpuPower, ioWeightForEnergy);
    result.ompCpuEnergyInWh = energyInWh(result.ompMeanCpuPower, openmpWeightForEnergy);
    result.otherCpuEnergyInWh
        = result.energyCpuInWh - result.ioCpuEnergyInWh - result.mpiCpuEnergyInWh - result.ompCpuEnergyInWh;
    if (result.otherCpuEnergyInWh < 0) {
        // The estimates overshoot what the sensor says: they share what there is.
        const double scale = result.energyCpuInWh
            / (result.mpiCpuEnergyInWh + result.ioCpuEnergyInWh + result.ompCpuEnergyInWh);
        result.otherCpuEnergyInWh = 0.0;
        result.mpiCpuEnergyInWh *= scale;
        result.ioCpuEnergyInWh *= scale;
        result.ompCpuEnergyInWh *= scale;
    }
}

} // namespace

PerformanceData computePerformanceData(const ProfilerData &data)
{
    PerformanceData result;
    const std::unique_ptr<MultiSamplePSVModelRootItem> model(
        data.mergedPSVModelWithoutSourceInfo(DataScope::ALL_CORES, -1, -1));
    if (!model)
        return result;

    computeCores(result, data);
    // The count itself is the index of the end: sample i ends where sample i + 1 begins.
    result.msAtEnd = data.timeAt(data.numSamples());
    model->setCoresPerProcess(maxCoresPerProcess(data));
    const Run run = {data, *model, static_cast<double>(model->maxHits(DataScope::ALL_CORES)),
        static_cast<double>(model->maxHits(DataScope::MAIN_THREAD))};

    computeTimeSplit(result, run);
    computeAcceleratorPresence(result, run);
    computeInstructionMix(result, run);
    computeMpiSplit(result, run);
    computeIoSplit(result, run);
    computeMemoryAndLoad(result, data);
    computeOpenMp(result, run);
    computeThreads(result, run);
    computeAccelerators(result, data);
    result.enableEnergyMetrics = true;
    chooseEnergyMetrics(result, data);
    computeEnergy(result, data);
    const double runtimeInHours = data.getSampledRuntimeMs() / msPerHour;
    computeBudget(result, data, runtimeInHours);
    computeCpuPowerByActivity(result, run, runtimeInHours);
    result.perfCyclesPerIns = meanOrNan(data, DefaultMetrics::PerfCyclesPerIns);
    result.isValid = true;
    return result;
}

} // namespace quillon::report
