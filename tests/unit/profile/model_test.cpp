// The models that a profile hands out, against figures worked out by hand.

#include "profilebuilder.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

using Root = std::unique_ptr<MultiSamplePSVModelRootItem>;

// Two samples. In each: 100 main-thread hits (40 compute, 10 collective, 20 point-to-point, 5 other MPI,
// 6 read, 4 write, 3 other I/O, 7 and 5 MPI-IO), and 60 of other threads.
ProfilerData mixedProfile()
{
    return ProfileBuilder(2, 100)
        .main(Category::COMPUTE, 40, 30)
        .main(Category::MPI_COLLECTIVE, 10, 9)
        .main(Category::MPI_P2P, 20, 8)
        .main(Category::MPI_OTHER, 5)
        .main(Category::IO_READ, 6, 0)
        .main(Category::IO_WRITE, 4, 1)
        .main(Category::IO_OTHER, 3)
        .main(Category::MPI_IO_READ, 7)
        .main(Category::MPI_IO_WRITE, 5, 2)
        .others(Category::PTHREAD_COMPUTE, 50, 45)
        .others(Category::IO_READ, 10, 4)
        .alone(Category::COMPUTE, 12)
        .alone(Category::MPI_P2P, 10)
        .alone(Category::IO_READ, 2)
        .build();
}

Root wholeRun(const ProfilerData &profile)
{
    return Root(profile.mergedPSVModelWithoutSourceInfo(DataScope::ALL_CORES, -1, -1));
}

TEST(Category, GroupsHoldTheirMembersInTheOrderOfTheirNumbers)
{
    EXPECT_EQ(Category::groupMembers(CategoryGroup::MPI),
        (QVector<Category::Enum>{Category::MPI_COLLECTIVE, Category::MPI_P2P, Category::MPI_OTHER}));
    EXPECT_EQ(Category::groupMembers(CategoryGroup::IO),
        (QVector<Category::Enum>{Category::IO_READ, Category::IO_WRITE, Category::IO_OTHER,
            Category::MPI_IO_READ, Category::MPI_IO_WRITE}));
}

TEST(Category, EveryCategoryIsInOneGroupAndHasAName)
{
    QVector<Category::Enum> all = Category::groupMembers(CategoryGroup::COMPUTE)
        + Category::groupMembers(CategoryGroup::MPI) + Category::groupMembers(CategoryGroup::IO);
    EXPECT_EQ(all.size(), 17);
    for (int number = 0; number < Category::Count; ++number) {
        const auto category = static_cast<Category::Enum>(number);
        EXPECT_EQ(all.count(category), Category::name(category).isNull() ? 0 : 1) << number;
    }
}

TEST(Category, NumbersAndScopesAreThoseThatFilesKeep)
{
    EXPECT_EQ(Category::OMP, 7);
    EXPECT_EQ(Category::ACCELERATOR, 8);
    EXPECT_EQ(Category::PTHREAD_COMPUTE, 9);
    EXPECT_EQ(Category::OMP_RUNTIME_OUT_OF_REGION, 10);
    EXPECT_EQ(Category::OMP_RUNTIME_IN_REGION, 11);
    EXPECT_EQ(Category::PTHREAD_SYNC, 12);
    EXPECT_EQ(Category::OMP_MONITOR, 19);
    EXPECT_EQ(CategoryGroup::MPI, 1);
    EXPECT_EQ(CategoryGroup::IO, 2);
    EXPECT_EQ(DataScope::ALL_CORES, 0);
    EXPECT_EQ(DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI, 1);
    EXPECT_EQ(DataScope::MAIN_THREAD, 2);
}

TEST(SampleModel, MainThreadScopeCountsMainThreadsAlone)
{
    const Root model = wholeRun(mixedProfile());
    ASSERT_TRUE(model);
    EXPECT_EQ(model->maxHits(DataScope::MAIN_THREAD), 200);
    EXPECT_EQ(model->getTotalMpiHits(DataScope::MAIN_THREAD), 70);
    EXPECT_EQ(model->getMpiCollectiveHits(DataScope::MAIN_THREAD), 20);
    EXPECT_EQ(model->getMpiP2pHits(DataScope::MAIN_THREAD), 40);
    EXPECT_EQ(model->getIOHits(DataScope::MAIN_THREAD), 50);
    EXPECT_EQ(model->getIOReadHits(DataScope::MAIN_THREAD), 26);
    EXPECT_EQ(model->getIOWriteHits(DataScope::MAIN_THREAD), 18);
    EXPECT_EQ(model->getTotalHitsFrom(DataScope::MAIN_THREAD, Category::PTHREAD_COMPUTE), 0);
}

