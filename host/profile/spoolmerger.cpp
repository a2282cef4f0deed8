#include "profile/spoolmerger.h"

#include "profile/instructionmix.h"
#include "profile/jobchoice.h"
#include "profile/mergedspool.h"
#include "profile/profilerdata.h"
#include "profile/spoolmetrics.h"
#include "profile/spoolreader.h"
#include "profile/spooltimeline.h"

#include <QCoreApplication>
#include <QDir>
#include <QHash>
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
    void ofProcess(const SpoolProcess &process)
    {
        if (process.threadsMissed > 0) {
            threadsMissed(process);
        }
        if (process.rivalNames > 0) {
            rival(process);
        }
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

// What a job left behind. The profiles that its ranks have merged are found by their paths.
struct Left {
    QVector<SpoolProcess> processes; // those that stand for merged ones included
    QHash<QString, MergedSpool> merged;
};

// Whether a merged profile of the process's job holds all that is worth knowing of it.
bool isMerged(const SpoolProcess &process, const QSet<quint64> &worlds)
{
    return process.world != 0 && worlds.contains(process.world)
        && (!process.is(fern::spool::FlagMerged)
            || process.endNs - process.beginNs < qint64(fern::spool::ShortTailNs));
}

Left readFolder(const QString &folder, Remarks &remarks)
{
    Left left;
    QSet<quint64> worlds;
    QVector<SpoolProcess> processes;
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QFileInfo &file : files) {
        // What ranks had for each other while they merged.
        if (file.suffix() == QLatin1String("ranks") || file.suffix() == QLatin1String("part")) {
            continue;
        }
        SpoolProcess process;
        QString reason;
        if (file.suffix() == QLatin1String("merged")) {
            MergedSpool merged;
            if (merged.read(file.filePath(), &reason)) {
                left.processes.append(merged.whole());
                left.merged.insert(file.filePath(), merged);
                worlds.insert(merged.whole().world);
            } else {
                remarks.skipped(file.filePath(), reason);
            }
        } else if (SpoolReader::readProcess(file.filePath(), &process, &reason)) {
            processes.append(process);
        } else {
            remarks.skipped(file.filePath(), reason);
        }
    }
    for (const SpoolProcess &process : processes) {
        if (!isMerged(process, worlds)) {
            left.processes.append(process);
        }
    }
    return left;
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

void addHits(const MergedSpool &merged, const SpoolTimeline &timeline, QVector<HitCounts> *hits)
{
    qint64 HitCounts::Of::*const kinds[fern::merged::HitKinds]
        = {&HitCounts::Of::main, &HitCounts::Of::mainActive, &HitCounts::Of::other,
            &HitCounts::Of::otherActive, &HitCounts::Of::mainAlone};
    const fern::merged::View view = merged.view();
    const SpoolProcess whole = merged.whole();
    for (quint32 kind = 0; kind < fern::merged::HitKinds; ++kind) {
        for (quint32 category = 0; category < quint32(Category::Count); ++category) {
            const std::uint64_t *column = view.hits(kind, category);
            for (int i = 0; column && i < whole.binCount; ++i) {
                (*hits)[timeline.sampleOf(whole, i)].of[category].*kinds[kind] += qint64(column[i]);
            }
        }
    }
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
            for (int rank = process.mpiRank; rank < process.mpiRank + std::max(process.ranks, 1); ++rank) {
                ranks.insert(rank);
            }
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
QString ompNumThreads(const QVector<SpoolProcess> &job, const QVector<MergedSpool> &merged)
{
    std::set<int> counts;
    for (const SpoolProcess &process : job) {
        counts.insert(process.ompNumThreads);
    }
    for (const MergedSpool &spool : merged) {
        const fern::merged::View view = spool.view();
        counts.insert({view.header().leastOmpThreads, view.header().mostOmpThreads});
    }
    counts.erase(counts.begin(), counts.upper_bound(0));
    if (counts.empty()) {
        return QStringLiteral("unset");
    }
    const int least = *counts.begin();
    const int most = *counts.rbegin();
    return least == most ? QString::number(least) : QStringLiteral("%1-%2").arg(least).arg(most);
}

// What a merged profile doesn't say of its nodes' names is known to be other nodes.
int countNodes(const QVector<SpoolProcess> &job, const QVector<MergedSpool> &merged)
{
    QSet<QString> hostnames;
    int unnamed = 0;
    for (const MergedSpool &spool : merged) {
        QSet<QString> ofThis;
        for (const SpoolProcess &process : spool.processes()) {
            ofThis.insert(process.hostname);
        }
        const fern::merged::View view = spool.view();
        unnamed += std::max(view.header().nodes - int(ofThis.size()), 0);
        hostnames.unite(ofThis);
    }
    for (const SpoolProcess &process : job) {
        hostnames.insert(process.hostname);
    }
    return int(hostnames.size()) + unnamed;
}

// A rank's spool of what came behind the merging stands beside the merged profile: it is counted there.
int countProcesses(const QVector<SpoolProcess> &job, const QVector<MergedSpool> &merged)
{
    QSet<quint64> worlds;
    for (const MergedSpool &spool : merged) {
        worlds.insert(spool.whole().world);
    }
    int count = 0;
    for (const SpoolProcess &process : job) {
        const bool isCounted = process.ranks == 0 && process.world != 0 && worlds.contains(process.world);
        count += isCounted ? 0 : std::max(process.ranks, 1);
    }
    return count;
}

ProfileFacts factsOf(const QVector<SpoolProcess> &job, const QVector<MergedSpool> &merged,
    const SpoolTimeline &timeline, bool isSelection, Remarks &remarks)
{
    const auto earlier = [](const SpoolProcess &a, const SpoolProcess &b) {
        return std::tie(a.mpiRank, a.beginNs, a.pid) < std::tie(b.mpiRank, b.beginNs, b.pid);
    };
    const SpoolProcess &first = *std::min_element(job.begin(), job.end(), earlier);
    ProfileFacts facts;
    facts.target = first.executable;
    facts.hostname = first.hostname;
    facts.startTime = QDateTime::fromMSecsSinceEpoch(timeline.beginNs() / 1000000);
    facts.processes = countProcesses(job, merged);
    facts.nodes = countNodes(job, merged);
    facts.profiledRanks = profiledRanks(job, isSelection, remarks);
    facts.ompNumThreads = ompNumThreads(job, merged);
    return facts;
}

} // namespace

bool mergeSpools(
    const QString &folder, ProfilerData *profile, QStringList *remarkTexts, const MergeOptions &options)
{
    Remarks remarks(remarkTexts, options.warnings);
    Left left = readFolder(folder, remarks);
    const QMultiHash<QString, SpoolProcess> readers = takeReaders(&left.processes);
    const JobChoice choice = chooseJob(left.processes);
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
    QVector<SpoolProcess> used;
    QVector<MergedSpool> merged;
    QSet<QString> knownNodes;
    for (int i = 0; i < job.size(); ++i) {
        const SpoolProcess &process = job[i];
        QVector<Bin> bins;
        QString reason;
        if (options.progress) {
            options.progress(i, job.size());
        }
        if (process.ranks > 0) {
            merged.append(left.merged.value(process.path));
            addHits(merged.last(), timeline, &hits);
            metrics.addMerged(merged.last());
            for (const QString &hostname : readers.uniqueKeys()) {
                metrics.beginReaders(hostname);
                addReaders(readers, hostname, &knownNodes, &metrics);
                metrics.endReaders();
            }
            for (const SpoolProcess &rank : merged.last().processes()) {
                remarks.ofProcess(rank);
            }
            used.append(process);
            continue;
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
        remarks.ofProcess(process);
        used.append(process);
        addReaders(readers, process.hostname, &knownNodes, &metrics);
    }
    if (used.isEmpty()) {
        return false;
    }
    profile->setFacts(factsOf(used, merged, timeline, bool(options.isSelected), remarks));
    profile->setSamples(hits, timeline.timesMs());
    metrics.store(profile);
    return true;
}
