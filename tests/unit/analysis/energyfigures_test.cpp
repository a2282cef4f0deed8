// What energy a job used, what that was made from, and how it compares with a power budget.

#include "analysistest.h"

#include "computeperformancedata.h"
#include "profilebuilder.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class EnergyFigures : public AnalysisTest { };
class EnergyMetricNames : public AnalysisTest { };
class Budget : public AnalysisTest { };

constexpr int OneHourMs = 3600000;

// Computes for an hour.
ProfileBuilder job()
{
    return ProfileBuilder(2, OneHourMs / 2).main(Category::COMPUTE, 100);
}

// Energy counts up over the run; what stands at its end is the total.
ProfileBuilder withCpuEnergy(ProfileBuilder builder, double joules)
{
    return builder.series(METRIC_RAPL_ENERGY, {joules / 2, joules}).series(METRIC_RAPL_POWER, {100});
}

ProfileBuilder withSystemEnergy(ProfileBuilder builder, double joules)
{
    return builder.series(METRIC_SYSTEM_ENERGY, {joules / 2, joules}).series(METRIC_SYSTEM_POWER, {100});
}

// One GPU with a steady power.
ProfileBuilder withGpu(ProfileBuilder builder, double watts)
{
    return builder.wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1}).series(METRIC_NVIDIA_POWER, {watts * 1000});
}

TEST_F(EnergyFigures, OfTheWholeSystemWinOverEverythingElse)
{
    const PerformanceData figures
        = computePerformanceData(withGpu(withCpuEnergy(withSystemEnergy(job(), 1.44e6), 720e3), 100).build());
    EXPECT_TRUE(figures.enableEnergyMetrics);
    EXPECT_EQ(figures.energySysTotal, 1.44e6);
    EXPECT_EQ(figures.energyCpuTotal, 720e3);
    EXPECT_EQ(figures.energyAccTotal, 360e3); // 100 W for an hour
    EXPECT_EQ(figures.energyTotal, 1.44e6);
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::System);
    EXPECT_EQ(figures.energyTotalInWh, 400.0);
    EXPECT_EQ(figures.energyCpuInWh, 200.0);
    EXPECT_EQ(figures.energyAccInWh, 100.0);
    EXPECT_EQ(figures.energyCpuPercent, 50.0);
    EXPECT_EQ(figures.energyAccPercent, 25.0);
    EXPECT_EQ(figures.energyOtherPercent, 25.0);
}

TEST_F(EnergyFigures, AreSummedOverTheNodes)
{
    const PerformanceData figures
        = computePerformanceData(job().readingsBySample(METRIC_SYSTEM_ENERGY, {{10, 20}, {300, 60}}).build());
    EXPECT_EQ(figures.energySysTotal, 360.0);
    EXPECT_DOUBLE_EQ(figures.energyTotalInWh, 0.1);
}

TEST_F(EnergyFigures, OfANodesPowerAreAWholePeakAndAMean)
{
    const PerformanceData figures = computePerformanceData(
        job().readingsBySample(METRIC_SYSTEM_POWER, {{100, 200}, {301.9, 198.1}}).build());
    EXPECT_EQ(figures.nodePeakPower, 301.0);
    EXPECT_EQ(figures.nodeMeanPower, 200.0);
}

TEST_F(EnergyFigures, OfAnUnknownNodePowerAreAPeakOfZeroAndAnUnknownMean)
{
    const PerformanceData figures = computePerformanceData(job().build());
    EXPECT_EQ(figures.nodePeakPower, 0.0);
    EXPECT_THAT(figures.nodeMeanPower, IsNan());
}

TEST_F(EnergyFigures, OfTheSystemNeedNoCpuSensor)
{
    const PerformanceData figures
        = computePerformanceData(withSystemEnergy(withGpu(job(), 100), 1.44e6).build());
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::System);
    EXPECT_THAT(figures.energyCpuPercent, IsNan());
    EXPECT_EQ(figures.energyAccPercent, 25.0);
    EXPECT_EQ(figures.energyOtherPercent, 75.0);
    EXPECT_FALSE(figures.isEnergyCpuDefined);
    EXPECT_THAT(figures.energyCpuInWh, IsNan());
}

TEST_F(EnergyFigures, OfTheRestCanBeNegative)
{
    const PerformanceData figures
        = computePerformanceData(withCpuEnergy(withSystemEnergy(job(), 360e3), 720e3).build());
    EXPECT_EQ(figures.energyCpuPercent, 200.0);
    EXPECT_EQ(figures.energyOtherPercent, -100.0);
}

TEST_F(EnergyFigures, OfCpuAndAcceleratorMakeATotal)
{
    const PerformanceData figures
        = computePerformanceData(withGpu(withCpuEnergy(job(), 1.08e6), 100).build());
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::CpuPlusAcc);
    EXPECT_EQ(figures.energyTotal, 1.44e6);
    EXPECT_EQ(figures.energyCpuPercent, 75.0);
    EXPECT_EQ(figures.energyAccPercent, 25.0);
    EXPECT_THAT(figures.energyOtherPercent, IsNan());
}

