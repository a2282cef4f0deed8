// The types of report, each filled from whole profiles and of the definitions that are installed.

#include "installedreport.h"

#include <QTemporaryDir>
#include <QTextStream>

using namespace quillon::report;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class TrappedType : public AnalysisTest { };
class CountersType : public AnalysisTest { };
class CustomType : public AnalysisTest { };
class AnyType : public AnalysisTest { };

constexpr int OneHourMs = 3600000;

// An hour of 2 processes on 2 nodes of 4 cores, 40 % of it in slow MPI calls, with CPUs of 100 W in nodes
// that draw 300 W on average.
ProfileBuilder job()
{
    return ProfileBuilder(2, OneHourMs / 2)
        .processes(2)
        .nodes(2)
        .cores(8, 4)
        .main(Category::COMPUTE, 55)
        .main(Category::MPI_COLLECTIVE, 40)
        .main(Category::IO_WRITE, 5)
        .activeCores(1, 1)
        .series(METRIC_LOAD_AVG, {50})
        .series(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, {1e3})
        .series(METRIC_NODE_MEM_USED, {20})
        .series(METRIC_RAPL_POWER, {100})
        .readingsBySample(METRIC_RAPL_ENERGY, {{180e3, 180e3}, {360e3, 360e3}})
        .series(METRIC_SYSTEM_POWER, {250, 350})
        .readingsBySample(METRIC_SYSTEM_ENERGY, {{540e3, 540e3}, {1.08e6, 1.08e6}});
}

ProfileBuilder budgetedJob()
{
    return job().wholeRun(METRIC_BUDGETED_POWER, {400, 400});
}

std::unique_ptr<quillon_report> reportOf(
    const QString &type, const ProfileBuilder &builder, const QString &partialReport = QString())
{
    testing::internal::CaptureStderr(); // a missing budget is told there
    auto report = filledReport(builder, installedDefinition(type, partialReport), type);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(report->hasErrorMessage()) << report->getErrorMessage();
    return report;
}

// The report as a reader of its text gets it.
std::string rendered(quillon_report &report)
{
    QByteArray bytes;
    EXPECT_EQ(report.generateAndWrite(bytes, TxtReport), 0) << report.getErrorMessage();
    return bytes.toStdString();
}

// A line of the text: a name and what stands behind it.
std::string line(const std::string &text, const std::string &name)
{
    const size_t at = text.find("\n" + name + ":");
    if (at == std::string::npos)
        return "(no line)";
    const size_t end = text.find('\n', at + 1);
    const QString whole = QString::fromStdString(text.substr(at + 1, end - at - 1));
    return whole.mid(static_cast<int>(name.size()) + 1)
        .section(QLatin1Char('|'), 0, 0)
        .simplified()
        .toStdString();
}

std::string sectionOf(const std::string &text, const std::string &heading)
{
    const size_t at = text.find("\n" + heading + ":\n");
    return at == std::string::npos ? std::string() : text.substr(at, text.find("\n\n", at + 1) - at);
}

TEST_F(TrappedType, SaysWhatBecameOfTheBudget)
{
    const auto report = reportOf("trapped", budgetedJob());
    EXPECT_FALSE(report->hasWarningMessage());
    const std::string text = rendered(*report);
    // 200 and 600 of 800 Wh.
    EXPECT_EQ(line(text, "CPU"), "25.0%");
    EXPECT_EQ(line(text, "Accelerators"), "0.0%");
    EXPECT_EQ(line(text, "Rest of the nodes"), "50.0%");
    EXPECT_EQ(line(text, "Trapped capacity"), "25.0%");
    EXPECT_EQ(line(text, "Energy within the power budget"), "800 Wh");
    EXPECT_EQ(line(text, "Trapped energy"), "200 Wh");
    EXPECT_EQ(line(text, "Node power budget"), "400 W");
    // The processors drew the same power all the time, so that energy divides as time does.
    EXPECT_EQ(line(text, "In MPI calls"), "40.0%");
    EXPECT_EQ(line(text, "In I/O"), "5.0%");
    EXPECT_EQ(line(text, "In computation"), "55.0%");
    EXPECT_EQ(line(text, "In OpenMP regions"), "(no line)");
    EXPECT_EQ(line(text, "CPU power in MPI calls"), "100 W");
    EXPECT_EQ(line(text, "CPU power in computation"), "100 W");
    EXPECT_THAT(text, Not(HasSubstr("Compute-bound"))) << "the default report's summary is gone";
}

