// What a job read and wrote, what memory it used, and what its threads did.

#include "analysistest.h"

#include "computeperformancedata.h"
#include "profilebuilder.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class IoFigures : public AnalysisTest { };
class MemoryFigures : public AnalysisTest { };
class OpenMpFigures : public AnalysisTest { };
class ThreadFigures : public AnalysisTest { };

// 2 processes with 4 cores each for one second: 1,000 hits of main threads, 4,000 of all cores.
ProfileBuilder job()
{
    return ProfileBuilder(10, 100).processes(2).cores(8, 4);
}

TEST_F(IoFigures, SplitTheTimeOfAllCoresAndGiveEffectiveRates)
{
    const PerformanceData figures = computePerformanceData(job()
                                                               .main(Category::COMPUTE, 85)
                                                               .main(Category::IO_READ, 10)
                                                               .main(Category::IO_WRITE, 3)
                                                               .main(Category::IO_OTHER, 2)
                                                               .others(Category::IO_READ, 10)
                                                               .others(Category::IO_WRITE, 2)
                                                               .wholeRun(METRIC_CHARS_READ, {1e6, 3e6})
                                                               .wholeRun(METRIC_CHARS_WRITTEN, {1e6, 1e6})
                                                               .build());
    // 200 and 50 hits of 4,000; opening and closing files have no part in the split.
    EXPECT_EQ(figures.ioReadFraction, 0.05);
    EXPECT_EQ(figures.ioWriteFraction, 0.0125);
    EXPECT_EQ(figures.ioBoth, 0.0625);
    EXPECT_DOUBLE_EQ(figures.ioRead, 80.0);
    EXPECT_DOUBLE_EQ(figures.ioWrite, 20.0);
    // A process read 2 MB in 200 ms and wrote 1 MB in 50 ms.
    EXPECT_DOUBLE_EQ(figures.ioReadRate, 1e7);
    EXPECT_DOUBLE_EQ(figures.ioWriteRate, 2e7);
}

TEST_F(IoFigures, AreZeroWithoutReadsAndWrites)
{
    const PerformanceData figures = computePerformanceData(job().main(Category::COMPUTE, 100).build());
    EXPECT_EQ(figures.ioBoth, 0.0);
    EXPECT_EQ(figures.ioRead, 0.0);
    EXPECT_EQ(figures.ioWrite, 0.0);
    EXPECT_EQ(figures.ioReadRate, 0.0);
    EXPECT_EQ(figures.ioWriteRate, 0.0);
}

TEST_F(IoFigures, HaveUnknownRatesWhereNobodyCountedBytes)
{
    const PerformanceData figures
        = computePerformanceData(job().main(Category::COMPUTE, 90).main(Category::IO_READ, 10).build());
    EXPECT_THAT(figures.ioReadRate, IsNan());
    EXPECT_EQ(figures.ioWriteRate, 0.0);
    EXPECT_EQ(figures.charsReadMetricName, METRIC_CHARS_READ);
    EXPECT_EQ(figures.charsWrittenMetricName, METRIC_CHARS_WRITTEN);
}

TEST_F(IoFigures, HaveNoRateWhereNoHitsStandForAllCores)
{
    // Nobody knows the cores, so that no hits are 100 %.
    const PerformanceData figures = computePerformanceData(
        ProfileBuilder(10, 100).main(Category::IO_READ, 100).wholeRun(METRIC_CHARS_READ, {1e6}).build());
    EXPECT_EQ(figures.ioReadFraction, std::numeric_limits<double>::infinity());
    EXPECT_EQ(figures.ioReadRate, 0.0);
}

// The metrics that a profile with these metrics and errors is read by.
std::pair<QString, QString> metricsInUse(const ProfileBuilder &builder)
{
    const PerformanceData figures = computePerformanceData(builder.build());
    return {figures.charsReadMetricName, figures.charsWrittenMetricName};
}

