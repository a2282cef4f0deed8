#include "profile/spoolmerger.h"

#include "profile/profilerdata.h"
#include "profile/spoolmetrics.h"
#include "profile/spoolreader.h"
#include "profile/spooltimeline.h"

#include <QCoreApplication>
#include <QDir>
#include <QSet>

#include <algorithm>
#include <set>
#include <tuple>

using fern::spool::Bin;

namespace {

class Remarks {
    Q_DECLARE_TR_FUNCTIONS(SpoolMerger)

public:
    explicit Remarks(QStringList *remarks)
        : mRemarks(remarks)
    {
    }

    void skipped(const QString &path, const QString &reason)
    {
        add(tr("skipped '%1': %2").arg(QFileInfo(path).fileName(), reason));
    }
    void threadsMissed(const SpoolProcess &process)
    {
        add(tr("%1 thread(s) of process %2 on %3 are not in the profile, because it had too many")
                .arg(QString::number(process.threadsMissed), QString::number(process.pid), process.hostname));
    }
    void ranksMissing(int found, int expected)
    {
        add(tr("only %1 of %2 ranks left a profile").arg(found).arg(expected));
    }

private:
    void add(const QString &remark)
    {
        if (mRemarks) {
            mRemarks->append(remark);
        }
    }

    QStringList *mRemarks;
};

QVector<SpoolProcess> readProcesses(const QString &folder, Remarks &remarks)
{
    QVector<SpoolProcess> processes;
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QFileInfo &file : files) {
        SpoolProcess process;
        QString reason;
        if (SpoolReader::readProcess(file.filePath(), &process, &reason)) {
            processes.append(process);
        } else {
            remarks.skipped(file.filePath(), reason);
        }
    }
    return processes;
}

template <typename Predicate>
QVector<SpoolProcess> those(const QVector<SpoolProcess> &processes, Predicate predicate)
{
    QVector<SpoolProcess> chosen;
    std::copy_if(processes.begin(), processes.end(), std::back_inserter(chosen), predicate);
    return chosen;
}

QVector<SpoolProcess> chooseJob(const QVector<SpoolProcess> &processes)
{
    using namespace fern::spool;
    const auto isRank = [](const SpoolProcess &process) { return process.is(FlagMpi); };
    const auto isProgram
        = [](const SpoolProcess &process) { return !process.is(FlagLauncher) && !process.is(FlagExec); };
    const auto isLast = [](const SpoolProcess &process) { return !process.is(FlagExec); };

    QVector<SpoolProcess> job = those(processes, isRank);
    if (job.isEmpty()) {
        job = those(processes, isProgram);
    }
    if (job.isEmpty()) {
        job = those(processes, isLast);
    }
    return job.isEmpty() ? processes : job;
}

HitCounts hitsOf(const Bin &bin)
{
    HitCounts hits;
    for (int i = 0; i < Category::Count; ++i) {
        hits.of[i].main = bin.mainHits[i];
        hits.of[i].mainActive = bin.mainActiveHits[i];
        hits.of[i].other = bin.otherHits[i];
        hits.of[i].otherActive = bin.otherActiveHits[i];
        hits.of[i].mainAlone = bin.mainAloneHits[i];
    }
    return hits;
}

// "0-3,7" of 0, 1, 2, 3 and 7.
QString rangesOf(const std::set<int> &numbers)
{
    QStringList ranges;
    for (auto i = numbers.begin(); i != numbers.end();) {
        const int first = *i;
        int last = first;
        while (++i != numbers.end() && *i == last + 1) {
            ++last;
        }
        ranges.append(first == last ? QString::number(first) : QStringLiteral("%1-%2").arg(first).arg(last));
    }
    return ranges.join(QLatin1Char(','));
}

QString profiledRanks(const QVector<SpoolProcess> &job, Remarks &remarks)
{
    std::set<int> ranks;
    int size = 0;
    for (const SpoolProcess &process : job) {
        if (process.is(fern::spool::FlagMpi)) {
            ranks.insert(process.mpiRank);
            size = std::max(size, process.mpiSize);
        }
    }
    if (static_cast<int>(ranks.size()) >= size) {
        return QStringLiteral("All");
    }
    remarks.ranksMissing(static_cast<int>(ranks.size()), size);
    return rangesOf(ranks);
}

// Processes can be given different values; those that have none are left out unless none has any.
QString ompNumThreads(const QVector<SpoolProcess> &job)
{
    std::set<int> counts;
    for (const SpoolProcess &process : job) {
        if (process.ompNumThreads > 0) {
            counts.insert(process.ompNumThreads);
        }
    }
    if (counts.empty()) {
        return QStringLiteral("unset");
    }
    const int least = *counts.begin();
    const int most = *counts.rbegin();
    return least == most ? QString::number(least) : QStringLiteral("%1-%2").arg(least).arg(most);
}

ProfileFacts factsOf(const QVector<SpoolProcess> &job, const SpoolTimeline &timeline, Remarks &remarks)
{
    const auto earlier = [](const SpoolProcess &a, const SpoolProcess &b) {
        return std::tie(a.mpiRank, a.beginNs, a.pid) < std::tie(b.mpiRank, b.beginNs, b.pid);
    };
    const SpoolProcess &first = *std::min_element(job.begin(), job.end(), earlier);
    QSet<QString> hostnames;
    for (const SpoolProcess &process : job) {
        hostnames.insert(process.hostname);
    }
    ProfileFacts facts;
    facts.target = first.executable;
    facts.hostname = first.hostname;
    facts.startTime = QDateTime::fromMSecsSinceEpoch(timeline.beginNs() / 1000000);
    facts.processes = job.size();
    facts.nodes = hostnames.size();
    facts.profiledRanks = profiledRanks(job, remarks);
    facts.ompNumThreads = ompNumThreads(job);
    return facts;
}

} // namespace

bool mergeSpools(const QString &folder, ProfilerData *profile, QStringList *remarkTexts)
{
    Remarks remarks(remarkTexts);
    QVector<SpoolProcess> job = chooseJob(readProcesses(folder, remarks));
    // Node by node, for SpoolMetrics; the rest of the order makes the result the same every time.
    std::sort(job.begin(), job.end(), [](const SpoolProcess &a, const SpoolProcess &b) {
        return std::tie(a.hostname, a.mpiRank, a.path) < std::tie(b.hostname, b.mpiRank, b.path);
    });
    if (job.isEmpty()) {
        return false;
    }

    const SpoolTimeline timeline(job);
    SpoolMetrics metrics(timeline);
    QVector<HitCounts> hits(timeline.numSamples());
    QVector<SpoolProcess> merged;
    for (const SpoolProcess &process : job) {
        QVector<Bin> bins;
        QString reason;
        if (!SpoolReader::readBins(process, &bins, &reason)) {
            remarks.skipped(process.path, reason);
            continue;
        }
        for (int bin = 0; bin < bins.size(); ++bin) {
            hits[timeline.sampleOf(process, bin)] += hitsOf(bins[bin]);
        }
        metrics.addProcess(process, bins);
        if (process.threadsMissed > 0) {
            remarks.threadsMissed(process);
        }
        merged.append(process);
    }
    if (merged.isEmpty()) {
        return false;
    }
    profile->setFacts(factsOf(merged, timeline, remarks));
    profile->setSamples(hits, timeline.timesMs());
    metrics.store(profile);
    return true;
}
