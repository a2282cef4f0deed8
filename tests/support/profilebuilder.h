#ifndef TESTS_SUPPORT_PROFILEBUILDER_H
#define TESTS_SUPPORT_PROFILEBUILDER_H

#include "profile/profilerdata.h"

#include <utility>

// Writes a profile down in a few lines:
//
//   const ProfilerData data = ProfileBuilder(10, 100) // 10 samples of 100 ms
//       .processes(4).nodes(2).cores(8, 4) // of each node: logical, physical
//       .main(Category::COMPUTE, 60) // hits in every sample, active ones
//       .main(Category::MPI_P2P, 40)
//       .series(METRIC_RSS, {1e9, 2e9}) // the last value stays to the end
//       .wholeRun(METRIC_CHARS_READ, {1e6, 1e6, 3e6, 3e6}) // a reading for each process
//       .error(METRIC_RAPL_POWER, "Not supported on this system.")
//       .build();
class ProfileBuilder {
public:
    explicit ProfileBuilder(int samples = 10, int sampleMs = 100)
        : mHits(samples)
    {
        if (samples > 0) {
            for (int i = 0; i <= samples; ++i) {
                mTimes.append(i * sampleMs);
            }
        }
        mFacts.target = QStringLiteral("/opt/code.example/bin/prog");
        mFacts.commandLine = QStringLiteral("mpirun -n 2 prog");
        mFacts.hostname = QStringLiteral("node1.example");
        mFacts.startTime = QDateTime(QDate(2026, 3, 6), QTime(14, 5, 9));
        mFacts.processes = 2;
        mFacts.nodes = 1;
        mFacts.profiledRanks = QStringLiteral("All");
        mFacts.ompNumThreads = QStringLiteral("1");
    }

    // Facts

    ProfileBuilder &processes(int count) { return mFacts.processes = count, *this; }
    ProfileBuilder &nodes(int count) { return mFacts.nodes = count, *this; }
    ProfileBuilder &target(const QString &path) { return mFacts.target = path, *this; }
    ProfileBuilder &notes(const QString &text) { return mFacts.notes = text, *this; }
    ProfileBuilder &facts(const ProfileFacts &facts) { return mFacts = facts, *this; }
    // When the last sample ends, in milliseconds.
    ProfileBuilder &endMs(int ms) { return mTimes.last() = ms, *this; }
    // Cores of every node; call it after nodes().
    ProfileBuilder &cores(int logical, int physical)
    {
        const QVector<double> ofNodes(mFacts.nodes, logical);
        wholeRun(METRIC_NUM_CORES_PER_NODE, ofNodes);
        return wholeRun(METRIC_NUM_PHYSICAL_CORES_PER_NODE, QVector<double>(mFacts.nodes, physical));
    }

    // Hits, summed over the processes. Without a sample they are added to every one. Hits are active ones
    // unless it is said how many are.

    ProfileBuilder &main(Category::Enum category, qint64 hits) { return main(category, hits, hits); }
    ProfileBuilder &main(Category::Enum category, qint64 hits, qint64 active)
    {
        return forAll([&](int sample) { mainAt(sample, category, hits, active); });
    }
    ProfileBuilder &mainAt(int sample, Category::Enum category, qint64 hits)
    {
        return mainAt(sample, category, hits, hits);
    }
    ProfileBuilder &mainAt(int sample, Category::Enum category, qint64 hits, qint64 active)
    {
        mHits[sample].of[category].main += hits;
        mHits[sample].of[category].mainActive += active;
        return *this;
    }
    ProfileBuilder &others(Category::Enum category, qint64 hits) { return others(category, hits, hits); }
    ProfileBuilder &others(Category::Enum category, qint64 hits, qint64 active)
    {
        return forAll([&](int sample) { othersAt(sample, category, hits, active); });
    }
    ProfileBuilder &othersAt(int sample, Category::Enum category, qint64 hits, qint64 active)
    {
        mHits[sample].of[category].other += hits;
        mHits[sample].of[category].otherActive += active;
        return *this;
    }
    // Of the main threads' hits, those while no other thread of the process was active.
    ProfileBuilder &alone(Category::Enum category, qint64 hits)
    {
        return forAll([&](int sample) { mHits[sample].of[category].mainAlone += hits; });
    }

    // Metrics

    // One reading in each sample; the last value stays to the end.
    ProfileBuilder &series(const QString &id, const QVector<double> &values)
    {
        QVector<QVector<double>> readings;
        for (double value : values) {
            readings.append(QVector<double>{value});
        }
        return readingsBySample(id, readings);
    }
    // The readings of processes or nodes in each sample; an empty list is a sample without any, and the
    // last list stays to the end.
    ProfileBuilder &readingsBySample(const QString &id, const QVector<QVector<double>> &readings)
    {
        MetricRecord &metric = record(id);
        metric.series.clear();
        forAll([&](int sample) {
            metric.series.append(statistics(readings.value(qMin(sample, readings.size() - 1))));
        });
        return *this;
    }
    // The readings of processes or nodes over the whole run.
    ProfileBuilder &wholeRun(const QString &id, const QVector<double> &readings)
    {
        record(id).wholeRun = statistics(readings);
        return *this;
    }
    ProfileBuilder &error(const QString &id, const QString &text)
    {
        record(id).errors.append(text);
        return *this;
    }
    // Sets the figures that averageActiveCoresPerProcess() and maxAvgActiveCoresPerProc() give.
    ProfileBuilder &activeCores(double average, double highest)
    {
        return wholeRun(METRIC_ACTIVE_CORES, {average}).series(METRIC_ACTIVE_CORES, {highest});
    }

    ProfilerData build() const
    {
        ProfilerData profile;
        fill(profile);
        return profile;
    }

    // Fills a profile of a class of the test's own.
    void fill(ProfilerData &profile) const
    {
        profile.setFacts(mFacts);
        profile.setSamples(mHits, mTimes);
        for (const MetricRecord &metric : mMetrics) {
            profile.setMetric(metric);
        }
    }

private:
    template <typename Action> ProfileBuilder &forAll(Action action)
    {
        for (int sample = 0; sample < mHits.size(); ++sample) {
            action(sample);
        }
        return *this;
    }

    MetricRecord &record(const QString &id)
    {
        MetricRecord &metric = mMetrics[id];
        metric.definition = MetricDefinitions::describe(id);
        return metric;
    }

    static MetricStatistics statistics(const QVector<double> &readings)
    {
        StatisticsCollector collector;
        for (double reading : readings) {
            collector.add(reading);
        }
        return collector.statistics();
    }

    ProfileFacts mFacts;
    QVector<HitCounts> mHits;
    QVector<int> mTimes;
    QMap<QString, MetricRecord> mMetrics;
};

#endif
