#ifndef TESTS_UNIT_CORE_REPORTBUILDER_H
#define TESTS_UNIT_CORE_REPORTBUILDER_H

#include "api/quillon-report.h"

// A definition in a few lines. Ids of metrics, summary entries and subsections are used as they are.
//
//   const ReportDefinition definition = DefinitionBuilder().metric("cpu").summary("entry", "cpu").build();
class DefinitionBuilder {
public:
    using ReportDefinition = quillon::report::ReportDefinition;

    DefinitionBuilder &metric(const QString &id, const QString &displayName = QString(),
        const QString &breakdownSubsection = QString(),
        quillon::report::PMetricType::value_type type = quillon::report::PMetricType::Double)
    {
        ReportDefinition::MetricDef def;
        def.id = id;
        def.displayName = displayName;
        def.breakdownSubsectionDefId = breakdownSubsection;
        def.type = type;
        mMetrics.append(def);
        return *this;
    }

    DefinitionBuilder &summary(const QString &id, const QString &metricId)
    {
        ReportDefinition::SummaryEntryDef entry;
        entry.id = id;
        entry.metricDefId = metricId;
        mSummary.entries.append(entry);
        return *this;
    }

    DefinitionBuilder &subsection(const QString &id, const QString &heading, int maxAdviceStrings)
    {
        ReportDefinition::SubsectionDef def;
        def.id = id;
        def.heading = heading;
        def.maxAdviceStrings = maxAdviceStrings;
        mSubsections.append(def);
        return *this;
    }

    DefinitionBuilder &summaryFooter(const QString &markup)
    {
        mSummary.footer = markup;
        return *this;
    }

    ReportDefinition build(const ReportDefinition::Config &config
        = ReportDefinition::Config::withoutPrefixesOrReservedIds()) const
    {
        ReportDefinition definition;
        definition.setConfig(config);
        definition.setMetricDefinitionList(mMetrics);
        definition.setSummaryDefinition(mSummary);
        definition.setSubsectionList(mSubsections);
        return definition;
    }

private:
    ReportDefinition::MetricDef::List mMetrics;
    ReportDefinition::SummaryDef mSummary;
    ReportDefinition::SubsectionDef::List mSubsections;
};

// What a caller must fill in before a report can be rendered, beside the definition's own metrics.
inline void setRequiredDetails(quillon_report &report)
{
    report.setMetricValue("applicationDetails.exeName", "wave", quillon_report::ErrorIfNotDefined);
    report.setMetricValue("applicationDetails.processes.plain", 4, quillon_report::ErrorIfNotDefined);
    report.setMetricValue("applicationDetails.profiledRanks", "All", quillon_report::ErrorIfNotDefined);
}

#endif
