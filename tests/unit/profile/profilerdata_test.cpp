// What a profile says about itself: facts, times, metrics and their errors.

#include "profilebuilder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(ProfilerData, WithoutAnythingAnswersAllTheSame)
{
    const ProfilerData profile;
    EXPECT_EQ(profile.numSamples(), 0);
    EXPECT_EQ(profile.timeAt(0), 0);
    EXPECT_EQ(profile.getSampledRuntimeMs(), 0u);
    EXPECT_EQ(profile.numTargetProcs(), 0);
    EXPECT_EQ(profile.getFernFileVersion(), -1);
    EXPECT_TRUE(profile.sourceFernFile().isEmpty());
    EXPECT_TRUE(profile.isNotesEmpty());
    EXPECT_FALSE(profile.jobStartTime().isValid());
    EXPECT_TRUE(profile.getMetricDefinitions().getAllMetrics().isEmpty());
    EXPECT_TRUE(std::isnan(profile.averageActiveCoresPerProcess()));
    EXPECT_TRUE(std::isnan(profile.maxAvgActiveCoresPerProc()));
}

TEST(ProfilerData, TimeAtTheNumberOfSamplesIsTheEndOfSampling)
{
    const ProfilerData profile = ProfileBuilder(4, 250).endMs(980).build();
    EXPECT_EQ(profile.numSamples(), 4);
    EXPECT_EQ(profile.timeAt(0), 0);
    EXPECT_EQ(profile.timeAt(3), 750);
    EXPECT_EQ(profile.timeAt(4), 980);
    EXPECT_EQ(profile.timeAt(5), 0);
    EXPECT_EQ(profile.timeAt(-1), 0);
    EXPECT_EQ(profile.getSampledRuntimeMs(), 980u);
}

TEST(ProfilerData, RefusesSamplesThatDoNotFitTheirTimes)
{
    ProfilerData profile = ProfileBuilder(2, 100).build();
    const QVector<HitCounts> two(2);
    EXPECT_FALSE(profile.setSamples(two, {0, 100}));
    EXPECT_FALSE(profile.setSamples(two, {1, 100, 200}));
    EXPECT_FALSE(profile.setSamples(two, {0, 200, 100}));
    EXPECT_FALSE(profile.setSamples({}, {0}));
    EXPECT_FALSE(profile.setSamples(QVector<HitCounts>(1001), QVector<int>(1002)));
    EXPECT_EQ(profile.timeAt(2), 200) << "as it was";
    EXPECT_TRUE(profile.setSamples({}, {}));
    EXPECT_EQ(profile.numSamples(), 0);
}

TEST(ProfilerData, MetricThatIsNotThereIsUndefined)
{
    const ProfilerData profile = ProfileBuilder().build();
    EXPECT_FALSE(profile.hasMetric(METRIC_RSS));
    EXPECT_FALSE(profile.hasMetricNoErrors(METRIC_RSS));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_RSS).isNull());
    EXPECT_FALSE(profile.getMetricOrEmpty(METRIC_RSS).isDefined());
    EXPECT_TRUE(profile.getMetricOrEmpty(METRIC_RSS).mean().empty());
    EXPECT_FALSE(profile.getMetricAt(METRIC_RSS, 0).isDefined());
    EXPECT_EQ(profile.getMetricDefinitions().getMetricById(METRIC_RSS), nullptr);
}

TEST(ProfilerData, MetricWithAnErrorExistsButNotWithoutErrors)
{
    const ProfilerData profile = ProfileBuilder()
                                     .error(METRIC_RAPL_POWER, "Requires a sensor.")
                                     .error(METRIC_RAPL_POWER, "Second.")
                                     .build();
    EXPECT_TRUE(profile.hasMetric(METRIC_RAPL_POWER));
    EXPECT_FALSE(profile.hasMetricNoErrors(METRIC_RAPL_POWER));
    EXPECT_EQ(profile.getFirstMetricError(METRIC_RAPL_POWER), "Requires a sensor.");
}

TEST(ProfilerData, FiguresOfTheWholeRunAreThoseOfItsProcesses)
{
    const ProfilerData profile = ProfileBuilder().wholeRun(METRIC_CHARS_READ, {10, 30}).build();
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_CHARS_READ));
    const ScalarMetric metric = profile.metric(METRIC_CHARS_READ);
    EXPECT_TRUE(metric.isDefined());
    EXPECT_EQ(metric.min().to_double(), 10);
    EXPECT_EQ(metric.max().to_double(), 30);
    EXPECT_EQ(metric.mean().to_double(), 20);
    EXPECT_EQ(metric.exactSum().to_double(), 40);
    EXPECT_EQ(metric.standardDeviation().to_double(), 10);
}

TEST(ProfilerData, FiguresOfASampleAreThoseOfTheSample)
{
    const ProfilerData profile = ProfileBuilder(3).readingsBySample(METRIC_RSS, {{1, 3}, {}, {7}}).build();
    EXPECT_EQ(profile.getMetricAt(METRIC_RSS, 0).exactSum().to_double(), 4);
    EXPECT_FALSE(profile.getMetricAt(METRIC_RSS, 1).isDefined());
    EXPECT_EQ(profile.getMetricAt(METRIC_RSS, 2).max().to_double(), 7);
    EXPECT_FALSE(profile.getMetricAt(METRIC_RSS, 3).isDefined());
}

