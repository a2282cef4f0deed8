#include "profile/perfmetrics.h"

#include "profile/metricreasons.h"
#include "profile/perfevents.h"
#include "profile/profilerdata.h"

#include <algorithm>
#include <cmath>
#include <numeric>

using fern::spool::Bin;

namespace {

constexpr double NsPerSecond = 1e9;

double sum(const QVector<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0);
}

} // namespace

PerfMetrics::PerfMetrics(const SpoolTimeline &timeline)
    : mTimeline(timeline)
{
    mCyclesPerInstruction.series.resize(timeline.numSamples());
}

void PerfMetrics::addProcess(const SpoolProcess &process, const QVector<Bin> &bins)
{
    using namespace fern::spool;
    noteStates(process);
    addRatio(counts(process, bins, FigureCycles), counts(process, bins, FigureInstructions));
    for (int i = 0; i < process.siteEvents.size(); ++i) {
        addRate(mEvents[process.siteEvents[i].name], counts(process, bins, FigureSiteEvent + i), process);
    }
}

void PerfMetrics::noteStates(const SpoolProcess &process)
{
    const quint32 ofCycles = process.sourceStates[fern::spool::SourceCycles];
    mCyclesPerInstruction.state = std::max(mCyclesPerInstruction.state, ofCycles);
    for (const CountedEvent &counted : process.siteEvents) {
        Collected &event = mEvents[counted.name];
        event.series.resize(mTimeline.numSamples());
        event.state = std::max(event.state, counted.state);
    }
}

QVector<double> PerfMetrics::counts(const SpoolProcess &process, const QVector<Bin> &bins, int figure) const
{
    QVector<double> result(mTimeline.numSamples());
    bool wasCounted = false;
    for (int bin = 0; bin < bins.size(); ++bin) {
        const fern::spool::Figure &counted = bins[bin].figures[figure];
        if (counted.count > 0 && std::isfinite(counted.sum) && counted.sum >= 0) {
            result[mTimeline.sampleOf(process, bin)] += counted.sum;
            wasCounted = true;
        }
    }
    return wasCounted ? result : QVector<double>();
}

void PerfMetrics::addRatio(const QVector<double> &cycles, const QVector<double> &instructions)
{
    if (cycles.isEmpty() || instructions.isEmpty())
        return;
    const auto add = [](StatisticsCollector &collector, double dividend, double divisor) {
        if (divisor > 0)
            collector.add(dividend / divisor);
    };
    for (int sample = 0; sample < cycles.size(); ++sample)
        add(mCyclesPerInstruction.series[sample], cycles[sample], instructions[sample]);
    add(mCyclesPerInstruction.wholeRun, sum(cycles), sum(instructions));
}

void PerfMetrics::addRate(Collected &event, const QVector<double> &counts, const SpoolProcess &process) const
{
    if (counts.isEmpty())
        return;
    const auto perSecond = [](double count, qint64 ns) { return count * NsPerSecond / double(ns); };
    for (int sample = 0; sample < counts.size(); ++sample) {
        if (mTimeline.isLongEnough(process, sample))
            event.series[sample].add(perSecond(counts[sample], mTimeline.livedNs(process, sample)));
    }
    event.wholeRun.add(perSecond(sum(counts), std::max<qint64>(process.endNs - process.beginNs, 1)));
}

void PerfMetrics::store(ProfilerData *profile) const
{
    const auto storeOne = [profile](const QString &id, const Collected &collected) {
        MetricRecord record;
        record.definition = MetricDefinitions::describe(id);
        record.wholeRun = collected.wholeRun.statistics();
        for (const StatisticsCollector &sample : collected.series)
            record.series.append(sample.statistics());
        if (record.wholeRun.count == 0)
            record.errors.append(MetricReasons::ofState(id, collected.state));
        profile->setMetric(record);
    };
    storeOne(METRIC_PERF_CYCLES_PER_INS, mCyclesPerInstruction);
    for (auto event = mEvents.begin(); event != mEvents.end(); ++event)
        storeOne(PerfEvents::metricId(event.key()), event.value());
}
