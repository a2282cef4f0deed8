// A profile becomes a report: the facts of the run, figures, classifications, and what bound the job.

#include "filledreport.h"

#include "performanceadvice.h"
#include "rateclassification.h"

#include "workflow/brivanetool.h"
#include "workflow/kelpconfig.h"
#include "workflow/nomenclature.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace quillon::report;
using testing::IsNan;

namespace {

class ApplicationData : public AnalysisTest { };
class ValuesSource : public AnalysisTest { };
class Figures : public AnalysisTest { };
class DominantMetric : public AnalysisTest { };
class Classification : public AnalysisTest { };
class CustomReport : public AnalysisTest { };
class Messages : public AnalysisTest { };

ProfileBuilder job()
{
    return ProfileBuilder(10, 100).cores(8, 4).main(Category::COMPUTE, 100);
}

// Main threads spend these numbers of hits in computing, MPI and I/O.
ProfileBuilder jobOf(qint64 cpu, qint64 mpi, qint64 io)
{
    return ProfileBuilder(1, 100)
        .main(Category::COMPUTE, cpu)
        .main(Category::MPI_P2P, mpi)
        .main(Category::IO_READ, io);
}

TEST_F(ApplicationData, IsThatOfTheRun)
{
    ProfileFacts facts;
    facts.target = QStringLiteral("/opt/code.example/bin/../bin/prog");
    facts.commandLine = QStringLiteral("mpirun -n 64 prog --steps 10");
    facts.hostname = QStringLiteral("node1.example");
    facts.startTime = QDateTime(QDate(2026, 3, 6), QTime(14, 5, 9));
    facts.processes = 64;
    facts.nodes = 2;
    facts.profiledRanks = QStringLiteral("0-31");
    facts.ompNumThreads = QStringLiteral("4");
    facts.notes = QStringLiteral("first try");
    const auto report = filledReport(ProfileBuilder(2, 600)
                                         .facts(facts)
                                         .main(Category::COMPUTE, 90)
                                         .main(Category::OMP, 10)
                                         .wholeRun(METRIC_NUM_CORES_PER_NODE, {8, 9})
                                         .wholeRun(METRIC_NUM_PHYSICAL_CORES_PER_NODE, {4, 4})
                                         .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {2, 2})
                                         .wholeRun(METRIC_MEMORY_PER_NODE, {64e9, 64e9}));
    EXPECT_EQ(text(*report, DefaultMetrics::CommandLine), "mpirun -n 64 prog --steps 10");
    EXPECT_EQ(text(*report, DefaultMetrics::ExeName), "prog");
    EXPECT_EQ(text(*report, DefaultMetrics::ExePath), "/opt/code.example/bin");
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::NumProcesses), QVariant(64));
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::NumNodes), QVariant(2));
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::LogicalCoresPerNode), QVariant(9)); // of 8.5
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::PhysicalCoresPerNode), QVariant(4));
    EXPECT_EQ(text(*report, DefaultMetrics::OmpNumThreads), "4");
    EXPECT_EQ(text(*report, DefaultMetrics::Hostname), "node1.example");
    EXPECT_EQ(text(*report, DefaultMetrics::StartDate), "Fri Mar 6 14:05:09 2026");
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::NumGpus), DoublePrecision(2, 0).toQVariant());
    EXPECT_EQ(text(*report, DefaultMetrics::ProfiledRanks), "0-31");
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::Time), QVariant(2));
    EXPECT_EQ(text(*report, DefaultMetrics::Notes), "first try");
    EXPECT_TRUE(text(*report, DefaultMetrics::InputFile).isNull());
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::HostMemory), DoublePrecision(64e9, 0).toQVariant());
    EXPECT_TRUE(flag(*report, DefaultMetrics::IsOpenMp));
    EXPECT_TRUE(flag(*report, DefaultMetrics::HasGpu));
    EXPECT_TRUE(flag(*report, DefaultMetrics::HasAcceleratorMetricsEnabled));
    EXPECT_TRUE(flag(*report, DefaultMetrics::HasEnergyMetricsEnabled));
    EXPECT_FALSE(report->hasErrorMessage()) << report->getErrorMessage();
}

TEST_F(ApplicationData, OfAnExistingProgramHasItsCanonicalPath)
{
    QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("real")));
    ASSERT_TRUE(
        QFile::link(folder.filePath(QStringLiteral("real")), folder.filePath(QStringLiteral("alias"))));
    QFile program(folder.filePath(QStringLiteral("real/prog")));
    ASSERT_TRUE(program.open(QIODevice::WriteOnly));
    const auto report = filledReport(job().target(folder.filePath(QStringLiteral("alias/prog"))));
    EXPECT_EQ(text(*report, DefaultMetrics::ExePath),
        QFileInfo(folder.filePath(QStringLiteral("real"))).canonicalFilePath());
}