TEST_F(EnergyFigures, OfTheCpuAloneMakeATotal)
{
    const PerformanceData figures = computePerformanceData(withCpuEnergy(job(), 720e3).build());
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::CpuOnly);
    EXPECT_EQ(figures.energyTotal, 720e3);
    EXPECT_TRUE(figures.isEnergyCpuDefined);
    EXPECT_EQ(figures.energyCpuPercent, 100.0);
    EXPECT_EQ(figures.energyAccPercent, 0.0);
    EXPECT_THAT(figures.energyOtherPercent, IsNan());
    EXPECT_THAT(figures.energyAccInWh, IsNan());
}

TEST_F(EnergyFigures, OfAcceleratorsAloneMakeATotal)
{
    const PerformanceData figures = computePerformanceData(withGpu(job(), 100).build());
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::AccOnly);
    EXPECT_EQ(figures.energyTotal, 360e3);
    EXPECT_THAT(figures.energyCpuPercent, IsNan());
    EXPECT_EQ(figures.energyAccPercent, 100.0);
    EXPECT_THAT(figures.energyOtherPercent, IsNan());
}

TEST_F(EnergyFigures, WithoutAnySensorAreUnknown)
{
    const PerformanceData figures = computePerformanceData(job().build());
    EXPECT_TRUE(figures.enableEnergyMetrics);
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::None);
    EXPECT_THAT(figures.energyTotal, IsNan());
    EXPECT_THAT(figures.energyTotalInWh, IsNan());
    EXPECT_THAT(figures.energyCpuPercent, IsNan());
    EXPECT_EQ(figures.energyAccPercent, 0.0);
    EXPECT_THAT(figures.energyOtherPercent, IsNan());
    EXPECT_THAT(figures.energyCpuInWh, IsNan());
    EXPECT_THAT(figures.energyAccInWh, IsNan());
}

TEST_F(EnergyFigures, OfACpuWhosePowerFailedDontMakeATotalButKeepTheirShareOfIt)
{
    const ProfileBuilder failing
        = withCpuEnergy(withGpu(job(), 100), 720e3).error(METRIC_RAPL_POWER, "Not readable on node 3.");
    const PerformanceData figures = computePerformanceData(failing.build());
    EXPECT_FALSE(figures.isEnergyCpuDefined);
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::AccOnly);
    EXPECT_EQ(figures.energyTotal, 360e3);
    EXPECT_EQ(figures.energyCpuPercent, 200.0);
    EXPECT_THAT(figures.energyCpuInWh, IsNan());

    const PerformanceData withoutGpu = computePerformanceData(
        withCpuEnergy(job(), 720e3).error(METRIC_RAPL_POWER, "Not readable.").build());
    EXPECT_EQ(withoutGpu.energyTotalBasis, TotalEnergyBasis::None);
}

// The ids of the CPU's power and energy and of the system's.
QStringList metricsInUse(const ProfileBuilder &builder = job())
{
    const PerformanceData figures = computePerformanceData(builder.build());
    return {figures.cpuPowerMetric, figures.cpuEnergyMetric, figures.sysPowerMetric, figures.sysEnergyMetric};
}

const QStringList usualMetrics = {QStringLiteral("rapl_power"), QStringLiteral("rapl_energy"),
    QStringLiteral("system_power"), QStringLiteral("system_energy")};

TEST_F(EnergyMetricNames, AreTheUsualOnesWhetherOrNotTheirMetricsAreThere)
{
    EXPECT_EQ(metricsInUse(), usualMetrics);
    EXPECT_EQ(metricsInUse(withSystemEnergy(withCpuEnergy(job(), 1), 1)), usualMetrics);
    EXPECT_EQ(metricsInUse(job().error(METRIC_RAPL_POWER, "Not supported.")), usualMetrics);
}

TEST_F(EnergyMetricNames, ComeFromTheFirstVariableThatIsSet)
{
    setVariable("BRIVANE_CPU_ENERGY_METRIC", "third");
    EXPECT_EQ(metricsInUse().first(), QStringLiteral("third_power"));
    setVariable("FERN_CPU_ENERGY_METRIC", "second");
    EXPECT_EQ(metricsInUse().first(), QStringLiteral("second_power"));
    setVariable("KELP_CPU_ENERGY_METRIC", "first");
    setVariable("FERN_SYSTEM_ENERGY_METRIC", "ipmi");
    EXPECT_EQ(metricsInUse(),
        QStringList({QStringLiteral("first_power"), QStringLiteral("first_energy"),
            QStringLiteral("ipmi_power"), QStringLiteral("ipmi_energy")}));
}

TEST_F(EnergyMetricNames, FromAnEmptyVariableHaveNoStem)
{
    setVariable("KELP_CPU_ENERGY_METRIC", "");
    setVariable("BRIVANE_CPU_ENERGY_METRIC", "ignored");
    EXPECT_EQ(metricsInUse(withCpuEnergy(job(), 1)).mid(0, 2),
        QStringList({QStringLiteral("_power"), QStringLiteral("_energy")}));
}

