// The report on the use of a power budget: shares of the budget, CPU power by activity, and what went wrong.

#include "filledreport.h"

#include "forcedmetrics.h"
#include "performancedata.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class TrappedMetrics : public AnalysisTest { };
class TrappedReport : public AnalysisTest { };

constexpr int OneHourMs = 3600000;

// The metrics and the subsection that a report on trapped capacity has to declare.
ReportDefinition trappedDefinition()
{
    ReportDefinition definition = bareDefinition();
    ReportDefinition::MetricDef::List metrics = definition.getMetricDefinitionList();
    for (const QString &id :
        {QString(DefaultMetrics::NodePowerBudget), QString(DefaultMetrics::EnergyNodeMeanMpiCpuPower),
            QString(DefaultMetrics::EnergyNodeMeanIoCpuPower),
            QString(DefaultMetrics::EnergyNodeMeanOmpCpuPower),
            QString(DefaultMetrics::EnergyNodeMeanOtherCpuPower),
            QString(DefaultMetrics::EnergyMpiCpuPercent), QString(DefaultMetrics::EnergyIoCpuPercent),
            QString(DefaultMetrics::EnergyOmpCpuPercent), QString(DefaultMetrics::EnergyOtherCpuPercent)})
        metrics.append(ReportDefinition::MetricDef().withId(id));
    metrics.append(
        ReportDefinition::MetricDef().withId(DefaultMetrics::EnergyError).withType(PMetricType::String));
    definition.setMetricDefinitionList(metrics);
    ReportDefinition::SubsectionDef::List subsections = definition.getSubsectionList();
    ReportDefinition::SubsectionDef cpuEnergy;
    cpuEnergy.id = DefaultMetrics::SubsectionCpuEnergy;
    subsections.append(cpuEnergy);
    definition.setSubsectionList(subsections);
    return definition;
}

struct Written {
    quillon_report report{trappedDefinition()};
    QStringList implicitMetrics;
};

PerformanceData trappedFigures()
{
    PerformanceData figures;
    figures.sysPowerMetric = METRIC_SYSTEM_POWER;
    figures.cpuPowerMetric = METRIC_RAPL_POWER;
    figures.nodePowerBudget = 500;
    figures.mpiMeanCpuPower = 110;
    figures.ioMeanCpuPower = 120;
    figures.ompMeanCpuPower = 130;
    figures.otherMeanCpuPower = 140;
    figures.energyCpuInWh = 200;
    figures.mpiCpuEnergyInWh = 20;
    figures.ioCpuEnergyInWh = 30;
    figures.ompCpuEnergyInWh = 50;
    figures.otherCpuEnergyInWh = 100;
    return figures;
}

// Of the CPU's 100 W and the system's 300 W for an hour, with a budget of 400 W; half of the time in MPI.
ProfileBuilder budgetedJob()
{
    return ProfileBuilder(2, OneHourMs / 2)
        .cores(8, 4)
        .main(Category::COMPUTE, 50)
        .main(Category::MPI_P2P, 50)
        .series(METRIC_RAPL_POWER, {100})
        .series(METRIC_RAPL_ENERGY, {0, 100 * 3600})
        .series(METRIC_SYSTEM_POWER, {300})
        .series(METRIC_SYSTEM_ENERGY, {0, 300 * 3600})
        .wholeRun(METRIC_BUDGETED_POWER, {400});
}

TEST_F(TrappedMetrics, ArePowersAndSharesOfTheCpusEnergy)
{
    Written written;
    setTrappedCapacityMetricsData(
        written.report, written.implicitMetrics, trappedFigures(), ProfileBuilder().build());
    EXPECT_EQ(number(written.report, DefaultMetrics::NodePowerBudget), 500.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyNodeMeanMpiCpuPower), 110.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyNodeMeanIoCpuPower), 120.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyNodeMeanOmpCpuPower), 130.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyNodeMeanOtherCpuPower), 140.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyMpiCpuPercent), 10.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyIoCpuPercent), 15.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyOmpCpuPercent), 25.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyOtherCpuPercent), 50.0);
    EXPECT_TRUE(text(written.report, DefaultMetrics::EnergyError).isEmpty());
    EXPECT_FALSE(written.report.hasErrorMessage());
}

TEST_F(TrappedMetrics, HaveUnknownSharesOfAnUnknownEnergy)
{
    PerformanceData figures = trappedFigures();
    figures.energyCpuInWh = NotAvailable;
    Written written;
    setTrappedCapacityMetricsData(written.report, written.implicitMetrics, figures, ProfileBuilder().build());
    EXPECT_THAT(number(written.report, DefaultMetrics::EnergyMpiCpuPercent), IsNan());
    EXPECT_THAT(number(written.report, DefaultMetrics::EnergyIoCpuPercent), IsNan());
    EXPECT_THAT(number(written.report, DefaultMetrics::EnergyOmpCpuPercent), IsNan());
    EXPECT_THAT(number(written.report, DefaultMetrics::EnergyOtherCpuPercent), IsNan());
}

