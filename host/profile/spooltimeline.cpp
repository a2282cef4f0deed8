#include "profile/spooltimeline.h"

#include "profile/profilerdata.h"

#include <algorithm>
#include <limits>

namespace {

constexpr qint64 NsPerMs = 1000000;

int toMs(qint64 ns)
{
    return static_cast<int>(std::min<qint64>(ns / NsPerMs, std::numeric_limits<int>::max()));
}

fern::Timeline over(const QVector<SpoolProcess> &processes, int maxSamples)
{
    qint64 beginNs = processes.first().beginNs;
    qint64 endNs = processes.first().endNs;
    qint64 widthNs = 1;
    for (const SpoolProcess &process : processes) {
        beginNs = std::min(beginNs, process.beginNs);
        endNs = std::max(endNs, process.endNs);
        widthNs = std::max(widthNs, process.intervalNs);
    }
    return {processes.first().epochNs, beginNs, endNs, widthNs, maxSamples};
}

} // namespace

static_assert(fern::Timeline::MaxSamples == ProfilerData::MaxSamples);

SpoolTimeline::SpoolTimeline(const QVector<SpoolProcess> &processes, int maxSamples)
    : fern::Timeline(over(processes, maxSamples))
{
}

QVector<int> SpoolTimeline::timesMs() const
{
    QVector<int> times{0};
    for (int sample = 1; sample < numSamples(); ++sample) {
        times.append(toMs(borderNs(sample) - beginNs()));
    }
    times.append(std::max(toMs(endNs() - beginNs() + NsPerMs - 1), 1));
    return times;
}

std::pair<int, int> SpoolTimeline::samplesOf(const SpoolProcess &process, int bin) const
{
    const qint64 fromNs = process.firstBinNs + bin * process.intervalNs;
    const qint64 toNs = fromNs + process.intervalNs;
    if (toNs <= beginNs() || fromNs >= endNs()) {
        return {0, -1};
    }
    return {numberOf(fromNs), numberOf(toNs - 1)};
}