TEST(SampleModel, AllCoresScopeAddsTheOtherThreads)
{
    const Root model = wholeRun(mixedProfile());
    EXPECT_EQ(model->getIOReadHits(DataScope::ALL_CORES), 46);
    EXPECT_EQ(model->getTotalHitsFrom(DataScope::ALL_CORES, Category::PTHREAD_COMPUTE), 100);
    EXPECT_EQ(model->getTotalHitsFrom(DataScope::ALL_CORES, Category::COMPUTE), 80);
}

TEST(SampleModel, CoresOfAProcessScaleWhatStandsForAllCores)
{
    const Root model = wholeRun(mixedProfile());
    EXPECT_EQ(model->maxHits(DataScope::ALL_CORES), 200);
    model->setCoresPerProcess(4);
    EXPECT_EQ(model->maxHits(DataScope::ALL_CORES), 800);
    EXPECT_EQ(model->maxHits(DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI), 800);
    EXPECT_EQ(model->maxHits(DataScope::MAIN_THREAD), 200);
    model->setCoresPerProcess(0);
    EXPECT_EQ(model->maxHits(DataScope::ALL_CORES), 0);
}

TEST(SampleModel, StretchingCountsALonelyMainThreadForAllItsCores)
{
    const Root model = wholeRun(mixedProfile());
    model->setCoresPerProcess(4);
    const auto scope = DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI;
    EXPECT_EQ(model->getTotalHitsFrom(scope, Category::COMPUTE), 80 + 3 * 24);
    EXPECT_EQ(model->getMpiP2pHits(scope), 40 + 3 * 20);
    EXPECT_EQ(model->getMpiCollectiveHits(scope), 20);
    EXPECT_EQ(model->getTotalHitsFrom(scope, Category::IO_READ), 32) << "I/O doesn't stretch";
    EXPECT_EQ(model->getTotalHitsFrom(DataScope::ALL_CORES, Category::COMPUTE), 80);
}

TEST(SampleModel, ActiveHitsAreThoseThatUsedCpuTime)
{
    const Root model = wholeRun(mixedProfile());
    EXPECT_EQ(model->getActiveHits(DataScope::MAIN_THREAD, Category::IO_WRITE), 2);
    EXPECT_EQ(model->getActiveHits(DataScope::ALL_CORES, Category::IO_READ), 8);
    EXPECT_EQ(model->getActiveSelfHits(DataScope::ALL_CORES), 60);
    // 9 + 8 + 5 in MPI, 0 + 1 + 3 + 7 + 2 in I/O, 45 + 4 of the other threads; twice.
    EXPECT_EQ(model->getActiveChildHits(DataScope::ALL_CORES), 2 * 84);
}

TEST(SampleModel, StretchedActiveHitsStretchNoMoreThanWasActive)
{
    const Root model = wholeRun(mixedProfile());
    model->setCoresPerProcess(4);
    const auto scope = DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI;
    EXPECT_EQ(model->getActiveHits(scope, Category::COMPUTE), 60 + 3 * 24);
    EXPECT_EQ(model->getActiveHits(scope, Category::MPI_P2P), 16 + 3 * 16) << "20 alone, 16 of them active";
}

TEST(SampleModel, RangeHoldsTheHitsOfItsSamplesOnly)
{
    ProfileBuilder builder(1000, 10);
    for (int sample = 0; sample < 1000; ++sample) {
        builder.mainAt(sample, Category::COMPUTE, sample);
    }
    const ProfilerData profile = builder.build();
    const auto hits = [&](int first, int last) {
        const Root model(profile.mergedPSVModelWithoutSourceInfo(DataScope::ALL_CORES, first, last));
        return model->getTotalHitsFrom(DataScope::MAIN_THREAD, Category::COMPUTE);
    };
    EXPECT_EQ(hits(0, 0), 0);
    EXPECT_EQ(hits(999, 999), 999);
    EXPECT_EQ(hits(10, 12), 33);
    EXPECT_EQ(hits(0, 999), 499500);
    EXPECT_EQ(hits(-1, -1), 499500);
    EXPECT_EQ(profile.hitsOfSample(500).of[Category::COMPUTE].main, 500);
}

