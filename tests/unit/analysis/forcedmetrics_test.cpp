// The groups of figures that can fail: what is written of them, and what is said when something is missing.

#include "filledreport.h"

#include "forcedmetrics.h"
#include "performanceadvice.h"
#include "performancedata.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class ForcedMetric : public AnalysisTest { };
class PowerError : public AnalysisTest { };
class TrappedCapacityError : public AnalysisTest { };
class IoGroup : public AnalysisTest { };
class MemoryGroup : public AnalysisTest { };
class EnergyGroup : public AnalysisTest { };

const QString sensor = QStringLiteral("rapl_power");

QString powerError(const QString &error)
{
    return getPowerErrorMessage(
        QStringLiteral("CPU metrics"), sensor, ProfileBuilder().error(sensor, error).build());
}

// A report that one group of figures was written into.
struct Written {
    quillon_report report{bareDefinition()};
    QStringList implicitMetrics;
};

TEST_F(ForcedMetric, ThatTheDefinitionLacksIsMadeAndListed)
{
    Written written;
    forceMetric(written.report, written.implicitMetrics, QStringLiteral("cpu.memPercent"), 12.5);
    EXPECT_EQ(number(written.report, QStringLiteral("cpu.memPercent")), 12.5);
    EXPECT_EQ(written.implicitMetrics, QStringList(QStringLiteral("cpu.memPercent")));
    EXPECT_FALSE(written.report.hasErrorMessage());

    // It is there now.
    forceMetric(written.report, written.implicitMetrics, QStringLiteral("cpu.memPercent"), 13.5);
    EXPECT_EQ(number(written.report, QStringLiteral("cpu.memPercent")), 13.5);
    EXPECT_EQ(written.implicitMetrics.size(), 1);
}

TEST_F(ForcedMetric, ThatTheDefinitionDeclaresIsNotListed)
{
    Written written;
    forceMetric(written.report, written.implicitMetrics, DefaultMetrics::SummaryCpuPercent, 12.5);
    EXPECT_EQ(number(written.report, DefaultMetrics::SummaryCpuPercent), 12.5);
    EXPECT_TRUE(written.implicitMetrics.isEmpty());
}

TEST_F(PowerError, ThatIsNotThereIsNoSentence)
{
    const QString absent
        = getPowerErrorMessage(QStringLiteral("CPU metrics"), sensor, ProfileBuilder().build());
    EXPECT_TRUE(absent.isEmpty());
    EXPECT_EQ(powerError(QString()), QString());
}

TEST_F(PowerError, ThatBeginsWithNotGoesOnFromTheLabelAndHasEveryNotInLowerCase)
{
    EXPECT_EQ(powerError("Not supported on this system."), "CPU metrics are not supported on this system.");
    EXPECT_EQ(powerError("Not readable. Not even by root. do Nothing."),
        "CPU metrics are not readable. not even by root. do nothing.");
}

TEST_F(PowerError, ThatBeginsWithRequiresKeepsItsSingularVerb)
{
    EXPECT_EQ(powerError("Requires the sensor's driver. Requires root."),
        "CPU metrics requires the sensor's driver. requires root.");
}

TEST_F(PowerError, OfAnyOtherKindStandsBehindAColon)
{
    EXPECT_EQ(
        powerError("Permission denied. Not readable."), "CPU metrics: Permission denied. Not readable.");
    EXPECT_EQ(powerError("not readable"), "CPU metrics: not readable");
    EXPECT_EQ(powerError("requires root"), "CPU metrics: requires root");
}

TEST_F(PowerError, IsTheFirstOfTheMetric)
{
    const ProfilerData data = ProfileBuilder().error(sensor, "First.").error(sensor, "Second.").build();
    EXPECT_EQ(getPowerErrorMessage(QStringLiteral("CPU metrics"), sensor, data), "CPU metrics: First.");
}

TEST_F(PowerError, WithAPercentSignIsLeftAlone)
{
    EXPECT_EQ(
        powerError("Only %1 of 100 %2 sensors answer."), "CPU metrics: Only %1 of 100 %2 sensors answer.");
}

