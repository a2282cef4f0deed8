#include "boundmetrics.h"

#include "api/quillon-report.h"

#include "profile/profilerdata.h"

#include <QObject>

#include <limits>

namespace quillon::report {

namespace {

constexpr double notAvailable = std::numeric_limits<double>::quiet_NaN();

double getMetricValue(const ScalarMetric &metric, ReportDefinition::SampleValueType type)
{
    switch (type) {
    case ReportDefinition::SampleValueMin:
        return metric.min().to_double();
    case ReportDefinition::SampleValueMax:
        return metric.max().to_double();
    case ReportDefinition::SampleValueMean:
        return metric.mean().to_double();
    case ReportDefinition::SampleValueSum:
        return metric.exactSum().to_double();
    case ReportDefinition::SampleValueUnset:
        break;
    }
    return notAvailable;
}

// A metric's figure over all samples.
double aggregate(const ProfilerData &data, const ReportDefinition::SourceDetails &source)
{
    const auto valueAt = [&](int sample) {
        return getMetricValue(data.getMetricAt(source.metricRef, sample), source.sampleValue);
    };
    const int numSamples = data.numSamples();
    double result = notAvailable;
    switch (source.aggregation) {
    case ReportDefinition::AggregationMax:
        result = valueAt(0);
        for (int i = 1; i < numSamples; ++i) {
            const double value = valueAt(i);
            if (value > result)
                result = value;
        }
        break;
    case ReportDefinition::AggregationMin:
        result = valueAt(0);
        for (int i = 1; i < numSamples; ++i) {
            const double value = valueAt(i);
            if (!(value > result))
                result = value;
        }
        break;
    case ReportDefinition::AggregationMean:
        result = 0.0;
        for (int i = 0; i < numSamples; ++i)
            result += valueAt(i);
        result /= numSamples;
        break;
    case ReportDefinition::AggregationUnset:
        break;
    }
    return result;
}

bool isDisabledByUser(const QString &error)
{
    return error.contains(QLatin1String("Disabled by the configuration."))
        || error.contains(QLatin1String("Disabled by the user."));
}

// Counters of one set at a time can be measured: one that isn't in it is no fault.
bool isOutsideEnabledPapiSet(const QString &ref, const QString &id, const QString &error)
{
    const QLatin1String papi("com.brivane.metrics.papi.");
    return ref.startsWith(papi) && id.startsWith(papi)
        && error.startsWith(
            QLatin1String("Disabled by PAPI.config\nThis metric is not in the currently enabled metric set"))
        && error.endsWith(QLatin1String("Edit PAPI.config to enable a different set of metrics."));
}

bool isUnsupportedPerfCounter(const QString &ref, const QString &error)
{
    return ref.startsWith(QLatin1String("com.brivane.metrics.perf."))
        && error.contains(QLatin1String("not supported on this platform."));
}

// Says why a metric has no value. The report keeps the first warning of a metric.
void warnAbout(quillon_report &report, const QString &id, const QString &ref, const QString &error)
{
    if (isDisabledByUser(error)) {
        report.setWarningMessage(id,
            QObject::tr("\nMetric %1 (referenced by report metric %2) has a warning: %3")
                .arg(ref, id, error));
        return;
    }
    if (isUnsupportedPerfCounter(ref, error)) {
        report.setWarningMessage(id,
            QObject::tr("\nMetric %1 (referenced by report metric %2) is not included because underlying "
                        "performance counter is not supported on this platform.")
                .arg(ref, id));
    }
    if (!isOutsideEnabledPapiSet(ref, id, error)) {
        report.setWarningMessage(id,
            QObject::tr("\nMetric %1 (referenced by report metric %2) has an error: %3").arg(ref, id, error));
    }
}

double boundValue(quillon_report &report, const ReportDefinition::MetricDef &metric, const ProfilerData &data)
{
    const QString &ref = metric.sourceDetails.metricRef;
    if (!data.getMetricDefinitions().getAllMetrics().contains(ref)) {
        report.setWarningMessage(metric.id,
            QObject::tr("\nMetric %1 (referenced by report metric %2) was not collected when .fern file was "
                        "generated.")
                .arg(ref, metric.id));
        return notAvailable;
    }
    const QString error = data.getFirstMetricError(ref);
    if (error.isEmpty())
        return aggregate(data, metric.sourceDetails);
    warnAbout(report, metric.id, ref, error);
    return notAvailable;
}

} // namespace

void setBoundMetrics(quillon_report &report, const ProfilerData &data)
{
    const ReportDefinition definition = report.definition();
    for (const ReportDefinition::MetricDef &metric : definition.getMetricDefinitionList()) {
        if (metric.source == QLatin1String("metric"))
            report.setMetricValue(
                metric.id, boundValue(report, metric, data), quillon_report::ErrorIfNotDefined);
    }
}

} // namespace quillon::report