TEST(SampleModel, SumsGoBeyond32Bits)
{
    ProfileBuilder builder(1000, 10);
    builder.main(Category::COMPUTE, qint64(1) << 40);
    const Root model = wholeRun(builder.build());
    EXPECT_EQ(model->maxHits(DataScope::MAIN_THREAD), 1000 * (qint64(1) << 40));
    model->setCoresPerProcess(std::numeric_limits<int>::max());
    EXPECT_EQ(model->maxHits(DataScope::ALL_CORES), std::numeric_limits<qint64>::max())
        << "held, not wrapped";
}

TEST(SampleModel, ThereIsNoneWithoutSamplesOrOutsideThem)
{
    const ProfilerData empty = ProfileBuilder(0).build();
    EXPECT_FALSE(wholeRun(empty));
    const ProfilerData profile = mixedProfile();
    for (const auto &range :
        {std::pair(0, 2), std::pair(-1, 0), std::pair(1, 0), std::pair(2, 2), std::pair(-2, -1)}) {
        const Root model(
            profile.mergedPSVModelWithoutSourceInfo(DataScope::ALL_CORES, range.first, range.second));
        EXPECT_FALSE(model) << range.first << " to " << range.second;
    }
}

TEST(Statistics, OfProcessesFollowTheirDefinitions)
{
    StatisticsCollector collector;
    for (double reading : {2.0, 4.0, 4.0, 4.0, 5.0, 5.0, 7.0, 9.0}) {
        collector.add(reading);
    }
    const MetricStatistics statistics = collector.statistics();
    EXPECT_EQ(statistics.count, 8);
    EXPECT_EQ(statistics.minimum, 2);
    EXPECT_EQ(statistics.maximum, 9);
    EXPECT_EQ(statistics.mean, 5);
    EXPECT_EQ(statistics.sum, 40);
    EXPECT_EQ(statistics.standardDeviation, 2) << "of the population, not of a sample of it";
}

TEST(Statistics, SumIsExactWhereAPlainSumWouldLoseSmallReadings)
{
    StatisticsCollector collector;
    for (double reading : {1e16, 1.0, 1.0, -1e16}) {
        collector.add(reading);
    }
    EXPECT_EQ(collector.statistics().sum, 2);
}

TEST(Statistics, DeviationOfEqualLargeReadingsIsZero)
{
    StatisticsCollector collector;
    for (int i = 0; i < 1000; ++i) {
        collector.add(68719476736.3);
    }
    EXPECT_EQ(collector.statistics().standardDeviation, 0);
}

TEST(SampleValue, EmptyIsNotANumberAndConvertsToNothing)
{
    const SampleValue empty;
    EXPECT_TRUE(empty.empty());
    EXPECT_TRUE(std::isnan(empty.to_double()));
    EXPECT_EQ(empty.to_int(), 0);
    EXPECT_EQ(empty.to_int64_t(), 0);
    EXPECT_EQ(empty.to_uint64_t(), 0u);
    EXPECT_FALSE(empty > -1);
    EXPECT_FALSE(SampleValue(NaN).empty()) << "a reading that isn't a number is a reading";
    EXPECT_FALSE(SampleValue(NaN) > 0);
}

TEST(SampleValue, ConversionsCutTheFractionAndHoldTheRange)
{
    EXPECT_EQ(SampleValue(2.99).to_int(), 2);
    EXPECT_EQ(SampleValue(-2.99).to_int64_t(), -2);
    EXPECT_EQ(SampleValue(3e9).to_int(), std::numeric_limits<int>::max());
    EXPECT_EQ(SampleValue(-Infinity).to_int(), std::numeric_limits<int>::min());
    EXPECT_EQ(SampleValue(1e19).to_int64_t(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(SampleValue(1e19).to_uint64_t(), 10000000000000000000u);
    EXPECT_EQ(SampleValue(-1).to_uint64_t(), 0u);
    EXPECT_TRUE(SampleValue(0.5) > 0.25);
    EXPECT_FALSE(SampleValue(0.25) > 0.25);
}

// Three samples: 1 and 3, nothing, 10.
ProfilerData memoryProfile()
{
    return ProfileBuilder(3, 100).readingsBySample(METRIC_RSS, {{1, 3}, {}, {10}}).build();
}

TEST(MetricModel, FiguresLeaveOutSamplesWithoutReadings)
{
    const ProfilerData profile = memoryProfile();
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, -1, -1));
    ASSERT_TRUE(model);
    EXPECT_EQ(model->rowCount(), 3);
    EXPECT_EQ(model->mean().to_double(), 6) << "of the samples' means 2 and 10, not of all readings";
    EXPECT_EQ(model->exactSumMean().to_double(), 7);
    EXPECT_EQ(model->overallMax().to_double(), 10);
    EXPECT_EQ(model->maxOfTheSum().to_double(), 10);
}

