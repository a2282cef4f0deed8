// How figures of processes become metrics of the job.

#include "spoolfolder.h"

#include "profile/samplermetrics.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace {

namespace spool = fern::spool;

MetricStatistics at(const ProfilerData &profile, const QString &id, int sample)
{
    return profile.getMetricAt(id, sample).statistics();
}

TEST(SpoolMetrics, ProcessGaugeHasAReadingForEachProcess)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 200, 100).rank(0, 2).figure(spool::FigureRss, {300, 90, 110, 3}));
    folder.add(SpoolWriter(0, 200, 100).rank(1, 2).figure(spool::FigureRss, {200, 200, 200, 1}));
    const ProfilerData profile = folder.merge();
    const MetricStatistics rss = at(profile, METRIC_RSS, 0);
    EXPECT_EQ(rss.count, 2);
    EXPECT_EQ(rss.minimum, 90) << "least reading, not least mean";
    EXPECT_EQ(rss.maximum, 200);
    EXPECT_EQ(rss.mean, 150);
    EXPECT_EQ(rss.sum, 300);
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_RSS));
}

TEST(SpoolMetrics, NodeGaugeCountsOnceForEachNode)
{
    SpoolFolder folder;
    const auto add = [&](int rank, const char *host, double percent) {
        folder.add(SpoolWriter(0, 100, 100)
                       .rank(rank, 4)
                       .host(host)
                       .figure(spool::FigureNodeMemoryUsedPercent, percent));
    };
    add(0, "node1.example", 10);
    add(1, "node2.example", 50);
    add(2, "node1.example", 14);
    add(3, "node1.example", 12);
    const MetricStatistics used = at(folder.merge(), METRIC_NODE_MEM_USED, 0);
    EXPECT_EQ(used.count, 2);
    EXPECT_EQ(used.mean, 31) << "of 12 and 50, however many ranks a node has";
    EXPECT_EQ(used.maximum, 50);
    EXPECT_EQ(used.minimum, 10);
}

TEST(SpoolMetrics, RateIsOverTheTimeThatTheProcessLivedInTheSample)
{
    SpoolFolder folder;
    // Lives for 100, 100 and 50 ms of its three bins.
    folder.add(SpoolWriter(0, 250, 100).figure(spool::FigureMpiCollectiveBytes, 1000));
    const ProfilerData profile = folder.merge();
    const QString id = METRIC_MPI_COLLECTIVE_BYTES_PER_SEC;
    EXPECT_DOUBLE_EQ(at(profile, id, 0).mean, 10000);
    EXPECT_DOUBLE_EQ(at(profile, id, 2).mean, 20000);
    EXPECT_DOUBLE_EQ(profile.metric(id).mean().to_double(), 3000 / 0.25);
}

TEST(SpoolMetrics, SliverAtTheEndOfAProcessHasNoRate)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 201, 100).figure(spool::FigureMpiPointToPointBytes, 1000));
    const ProfilerData profile = folder.merge();
    ASSERT_EQ(profile.numSamples(), 3);
    EXPECT_EQ(at(profile, METRIC_MPI_P2P_BYTES_PER_SEC, 1).count, 1);
    EXPECT_EQ(at(profile, METRIC_MPI_P2P_BYTES_PER_SEC, 2).count, 0);
}

TEST(SpoolMetrics, ProcessThatIsGoneHasNoRate)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 400, 100).rank(0, 2).figure(spool::FigureMpiPointToPointBytes, 100));
    folder.add(SpoolWriter(0, 200, 100).rank(1, 2).figure(spool::FigureMpiPointToPointBytes, 300));
    const ProfilerData profile = folder.merge();
    EXPECT_DOUBLE_EQ(at(profile, METRIC_MPI_P2P_BYTES_PER_SEC, 1).mean, 2000);
    EXPECT_EQ(at(profile, METRIC_MPI_P2P_BYTES_PER_SEC, 3).count, 1);
    EXPECT_DOUBLE_EQ(at(profile, METRIC_MPI_P2P_BYTES_PER_SEC, 3).mean, 1000);
}