TEST_F(TrappedCapacityError, SaysThatTheBudgetWasExceeded)
{
    PerformanceData figures;
    figures.hasTrappedCapacity = true;
    figures.energyTrappedTotalInWh = -1;
    EXPECT_EQ(recorded(getTrappedCapacityBudgetedErrorMessage(figures, ProfileBuilder().build())),
        "<span class=\"energy.trappedPercent\">Trapped capacity</span> information is not available because "
        "the "
        "used power exceeded the budgeted power. Check your configuration file.");
    figures.energyTrappedTotalInWh = 0;
    EXPECT_EQ(getTrappedCapacityBudgetedErrorMessage(figures, ProfileBuilder().build()), QString());
    figures.energyTrappedTotalInWh = -1;
    figures.hasTrappedCapacity = false;
    EXPECT_EQ(getTrappedCapacityBudgetedErrorMessage(figures, ProfileBuilder().build()), QString());
}

TEST_F(TrappedCapacityError, SaysWhyThereIsNoBudget)
{
    const ProfilerData data
        = ProfileBuilder().error(METRIC_BUDGETED_POWER, "Not configured. Ask the site.").build();
    EXPECT_EQ(getTrappedCapacityBudgetedErrorMessage(PerformanceData(), data),
        "Trapped capacity information are not configured. Ask the site.");
}

TEST_F(IoGroup, WritesItsFiguresAndItsAdvice)
{
    PerformanceData figures;
    figures.ioPercent = 20;
    figures.ioRead = 75;
    figures.ioWrite = 25;
    figures.ioReadRate = 2e6;
    figures.ioWriteRate = NotAvailable;
    figures.charsReadMetricName = METRIC_CHARS_READ;
    Written written;
    forceIoMetricsData(written.report, written.implicitMetrics, figures, ProfileBuilder().build());
    EXPECT_EQ(number(written.report, DefaultMetrics::IoReadPercent), 75.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::IoWritePercent), 25.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::IoReadRate), 2e6);
    EXPECT_THAT(number(written.report, DefaultMetrics::IoWriteRate), IsNan());
    EXPECT_TRUE(text(written.report, DefaultMetrics::IoRateError).isNull());
    EXPECT_EQ(written.implicitMetrics,
        QStringList({"io.rateError", "io.readPercent", "io.writePercent", "io.readRate", "io.writeRate"}));
    const auto expected = ioAdvice(20, 75, 25, 2e6, NotAvailable);
    EXPECT_EQ(
        advice(written.report, DefaultMetrics::SubsectionIo), QStringList({expected.first, expected.second}));
}

TEST_F(IoGroup, TellsTheErrorOfReadsAlone)
{
    PerformanceData figures;
    figures.charsReadMetricName = METRIC_CHARS_READ;
    figures.charsWrittenMetricName = METRIC_CHARS_WRITTEN;
    Written readFailed;
    forceIoMetricsData(readFailed.report, readFailed.implicitMetrics, figures,
        ProfileBuilder().error(METRIC_CHARS_READ, "No permission.").build());
    EXPECT_EQ(text(readFailed.report, DefaultMetrics::IoRateError), "I/O Rate Metrics: No permission.");

    Written writeFailed;
    forceIoMetricsData(writeFailed.report, writeFailed.implicitMetrics, figures,
        ProfileBuilder().error(METRIC_CHARS_WRITTEN, "No permission.").build());
    EXPECT_TRUE(text(writeFailed.report, DefaultMetrics::IoRateError).isNull());
}

// The error text of a job with these peaks whose memory metrics both failed.
QString memoryError(double memPeak, double memNodePeak)
{
    PerformanceData figures;
    figures.memPeak = memPeak;
    figures.memNodePeak = memNodePeak;
    figures.memProcessMetricName = METRIC_RSS;
    figures.memNodePercentMetricName = METRIC_NODE_MEM_USED;
    Written written;
    forceMemoryMetricsData(written.report, written.implicitMetrics, figures,
        ProfileBuilder().error(METRIC_RSS, "No %3.").error(METRIC_NODE_MEM_USED, "No %2.").build());
    return text(written.report, DefaultMetrics::MemError);
}

TEST_F(MemoryGroup, TellsWhichPeaksAreMissing)
{
    EXPECT_TRUE(memoryError(1, 1).isNull());
    EXPECT_EQ(memoryError(0, 1), "Process memory usage metrics: No %3.");
    EXPECT_EQ(memoryError(1, 0), "Node memory usage metrics: No %2.");
    EXPECT_EQ(memoryError(0, 0), "Process memory usage metrics: No %3. Node memory usage metrics: No %2.");
}