TEST_F(ApplicationData, HasTheSecondsThatHaveBegun)
{
    const auto seconds = [](int ms) {
        return filledReport(ProfileBuilder(1, ms).main(Category::COMPUTE, 1))
            ->getMetricValue(DefaultMetrics::Time)
            .toInt();
    };
    EXPECT_EQ(seconds(1), 1);
    EXPECT_EQ(seconds(1000), 1);
    EXPECT_EQ(seconds(1001), 2);
    EXPECT_EQ(seconds(std::numeric_limits<int>::max()), 2147484);
}

TEST_F(ApplicationData, HasNoCoresPerNodeWhereTheyAreUnknown)
{
    const auto report = filledReport(ProfileBuilder(1, 100).main(Category::COMPUTE, 1));
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::LogicalCoresPerNode), QVariant(-1));
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::PhysicalCoresPerNode), QVariant(-1));
}

TEST_F(ApplicationData, TakesNotesFromTheEnvironmentWhereTheProfileHasNone)
{
    EXPECT_TRUE(text(*filledReport(job()), DefaultMetrics::Notes).isNull());
    EXPECT_FALSE(filledReport(job())->hasErrorMessage());
    setVariable("BRIVANE_NOTES", "third");
    EXPECT_EQ(text(*filledReport(job()), DefaultMetrics::Notes), "third");
    setVariable("FERN_NOTES", "second");
    EXPECT_EQ(text(*filledReport(job()), DefaultMetrics::Notes), "second");
    setVariable("KELP_NOTES", "");
    EXPECT_EQ(text(*filledReport(job()), DefaultMetrics::Notes), "");
    EXPECT_EQ(text(*filledReport(job().notes("of the run")), DefaultMetrics::Notes), "of the run");
}

TEST_F(ApplicationData, HasTheInputFileOfTheLaunch)
{
    KELPConfig config;
    config.setInputFile(QStringLiteral("/data/input.example"));
    KELPConfig::setInstance(&config);
    const auto report = filledReport(job());
    KELPConfig::setInstance(nullptr);
    EXPECT_EQ(text(*report, DefaultMetrics::InputFile), "/data/input.example");
}

TEST_F(ApplicationData, CountsProcessesInTheHostsWord)
{
    const QJsonObject definitions = filledReport(job())->toJsonDefinitions();
    EXPECT_EQ(definitions[DefaultMetrics::NumProcesses].toObject()[QStringLiteral("units")].toString(),
        Nomenclature::process(false, true, false, true));
}

TEST_F(ApplicationData, ShowsMemoryWithADecimalPlaceWhereNodesDifferByMoreThan100MiB)
{
    // Of two nodes, the standard deviation is half of the difference.
    const double mib = 1024 * 1024;
    const auto memory = [](double first, double second) {
        return DoublePrecision::fromQVariant(
            filledReport(job().wholeRun(METRIC_MEMORY_PER_NODE, {first, second}))
                ->getMetricValue(DefaultMetrics::HostMemory));
    };
    EXPECT_EQ(memory(1000 * mib, 1200 * mib), DoublePrecision(1100 * mib, 0));
    EXPECT_EQ(memory(1000 * mib, 1202 * mib), DoublePrecision(1101 * mib, 1));

    const DoublePrecision unknown
        = DoublePrecision::fromQVariant(filledReport(job())->getMetricValue(DefaultMetrics::HostMemory));
    EXPECT_THAT(unknown.first, IsNan());
    EXPECT_EQ(unknown.second, 0);
}

TEST_F(ApplicationData, OfAJobWithoutProcessesIsAnErrorOfTheReport)
{
    const auto report = filledReport(job().processes(0));
    EXPECT_THAT(report->getErrorMessage(), testing::StartsWith("0 is an invalid value for metric"));
}

TEST_F(ValuesSource, IsTheFileThatTheProfileCameFrom)
{
    ProfileFacts facts;
    facts.processes = 1;
    facts.sourceFernFile = QStringLiteral("/data/my run.fern");
    EXPECT_EQ(text(*filledReport(job().facts(facts)), DefaultMetrics::ReportMetricValuesSource),
        "file:///data/my run.fern");
}