TEST(SpoolMetrics, BytesAreWholeRunFiguresOfEachProcess)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 400, 100).rank(0, 2).figure(spool::FigureBytesRead, 100));
    folder.add(SpoolWriter(200, 400, 100).rank(1, 2).figure(spool::FigureBytesRead, 1000));
    const ProfilerData profile = folder.merge();
    const ScalarMetric read = profile.metric(METRIC_CHARS_READ);
    EXPECT_EQ(read.exactSum().to_double(), 2400);
    EXPECT_EQ(read.mean().to_double(), 1200);
    EXPECT_EQ(read.min().to_double(), 400);
    EXPECT_EQ(read.max().to_double(), 2000);
}

TEST(SpoolMetrics, TotalCountsUpAndStaysWhenItsProcessHasEnded)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 200, 100).figure(spool::FigureBytesWritten, 10));
    folder.add(SpoolWriter(0, 400, 100).figure(spool::FigureBytesWritten, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(at(profile, METRIC_CHARS_WRITTEN, 0).sum, 11);
    EXPECT_EQ(at(profile, METRIC_CHARS_WRITTEN, 1).sum, 22);
    EXPECT_EQ(at(profile, METRIC_CHARS_WRITTEN, 3).sum, 24);
    EXPECT_EQ(at(profile, METRIC_CHARS_WRITTEN, 3).count, 2);
}

TEST(SpoolMetrics, ActiveCoresAreCpuTimeByRunTime)
{
    SpoolFolder folder;
    constexpr double nsPerMs = 1e6;
    SpoolWriter busy(0, 400, 100);
    busy.header.maxThreads = 4;
    busy.figure(spool::FigureCpuTime, 100 * nsPerMs);
    busy.bins[1].figures[spool::FigureCpuTime] = {300 * nsPerMs, 0, 0, 1};
    folder.add(busy.rank(0, 2));
    folder.add(SpoolWriter(0, 400, 100).rank(1, 2).figure(spool::FigureCpuTime, 50 * nsPerMs));
    const ProfilerData profile = folder.merge();
    EXPECT_DOUBLE_EQ(profile.averageActiveCoresPerProcess(), (600.0 / 400 + 200.0 / 400) / 2);
    EXPECT_DOUBLE_EQ(profile.maxAvgActiveCoresPerProc(), (3.0 + 0.5) / 2);
}

TEST(SpoolMetrics, ActiveCoresNeverExceedTheThreadsOfAProcess)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 200, 100).figure(spool::FigureCpuTime, 103e6));
    EXPECT_EQ(folder.merge().maxAvgActiveCoresPerProc(), 1);
}

TEST(SpoolMetrics, FactsOfTheNodesAreReadings)
{
    SpoolFolder folder;
    SpoolWriter small(0, 100, 100);
    small.header.logicalCores = 4;
    small.header.physicalCores = 0;
    small.header.nodeMemory = 500000;
    folder.add(small.rank(0, 2).host("node1.example"));
    folder.add(SpoolWriter(0, 100, 100).rank(1, 2).host("node2.example"));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.metric(METRIC_NUM_CORES_PER_NODE).mean().to_double(), 6);
    EXPECT_EQ(profile.metric(METRIC_NUM_CORES_PER_NODE).max().to_int(), 8);
    EXPECT_EQ(profile.metric(METRIC_NUM_PHYSICAL_CORES_PER_NODE).mean().to_double(), 4)
        << "unknown on one node, known on the other";
    EXPECT_EQ(profile.metric(METRIC_MEMORY_PER_NODE).mean().to_double(), 750000);
    EXPECT_EQ(profile.metric(METRIC_MEMORY_PER_NODE).standardDeviation().to_double(), 250000);
}

TEST(SpoolMetrics, WhatWasNeverReadHasAReason)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 100, 100);
    writer.header.physicalCores = 0;
    folder.add(writer.main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.getFirstMetricError(METRIC_RSS), "Requires a readable /proc/self/statm.");
    EXPECT_EQ(profile.getFirstMetricError(METRIC_LOAD_AVG), "Requires a readable /proc/loadavg.");
    EXPECT_EQ(profile.getFirstMetricError(METRIC_CHARS_READ), "Requires a readable /proc/self/io.");
    EXPECT_EQ(profile.getFirstMetricError(METRIC_NUM_PHYSICAL_CORES_PER_NODE),
        "Requires a readable /sys/devices/system/cpu.");
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, -1, -1));
    EXPECT_TRUE(!model || model->rowCount() == 0);
    EXPECT_FALSE(profile.getMetricOrEmpty(METRIC_CHARS_READ).isDefined());
}