TEST_F(MemoryGroup, WritesItsFiguresAndItsAdvice)
{
    PerformanceData figures;
    figures.memMean = 1e9;
    figures.memPeak = 1.2e9;
    figures.memNodePeak = 40;
    Written written;
    forceMemoryMetricsData(
        written.report, written.implicitMetrics, figures, ProfileBuilder().processes(4).build());
    EXPECT_EQ(number(written.report, DefaultMetrics::MemMean), 1e9);
    EXPECT_EQ(number(written.report, DefaultMetrics::MemPeak), 1.2e9);
    EXPECT_EQ(number(written.report, DefaultMetrics::MemNodePeakPercent), 40.0);
    const auto expected = memAdvice(1e9, 1.2e9, 40, 4);
    EXPECT_FALSE(expected.first.isEmpty());
    EXPECT_EQ(advice(written.report, DefaultMetrics::SubsectionMemory),
        QStringList({expected.first, expected.second}));
}

// A job whose energy is known in every part.
PerformanceData energyFigures()
{
    PerformanceData figures;
    figures.enableAccPackMetrics = true;
    figures.isEnergyCpuDefined = true;
    figures.isEnergyAccDefined = true;
    figures.energyTotalBasis = TotalEnergyBasis::System;
    figures.energyTotalInWh = 400;
    figures.energyCpuInWh = 200;
    figures.energyAccInWh = 100;
    figures.energyCpuPercent = 50;
    figures.energyAccPercent = 25;
    figures.energyOtherPercent = 25;
    figures.nodePeakPower = 350;
    figures.nodeMeanPower = 300;
    figures.hasBudgetedMetric = true;
    figures.energyBudgetedTotalInWh = 500;
    figures.hasTrappedCapacity = true;
    figures.energyTrappedTotalInWh = 100;
    figures.energyTrappedPercent = 20;
    figures.avgGPUsInUse = 80;
    figures.sysPowerMetric = METRIC_SYSTEM_POWER;
    figures.cpuPowerMetric = METRIC_RAPL_POWER;
    return figures;
}

Written withEnergy(const PerformanceData &figures, const ProfileBuilder &job = ProfileBuilder())
{
    Written written;
    forceEnergyMetricsData(written.report, written.implicitMetrics, figures, job.build());
    return written;
}

TEST_F(EnergyGroup, WritesItsFigures)
{
    const Written written = withEnergy(energyFigures());
    EXPECT_TRUE(flag(written.report, DefaultMetrics::EnergyHasMetrics));
    EXPECT_TRUE(flag(written.report, DefaultMetrics::EnergyHasCpuPower));
    EXPECT_TRUE(flag(written.report, DefaultMetrics::EnergyHasAccPower));
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyTotal), 400.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyCpuTotal), 200.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyAccTotal), 100.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyCpuPercent), 50.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyAccPercent), 25.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyOtherPercent), 25.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyNodePeakPower), 350.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyNodeMeanPower), 300.0);
    EXPECT_TRUE(flag(written.report, DefaultMetrics::EnergyHasBudgetedMetric));
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyBudgetedTotal), 500.0);
    EXPECT_TRUE(flag(written.report, DefaultMetrics::EnergyHasTrappedCapacity));
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyTrappedTotal), 100.0);
    EXPECT_EQ(number(written.report, DefaultMetrics::EnergyTrappedPercent), 20.0);
    EXPECT_EQ(written.implicitMetrics,
        QStringList({"energy.hasMetrics", "energy.hasCpuPower", "energy.hasAccPower", "energy.total.plain",
            "energy.cpuTotal.plain", "energy.accTotal.plain", "energy.cpuPercent", "energy.accPercent",
            "energy.otherPercent", "energy.nodePeakPower", "energy.nodeMeanPower", "energy.hasBudgetedMetric",
            "energy.budgetedTotal", "energy.hasTrappedCapacity", "energy.trapped", "energy.trappedPercent"}));
    EXPECT_EQ(advice(written.report, DefaultMetrics::SubsectionEnergy),
        QStringList({"Energy usage appears to be optimal.", ""}));
}

TEST_F(EnergyGroup, HasNoMetricsWhereTheTotalIsUnknown)
{
    PerformanceData figures = energyFigures();
    figures.energyTotalInWh = NotAvailable;
    EXPECT_FALSE(flag(withEnergy(figures).report, DefaultMetrics::EnergyHasMetrics));
}

TEST_F(EnergyGroup, HasAcceleratorPowerOnlyWithAccelerators)
{
    PerformanceData figures = energyFigures();
    figures.enableAccPackMetrics = false;
    EXPECT_FALSE(flag(withEnergy(figures).report, DefaultMetrics::EnergyHasAccPower));
    figures.enableAccPackMetrics = true;
    figures.isEnergyAccDefined = false;
    EXPECT_FALSE(flag(withEnergy(figures).report, DefaultMetrics::EnergyHasAccPower));
}

