#include "profile/samplermetrics.h"

#include "profile/profilerdata.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

double runTimeNs(const SpoolProcess &process)
{
    return double(std::max<qint64>(process.endNs - process.startNs, 1));
}

struct Row {
    QString metric;
    double (*of)(const SpoolProcess &);
};

const QVector<Row> &rows()
{
    static const QVector<Row> table = {
        {METRIC_SAMPLER_LOOKS, [](const SpoolProcess &process) { return double(process.ticks); }},
        {METRIC_SAMPLER_BINS, [](const SpoolProcess &process) { return double(process.binCount); }},
        {METRIC_SAMPLER_INTERVAL,
            [](const SpoolProcess &process) { return double(process.intervalNs) / 1e6; }},
        {METRIC_SAMPLER_THREADS, [](const SpoolProcess &process) { return double(process.maxThreads); }},
        {METRIC_SAMPLER_THREADS_MISSED,
            [](const SpoolProcess &process) { return double(process.threadsMissed); }},
        {METRIC_SAMPLER_THREADS_UNCOUNTED,
            [](const SpoolProcess &process) { return double(process.threadsUncounted); }},
        {METRIC_SAMPLER_COUNTERS,
            [](const SpoolProcess &process) { return double(process.programCounterCount); }},
        {METRIC_SAMPLER_COUNTERS_LOST,
            [](const SpoolProcess &process) { return double(process.programCountersLost); }},
        {METRIC_SAMPLER_CPU_TIME,
            [](const SpoolProcess &process) { return double(process.samplerCpuNs) / 1e9; }},
        {METRIC_SAMPLER_CPU_PERCENT,
            [](const SpoolProcess &process) {
                return 100.0 * double(process.samplerCpuNs) / runTimeNs(process);
            }},
    };
    return table;
}

} // namespace

SamplerMetrics::SamplerMetrics()
    : mCollected(rows().size())
{
}

void SamplerMetrics::addProcess(const SpoolProcess &process)
{
    for (int row = 0; row < rows().size(); ++row)
        mCollected[row].add(rows()[row].of(process));
}

void SamplerMetrics::store(ProfilerData *profile) const
{
    for (int row = 0; row < rows().size(); ++row) {
        MetricRecord record;
        record.definition = MetricDefinitions::describe(rows()[row].metric);
        record.wholeRun = mCollected[row].statistics();
        profile->setMetric(record);
    }
}

QStringList SamplerMetrics::describe(const ProfilerData &profile)
{
    QStringList lines;
    for (const Row &row : rows()) {
        const ScalarMetric metric = profile.getMetricOrEmpty(row.metric);
        if (!metric.isDefined())
            continue;
        const Metric definition = MetricDefinitions::describe(row.metric);
        const auto number = [&](double value) {
            const QString text = QString::number(value, 'g', 4);
            return definition.units.isEmpty() ? text : text + QLatin1Char(' ') + definition.units;
        };
        const double least = metric.min().to_double();
        const double most = metric.max().to_double();
        lines.append(least == most
                ? QCoreApplication::translate("SamplerMetrics", "%1 of each process: %2")
                      .arg(definition.displayName, number(least))
                : QCoreApplication::translate("SamplerMetrics", "%1 of a process: %2 to %3, mean %4")
                      .arg(definition.displayName, number(least), number(most),
                          number(metric.mean().to_double())));
    }
    return lines;
}
