#include "profile/spooltimeline.h"

#include "profile/profilerdata.h"

#include <algorithm>
#include <limits>

namespace {

constexpr qint64 NsPerMs = 1000000;

qint64 floorDivide(qint64 dividend, qint64 divisor)
{
    return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

int toMs(qint64 ns)
{
    return static_cast<int>(std::min<qint64>(ns / NsPerMs, std::numeric_limits<int>::max()));
}

} // namespace

SpoolTimeline::SpoolTimeline(const QVector<SpoolProcess> &processes, int maxSamples)
    : mEpochNs(processes.first().epochNs)
    , mBeginNs(processes.first().beginNs)
    , mEndNs(processes.first().endNs)
{
    qint64 widthNs = 1;
    for (const SpoolProcess &process : processes) {
        mBeginNs = std::min(mBeginNs, process.beginNs);
        mEndNs = std::max(mEndNs, process.endNs);
        widthNs = std::max(widthNs, process.intervalNs);
    }
    while ((mEndNs - mBeginNs) / widthNs > 2 * qint64(ProfilerData::MaxSamples)) {
        widthNs *= 2; // keeps the count of samples within its type
    }
    setWidth(widthNs);
    while (mNumSamples > maxSamples && mWidthNs <= mEndNs - mBeginNs) {
        setWidth(mWidthNs * 2);
    }
}

void SpoolTimeline::setWidth(qint64 widthNs)
{
    mWidthNs = widthNs;
    const qint64 first = floorDivide(mBeginNs - mEpochNs, widthNs);
    const qint64 last = floorDivide(std::max(mEndNs - 1, mBeginNs) - mEpochNs, widthNs);
    mFirstBorderNs = mEpochNs + first * widthNs;
    mNumSamples = static_cast<int>(last - first + 1);
}

QVector<int> SpoolTimeline::timesMs() const
{
    QVector<int> times{0};
    for (int sample = 1; sample < mNumSamples; ++sample) {
        times.append(toMs(borderNs(sample) - mBeginNs));
    }
    times.append(std::max(toMs(mEndNs - mBeginNs + NsPerMs - 1), 1));
    return times;
}

int SpoolTimeline::sampleOf(const SpoolProcess &process, int bin) const
{
    const qint64 binNs = process.firstBinNs + bin * process.intervalNs;
    const qint64 sample = floorDivide(binNs - mFirstBorderNs, mWidthNs);
    return static_cast<int>(std::clamp<qint64>(sample, 0, mNumSamples - 1));
}

std::pair<int, int> SpoolTimeline::samplesOf(const SpoolProcess &process, int bin) const
{
    const qint64 fromNs = process.firstBinNs + bin * process.intervalNs;
    const qint64 toNs = fromNs + process.intervalNs;
    if (toNs <= mBeginNs || fromNs >= mEndNs) {
        return {0, -1};
    }
    const qint64 first = floorDivide(fromNs - mFirstBorderNs, mWidthNs);
    const qint64 last = floorDivide(toNs - 1 - mFirstBorderNs, mWidthNs);
    return {static_cast<int>(std::max<qint64>(first, 0)),
        static_cast<int>(std::min<qint64>(last, mNumSamples - 1))};
}

qint64 SpoolTimeline::livedNs(const SpoolProcess &process, int sample) const
{
    const qint64 from = std::max(process.beginNs, borderNs(sample));
    const qint64 to = std::min(process.endNs, borderNs(sample + 1));
    return std::max<qint64>(to - from, 0);
}

bool SpoolTimeline::isLongEnough(const SpoolProcess &process, int sample) const
{
    constexpr qint64 slivers = 20;
    const qint64 wholeNs = std::max<qint64>(process.endNs - process.beginNs, 1);
    const qint64 ns = livedNs(process, sample);
    return ns > 0 && ns >= std::min(process.intervalNs, wholeNs) / slivers;
}