TEST_F(EnergyGroup, HasAPeakPowerOfZeroWithoutTheMetricAndAnUnknownOneBelowZero)
{
    PerformanceData figures = energyFigures();
    figures.nodePeakPower = 0;
    EXPECT_EQ(number(withEnergy(figures).report, DefaultMetrics::EnergyNodePeakPower), 0.0);
    figures.nodePeakPower = -1;
    EXPECT_THAT(number(withEnergy(figures).report, DefaultMetrics::EnergyNodePeakPower), IsNan());
}

TEST_F(EnergyGroup, SaysWhatTheTotalWasMadeFrom)
{
    const auto firstSentence = [](TotalEnergyBasis basis) {
        PerformanceData figures = energyFigures();
        figures.energyTotalBasis = basis;
        return advice(withEnergy(figures).report, DefaultMetrics::SubsectionEnergy).first();
    };
    EXPECT_EQ(firstSentence(TotalEnergyBasis::None), "Energy metrics are not available on this system.");
    EXPECT_EQ(firstSentence(TotalEnergyBasis::System), "Energy usage appears to be optimal.");
    EXPECT_EQ(firstSentence(TotalEnergyBasis::CpuPlusAcc),
        "The <span class=\"energy\">whole system energy</span> has been calculated using the "
        "<span class=\"energy.cpuPercent\">CPU</span> and <span "
        "class=\"energy.accPercent\">accelerator</span> "
        "energy usage.");
    EXPECT_EQ(firstSentence(TotalEnergyBasis::CpuOnly),
        "The <span class=\"energy\">whole system energy</span> has been calculated using the "
        "<span class=\"energy.cpuPercent\">CPU</span> energy usage.");
    EXPECT_EQ(firstSentence(TotalEnergyBasis::AccOnly),
        "The <span class=\"energy\">whole system energy</span> has been calculated using the "
        "<span class=\"energy.accPercent\">accelerator</span> energy usage.");
}

TEST_F(EnergyGroup, TellsErrorsOfTheCpuBeforeThoseOfTheSystemAndTheBudget)
{
    const ProfileBuilder systemAndBudget = ProfileBuilder()
                                               .error(METRIC_SYSTEM_POWER, "Not readable.")
                                               .error(METRIC_BUDGETED_POWER, "Requires a file.");
    EXPECT_EQ(advice(withEnergy(energyFigures(), systemAndBudget).report, DefaultMetrics::SubsectionEnergy),
        QStringList(
            {"System power metrics are not readable.", "Trapped capacity information requires a file."}));
    EXPECT_EQ(advice(withEnergy(energyFigures(),
                         ProfileBuilder(systemAndBudget).error(METRIC_RAPL_POWER, "Requires root."))
                         .report,
                  DefaultMetrics::SubsectionEnergy),
        QStringList({"CPU metrics requires root.", "System power metrics are not readable."}));
}

TEST_F(EnergyGroup, TellsErrorsAsTextWhateverTheyHold)
{
    const ProfileBuilder job = ProfileBuilder()
                                   .error(METRIC_RAPL_POWER, "Not <b>readable</b>.")
                                   .error(METRIC_BUDGETED_POWER, "a < b && c > d");
    EXPECT_EQ(advice(withEnergy(energyFigures(), job).report, DefaultMetrics::SubsectionEnergy),
        QStringList({"CPU metrics are not &lt;b&gt;readable&lt;/b&gt;.",
            "Trapped capacity information: a &lt; b &amp;&amp; c &gt; d"}));
}

TEST_F(EnergyGroup, PassesTheFiguresThatItsAdviceWeighs)
{
    PerformanceData figures = energyFigures();
    figures.memNodePeak = 40;
    figures.mpiPercent = 40;
    figures.energyCpuPercent = 60;
    figures.cpuMem = 60;
    figures.avgGPUsInUse = 10;
    const auto expected
        = energyAdvice(true, true, QString(), QString(), QString(), QString(), 40, 40, 60, 60, 10);
    EXPECT_FALSE(expected.second.isEmpty());
    EXPECT_EQ(advice(withEnergy(figures).report, DefaultMetrics::SubsectionEnergy),
        QStringList({expected.first, expected.second}));
}

} // namespace