TEST_F(ValuesSource, OfALiveRunSaysWhatWasRunAndWhen)
{
    EXPECT_EQ(text(*filledReport(job().processes(64).nodes(4)), DefaultMetrics::ReportMetricValuesSource),
        "brivane:/prog_64p_4n_1t_2026-03-06_14-05");
    EXPECT_EQ(text(*filledReport(job().target("/bin/a%2x")), DefaultMetrics::ReportMetricValuesSource),
        "brivane:/a%252x_2p_1n_1t_2026-03-06_14-05");
}

TEST_F(Figures, OfAProfileWithoutSamplesLeaveTheReportAsConstructed)
{
    QuillonReportSummary summary = {1, 2, 3};
    const std::unique_ptr<quillon_report> report(convertToReport(
        ProfileBuilder(0).cores(8, 4).build(), bareDefinition(), DefaultMetrics::templateName(), &summary));
    EXPECT_EQ(report->toJsonValues(), quillon_report(bareDefinition()).toJsonValues());
    EXPECT_FALSE(report->hasErrorMessage());
    EXPECT_EQ(summary.cpuPercent, 1.0);
    EXPECT_EQ(summary.mpiPercent, 2.0);
    EXPECT_EQ(summary.ioPercent, 3.0);
}

TEST_F(Figures, OfTheSummaryAreHandedToTheCaller)
{
    QuillonReportSummary summary;
    const std::unique_ptr<quillon_report> report(convertToReport(
        jobOf(50, 30, 20).build(), bareDefinition(), DefaultMetrics::templateName(), &summary));
    EXPECT_EQ(summary.cpuPercent, 50.0);
    EXPECT_EQ(summary.mpiPercent, 30.0);
    EXPECT_EQ(summary.ioPercent, 20.0);
}

TEST_F(Figures, OfWaitingForAcceleratorsAreShownIfThereAreAnyOrAnyWaiting)
{
    EXPECT_FALSE(flag(*filledReport(job()), DefaultMetrics::CpuShowWaitingAcc));
    EXPECT_TRUE(flag(*filledReport(job().main(Category::ACCELERATOR, 1)), DefaultMetrics::CpuShowWaitingAcc));
    EXPECT_TRUE(flag(
        *filledReport(job().wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1})), DefaultMetrics::CpuShowWaitingAcc));
}

TEST_F(Figures, OfMpiAndLoadTellWhyTheyAreMissing)
{
    const auto complete = filledReport(job());
    EXPECT_TRUE(text(*complete, DefaultMetrics::MpiRateError).isNull());
    EXPECT_TRUE(text(*complete, DefaultMetrics::SystemLoadAvgError).isNull());
    const auto failed
        = filledReport(job()
                           .error(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, "The library is unknown.")
                           .error(METRIC_LOAD_AVG, "Not 100% readable."));
    EXPECT_EQ(text(*failed, DefaultMetrics::MpiRateError), "MPI Rate Metrics: The library is unknown.");
    EXPECT_EQ(text(*failed, DefaultMetrics::SystemLoadAvgError), "System load: Not 100% readable.");
}

TEST_F(Figures, OfAcceleratorsAreUnknownWhereThereAreNone)
{
    const auto report = filledReport(job().error(METRIC_NVIDIA_GPU_USAGE, "No driver."));
    EXPECT_TRUE(text(*report, DefaultMetrics::CudaError).isNull());
    EXPECT_THAT(number(*report, DefaultMetrics::CudaGpusInUsePercent), IsNan());
    EXPECT_THAT(number(*report, DefaultMetrics::CudaPeakMemoryPercent), IsNan());
    EXPECT_THAT(number(*report, DefaultMetrics::CudaMeanMemoryPercent), IsNan());
    EXPECT_THAT(number(*report, DefaultMetrics::CudaGlobalMemoryAccessPercent), IsNan());
    const DoublePrecision memory
        = DoublePrecision::fromQVariant(report->getMetricValue(DefaultMetrics::CudaMemoryPerNode));
    EXPECT_THAT(memory.first, IsNan());
    EXPECT_EQ(memory.second, 0);
    EXPECT_EQ(advice(*report, DefaultMetrics::SubsectionAccelerator), QStringList({"", ""}));
}

