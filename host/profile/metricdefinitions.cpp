#include "profile/metricdefinitions.h"

#include "profile/metrictable.h"
#include "profile/perfevents.h"

const MetricDefinitions &MetricDefinitions::known()
{
    static const MetricDefinitions definitions = [] {
        MetricDefinitions all;
        for (const MetricTable::Row &row : MetricTable::rows()) {
            all.add(row.metric);
        }
        return all;
    }();
    return definitions;
}

MetricDefinitions MetricDefinitions::ofSampler(const QStringList &siteEvents)
{
    MetricDefinitions definitions;
    for (const MetricTable::Row &row : MetricTable::rows()) {
        // A budget isn't measured: a profile has it where the site has set one.
        if (row.source != fern::spool::SourceNone && row.source != fern::spool::SourceBudget) {
            definitions.add(row.metric);
        }
    }
    for (const QString &event : siteEvents) {
        definitions.add(describe(PerfEvents::metricId(event)));
    }
    return definitions;
}

Metric MetricDefinitions::describe(const QString &id)
{
    if (const Metric *metric = known().getMetricById(id)) {
        return *metric;
    }
    if (PerfEvents::isMetricId(id)) {
        return PerfEvents::metric(id);
    }
    Metric unknown;
    unknown.id = id;
    unknown.displayName = id;
    return unknown;
}

const Metric *MetricDefinitions::getMetricById(const QString &id) const
{
    const auto found = mMetrics.constFind(id);
    return found == mMetrics.constEnd() ? nullptr : &*found;
}