TEST_F(EnergyMetricNames, AreKeptUntilAChangeOfTheEnvironmentIsAnnouncedOrNothingIsKept)
{
    setVariable("KELP_CPU_ENERGY_METRIC", "first");
    EXPECT_EQ(metricsInUse().first(), QStringLiteral("first_power"));
    qputenv("KELP_CPU_ENERGY_METRIC", "second");
    EXPECT_EQ(metricsInUse().first(), QStringLiteral("first_power"));
    // Each variable is kept on its own, and a change is one of all.
    qputenv("KELP_SYSTEM_ENERGY_METRIC", "ipmi");
    EXPECT_EQ(metricsInUse().at(2), QStringLiteral("system_power"));
    ++g_cacheSerial;
    EXPECT_EQ(metricsInUse().first(), QStringLiteral("second_power"));
    EXPECT_EQ(metricsInUse().at(2), QStringLiteral("ipmi_power"));

    g_cacheEnv = false;
    qputenv("KELP_CPU_ENERGY_METRIC", "third");
    EXPECT_EQ(metricsInUse().first(), QStringLiteral("third_power"));
    g_cacheEnv = true;
}

TEST_F(EnergyMetricNames, DecideWhichSensorsAreRead)
{
    setVariable("KELP_CPU_ENERGY_METRIC", "pmu");
    const PerformanceData figures = computePerformanceData(
        withCpuEnergy(job(), 720e3).series(QStringLiteral("pmu_energy"), {360}).build());
    EXPECT_EQ(figures.energyCpuTotal, 360.0);
}

TEST_F(Budget, ThatWasKeptTrapsWhatWasNotUsed)
{
    // Two nodes with 200 and 300 W for an hour.
    const PerformanceData figures = computePerformanceData(
        withSystemEnergy(job().nodes(2).wholeRun(METRIC_BUDGETED_POWER, {200, 300}), 1.44e6).build());
    EXPECT_TRUE(figures.hasBudgetedMetric);
    EXPECT_EQ(figures.nodePowerBudget, 250.0);
    EXPECT_EQ(figures.energyBudgetedTotalInWh, 500.0);
    EXPECT_TRUE(figures.hasTrappedCapacity);
    EXPECT_EQ(figures.energyTrappedTotalInWh, 100.0);
    EXPECT_EQ(figures.energyTrappedPercent, 20.0);
}

TEST_F(Budget, ThatWasUsedUpTrapsNothing)
{
    const PerformanceData figures = computePerformanceData(
        withSystemEnergy(job().wholeRun(METRIC_BUDGETED_POWER, {400}), 1.44e6).build());
    EXPECT_TRUE(figures.hasTrappedCapacity);
    EXPECT_EQ(figures.energyTrappedTotalInWh, 0.0);
    EXPECT_EQ(figures.energyTrappedPercent, 0.0);
}

TEST_F(Budget, ThatWasExceededHasNoTrappedCapacity)
{
    const PerformanceData figures = computePerformanceData(
        withSystemEnergy(job().wholeRun(METRIC_BUDGETED_POWER, {399}), 1.44e6).build());
    EXPECT_TRUE(figures.hasBudgetedMetric);
    EXPECT_EQ(figures.energyBudgetedTotalInWh, 399.0);
    EXPECT_FALSE(figures.hasTrappedCapacity);
    EXPECT_THAT(figures.energyTrappedTotalInWh, IsNan());
    EXPECT_THAT(figures.energyTrappedPercent, IsNan());
}

TEST_F(Budget, WithoutSystemEnergyIsKnownAndItsUseIsNot)
{
    const PerformanceData figures
        = computePerformanceData(withCpuEnergy(job().wholeRun(METRIC_BUDGETED_POWER, {400}), 720e3).build());
    EXPECT_EQ(figures.energyBudgetedTotalInWh, 400.0);
    EXPECT_FALSE(figures.hasTrappedCapacity);
    EXPECT_THAT(figures.energyTrappedTotalInWh, IsNan());
    EXPECT_THAT(figures.energyTrappedPercent, IsNan());
}

TEST_F(Budget, ThatFailedIsThereWithoutFigures)
{
    const PerformanceData figures
        = computePerformanceData(withSystemEnergy(job(), 1.44e6)
                                     .wholeRun(METRIC_BUDGETED_POWER, {400})
                                     .error(METRIC_BUDGETED_POWER, "Requires a configuration file.")
                                     .build());
    EXPECT_TRUE(figures.hasBudgetedMetric);
    EXPECT_FALSE(figures.hasTrappedCapacity);
    EXPECT_THAT(figures.energyBudgetedTotalInWh, IsNan());
    EXPECT_THAT(figures.energyTrappedTotalInWh, IsNan());
}

TEST_F(Budget, ThatNobodySetIsUnknown)
{
    const PerformanceData figures = computePerformanceData(withSystemEnergy(job(), 1.44e6).build());
    EXPECT_FALSE(figures.hasBudgetedMetric);
    EXPECT_FALSE(figures.hasTrappedCapacity);
    EXPECT_THAT(figures.energyBudgetedTotalInWh, IsNan());
    EXPECT_THAT(figures.energyTrappedTotalInWh, IsNan());
    EXPECT_THAT(figures.energyTrappedPercent, IsNan());
}

} // namespace