TEST_F(TrappedType, HasAllItsAdvice)
{
    const auto report = reportOf("trapped", budgetedJob());
    EXPECT_EQ(read(report->getMetricValue(DefaultMetrics::OverviewAdvice).toString()).toStdString(),
        "To reduce trapped capacity look at physical core utilization first, for more information see the "
        "Threads section below. This job is bound by compute, scheduling it alongside jobs bound by I/O may "
        "reduce overall trapped capacity.");
    EXPECT_THAT(allAdvice(*report, "energy"),
        ElementsAre("The peak power draw is significantly higher than the mean, use a profiler to identify "
                    "times when the power draw is low.",
            "Significant time is spent in MPI communication. It may be more efficient to use fewer nodes "
            "with "
            "more data on each node in order to free up nodes for more intensive applications.",
            "", ""));
    EXPECT_THAT(allAdvice(*report, "cpuEnergy"),
        ElementsAre("Note: Power and energy values during MPI, I/O and compute are estimated from available "
                    "information and may not be accurate."));
    EXPECT_THAT(allAdvice(*report, "cpu"), ElementsAre("", "", "", ""));
    EXPECT_THAT(allAdvice(*report, "mpi"),
        ElementsAre("Optimising MPI communication will have little impact on the trapped capacity.", "", ""));
    EXPECT_THAT(allAdvice(*report, "io"),
        ElementsAre("Optimising I/O will have little impact on the trapped capacity.", "", ""));
    const QString moreProcesses = QStringLiteral("Physical core utilization is low. Increasing the number of "
                                                 "processes should reduce trapped capacity.");
    EXPECT_THAT(allAdvice(*report, "threads"), ElementsAre(moreProcesses, "", ""));
    EXPECT_THAT(allAdvice(*report, "openmp"), ElementsAre(moreProcesses, "", ""));
    EXPECT_THAT(allAdvice(*report, "memory"), ElementsAre("", ""));
    EXPECT_THAT(allAdvice(*report, "cuda"), ElementsAre("", ""));
}

TEST_F(TrappedType, HasRoomForAllThatAppliesAtOnce)
{
    // Everything that can be amiss is.
    const auto report = reportOf("trapped",
        ProfileBuilder(2, OneHourMs / 2)
            .processes(2)
            .cores(8, 4)
            .main(Category::ACCELERATOR, 15)
            .main(Category::OMP, 10)
            .main(Category::COMPUTE, 20)
            .main(Category::MPI_COLLECTIVE, 16)
            .main(Category::MPI_P2P, 15)
            .main(Category::IO_READ, 12)
            .main(Category::IO_WRITE, 12)
            .others(Category::OMP_RUNTIME_IN_REGION, 30)
            .others(Category::PTHREAD_COMPUTE, 20)
            .others(Category::PTHREAD_SYNC, 30)
            .activeCores(0.2, 0.2)
            .series(METRIC_LOAD_AVG, {200})
            .series(METRIC_INSTR_VECTOR_FP, {0})
            .series(METRIC_INSTR_VECTOR_INT, {0})
            .series(METRIC_INSTR_FP, {10})
            .series(METRIC_INSTR_INT, {0})
            .series(METRIC_INSTR_MEM, {60})
            .series(METRIC_NODE_MEM_USED, {20})
            .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1})
            .series(METRIC_NVIDIA_GPU_USAGE, {10})
            .series(METRIC_SYSTEM_POWER, {250, 550})
            .series(METRIC_SYSTEM_ENERGY, {0, 1.08e6})
            .wholeRun(METRIC_BUDGETED_POWER, {400}));
    const QMap<QString, int> expected = {{"cpu", 4}, {"mpi", 3}, {"io", 3}, {"openmp", 3}, {"threads", 3},
        {"energy", 3}, {"cuda", 1}, {"cpuEnergy", 1}};
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        QStringList sentences = allAdvice(*report, it.key());
        EXPECT_LE(it.value(), sentences.size()) << it.key().toStdString();
        sentences.removeAll(QString());
        EXPECT_EQ(it.value(), sentences.size())
            << it.key().toStdString() << ": " << sentences.join('\n').toStdString();
    }
}

