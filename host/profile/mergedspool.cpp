#include "profile/mergedspool.h"

#include "sampler/core/timeline.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstring>

using fern::merged::Header;
using fern::merged::Process;
using fern::merged::Statistics;

namespace {

template <size_t Size> QByteArray text(const char (&field)[Size])
{
    return QByteArray(field, static_cast<int>(qstrnlen(field, Size)));
}

fern::spool::Header headerOf(const Process &process)
{
    fern::spool::Header header = {};
    auto *bytes = reinterpret_cast<unsigned char *>(&header);
    std::memcpy(bytes, process.front, Process::Front);
    std::memcpy(bytes + sizeof(header) - Process::Back, process.back, Process::Back);
    return header;
}

bool isSound(const Statistics &statistics)
{
    return std::isfinite(statistics.minimum) && std::isfinite(statistics.maximum)
        && std::isfinite(statistics.mean) && std::isfinite(statistics.squaredDeviations);
}

// Readings of the same processes one after another: their mean over time. How much the processes differ is
// taken to be what it was in each of the moments.
Statistics inTurn(const Statistics &a, const Statistics &b)
{
    if (a.count == 0 || b.count == 0) {
        return a.count == 0 ? b : a;
    }
    const auto countA = double(a.count);
    const auto countB = double(b.count);
    Statistics both = a;
    both.count = std::max(a.count, b.count);
    both.minimum = std::min(a.minimum, b.minimum);
    both.maximum = std::max(a.maximum, b.maximum);
    both.mean = (a.mean * countA + b.mean * countB) / (countA + countB);
    both.squaredDeviations
        = (a.squaredDeviations + b.squaredDeviations) / (countA + countB) * double(both.count);
    return both;
}

} // namespace

void MergedSpool::join(StatisticsCollector *collector, const Statistics &statistics)
{
    if (isSound(statistics)) {
        collector->join(qint64(statistics.count), statistics.minimum, statistics.maximum, statistics.mean,
            statistics.squaredDeviations);
    }
}

fern::merged::View MergedSpool::view() const
{
    fern::merged::View view;
    view.open(mBytes.constData(), std::size_t(mBytes.size()));
    return view;
}

bool MergedSpool::read(const QString &path, QString *reason)
{
    constexpr qint64 largest = qint64(64) * 1024 * 1024;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *reason = file.errorString();
        return false;
    }
    mBytes = file.read(largest);
    fern::merged::View view;
    if (!view.open(mBytes.constData(), std::size_t(mBytes.size()))) {
        *reason = QStringLiteral("damaged, or written by a sampler of another version");
        return false;
    }
    mWhole = SpoolProcess();
    mWhole.path = path;
    return check(view.header(), reason);
}

// The limits are there so that a damaged file can't make the sums overflow or stretch the whole job's time.
bool MergedSpool::check(const Header &header, QString *reason)
{
    constexpr qint64 latest = qint64(1) << 61;
    const auto isTime = [](qint64 ns) { return ns >= 0 && ns <= latest; };
    *reason = QStringLiteral("damaged: impossible times");
    if (!isTime(header.epochNs) || !isTime(header.beginNs) || !isTime(header.endNs) || header.widthNs <= 0
        || header.endNs < header.beginNs || header.widthNs > latest / fern::Timeline::MaxSamples
        || header.sampleCount == 0 || header.ranks <= 0 || header.nodes <= 0) {
        return false;
    }
    const fern::Timeline timeline(
        header.epochNs, header.beginNs, header.endNs, header.widthNs, fern::Timeline::MaxSamples);
    if (timeline.widthNs() != header.widthNs || timeline.numSamples() != int(header.sampleCount)) {
        return false;
    }
    const fern::merged::View merged = view();
    for (quint32 i = 0; i < header.processCount; ++i) {
        SpoolProcess process;
        if (!SpoolReader::fromHeader(headerOf(merged.processes()[i]), &process, reason)) {
            return false;
        }
        mProcesses.append(process);
    }
    if (mProcesses.isEmpty()) {
        return false;
    }
    mWhole.flags = fern::spool::FlagMpi | fern::spool::FlagEnded;
    mWhole.pid = mProcesses.first().pid;
    mWhole.mpiRank = 0;
    mWhole.mpiSize = header.ranks;
    mWhole.ranks = header.ranks;
    mWhole.world = header.world;
    mWhole.hostname = QString::fromUtf8(text(header.hostname));
    mWhole.executable = QFile::decodeName(text(header.executable));
    mWhole.epochNs = header.epochNs;
    mWhole.startNs = mWhole.beginNs = header.beginNs;
    mWhole.endNs = header.endNs;
    mWhole.intervalNs = header.widthNs;
    mWhole.firstBinNs = timeline.borderNs(0);
    mWhole.binCount = int(header.sampleCount);
    return true;
}

void MergedSpool::addColumn(const Statistics *column, const Statistics &wholeRun, bool isTotal,
    const SpoolTimeline &timeline, StatisticsCollector *ofWholeRun,
    QVector<StatisticsCollector> *series) const
{
    if (!column) {
        return;
    }
    QVector<Statistics> bySample(timeline.numSamples(), Statistics{});
    for (int i = 0; i < mWhole.binCount; ++i) {
        Statistics &sample = bySample[timeline.sampleOf(mWhole, i)];
        if (isTotal) {
            sample = column[i].count > 0 ? column[i] : sample;
        } else {
            sample = inTurn(sample, column[i]);
        }
    }
    const int last = timeline.sampleOf(mWhole, mWhole.binCount - 1);
    for (int sample = 0; sample < bySample.size(); ++sample) {
        join(&(*series)[sample], bySample[isTotal ? std::min(sample, last) : sample]);
    }
    join(ofWholeRun, wholeRun);
}