TEST(SpoolMetrics, JobThatEndedTooSoonHasThatAsItsReason)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 100, 100);
    writer.header.ticks = 0;
    folder.add(writer);
    EXPECT_EQ(folder.merge().getFirstMetricError(METRIC_RSS), "The job ended before anything could be read.");
}

TEST(SpoolMetrics, NothingCountedIsAFigureAndNoFailure)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 200, 100)
                   .figure(spool::FigureBytesRead, 0)
                   .figure(spool::FigureMpiCollectiveBytes, 0));
    const ProfilerData profile = folder.merge();
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_CHARS_READ));
    EXPECT_EQ(profile.metric(METRIC_CHARS_READ).mean().to_double(), 0);
    EXPECT_EQ(at(profile, METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, 1).mean, 0);
}

TEST(SpoolMetrics, FiguresThatAreNoNumbersArePassedOver)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 200, 100);
    writer.figure(spool::FigureRss, 5);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    writer.bins[1].figures[spool::FigureRss] = {nan, nan, nan, 1};
    folder.add(writer);
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(at(profile, METRIC_RSS, 0).mean, 5);
    EXPECT_EQ(at(profile, METRIC_RSS, 1).count, 0);
}

TEST(SpoolMetrics, EnergyIsThePowerOfEachNodeByTheTimeOfItsSamples)
{
    SpoolFolder folder;
    const auto add = [&](int rank, const char *host, double watts) {
        folder.add(SpoolWriter(0, 400, 100).rank(rank, 3).host(host).figure(spool::FigureCpuPower, watts));
    };
    add(0, "node1.example", 100);
    add(1, "node2.example", 50);
    add(2, "node1.example", 100);
    const ProfilerData profile = folder.merge();
    EXPECT_DOUBLE_EQ(at(profile, METRIC_RAPL_POWER, 0).sum, 150) << "once for each node";
    EXPECT_NEAR(at(profile, METRIC_RAPL_ENERGY, 0).sum, 15, 1e-9) << "joules";
    EXPECT_NEAR(at(profile, METRIC_RAPL_ENERGY, 3).sum, 60, 1e-9);
    EXPECT_NEAR(profile.metric(METRIC_RAPL_ENERGY).exactSum().to_double(), 60, 1e-9);
}

TEST(SpoolMetrics, MeasurementTellsAboutItself)
{
    SpoolFolder folder;
    const auto add = [&](int rank, std::uint64_t looks, std::uint64_t cpuNs) {
        SpoolWriter writer(0, 200, 100);
        writer.header.ticks = looks;
        writer.header.samplerCpuNs = cpuNs;
        writer.header.maxThreads = 3;
        writer.header.wrappedCalls = 1000000;
        writer.header.wrapperPs = 2000;
        writer.header.processCpuNs = 200000000;
        folder.add(writer.rank(rank, 2));
    };
    add(0, 10, 1000000);
    add(1, 20, 3000000);
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.metric(METRIC_SAMPLER_LOOKS).exactSum().to_double(), 30);
    EXPECT_EQ(profile.metric(METRIC_SAMPLER_INTERVAL).mean().to_double(), 100);
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_SAMPLER_CPU_PERCENT).max().to_double(), 1.5);
    const QStringList lines = SamplerMetrics::describe(profile);
    EXPECT_TRUE(lines.contains("the sampler looked 10 to 20 (mean 15) times at each process"));
    EXPECT_TRUE(lines.contains("it saw at most 3 thread(s) of each process at a time"));
    EXPECT_TRUE(lines.filter("no room").isEmpty()) << "nothing was missed";
    // 4 ms of the thread, twice a million calls of 2 ns, and 400 ms of the job
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_SAMPLER_WRAPPER_TIME).exactSum().to_double(), 0.004);
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_SAMPLER_JOB_PERCENT).mean().to_double(), 2.0);
    EXPECT_EQ(SamplerMetrics::costSentence(profile),
        "The measurement itself used 0.008 s of CPU time, 2 % of the job's 0.4 s.");
    EXPECT_TRUE(SamplerMetrics::costSentence(ProfilerData()).isNull());
    EXPECT_TRUE(SamplerMetrics::describe(ProfilerData()).isEmpty());
}