TEST_F(TrappedType, WithoutABudgetSaysWhy)
{
    const auto unbudgeted = reportOf("trapped", job());
    std::string text = rendered(*unbudgeted);
    EXPECT_EQ(line(text, "CPU"), "0.0%");
    EXPECT_EQ(line(text, "Rest of the nodes"), "0.0%");
    EXPECT_EQ(line(text, "Trapped capacity"), "(no line)");
    EXPECT_EQ(line(text, "Mean node power"), "300 W");

    const auto unreadable = reportOf("trapped", job().error(METRIC_BUDGETED_POWER, "Requires a file."));
    EXPECT_THAT(sectionOf(rendered(*unreadable), "Energy"),
        HasSubstr("Trapped capacity information requires a file."));
}

TEST_F(TrappedType, WithoutSensorsSaysWhy)
{
    const auto report = reportOf("trapped",
        ProfileBuilder()
            .main(Category::COMPUTE, 100)
            .error(METRIC_SYSTEM_POWER, "Not <supported> here.")
            .error(METRIC_RAPL_POWER, "No driver."));
    const std::string text = rendered(*report);
    EXPECT_THAT(sectionOf(text, "Energy"),
        HasSubstr("The trapped capacity cannot be displayed because energy metrics are not"));
    EXPECT_THAT(sectionOf(text, "Energy"),
        HasSubstr("System power metrics are not <supported> here. CPU metrics: No driver."));
    EXPECT_THAT(sectionOf(text, "CPU energy"), IsEmpty()) << "nothing is estimated from nothing";
}

TEST_F(TrappedType, OfAJobThatExceededItsBudgetHasNoTrappedCapacity)
{
    const auto report = reportOf("trapped", job().wholeRun(METRIC_BUDGETED_POWER, {200, 200}));
    const std::string text = rendered(*report);
    EXPECT_EQ(line(text, "CPU"), "50.0%");
    EXPECT_EQ(line(text, "Rest of the nodes"), "100.0%");
    EXPECT_EQ(line(text, "Trapped capacity"), "(no line)");
    EXPECT_EQ(line(text, "Energy within the power budget"), "400 Wh");
}

TEST_F(TrappedType, IsBoundByTheLargestShareOfTheBudget)
{
    const auto report = reportOf("trapped", budgetedJob());
    rendered(*report);
    EXPECT_EQ(
        text(*report, DefaultMetrics::DominantMetricType), DefaultMetrics::SummaryEntryOtherPercentOfBudget);
    EXPECT_EQ(text(*report, DefaultMetrics::DominantMetricSubsectionId), DefaultMetrics::SubsectionEnergy);
}

TEST_F(TrappedType, KeepsItsSummaryInDocuments)
{
    const auto report = reportOf("trapped", budgetedJob());
    QByteArray json;
    ASSERT_EQ(report->generateAndWrite(json, JsonReport), 0);
    // A number below which something else stood would be lost.
    EXPECT_THAT(json.toStdString(), HasSubstr("\"percentOfBudget\": 25"));
    EXPECT_THAT(json.toStdString(), HasSubstr("\"percentOfBudget\": 50"));
}

TEST_F(CountersType, ShowsAndJudgesTheCounters)
{
    const auto report = reportOf("perfcpumetrics",
        job().series(QStringLiteral("com.brivane.metrics.perf.cycles_per_instruction"), {1, 2}));
    EXPECT_FALSE(report->hasWarningMessage());
    const std::string text = rendered(*report);
    EXPECT_EQ(line(text, "Cycles per instruction"), "1.50 cycles");
    EXPECT_THAT(sectionOf(text, "CPU counters"), HasSubstr("Cycles per instruction is moderate."));
    // What bounds the job is the largest of the default report's lines.
    EXPECT_THAT(text, HasSubstr("this run was Compute-bound"));
    EXPECT_THAT(text, Not(HasSubstr("summary_class")));
}