TEST_F(Figures, OfAcceleratorsComeWithTheirErrorAndAdvice)
{
    const double mib = 1024 * 1024;
    const auto report = filledReport(job()
                                         .error(METRIC_NVIDIA_GPU_USAGE, "No driver.")
                                         .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {2, 2})
                                         .wholeRun(METRIC_NVIDIA_TOTAL_MEMORY, {1000 * mib, 1202 * mib})
                                         .series(METRIC_NVIDIA_GPU_USAGE, {20})
                                         .series(METRIC_NVIDIA_MEMORY_USED, {1101 * mib})
                                         .series(METRIC_NVIDIA_MEMORY_SYS_USAGE, {40}));
    EXPECT_EQ(text(*report, DefaultMetrics::CudaError), "No driver.");
    EXPECT_EQ(number(*report, DefaultMetrics::CudaGpusInUsePercent), 20.0);
    EXPECT_EQ(number(*report, DefaultMetrics::CudaPeakMemoryPercent), 50.0);
    EXPECT_EQ(number(*report, DefaultMetrics::CudaMeanMemoryPercent), 50.0);
    EXPECT_EQ(number(*report, DefaultMetrics::CudaGlobalMemoryAccessPercent), 40.0);
    EXPECT_EQ(report->getMetricValue(DefaultMetrics::CudaMemoryPerNode),
        DoublePrecision(550.5 * mib, 1).toQVariant()); // mean of the nodes for each of 2 GPUs
    const auto expected = cudaAdvice(20, 40, 50);
    EXPECT_EQ(advice(*report, DefaultMetrics::SubsectionAccelerator),
        QStringList({expected.first, expected.second}));
}

TEST_F(Figures, OfCyclesAreJudgedOnlyIfThereAreAnyAndAPlaceForIt)
{
    const QString cycles = DefaultMetrics::PerfCyclesPerIns;
    EXPECT_EQ(advice(*filledReport(job()), DefaultMetrics::SubsectionPerf), QStringList({"", ""}));
    EXPECT_EQ(advice(*filledReport(job().series(cycles, {0})), DefaultMetrics::SubsectionPerf),
        QStringList({"", ""}));
    EXPECT_EQ(advice(*filledReport(job().series(cycles, {1.5})), DefaultMetrics::SubsectionPerf),
        QStringList({cyclesPerInsAdvice(1.5).first, ""}));

    ReportDefinition withoutPlace = bareDefinition();
    ReportDefinition::SubsectionDef::List subsections = withoutPlace.getSubsectionList();
    subsections.removeLast();
    withoutPlace.setSubsectionList(subsections);
    EXPECT_FALSE(filledReport(job().series(cycles, {1.5}), withoutPlace)->hasErrorMessage());
}

QString bound(const quillon_report &report)
{
    return text(report, DefaultMetrics::DominantMetricType);
}

TEST_F(DominantMetric, IsTheLargestShareAndATieGoesToMpiUnlessIoTakesPart)
{
    EXPECT_EQ(bound(*filledReport(jobOf(50, 30, 20))), "overview.cpu.percent");
    EXPECT_EQ(bound(*filledReport(jobOf(30, 50, 20))), "overview.mpi.percent");
    EXPECT_EQ(bound(*filledReport(jobOf(30, 20, 50))), "overview.io.percent");
    EXPECT_EQ(bound(*filledReport(jobOf(40, 40, 20))), "overview.mpi.percent");
    EXPECT_EQ(bound(*filledReport(jobOf(40, 20, 40))), "overview.io.percent");
    EXPECT_EQ(bound(*filledReport(jobOf(20, 40, 40))), "overview.io.percent");
    EXPECT_EQ(bound(*filledReport(jobOf(1, 1, 1))), "overview.io.percent");
}

TEST_F(DominantMetric, OfUnknownSharesIsIo)
{
    EXPECT_EQ(
        bound(*filledReport(ProfileBuilder(1, 100).others(Category::COMPUTE, 1))), "overview.io.percent");
}

TEST_F(DominantMetric, NamesTheSubsectionThatBreaksItDown)
{
    const auto report = filledReport(jobOf(30, 50, 20));
    EXPECT_EQ(text(*report, DefaultMetrics::DominantMetricLongString), "MPI-bound");
    EXPECT_EQ(text(*report, DefaultMetrics::DominantMetricShortString), "MPI");
    EXPECT_EQ(text(*report, DefaultMetrics::DominantMetricSubsectionId), "mpi");
    EXPECT_EQ(text(*report, DefaultMetrics::DominantMetricSubsectionHeading), "About mpi");
    EXPECT_EQ(text(*report, DefaultMetrics::SecondaryDominantMetricLongString), "");
}