QString energyError(const ProfileBuilder &job)
{
    Written written;
    setTrappedCapacityMetricsData(written.report, written.implicitMetrics, trappedFigures(), job.build());
    return text(written.report, DefaultMetrics::EnergyError);
}

TEST_F(TrappedMetrics, JoinTheirErrorsWithOneBlankEachEvenAroundAnEmptyOne)
{
    const ProfileBuilder sys = ProfileBuilder().error(METRIC_SYSTEM_POWER, "Not readable.");
    const ProfileBuilder sysAndBudget = ProfileBuilder(sys).error(METRIC_BUDGETED_POWER, "Requires a file.");
    EXPECT_EQ(energyError(sys), "System power metrics are not readable.");
    EXPECT_EQ(energyError(sysAndBudget),
        "System power metrics are not readable.  Trapped capacity information requires a file.");
    EXPECT_EQ(energyError(ProfileBuilder(sysAndBudget).error(METRIC_RAPL_POWER, "No driver.")),
        "System power metrics are not readable. CPU metrics: No driver. "
        "Trapped capacity information requires a file.");
    EXPECT_EQ(
        energyError(ProfileBuilder().error(METRIC_RAPL_POWER, "No driver.")), "CPU metrics: No driver.");
}

TEST_F(TrappedMetrics, MustBeDeclared)
{
    quillon_report report(bareDefinition());
    QStringList implicitMetrics;
    setTrappedCapacityMetricsData(report, implicitMetrics, trappedFigures(), ProfileBuilder().build());
    EXPECT_STREQ(report.getErrorMessage(), "unknown metric: \"energy.error\"");
    EXPECT_TRUE(implicitMetrics.isEmpty());
}

TEST_F(TrappedReport, HasSharesOfTheBudget)
{
    const auto report = filledReport(
        budgetedJob().wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1}).series(METRIC_NVIDIA_POWER, {50e3}),
        trappedDefinition(), QStringLiteral("trapped"));
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryCpuPercentOfBudget), 25.0); // 100 of 400
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryAccPercentOfBudget), 12.5); // 50 of 400
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryOtherPercentOfBudget), 37.5); // the rest of 300
    EXPECT_EQ(number(*report, DefaultMetrics::NodePowerBudget), 400.0);
    EXPECT_EQ(number(*report, DefaultMetrics::EnergyNodeMeanMpiCpuPower), 100.0);
    EXPECT_EQ(number(*report, DefaultMetrics::EnergyMpiCpuPercent), 50.0);
    EXPECT_FALSE(report->hasErrorMessage());
    // What bound the job is another report's matter.
    EXPECT_FALSE(report->getMetricValue(DefaultMetrics::DominantMetricType).isValid());
    EXPECT_TRUE(text(*report, QStringLiteral("overview.cpu.advice")).isEmpty());
}

TEST_F(TrappedReport, CountsUnknownPartsAsNothing)
{
    const auto report = filledReport(ProfileBuilder(2, OneHourMs / 2)
                                         .main(Category::COMPUTE, 50)
                                         .series(METRIC_SYSTEM_ENERGY, {0, 300 * 3600})
                                         .wholeRun(METRIC_BUDGETED_POWER, {400}),
        trappedDefinition(), QStringLiteral("trapped"));
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryCpuPercentOfBudget), 0.0);
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryAccPercentOfBudget), 0.0);
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryOtherPercentOfBudget), 75.0);
}

TEST_F(TrappedReport, HasNoNegativeRest)
{
    // The CPU's sensor says more than the system's.
    const auto report = filledReport(budgetedJob().series(METRIC_RAPL_ENERGY, {0, 350 * 3600}),
        trappedDefinition(), QStringLiteral("trapped"));
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryCpuPercentOfBudget), 87.5);
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryOtherPercentOfBudget), 0.0);
}

TEST_F(TrappedReport, IsCompletedWithoutTrappedCapacityAndSaysSo)
{
    testing::internal::CaptureStderr();
    const auto report = filledReport(
        ProfileBuilder(2, 100).main(Category::COMPUTE, 50), trappedDefinition(), QStringLiteral("trapped"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "Trapped Capacity metric unavailable, report will be incomplete.\n");
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryCpuPercentOfBudget), 0.0);
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryEntryOtherPercentOfBudget), 0.0);
    EXPECT_THAT(number(*report, DefaultMetrics::NodePowerBudget), IsNan());
    EXPECT_THAT(number(*report, DefaultMetrics::EnergyMpiCpuPercent), IsNan());
}

TEST_F(TrappedReport, SaysNothingWithTrappedCapacity)
{
    testing::internal::CaptureStderr();
    filledReport(budgetedJob(), trappedDefinition(), QStringLiteral("trapped"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