TEST_F(IoFigures, TakeTheParallelFileSystemsMetricsOnlyInPlaceOfOnesThatFailed)
{
    const ProfileBuilder plain = job().main(Category::COMPUTE, 1);
    const ProfileBuilder lustre = ProfileBuilder(plain)
                                      .wholeRun(METRIC_LUSTRE_CHARS_READ, {1})
                                      .wholeRun(METRIC_LUSTRE_CHARS_WRITTEN, {1});
    const auto both = std::make_pair(METRIC_CHARS_READ, METRIC_CHARS_WRITTEN);
    const auto bothOfLustre = std::make_pair(METRIC_LUSTRE_CHARS_READ, METRIC_LUSTRE_CHARS_WRITTEN);

    EXPECT_EQ(metricsInUse(plain), both);
    EXPECT_EQ(metricsInUse(lustre), bothOfLustre);
    EXPECT_EQ(
        metricsInUse(
            ProfileBuilder(lustre).wholeRun(METRIC_CHARS_READ, {1}).wholeRun(METRIC_CHARS_WRITTEN, {1})),
        both);
    EXPECT_EQ(metricsInUse(ProfileBuilder(lustre)
                               .wholeRun(METRIC_CHARS_READ, {1})
                               .error(METRIC_CHARS_READ, "No permission.")
                               .wholeRun(METRIC_CHARS_WRITTEN, {1})
                               .error(METRIC_CHARS_WRITTEN, "No permission.")),
        bothOfLustre);
    EXPECT_EQ(metricsInUse(ProfileBuilder(lustre)
                               .error(METRIC_LUSTRE_CHARS_READ, "No such file system.")
                               .error(METRIC_LUSTRE_CHARS_WRITTEN, "No such file system.")),
        both);
}

TEST_F(IoFigures, ChooseTheMetricsOfReadsAndWritesApart)
{
    const auto onlyWritesFailed = job()
                                      .main(Category::COMPUTE, 1)
                                      .wholeRun(METRIC_CHARS_READ, {1})
                                      .wholeRun(METRIC_LUSTRE_CHARS_READ, {1})
                                      .wholeRun(METRIC_LUSTRE_CHARS_WRITTEN, {1});
    EXPECT_EQ(metricsInUse(onlyWritesFailed), std::make_pair(METRIC_CHARS_READ, METRIC_LUSTRE_CHARS_WRITTEN));
}

TEST_F(IoFigures, UseTheBytesOfTheChosenMetric)
{
    const PerformanceData figures = computePerformanceData(job()
                                                               .main(Category::COMPUTE, 90)
                                                               .main(Category::IO_READ, 10)
                                                               .wholeRun(METRIC_LUSTRE_CHARS_READ, {5e6})
                                                               .build());
    EXPECT_DOUBLE_EQ(figures.ioReadRate, 5e7); // 5 MB in 100 ms
}

TEST_F(MemoryFigures, HaveWholePeaksAndAMean)
{
    const PerformanceData figures
        = computePerformanceData(job()
                                     .main(Category::COMPUTE, 1)
                                     .readingsBySample(METRIC_RSS, {{1000.5, 3000.75}, {2000, 2000}})
                                     .series(METRIC_NODE_MEM_USED, {41.9, 20})
                                     .series(METRIC_LOAD_AVG, {75, 125})
                                     .build());
    EXPECT_EQ(figures.memProcessMetricName, METRIC_RSS);
    EXPECT_EQ(figures.memNodePercentMetricName, METRIC_NODE_MEM_USED);
    EXPECT_EQ(figures.systemLoadAvgMetricName, METRIC_LOAD_AVG);
    EXPECT_EQ(figures.memPeak, 3000.0);
    EXPECT_DOUBLE_EQ(figures.memMean, (2000.625 + 9 * 2000) / 10);
    EXPECT_EQ(figures.memNodePeak, 41.0);
    EXPECT_EQ(figures.loadAvg, 120.0);
}