TEST_F(DominantMetric, OfAComputeBoundJobWithGpusHasASecondOne)
{
    const auto report = filledReport(jobOf(50, 30, 20).wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1}));
    EXPECT_EQ(bound(*report), "overview.cpu.percent");
    EXPECT_EQ(text(*report, DefaultMetrics::SecondaryDominantMetricLongString), "Accelerator-bound");
    EXPECT_EQ(text(*report, DefaultMetrics::SecondaryDominantMetricShortString), "accelerator");
    EXPECT_EQ(text(*report, DefaultMetrics::SecondaryDominantMetricType), "cuda");
    EXPECT_EQ(text(*report, DefaultMetrics::SecondaryDominantMetricSubsectionId), "cuda");
    EXPECT_EQ(text(*report, DefaultMetrics::SecondaryDominantMetricSubsectionHeading), "Accelerators");

    const auto communicating = filledReport(jobOf(30, 50, 20).wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1}));
    EXPECT_EQ(text(*communicating, DefaultMetrics::SecondaryDominantMetricLongString), "");
    const auto withoutGpus = filledReport(jobOf(50, 30, 20).wholeRun(METRIC_NVIDIA_GPUS_COUNT, {0}));
    EXPECT_EQ(text(*withoutGpus, DefaultMetrics::SecondaryDominantMetricLongString), "");
}

TEST_F(Classification, SaysHowMuchEachShareIs)
{
    const auto report = filledReport(jobOf(60, 30, 10));
    EXPECT_EQ(text(*report, QStringLiteral("overview.cpu.advice")),
        "This is <span class=\"summary_class\">average</span>; check the CPU performance section for advice");
    EXPECT_EQ(text(*report, QStringLiteral("overview.mpi.advice")),
        "This is <span class=\"summary_class\">low</span>; this code may benefit from a higher process "
        "count");
    EXPECT_EQ(text(*report, QStringLiteral("overview.io.advice")),
        "This is <span class=\"summary_class\">low</span>; check the I/O breakdown section for optimization "
        "advice");
    EXPECT_EQ(text(*report, DefaultMetrics::OverviewAdvice), overviewAdvice(60, 30, 10));
}

TEST_F(Classification, PointsToTheAcceleratorsWhereThereAreAny)
{
    EXPECT_EQ(text(*filledReport(jobOf(60, 30, 10).wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1})),
                  QStringLiteral("overview.cpu.advice")),
        "This is <span class=\"summary_class\">average</span>; check the CPU and accelerators sections for "
        "advice");
}

TEST_F(CustomReport, HasFiguresAndNeitherClassificationNorDominantMetric)
{
    const auto report = filledReport(jobOf(10, 80, 10), bareDefinition(), QStringLiteral("mine"));
    EXPECT_EQ(number(*report, DefaultMetrics::SummaryMpiPercent), 80.0);
    EXPECT_FALSE(report->getMetricValue(DefaultMetrics::DominantMetricType).isValid());
    EXPECT_TRUE(report->dominantMetricNeedsSetting());
    EXPECT_TRUE(text(*report, QStringLiteral("overview.mpi.advice")).isEmpty());
    EXPECT_TRUE(text(*report, DefaultMetrics::OverviewAdvice).isEmpty());
    EXPECT_FALSE(advice(*report, DefaultMetrics::SubsectionIo).first().isEmpty());
    EXPECT_FALSE(report->hasErrorMessage());
}

TEST_F(CustomReport, MustHaveTheSubsectionsThatAdviceGoesInto)
{
    ReportDefinition empty;
    const auto report = filledReport(job(), empty, QStringLiteral("mine"));
    EXPECT_STREQ(report->getErrorMessage(), "subsection with ID \"energy\" was not found");
}

QByteArray printed(void (*print)(const quillon_report &), const quillon_report &report)
{
    testing::internal::CaptureStderr();
    print(report);
    return QByteArray::fromStdString(testing::internal::GetCapturedStderr());
}

TEST_F(Messages, ArePrintedBehindTheToolsName)
{
    quillon_report report(bareDefinition());
    EXPECT_EQ(printed(printError, report), "");
    EXPECT_EQ(printed(printWarning, report), "");

    report.setErrorMessage("nothing but %d%%", 5);
    report.setWarningMessage(QStringLiteral("b"), QStringLiteral("second"));
    report.setWarningMessage(QStringLiteral("a"), QStringLiteral("100% first"));
    const QByteArray tool = BrivaneTool::currentTool()->getFriendlyName().toLocal8Bit();
    ASSERT_FALSE(tool.isEmpty());
    EXPECT_EQ(printed(printError, report), tool + ": failed to generate report: nothing but 5%\n");
    EXPECT_EQ(printed(printWarning, report),
        tool + ": warning(s) found during report generation: 100% first\nsecond\n\n");
}

} // namespace