TEST(ProfilerData, WhatDoesNotChangeIsTheSameInEverySample)
{
    const ProfilerData profile
        = ProfileBuilder(3).nodes(2).cores(8, 4).wholeRun(METRIC_CHARS_READ, {1}).build();
    EXPECT_EQ(profile.getMetricAt(METRIC_NUM_CORES_PER_NODE, 2).mean().to_double(), 8);
    EXPECT_FALSE(profile.getMetricAt(METRIC_CHARS_READ, 2).isDefined()) << "a count changes";
}

TEST(ProfilerData, ActiveCoresAreTheMeanAndTheHighestMean)
{
    const ProfilerData profile = ProfileBuilder(3)
                                     .wholeRun(METRIC_ACTIVE_CORES, {1.5, 2.5})
                                     .readingsBySample(METRIC_ACTIVE_CORES, {{1, 4}, {3, 3}, {}})
                                     .build();
    EXPECT_EQ(profile.averageActiveCoresPerProcess(), 2);
    EXPECT_EQ(profile.maxAvgActiveCoresPerProc(), 3);
}

TEST(ProfilerData, CopiesAreIndependent)
{
    ProfilerData profile = ProfileBuilder(2).build();
    const ProfilerData copy = profile;
    profile.setSamples({}, {});
    profile.addMetricError(METRIC_RSS, "gone");
    EXPECT_EQ(copy.numSamples(), 2);
    EXPECT_FALSE(copy.hasMetric(METRIC_RSS));
}

TEST(MetricDefinitions, EveryMetricOfTheTableIsKnownByItsId)
{
    const auto all = MetricDefinitions::known().getAllMetrics();
    EXPECT_EQ(all.size(), 46) << "two rows with one id, or a row that this test does not expect";
    for (const Metric &metric : all) {
        EXPECT_FALSE(metric.displayName.isEmpty()) << qPrintable(metric.id);
        EXPECT_FALSE(metric.description.isEmpty()) << qPrintable(metric.id);
        EXPECT_FALSE(metric.id.contains(' ')) << qPrintable(metric.id);
    }
    EXPECT_EQ(METRIC_RAPL_POWER, "rapl_power");
    EXPECT_EQ(METRIC_RAPL_ENERGY, "rapl_energy");
    EXPECT_EQ(METRIC_SYSTEM_POWER, "system_power");
    EXPECT_EQ(METRIC_SYSTEM_ENERGY, "system_energy");
    EXPECT_EQ(METRIC_BUDGETED_POWER, "budgeted_power");
}

TEST(MetricDefinitions, SamplerDeliversWhatItsSpoolsHold)
{
    const MetricDefinitions delivered = MetricDefinitions::ofSampler();
    EXPECT_NE(delivered.getMetricById(METRIC_RSS), nullptr);
    EXPECT_NE(delivered.getMetricById(METRIC_NVIDIA_POWER), nullptr);
    EXPECT_EQ(delivered.getMetricById(METRIC_BUDGETED_POWER), nullptr);
}

TEST(MetricDefinitions, MetricThatNobodyKnowsIsNamedAfterItsId)
{
    const Metric metric = MetricDefinitions::describe("site.fans");
    EXPECT_EQ(metric.displayName, "site.fans");
    EXPECT_EQ(metric.kind, Metric::Gauge);
}

class WriteViaPortal : public ::testing::Test {
protected:
    QString path(const QString &name) const { return mFolder.filePath(name); }
    static QByteArray contents(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }

    QTemporaryDir mFolder;
};

TEST_F(WriteViaPortal, WritesAndReplacesAFileAndLeavesNothingElse)
{
    EXPECT_TRUE(ProfilerData::writeViaPortal(path("a.txt"), "one"));
    EXPECT_TRUE(ProfilerData::writeViaPortal(path("a.txt"), "two"));
    EXPECT_EQ(contents(path("a.txt")), "two");
    EXPECT_EQ(
        QDir(mFolder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
}

TEST_F(WriteViaPortal, FailsWithoutTheFolderAndOnAFolder)
{
    EXPECT_FALSE(ProfilerData::writeViaPortal(path("missing/a.txt"), "one"));
    EXPECT_FALSE(ProfilerData::writeViaPortal(mFolder.path(), "one"));
}

TEST_F(WriteViaPortal, WritesToADeviceDirectly)
{
    EXPECT_TRUE(ProfilerData::writeViaPortal("/dev/null", "one"));
    EXPECT_FALSE(ProfilerData::writeViaPortal("/dev/full", "one"));
}

TEST_F(WriteViaPortal, ReplacesWhatALinkPointsTo)
{
    ASSERT_TRUE(ProfilerData::writeViaPortal(path("real.txt"), "one"));
    ASSERT_TRUE(QFile::link(path("real.txt"), path("link.txt")));
    EXPECT_TRUE(ProfilerData::writeViaPortal(path("link.txt"), "two"));
    EXPECT_EQ(contents(path("real.txt")), "two");
    EXPECT_FALSE(QFile(path("link.txt")).symLinkTarget().isEmpty());
}

} // namespace
