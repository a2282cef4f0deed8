#include "profile/spoolmerger.h"

#include "profile/instructionmix.h"
#include "profile/jobchoice.h"
#include "profile/profilerdata.h"
#include "profile/spoolmetrics.h"
#include "profile/spoolreader.h"
#include "profile/spooltimeline.h"

#include <QCoreApplication>
#include <QDir>
#include <QMultiHash>
#include <QSet>

#include <algorithm>
#include <functional>
#include <set>
#include <tuple>

using fern::spool::Bin;

namespace {

class Remarks {
    Q_DECLARE_TR_FUNCTIONS(SpoolMerger)

public:
    Remarks(QStringList *remarks, QStringList *warnings)
        : mRemarks(remarks)
        , mWarnings(warnings)
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
    void rival(const SpoolProcess &process)
    {
        if (mRivals.contains(process.rival)) {
            return;
        }
        mRivals.insert(process.rival);
        add(tr(
            "'%1' is preloaded before the sampler and takes %2 of its calls first: what it doesn't hand on "
            "isn't seen")
                .arg(process.rival)
                .arg(process.rivalNames));
    }
    void ranksMissing(int found, int expected)
    {
        add(tr("only %1 of %2 ranks left a profile").arg(found).arg(expected));
    }
    void leftOut(const QStringList &sentences)
    {
        for (const QString &sentence : sentences) {
            add(sentence);
        }
    }
    void noSuchRanks()
    {
        if (mWarnings) {
            mWarnings->append(tr("the job has none of the selected ranks; its profile is of all processes"));
        }
    }

private:
    void add(const QString &remark)
    {
        if (mRemarks) {
            mRemarks->append(remark);
        }
    }

    QSet<QString> mRivals; // that were told of
    QStringList *mRemarks;
    QStringList *mWarnings;
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

// Those that aren't processes of the job but read figures of a node, by the node's name.
QMultiHash<QString, SpoolProcess> takeReaders(QVector<SpoolProcess> *processes)
{
    QMultiHash<QString, SpoolProcess> readers;
    const auto isReader = [](const SpoolProcess &process) { return process.is(fern::spool::FlagReader); };
    for (const SpoolProcess &process : qAsConst(*processes)) {
        if (isReader(process))
            readers.insert(process.hostname, process);
    }
    processes->erase(std::remove_if(processes->begin(), processes->end(), isReader), processes->end());
    return readers;
}

// Adds a node's readers behind the first process there. They may still be writing: one that can't be read has
// nothing to tell.
void addReaders(const QMultiHash<QString, SpoolProcess> &readers, const QString &hostname,
    QSet<QString> *knownNodes, SpoolMetrics *metrics)
{
    if (knownNodes->contains(hostname))
        return;
    knownNodes->insert(hostname);
    for (const SpoolProcess &reader : readers.values(hostname)) {
        QVector<Bin> bins;
        QString reason;
        if (SpoolReader::readBins(reader, &bins, &reason))
            metrics->addReader(reader, bins);
    }
}

// Those that the user wants to see, or all where none of them is among the wanted ones.
QVector<SpoolProcess> selectRanks(
    const QVector<SpoolProcess> &job, const std::function<bool(int rank)> &isSelected, Remarks &remarks)
{
    if (!isSelected)
        return job;
    QVector<SpoolProcess> selected;
    for (const SpoolProcess &process : job) {
        if (process.is(fern::spool::FlagMpi) && isSelected(process.mpiRank))
            selected.append(process);
    }
    if (selected.isEmpty()) {
        remarks.noSuchRanks();
        return job;
    }
    return selected;
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

QString profiledRanks(const QVector<SpoolProcess> &job, bool isSelection, Remarks &remarks)
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
    if (!isSelection) {
        remarks.ranksMissing(static_cast<int>(ranks.size()), size);
    }
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

ProfileFacts factsOf(
    const QVector<SpoolProcess> &job, const SpoolTimeline &timeline, bool isSelection, Remarks &remarks)
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
    facts.profiledRanks = profiledRanks(job, isSelection, remarks);
    facts.ompNumThreads = ompNumThreads(job);
    return facts;
}

} // namespace

bool mergeSpools(
    const QString &folder, ProfilerData *profile, QStringList *remarkTexts, const MergeOptions &options)
{
    Remarks remarks(remarkTexts, options.warnings);
    QVector<SpoolProcess> processes = readProcesses(folder, remarks);
    const QMultiHash<QString, SpoolProcess> readers = takeReaders(&processes);
    const JobChoice choice = chooseJob(processes);
    remarks.leftOut(choice.leftOut);
    QVector<SpoolProcess> job = selectRanks(choice.job, options.isSelected, remarks);
    // Node by node, for SpoolMetrics; the rest of the order makes the result the same every time.
    std::sort(job.begin(), job.end(), [](const SpoolProcess &a, const SpoolProcess &b) {
        return std::tie(a.hostname, a.mpiRank, a.path) < std::tie(b.hostname, b.mpiRank, b.path);
    });
    if (job.isEmpty()) {
        return false;
    }

    const SpoolTimeline timeline(job, options.maxSamples);
    SpoolMetrics metrics(timeline);
    QVector<HitCounts> hits(timeline.numSamples());
    QVector<SpoolProcess> merged;
    QSet<QString> knownNodes;
    for (int i = 0; i < job.size(); ++i) {
        const SpoolProcess &process = job[i];
        QVector<Bin> bins;
        QString reason;
        if (options.progress) {
            options.progress(i, job.size());
        }
        if (!SpoolReader::readBins(process, &bins, &reason)) {
            remarks.skipped(process.path, reason);
            continue;
        }
        SpoolCode code;
        if (SpoolReader::readCode(process, &code, &reason)) {
            InstructionMix(code).addTo(process, &bins);
        } else {
            remarks.skipped(process.path, reason);
        }
        for (int bin = 0; bin < bins.size(); ++bin) {
            hits[timeline.sampleOf(process, bin)] += hitsOf(bins[bin]);
        }
        metrics.addProcess(process, bins);
        if (process.threadsMissed > 0) {
            remarks.threadsMissed(process);
        }
        if (process.rivalNames > 0) {
            remarks.rival(process);
        }
        merged.append(process);
        addReaders(readers, process.hostname, &knownNodes, &metrics);
    }
    if (merged.isEmpty()) {
        return false;
    }
    profile->setFacts(factsOf(merged, timeline, bool(options.isSelected), remarks));
    profile->setSamples(hits, timeline.timesMs());
    metrics.store(profile);
    return true;
}
