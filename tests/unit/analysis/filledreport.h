#ifndef TESTS_UNIT_ANALYSIS_FILLEDREPORT_H
#define TESTS_UNIT_ANALYSIS_FILLEDREPORT_H

#include "analysistest.h"
#include "qtprinters.h"

#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "profilebuilder.h"
#include "quillonreport.h"
#include "recordedsentences.h"

#include <memory>

// A definition with what the analysis writes advice into, and of metrics only those that the summary shows.
inline quillon::report::ReportDefinition bareDefinition()
{
    using namespace quillon::report;
    const struct {
        QString entry, metric, displayName, subsection;
    } summary[] = {
        {DefaultMetrics::SummaryEntryCpu, DefaultMetrics::SummaryCpuPercent, QStringLiteral("Compute"),
            DefaultMetrics::SubsectionCpu},
        {DefaultMetrics::SummaryEntryMpi, DefaultMetrics::SummaryMpiPercent, QStringLiteral("MPI"),
            DefaultMetrics::SubsectionMpi},
        {DefaultMetrics::SummaryEntryIo, DefaultMetrics::SummaryIoPercent, QStringLiteral("Input/Output"),
            DefaultMetrics::SubsectionIo},
    };
    ReportDefinition::MetricDef::List metrics;
    ReportDefinition::SummaryDef summaryDef;
    for (const auto &row : summary) {
        ReportDefinition::MetricDef metric;
        metric.withId(row.metric)
            .withDisplayName(row.displayName)
            .withDefaultMetricVersion(DefaultMetricVersion::OlderThan6_1);
        metric.breakdownSubsectionDefId = row.subsection;
        metrics.append(metric);
        ReportDefinition::SummaryEntryDef entry;
        entry.id = row.entry;
        entry.metricDefId = row.metric;
        summaryDef.entries.append(entry);
    }

    ReportDefinition::SubsectionDef::List subsections;
    for (const QString &id : {QString(DefaultMetrics::SubsectionCpu), QString(DefaultMetrics::SubsectionMpi),
             QString(DefaultMetrics::SubsectionIo), QString(DefaultMetrics::SubsectionMemory),
             QString(DefaultMetrics::SubsectionOpenmp), QString(DefaultMetrics::SubsectionThreads),
             QString(DefaultMetrics::SubsectionAccelerator), QString(DefaultMetrics::SubsectionEnergy),
             QString(DefaultMetrics::SubsectionPerf)}) {
        ReportDefinition::SubsectionDef subsection;
        subsection.id = id;
        subsection.heading = QStringLiteral("About %1").arg(id);
        subsection.maxAdviceStrings = 2;
        subsections.append(subsection);
    }

    ReportDefinition definition;
    definition.setConfig(ReportDefinition::Config::withoutPrefixesOrReservedIds());
    definition.setMetricDefinitionList(metrics);
    definition.setSummaryDefinition(summaryDef);
    definition.setSubsectionList(subsections);
    return definition;
}

// A profile's report, of the default type unless it is said otherwise.
inline std::unique_ptr<quillon_report> filledReport(const ProfileBuilder &job,
    const quillon::report::ReportDefinition &definition = bareDefinition(),
    const QString &templateName = QStringLiteral("default"))
{
    return std::unique_ptr<quillon_report>(
        quillon::report::convertToReport(job.build(), definition, templateName, nullptr));
}

inline QString text(const quillon_report &report, const QString &metricId)
{
    return recorded(report.getMetricValue(metricId).toString());
}

inline double number(const quillon_report &report, const QString &metricId)
{
    const QVariant value = report.getMetricValue(metricId);
    EXPECT_EQ(value.type(), QVariant::Double) << metricId.toStdString();
    return value.toDouble();
}

inline bool flag(const quillon_report &report, const QString &metricId)
{
    const QVariant value = report.getMetricValue(metricId);
    EXPECT_EQ(value.type(), QVariant::Bool) << metricId.toStdString();
    return value.toBool();
}

// The two sentences under a subsection.
inline QStringList advice(const quillon_report &report, const QString &subsectionId)
{
    return {text(report, subsectionId + QStringLiteral(".advice1")),
        text(report, subsectionId + QStringLiteral(".advice2"))};
}

#endif
