#include "advicegenerator.h"

#include "rateclassification.h"

#include <QtAlgorithms>

namespace quillon::report {

namespace {

// Shares of time below this one (percent) are noise.
constexpr double measurable = 0.05;

// A sensor of the whole system, which is read seldom, can be trusted from this time on.
constexpr int leastSystemSensorMs = 60000;

bool powerIsKnown(const PerformanceData &data)
{
    return data.energyTotalBasis != TotalEnergyBasis::None
        && (data.energyTotalBasis != TotalEnergyBasis::System || data.msAtEnd >= leastSystemSensorMs);
}

bool peakStandsOut(const PerformanceData &data)
{
    return data.nodeMeanPower * 1.1 < data.nodePeakPower;
}

// Whether a transfer's time is worth a look; its time in percent, the power that a CPU draws meanwhile.
bool isSignificant(const PerformanceData &data, double percent, double meanCpuPower)
{
    return percent > 20 && (!data.isEnergyCpuDefined || meanCpuPower < data.otherMeanCpuPower * 0.9);
}

bool isLowRate(double percent, double rate)
{
    return percent > 20 && classifyTransferRate(rate) < RATE_AVERAGE;
}

} // namespace

AdviceGenerator::~AdviceGenerator()
{
    qDeleteAll(mAdvice);
}

QStringList AdviceGenerator::adviceStrings(const PerformanceData &data) const
{
    QStringList result;
    for (const Advice *rule : mAdvice) {
        if ((*rule)(data)) {
            result.append(rule->advice());
        }
    }
    return result;
}

double ThreadMetrics::compute(const PerformanceData &data) const
{
    return data.threadsCompute;
}

double ThreadMetrics::overhead(const PerformanceData &data) const
{
    return data.threadsSync;
}

double ThreadMetrics::physicalCoreUtilization(const PerformanceData &data) const
{
    return data.threadsPhysicalCoreUtilization;
}

double OpenMpMetrics::compute(const PerformanceData &data) const
{
    return data.openmpCompute;
}

double OpenMpMetrics::overhead(const PerformanceData &data) const
{
    return data.openmpOverhead;
}

double OpenMpMetrics::physicalCoreUtilization(const PerformanceData &data) const
{
    return data.openmpPhysicalCoreUtilization;
}

// --- Power

bool peakPowerWouldExceedBudget(const PerformanceData &data)
{
    const double peakInWh = data.msAtEnd * data.nodePeakPower / 1000 / 3600;
    return data.hasBudgetedMetric && peakInWh > data.energyBudgetedTotalInWh;
}

bool meanPowerIsLow(const PerformanceData &data)
{
    return powerIsKnown(data) && peakStandsOut(data);
}

bool powerIsConsistent(const PerformanceData &data)
{
    return powerIsKnown(data) && !peakStandsOut(data);
}

bool EnergyBasisIs::operator()(const PerformanceData &data) const
{
    return data.energyTotalBasis == mValue;
}

// --- Accelerators and memory

bool acceleratorsAreUnused(const PerformanceData &data)
{
    return data.enableAccPackMetrics && data.avgGPUsInUse == 0;
}

bool acceleratorUsageIsLow(const PerformanceData &data)
{
    return data.enableAccPackMetrics && data.avgGPUsInUse != 0 && data.avgGPUsInUse < 75;
}

bool lowMemoryAndHighMpi(const PerformanceData &data)
{
    return data.memNodePeak < 50 && data.mpiPercent > 30;
}

// --- Computation

bool waitingForAcceleratorsIsDominant(const PerformanceData &data)
{
    return data.enableAccPackMetrics && data.cpuWaitingTimePercent > 50;
}

bool waitingForAcceleratorsIsHigh(const PerformanceData &data)
{
    return data.enableAccPackMetrics && !(data.cpuWaitingTimePercent > 50) && data.cpuWaitingTimePercent > 10;
}

bool serialCodeIsDominant(const PerformanceData &data)
{
    return data.isOpenMP && data.singleCorePercent < 99 && data.singleCorePercent > 50;
}

bool serialCodeIsHigh(const PerformanceData &data)
{
    return data.isOpenMP && !(data.singleCorePercent > 50) && data.singleCorePercent > 10;
}

bool vectorInstructionsAreUnused(const PerformanceData &data)
{
    return data.cpuVecNum < measurable;
}

bool vectorInstructionUsageIsLow(const PerformanceData &data)
{
    return !(data.cpuVecNum < measurable) && data.cpuVecNum * 0.5 < data.cpuScalarNum;
}

bool memoryInstructionsAreDominant(const PerformanceData &data)
{
    return data.cpuMem > data.cpuVecNum + data.cpuScalarNum;
}

bool memoryInstructionsAreHigh(const PerformanceData &data)
{
    return !(data.cpuMem > data.cpuVecNum + data.cpuScalarNum) && data.cpuMem > 33;
}

// --- Transfers

bool mpiTimeIsSignificant(const PerformanceData &data)
{
    return isSignificant(data, data.mpiPercent, data.mpiMeanCpuPower);
}

bool noMpiTime(const PerformanceData &data)
{
    return data.mpiPercent < measurable;
}

bool mpiTimeIsInsignificant(const PerformanceData &data)
{
    return !(data.mpiPercent < measurable) && !mpiTimeIsSignificant(data);
}

bool ioTimeIsSignificant(const PerformanceData &data)
{
    return isSignificant(data, data.ioPercent, data.ioMeanCpuPower);
}

bool noIoTime(const PerformanceData &data)
{
    return data.ioPercent < measurable;
}

bool ioTimeIsInsignificant(const PerformanceData &data)
{
    return !(data.ioPercent < measurable) && !ioTimeIsSignificant(data);
}

bool p2pRateIsLow(const PerformanceData &data)
{
    return mpiTimeIsSignificant(data) && isLowRate(data.mpiP2p, data.mpiP2pRate);
}

bool collectiveRateIsLow(const PerformanceData &data)
{
    return mpiTimeIsSignificant(data) && isLowRate(data.mpiCollective, data.mpiCollectiveRate);
}

bool readRateIsLow(const PerformanceData &data)
{
    return ioTimeIsSignificant(data) && isLowRate(data.ioRead, data.ioReadRate);
}

bool writeRateIsLow(const PerformanceData &data)
{
    return ioTimeIsSignificant(data) && isLowRate(data.ioWrite, data.ioWriteRate);
}

// --- Threads

bool ThreadCondition::utilizationIsLow(const PerformanceData &data) const
{
    return mMetrics->physicalCoreUtilization(data) < 90 - mMetrics->overhead(data);
}

bool OverheadIsHigh::operator()(const PerformanceData &data) const
{
    return mMetrics->overhead(data) > 25;
}

bool BadThreadAffinity::operator()(const PerformanceData &data) const
{
    return mMetrics->overhead(data) > 25 && utilizationIsLow(data) && data.loadAvg > 125;
}

bool PhysicalCoreUtilisationIsLowAndMultiCore::operator()(const PerformanceData &data) const
{
    return mMetrics->compute(data) + mMetrics->overhead(data) > measurable && utilizationIsLow(data);
}

bool PhysicalCoreUtilisationIsLowAndSingleCore::operator()(const PerformanceData &data) const
{
    return mMetrics->compute(data) + mMetrics->overhead(data) < measurable && utilizationIsLow(data)
        && data.loadAvg < 125;
}

} // namespace quillon::report