TEST_F(CountersType, WithoutTheCounterSaysSoInAWarning)
{
    const auto report = reportOf("perfcpumetrics", job());
    EXPECT_EQ(line(rendered(*report), "Cycles per instruction"), "not supported");
    EXPECT_THAT(report->getWarningMessage().toStdString(), HasSubstr("was not collected"));
}

TEST_F(CustomType, HasTheAdviceOfTheSubsectionsAndNoClassification)
{
    const auto report
        = reportOf("mine", job().main(Category::MPI_P2P, 1).series(METRIC_MPI_P2P_BYTES_PER_SEC, {1e6}));
    EXPECT_THAT(allAdvice(*report, "mpi"),
        ElementsAre("Most of the time is spent in collective calls with a very low transfer rate. This "
                    "suggests load imbalance is causing synchronization overhead; use an MPI profiler to "
                    "investigate.",
            ""));
    EXPECT_EQ(text(*report, QStringLiteral("overview.cpu.advice")), "");
    EXPECT_EQ(text(*report, DefaultMetrics::OverviewAdvice), "");
    EXPECT_TRUE(report->dominantMetricNeedsSetting());
    EXPECT_THAT(rendered(*report), HasSubstr("this run was Compute-bound"));
}

// --- A partial report of the site's own

const QString Example = QStringLiteral(EXAMPLES_DIR "/site-memory.xml");

TEST_F(CustomType, FillsTheExampleOfASiteReport)
{
    const auto report = reportOf("default",
        job()
            .readingsBySample(METRIC_RSS, {{1 << 20, 3 << 20}, {2 << 20, 6 << 20}})
            .series(METRIC_NODE_MEM_USED, {20, 40}),
        Example);
    EXPECT_FALSE(report->hasWarningMessage()) << report->getWarningMessage().toStdString();
    EXPECT_EQ(number(*report, QStringLiteral("site.memory.usualPercent")), 30.0);
    EXPECT_EQ(number(*report, QStringLiteral("site.memory.largestProcess")), 6.0 * (1 << 20));
    const std::string section = sectionOf(rendered(*report), "Memory at our site");
    EXPECT_EQ(line(section, "Usual node memory"), "30.0%");
    EXPECT_EQ(line(section, "Largest process"), "6.00 MiB");
}

// --- Whatever the type

const QStringList Types = {"default", "trapped", "perfcpumetrics", "mine"};

TEST_F(AnyType, OfAProfileWithoutAModelLeavesTheReportAsConstructed)
{
    for (const QString &type : Types) {
        QuillonReportSummary summary = {1, 2, 3};
        const std::unique_ptr<quillon_report> report(
            convertToReport(ProfileBuilder(0).build(), installedDefinition(type), type, &summary));
        EXPECT_FALSE(report->hasErrorMessage());
        EXPECT_FALSE(report->hasWarningMessage());
        EXPECT_FALSE(report->getMetricValue(DefaultMetrics::SummaryCpuPercent).isValid());
        EXPECT_TRUE(text(*report, DefaultMetrics::OverviewAdvice).isEmpty());
        EXPECT_TRUE(report->dominantMetricNeedsSetting());
        EXPECT_EQ(summary.mpiPercent, 2.0);
        QByteArray bytes;
        EXPECT_NE(report->generateAndWrite(bytes, TxtReport), 0);
    }
}

TEST_F(AnyType, IsRenderedInEveryForm)
{
    for (const QString &type : Types) {
        for (const auto form : {TxtReport, HtmlReport, CsvReport, JsonReport}) {
            const auto report = reportOf(type, budgetedJob());
            QByteArray bytes;
            EXPECT_EQ(report->generateAndWrite(bytes, form), 0) << report->getErrorMessage();
            EXPECT_GT(bytes.size(), 1000) << type.toStdString() << ' ' << form;
        }
    }
}

} // namespace
