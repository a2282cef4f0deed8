#include "profile/samplermetrics.h"

#include "profile/profilerdata.h"
#include "profile/spoolreader.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace {

double runTimeNs(const SpoolProcess &process)
{
    return double(std::max<qint64>(process.endNs - process.startNs, 1));
}

double wrapperTimeNs(const SpoolProcess &process)
{
    return double(process.wrappedCalls) * process.wrapperNs;
}

struct Row {
    QString metric;
    double (*of)(const SpoolProcess &);
    const char *sentence; // with how much of it there was for %1
    bool isFault; // worth telling only where there was any
};

#define SENTENCE(text) QT_TRANSLATE_NOOP("SamplerMetrics", text)

const QVector<Row> &rows()
{
    using Process = const SpoolProcess &;
    static const QVector<Row> table = {
        {METRIC_SAMPLER_LOOKS, [](Process process) { return double(process.ticks); },
            SENTENCE("the sampler looked %1 times at each process"), false},
        {METRIC_SAMPLER_LOOKS_MISSED, [](Process process) { return double(process.ticksMissed); },
            SENTENCE("it got no processor for %1 more looks at each process"), true},
        {METRIC_SAMPLER_BINS, [](Process process) { return double(process.binCount); },
            SENTENCE("it kept %1 bins of each process"), false},
        {METRIC_SAMPLER_INTERVAL, [](Process process) { return double(process.intervalNs) / 1e6; },
            SENTENCE("a bin was %1 ms long at the end"), false},
        {METRIC_SAMPLER_THREADS, [](Process process) { return double(process.maxThreads); },
            SENTENCE("it saw at most %1 thread(s) of each process at a time"), false},
        {METRIC_SAMPLER_THREADS_MISSED, [](Process process) { return double(process.threadsMissed); },
            SENTENCE("it had no room for %1 thread(s) of each process"), true},
        {METRIC_SAMPLER_THREADS_UNCOUNTED, [](Process process) { return double(process.threadsUncounted); },
            SENTENCE("it could not count the events of %1 thread(s) of each process"), true},
        {METRIC_SAMPLER_COUNTERS, [](Process process) { return double(process.programCounterCount); },
            SENTENCE("it kept %1 program counters of each process"), false},
        {METRIC_SAMPLER_COUNTERS_LOST, [](Process process) { return double(process.programCountersLost); },
            SENTENCE("it lost %1 program counters of each process"), true},
        {METRIC_SAMPLER_CPU_TIME, [](Process process) { return double(process.samplerCpuNs) / 1e9; },
            SENTENCE("its thread used %1 s of CPU time in each process"), false},
        {METRIC_SAMPLER_CPU_PERCENT,
            [](Process process) { return 100.0 * double(process.samplerCpuNs) / runTimeNs(process); },
            SENTENCE("which is %1 % of the time that passed"), false},
        {METRIC_SAMPLER_WRAPPED_CALLS, [](Process process) { return double(process.wrappedCalls); },
            SENTENCE("each process made %1 calls through the sampler's wrappers"), false},
        {METRIC_SAMPLER_WRAPPER_TIME, [](Process process) { return wrapperTimeNs(process) / 1e9; },
            SENTENCE("which cost it %1 s by estimate"), false},
        {METRIC_SAMPLER_RIVAL_NAMES, [](Process process) { return double(process.rivalNames); },
            SENTENCE("another preloaded library takes %1 of the wrapped calls of each process first"), true},
        {METRIC_CPU_TIME, [](Process process) { return double(process.cpuNs) / 1e9; },
            SENTENCE("each process used %1 s of CPU time"), false},
    };
    return table;
}

#undef SENTENCE

// A number for people: no exponents, and no more digits than say something.
QString number(double value, int digits = 4)
{
    constexpr double Least = 0.001;
    if (value > 0 && value < Least)
        return QCoreApplication::translate("SamplerMetrics", "less than %1").arg(Least);
    return value < std::pow(10, digits) ? QString::number(value, 'g', digits)
                                        : QString::number(value, 'f', 0);
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
    mOwnNs += double(process.samplerCpuNs) + wrapperTimeNs(process);
    mJobNs += double(process.cpuNs);
}

void SamplerMetrics::store(ProfilerData *profile) const
{
    for (int row = 0; row < rows().size(); ++row) {
        MetricRecord record;
        record.definition = MetricDefinitions::describe(rows()[row].metric);
        record.wholeRun = mCollected[row].statistics();
        profile->setMetric(record);
    }
    MetricRecord share;
    share.definition = MetricDefinitions::describe(METRIC_SAMPLER_JOB_PERCENT);
    StatisticsCollector percent;
    if (mJobNs > 0)
        percent.add(100.0 * mOwnNs / mJobNs);
    else
        share.errors.append(QCoreApplication::translate("SamplerMetrics", "The job used no CPU time."));
    share.wholeRun = percent.statistics();
    profile->setMetric(share);
}

QString SamplerMetrics::costSentence(const ProfilerData &profile)
{
    const auto sum
        = [&](const QString &metric) { return profile.getMetricOrEmpty(metric).exactSum().to_double(); };
    const double percent = profile.getMetricOrEmpty(METRIC_SAMPLER_JOB_PERCENT).mean().to_double();
    if (!(percent >= 0)) // not there
        return QString();
    const double seconds = sum(METRIC_SAMPLER_CPU_TIME) + sum(METRIC_SAMPLER_WRAPPER_TIME);
    // Beside a job that only waited, any measurement is many times as much, which would alarm for nothing.
    constexpr double LeastSecondsForAShare = 0.1;
    const double jobSeconds = sum(METRIC_CPU_TIME);
    if (jobSeconds < LeastSecondsForAShare) {
        return QCoreApplication::translate(
            "SamplerMetrics", "The measurement itself used %1 s of CPU time, the job %2 s.")
            .arg(number(seconds, 2), number(jobSeconds, 3));
    }
    return QCoreApplication::translate(
        "SamplerMetrics", "The measurement itself used %1 s of CPU time, %2 % of the job's %3 s.")
        .arg(number(seconds, 2), number(percent, 2), number(jobSeconds, 3));
}

QStringList SamplerMetrics::describe(const ProfilerData &profile)
{
    QStringList lines;
    for (const Row &row : rows()) {
        const ScalarMetric metric = profile.getMetricOrEmpty(row.metric);
        const double most = metric.max().to_double();
        if (!metric.isDefined() || (row.isFault && most == 0))
            continue;
        const double least = metric.min().to_double();
        const QString amount = least == most
            ? number(most)
            : QCoreApplication::translate("SamplerMetrics", "%1 to %2 (mean %3)")
                  .arg(number(least), number(most), number(metric.mean().to_double()));
        lines.append(QCoreApplication::translate("SamplerMetrics", row.sentence).arg(amount));
    }
    return lines;
}
