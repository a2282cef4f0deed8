// scale-profile RANKS FILE.fern: the profile of a job of that many ranks, 64 to a node, by simulation. Each
// rank has its own way through 1,000 samples, and a reading of its own of every metric that the sampler
// delivers.

#include "profile/fernfile.h"
#include "profile/metricstatistics.h"
#include "profile/profilerdata.h"

#include <QTextStream>

#include <random>

namespace {

constexpr int Samples = ProfilerData::MaxSamples;
constexpr int SampleMs = 640;
constexpr int RanksPerNode = 64;
constexpr qint64 HitsPerSample = SampleMs * 10; // a thread's time in a sample, in tenths of a millisecond

struct Simulated {
    Metric metric;
    StatisticsCollector wholeRun;
    QVector<StatisticsCollector> series;
};

// How a rank's time divides in one sample; what it doesn't use for anything else is computation.
void addHits(std::minstd_rand &dice, HitCounts *hits)
{
    constexpr Category::Enum Others[] = {Category::MPI_COLLECTIVE, Category::MPI_P2P, Category::IO_WRITE};
    qint64 left = HitsPerSample;
    const auto add = [hits](Category::Enum category, qint64 time) {
        hits->of[category].main += time;
        hits->of[category].mainActive += time;
        hits->of[category].mainAlone += time;
    };
    for (const Category::Enum category : Others) {
        const qint64 time = static_cast<qint64>(dice()) % (HitsPerSample / 4);
        add(category, time);
        left -= time;
    }
    add(Category::COMPUTE, left);
}

ProfilerData simulate(int ranks)
{
    QVector<Simulated> metrics;
    const auto all = MetricDefinitions::ofSampler().getAllMetrics();
    for (const Metric &metric : all) {
        const bool changes = metric.kind != Metric::Static;
        metrics.append({metric, {}, QVector<StatisticsCollector>(changes ? Samples : 0)});
    }
    QVector<HitCounts> hits(Samples);
    for (int rank = 0; rank < ranks; ++rank) {
        std::minstd_rand dice(static_cast<unsigned>(rank) + 1);
        for (HitCounts &ofSample : hits)
            addHits(dice, &ofSample);
        for (Simulated &simulated : metrics) {
            if (simulated.metric.scope == Metric::PerNode && rank % RanksPerNode != 0)
                continue;
            const double level = 10.0 + dice() % 90;
            simulated.wholeRun.add(level);
            for (StatisticsCollector &ofSample : simulated.series)
                ofSample.add(level + dice() % 1000 / 1000.0);
        }
    }

    ProfilerData profile;
    ProfileFacts facts;
    facts.target = QStringLiteral("/opt/code.example/bin/prog");
    facts.commandLine = QStringLiteral("mpirun -n %1 prog").arg(ranks);
    facts.hostname = QStringLiteral("node1.example");
    facts.startTime = QDateTime(QDate(2026, 3, 6), QTime(14, 5, 9));
    facts.processes = ranks;
    facts.nodes = (ranks + RanksPerNode - 1) / RanksPerNode;
    facts.profiledRanks = QStringLiteral("All");
    facts.ompNumThreads = QStringLiteral("1");
    profile.setFacts(facts);
    QVector<int> times;
    for (int i = 0; i <= Samples; ++i)
        times.append(i * SampleMs);
    profile.setSamples(hits, times);
    for (const Simulated &simulated : metrics) {
        MetricRecord record;
        record.definition = simulated.metric;
        record.wholeRun = simulated.wholeRun.statistics();
        for (const StatisticsCollector &ofSample : simulated.series)
            record.series.append(ofSample.statistics());
        profile.setMetric(record);
    }
    return profile;
}

} // namespace

int main(int count, char **arguments)
{
    const int ranks = count == 3 ? QByteArray(arguments[1]).toInt() : 0;
    QTextStream errors(stderr);
    if (ranks < 1) {
        errors << "usage: scale-profile RANKS FILE.fern" << Qt::endl;
        return 2;
    }
    QString error;
    if (!FernFile::write(simulate(ranks), QString::fromLocal8Bit(arguments[2]), &error)) {
        errors << error << Qt::endl;
        return 1;
    }
    return 0;
}