TEST(SpoolMetrics, AJobWithoutCpuTimeHasNoShareForTheMeasurement)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 200, 100));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.getFirstMetricError(METRIC_SAMPLER_JOB_PERCENT), "The job used no CPU time.");
    EXPECT_TRUE(SamplerMetrics::costSentence(profile).isNull());
}

TEST(SpoolMetrics, TheMeasurementHasNoShareOfAJobThatOnlyWaited)
{
    const auto sentence = [](std::uint64_t jobNs) {
        SpoolFolder folder;
        SpoolWriter writer(0, 200, 100);
        writer.header.samplerCpuNs = 5000000;
        writer.header.processCpuNs = jobNs;
        folder.add(writer);
        return SamplerMetrics::costSentence(folder.merge());
    };
    EXPECT_EQ(
        sentence(400000), "The measurement itself used 0.005 s of CPU time, the job less than 0.001 s.");
    EXPECT_EQ(sentence(99000000), "The measurement itself used 0.005 s of CPU time, the job 0.099 s.");
    EXPECT_EQ(
        sentence(100000000), "The measurement itself used 0.005 s of CPU time, 5 % of the job's 0.1 s.");
}

TEST(SpoolMetrics, ALibraryThatTakesCallsFirstIsNamedOnce)
{
    SpoolFolder folder;
    for (int rank = 0; rank < 2; ++rank) {
        SpoolWriter writer(0, 200, 100);
        writer.header.rivalNames = 7;
        std::strcpy(writer.header.rival, "/opt/tool/libother.so");
        folder.add(writer.rank(rank, 2));
    }
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(folder.remarks,
        QStringList("'/opt/tool/libother.so' is preloaded before the sampler and takes 7 of its calls first: "
                    "what it doesn't hand on isn't seen"));
    EXPECT_EQ(profile.metric(METRIC_SAMPLER_RIVAL_NAMES).max().to_double(), 7);
}

TEST(SpoolMetrics, PowerBudgetIsThatOfTheSiteForEachNode)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 100, 100).rank(0, 2).host("node1.example"));
    folder.add(SpoolWriter(0, 100, 100).rank(1, 2).host("node2.example"));
    qputenv("FERN_POWER_BUDGET", "350.5");
    const ProfilerData profile = folder.merge();
    qputenv("FERN_POWER_BUDGET", "plenty");
    const ProfilerData wrong = folder.merge();
    qunsetenv("FERN_POWER_BUDGET");
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_BUDGETED_POWER).exactSum().to_double(), 701);
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_BUDGETED_POWER));
    EXPECT_EQ(wrong.getFirstMetricError(METRIC_BUDGETED_POWER),
        "Requires a number of watts for a node in FERN_POWER_BUDGET.");
    EXPECT_FALSE(folder.merge().hasMetric(METRIC_BUDGETED_POWER));
}

TEST(SpoolMetrics, ProgramCountersThatAreRefusedSayWhoCanHelp)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 100, 100);
    writer.header.sourceStates[spool::SourceProgramCounters] = spool::SourceRefused;
    folder.add(writer);
    EXPECT_TRUE(folder.merge().getFirstMetricError(METRIC_INSTR_MEM).startsWith("Requires permission"));
}

TEST(SpoolMetrics, PowerIsThereWithItsReasonAndTheBudgetIsNot)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 100, 100).main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_RAPL_POWER).startsWith("Not "));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_SYSTEM_POWER).startsWith("Not "));
    EXPECT_FALSE(profile.hasMetric(METRIC_BUDGETED_POWER));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_NVIDIA_GPUS_COUNT).startsWith("Not "));
}

TEST(SpoolMetrics, EveryMetricThatTheSamplerDeliversIsInTheProfile)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 100, 100).main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    const auto delivered = MetricDefinitions::ofSampler().getAllMetrics();
    for (const Metric &metric : delivered) {
        EXPECT_TRUE(profile.hasMetric(metric.id)) << qPrintable(metric.id);
    }
}

} // namespace
