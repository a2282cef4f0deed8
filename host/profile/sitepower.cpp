#include "profile/sitepower.h"

#include "profile/metricids.h"
#include "profile/metricstatistics.h"
#include "profile/profilerdata.h"

#include <algorithm>

namespace {

constexpr double MsPerSecond = 1e3;

// The power at a time: that of the first reading from then on, since a reading stands for the time before it.
double wattsAt(const QVector<PowerReading> &readings, qint64 realTimeMs)
{
    const auto next = std::find_if(readings.begin(), readings.end(),
        [realTimeMs](const PowerReading &reading) { return reading.realTimeMs >= realTimeMs; });
    return next != readings.end() ? next->watts : readings.last().watts;
}

} // namespace

void setSitePower(const QVector<PowerReading> &readings, const QString &hostname, const QString &whyNot,
    ProfilerData *profile)
{
    if (profile->hasMetricNoErrors(METRIC_SYSTEM_POWER) || profile->numNodes() != 1
        || profile->getHostname() != hostname)
        return;
    MetricRecord power;
    power.definition = MetricDefinitions::describe(METRIC_SYSTEM_POWER);
    MetricRecord energy;
    energy.definition = MetricDefinitions::describe(METRIC_SYSTEM_ENERGY);
    const qint64 begin = profile->facts().startTime.toMSecsSinceEpoch();
    const bool isRead = !readings.isEmpty() && readings.last().realTimeMs >= begin;
    double joules = 0;
    double least = 0;
    double most = 0;
    for (int sample = 0; sample < profile->numSamples() && isRead; ++sample) {
        const int from = profile->timeAt(sample);
        const int to = profile->timeAt(sample + 1);
        const double watts = wattsAt(readings, begin + (from + to) / 2);
        joules += watts * (to - from) / MsPerSecond;
        least = sample == 0 ? watts : std::min(least, watts);
        most = std::max(most, watts);
        power.series.append(MetricStatistics::of(watts));
        energy.series.append(MetricStatistics::of(joules));
    }
    if (isRead) {
        StatisticsCollector whole;
        whole.add(joules * MsPerSecond / std::max(profile->timeAt(profile->numSamples()), 1), least, most);
        power.wholeRun = whole.statistics();
        energy.wholeRun = MetricStatistics::of(joules);
    } else {
        power.errors.append(whyNot);
        energy.errors.append(whyNot);
    }
    profile->setMetric(power);
    profile->setMetric(energy);
}
