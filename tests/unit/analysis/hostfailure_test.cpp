// What the host throws passes through, and nothing that it handed out is left behind.

#include "analysistest.h"

#include "activitypower.h"
#include "computeperformancedata.h"
#include "profilebuilder.h"
#include "quillonreport.h"

#include "api/quillon-report.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

using namespace quillon::report;

namespace {

class HostFailure : public AnalysisTest { };

// What a profile has handed out, and when it is to fail.
struct Books {
    int models = 0; // alive
    int mostModels = 0;
    int mergedModels = 0; // ever made
    int calls = 0;
    int failingCall = -1;

    void call()
    {
        if (calls++ == failingCall)
            throw std::runtime_error("the profile is gone");
    }
    void modelMade() { mostModels = std::max(mostModels, ++models); }
};

class CountedMerged : public MultiSamplePSVModelRootItem {
public:
    CountedMerged(const HitCounts &hits, Books &books)
        : MultiSamplePSVModelRootItem(hits)
        , mBooks(books)
    {
        ++mBooks.mergedModels;
        mBooks.modelMade();
    }
    ~CountedMerged() override { --mBooks.models; }
    qint64 maxHits(DataScope::Enum scope) const override
    {
        mBooks.call();
        return MultiSamplePSVModelRootItem::maxHits(scope);
    }

private:
    Books &mBooks;
};

class CountedMetric : public MetricModel {
public:
    CountedMetric(const QVector<MetricStatistics> &series, Books &books)
        : MetricModel(series, 0, series.size() - 1)
        , mBooks(books)
    {
        ++mBooks.models;
    }
    ~CountedMetric() override { --mBooks.models; }
    int rowCount(const QModelIndex &parent) const override
    {
        mBooks.call();
        return MetricModel::rowCount(parent);
    }

private:
    Books &mBooks;
};

class CountedProfile : public ProfilerData {
public:
    explicit CountedProfile(Books &books)
        : mBooks(books)
    {
    }

    MultiSamplePSVModelRootItem *mergedPSVModelWithoutSourceInfo(
        DataScope::Enum, int first, int last) const override
    {
        mBooks.call();
        HitCounts hits;
        for (int i = std::max(first, 0); i <= (last < 0 ? numSamples() - 1 : last); ++i)
            hits += hitsOfSample(i);
        return new CountedMerged(hits, mBooks);
    }
    MetricModel *metricModel(const QString &id, QObject *, int, int) const override
    {
        mBooks.call();
        if (!metricRecords().contains(id))
            return nullptr;
        return new CountedMetric(metricRecords().value(id).series, mBooks);
    }
    ScalarMetric getMetricOrEmpty(const QString &id) const override
    {
        mBooks.call();
        return ProfilerData::getMetricOrEmpty(id);
    }
    ScalarMetric metric(const QString &id) const override
    {
        mBooks.call();
        return ProfilerData::metric(id);
    }

private:
    Books &mBooks;
};

ProfileBuilder job()
{
    return ProfileBuilder(3, 100)
        .cores(8, 4)
        .main(Category::COMPUTE, 50)
        .main(Category::MPI_P2P, 50)
        .series(METRIC_RSS, {1e9})
        .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1})
        .wholeRun(METRIC_BUDGETED_POWER, {300})
        .series(METRIC_RAPL_POWER, {100})
        .series(METRIC_RAPL_ENERGY, {10, 20, 30});
}

// Lets each call of the host fail in turn, until one run gets through.
template <typename Action> void failAtEachCall(Action action)
{
    for (int failingCall = 0;; ++failingCall) {
        Books books;
        books.failingCall = failingCall;
        CountedProfile profile(books);
        job().fill(profile);
        bool failed = false;
        try {
            action(profile);
        } catch (const std::runtime_error &error) {
            failed = true;
            EXPECT_STREQ(error.what(), "the profile is gone");
        }
        EXPECT_EQ(books.models, 0) << "call " << failingCall;
        if (!failed) {
            EXPECT_GT(failingCall, 50);
            return;
        }
    }
}

TEST_F(HostFailure, WhileFiguresAreComputedLeavesNoModelBehind)
{
    failAtEachCall([](const ProfilerData &profile) { computePerformanceData(profile); });
}

TEST_F(HostFailure, WhileAReportIsFilledLeavesNoModelBehindWhateverItsType)
{
    for (const char *type : {"default", "trapped", "perfcpumetrics", "any"}) {
        SCOPED_TRACE(type);
        failAtEachCall([type](const ProfilerData &profile) {
            const std::unique_ptr<quillon_report> report(
                convertToReport(profile, ReportDefinition(), QString::fromLatin1(type), nullptr));
        });
    }
}

TEST_F(HostFailure, IsNotHelpedByKeepingModelsOfSamples)
{
    Books books;
    CountedProfile profile(books);
    job().readingsBySample(METRIC_RAPL_POWER, {{100}, {}, {NotAvailable}}).fill(profile);
    computePerformanceData(profile);
    EXPECT_EQ(books.models, 0);
    // That of the run, and for each of the four activities that of the one sample with a value.
    EXPECT_EQ(books.mergedModels, 1 + 4 * 1);
}

TEST_F(HostFailure, FindsOnlyOneModelOfASampleAlive)
{
    Books books;
    CountedProfile profile(books);
    job().fill(profile);
    computePerformanceData(profile);
    EXPECT_EQ(books.mergedModels, 1 + 4 * 3);
    EXPECT_LE(books.mostModels, 3); // of the run, of the power metric, of a sample
}

} // namespace