TEST_F(MemoryFigures, OfAMissingMetricAreAnUnknownMeanAndAPeakOfZero)
{
    const PerformanceData figures = computePerformanceData(job().main(Category::COMPUTE, 1).build());
    EXPECT_THAT(figures.memMean, IsNan());
    EXPECT_EQ(figures.memPeak, 0.0);
    EXPECT_EQ(figures.memNodePeak, 0.0);
    EXPECT_THAT(figures.loadAvg, IsNan());
}

TEST_F(MemoryFigures, OfAMetricWithoutAReadingAreThoseOfAMissingOne)
{
    const PerformanceData figures
        = computePerformanceData(job().main(Category::COMPUTE, 1).readingsBySample(METRIC_RSS, {{}}).build());
    EXPECT_THAT(figures.memMean, IsNan());
    EXPECT_EQ(figures.memPeak, 0.0);
}

TEST_F(OpenMpFigures, SplitRegionsIntoComputingAndOverhead)
{
    const PerformanceData figures
        = computePerformanceData(job()
                                     .main(Category::COMPUTE, 80)
                                     .main(Category::OMP, 15)
                                     .main(Category::OMP_RUNTIME_IN_REGION, 5)
                                     .others(Category::OMP, 45)
                                     .others(Category::OMP_RUNTIME_IN_REGION, 8)
                                     .others(Category::OMP_RUNTIME_OUT_OF_REGION, 2)
                                     .others(Category::OMP_MONITOR, 30, 5) // waits for most of the time
                                     .activeCores(1.5, 2.5)
                                     .build());
    // 600 and 200 hits of 4,000.
    EXPECT_EQ(figures.openmpComputeFraction, 0.15);
    EXPECT_EQ(figures.openmpOverheadFraction, 0.05);
    EXPECT_DOUBLE_EQ(figures.openmpCompute, 75.0);
    EXPECT_DOUBLE_EQ(figures.openmpOverhead, 25.0);
    EXPECT_EQ(figures.openmpPhysicalCoreUtilization, 125.0); // peak of 2.5 of the 2 that a process has
}

TEST_F(OpenMpFigures, AreZeroWithoutOpenMp)
{
    const PerformanceData figures = computePerformanceData(job().main(Category::COMPUTE, 100).build());
    EXPECT_EQ(figures.openmpCompute, 0.0);
    EXPECT_EQ(figures.openmpOverhead, 0.0);
}

TEST_F(OpenMpFigures, HaveAnUnknownUtilizationWhereCpuTimeIsUnknown)
{
    const PerformanceData figures = computePerformanceData(job().main(Category::COMPUTE, 100).build());
    EXPECT_THAT(figures.openmpPhysicalCoreUtilization, IsNan());
    EXPECT_THAT(figures.threadsPhysicalCoreUtilization, IsNan());
}

TEST_F(ThreadFigures, SplitThreadsIntoComputingAndSynchronising)
{
    const PerformanceData figures = computePerformanceData(job()
                                                               .nodes(2)
                                                               .processes(4)
                                                               .main(Category::COMPUTE, 90)
                                                               .main(Category::PTHREAD_SYNC, 10)
                                                               .others(Category::PTHREAD_COMPUTE, 60)
                                                               .others(Category::PTHREAD_SYNC, 10)
                                                               .activeCores(1.5, 2.5)
                                                               .build());
    // 600 and 200 hits of 4,000.
    EXPECT_EQ(figures.threadsComputeFraction, 0.15);
    EXPECT_EQ(figures.threadsSyncFraction, 0.05);
    EXPECT_DOUBLE_EQ(figures.threadsCompute, 75.0);
    EXPECT_DOUBLE_EQ(figures.threadsSync, 25.0);
    EXPECT_EQ(figures.threadsPhysicalCoreUtilization, 75.0); // mean of 1.5 of the 2 that a process has
}

TEST_F(ThreadFigures, AreZeroWithoutThreads)
{
    const PerformanceData figures = computePerformanceData(job().main(Category::COMPUTE, 100).build());
    EXPECT_EQ(figures.threadsComputeFraction, 0.0);
    EXPECT_EQ(figures.threadsCompute, 0.0);
    EXPECT_EQ(figures.threadsSync, 0.0);
}

} // namespace