TEST(MetricModel, OverallMaximumIsOfAReadingAndMaximumOfTheSumOfASample)
{
    const ProfilerData profile = ProfileBuilder(2, 100).readingsBySample(METRIC_RSS, {{4, 5}, {8}}).build();
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, -1, -1));
    EXPECT_EQ(model->overallMax().to_double(), 8);
    EXPECT_EQ(model->maxOfTheSum().to_double(), 9);
}

TEST(MetricModel, RangeWithoutAReadingIsEmpty)
{
    const ProfilerData profile = memoryProfile();
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, -1, -1));
    SampleValue minimum(1);
    SampleValue mean(1);
    model->dataForRange(1, 1, &minimum, nullptr, &mean);
    EXPECT_TRUE(minimum.empty());
    EXPECT_TRUE(mean.empty());
    model->dataForRange(0, 1, &minimum, nullptr, &mean);
    EXPECT_EQ(minimum.to_double(), 1);
    EXPECT_EQ(mean.to_double(), 2);
    model->dataForRange(0, 3, nullptr, nullptr, &mean);
    EXPECT_TRUE(mean.empty()) << "not a range of the model";
}

TEST(MetricModel, IsATableOfSamples)
{
    const ProfilerData profile = memoryProfile();
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, -1, -1));
    ASSERT_EQ(model->columnCount(), MetricModel::ColumnCount);
    EXPECT_EQ(model->data(model->index(0, MetricModel::MinimumColumn)).toDouble(), 1);
    EXPECT_EQ(model->data(model->index(0, MetricModel::MaximumColumn)).toDouble(), 3);
    EXPECT_EQ(model->data(model->index(0, MetricModel::MeanColumn)).toDouble(), 2);
    EXPECT_EQ(model->data(model->index(0, MetricModel::SumColumn)).toDouble(), 4);
    EXPECT_FALSE(model->data(model->index(1, MetricModel::MeanColumn)).isValid());
}

TEST(MetricModel, OfPartOfTheRunCountsFromItsOwnFirstSample)
{
    const ProfilerData profile = memoryProfile();
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, 2, 2));
    ASSERT_TRUE(model);
    EXPECT_EQ(model->rowCount(), 1);
    SampleValue mean;
    model->dataForRange(0, 0, nullptr, nullptr, &mean);
    EXPECT_EQ(mean.to_double(), 10);
}

TEST(MetricModel, HasNoRowsWhereNothingWasEverRead)
{
    const ProfilerData profile = ProfileBuilder(3, 100).readingsBySample(METRIC_RSS, {{}}).build();
    const std::unique_ptr<MetricModel> model(profile.metricModel(METRIC_RSS, nullptr, -1, -1));
    ASSERT_TRUE(model);
    EXPECT_EQ(model->rowCount(), 0);
    EXPECT_TRUE(model->mean().empty());
}

TEST(MetricModel, BelongsToItsParent)
{
    const ProfilerData profile = memoryProfile();
    QObject parent;
    MetricModel *model = profile.metricModel(METRIC_RSS, &parent, -1, -1);
    EXPECT_EQ(model->parent(), &parent);
}

TEST(MetricModel, ThereIsNoneOfAMetricWithoutSeries)
{
    const ProfilerData profile = ProfileBuilder(3, 100).wholeRun(METRIC_CHARS_READ, {1, 2}).build();
    EXPECT_EQ(profile.metricModel(METRIC_CHARS_READ, nullptr, -1, -1), nullptr);
    EXPECT_EQ(profile.metricModel(METRIC_RSS, nullptr, -1, -1), nullptr);
    EXPECT_EQ(memoryProfile().metricModel(METRIC_RSS, nullptr, 0, 3), nullptr);
}

} // namespace
