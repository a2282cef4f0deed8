// What bound the job, and the places for advice: the layer of the report that knows the ids of these metrics.

#include "api/defaultmetrics.h"
#include "api/quillon-report.h"

#include <algorithm>
#include <utility>

using quillon::report::DefaultMetrics;
using quillon::report::PodLatin1String;
using quillon::report::ReportDefinition;

namespace {

// What is said of a metric that bound the job.
struct DominantMetricIds {
    PodLatin1String longString;
    PodLatin1String shortString;
    PodLatin1String type;
    PodLatin1String subsectionId;
    PodLatin1String subsectionHeading;
};

const DominantMetricIds kPrimary = {
    DefaultMetrics::DominantMetricLongString,
    DefaultMetrics::DominantMetricShortString,
    DefaultMetrics::DominantMetricType,
    DefaultMetrics::DominantMetricSubsectionId,
    DefaultMetrics::DominantMetricSubsectionHeading,
};

const DominantMetricIds kSecondary = {
    DefaultMetrics::SecondaryDominantMetricLongString,
    DefaultMetrics::SecondaryDominantMetricShortString,
    DefaultMetrics::SecondaryDominantMetricType,
    DefaultMetrics::SecondaryDominantMetricSubsectionId,
    DefaultMetrics::SecondaryDominantMetricSubsectionHeading,
};

// Ids of advice are ASCII by design; others end up as ids that no store knows.
QString asciiId(const QString &id)
{
    return QString::fromLatin1(id.toUtf8());
}

// Says of the metric that it bound the job. The first value that can't be set ends it.
int setBound(quillon_report &report, const DominantMetricIds &ids, const ReportDefinition::MetricDef &metric)
{
    const ReportDefinition definition = report.definition();
    const QString displayName = report.getMetricDisplayName(metric.id);
    const QString longName = displayName.isEmpty() ? displayName : displayName + QStringLiteral("-bound");
    ReportDefinition::SubsectionDef subsection;
    if (!metric.breakdownSubsectionDefId.isEmpty())
        subsection = definition.getSubsection(metric.breakdownSubsectionDefId);

    const std::pair<PodLatin1String, QString> values[] = {
        {ids.longString, longName},
        {ids.shortString, displayName},
        {ids.type, metric.jsonId(definition.config())},
        {ids.subsectionId, subsection.id},
        {ids.subsectionHeading, subsection.heading},
    };
    for (const auto &[id, text] : values) {
        const int result = report.setMetricValue(id, text, quillon_report::ErrorIfNotDefined);
        if (result != BRIVANE_REPORT_OK)
            return result;
    }
    return BRIVANE_REPORT_OK;
}

} // namespace

int quillon_report::setDominantMetric(const QString &dominantMetric)
{
    const ReportDefinition::MetricDef metric = mReportDefinition.getMetric(dominantMetric);
    const QString jsonId = metric.jsonId(reportConfig());
    if (jsonId.isEmpty() || !mMetricValues.hasMetricDefinition(jsonId)) {
        setErrorMessage("metric \"%s\" not recognised", dominantMetric.toUtf8().constData());
        return BRIVANE_REPORT_UNKNOWN_METRIC;
    }
    return setBound(*this, kPrimary, metric);
}

int quillon_report::setSecondaryDominantMetric(const QString &secondaryDominantMetric)
{
    if (secondaryDominantMetric.isEmpty()) {
        for (const PodLatin1String &id : {kSecondary.longString, kSecondary.shortString, kSecondary.type,
                 kSecondary.subsectionId, kSecondary.subsectionHeading})
            setMetricValue(id, QString(), ErrorIfNotDefined);
        return BRIVANE_REPORT_OK;
    }
    const ReportDefinition::MetricDef metric = mReportDefinition.getMetric(secondaryDominantMetric);
    if (!mMetricValues.hasMetricDefinition(metric.jsonId(reportConfig()))) {
        setErrorMessage("metric \"%s\" not recognised", secondaryDominantMetric.toUtf8().constData());
        return BRIVANE_REPORT_UNKNOWN_METRIC;
    }
    return setBound(*this, kSecondary, metric);
}

QString quillon_report::getDefaultDominantMetric()
{
    const ReportDefinition::Config config = reportConfig();
    const ReportDefinition::SummaryEntryDef::List entries = mReportDefinition.getSummaryDefinition().entries;
    if (entries.isEmpty())
        return QString();

    const auto failedConversion = [this](const QString &id) {
        setErrorMessage("metric \"%s\" can't be converted to double", id.toUtf8().constData());
        return QString();
    };
    QString dominant = entries.first().metricDefId;
    QString dominantJsonId = mReportDefinition.getMetric(dominant).jsonId(config);
    for (const ReportDefinition::SummaryEntryDef &entry : entries) {
        const ReportDefinition::MetricDef metric = mReportDefinition.getMetric(entry.metricDefId);
        bool isNumber = false;
        const double largest = mMetricValues.get(dominantJsonId).toDouble(&isNumber);
        if (!isNumber)
            return failedConversion(dominant);
        const double value = mMetricValues.get(metric.jsonId(config)).toDouble(&isNumber);
        if (!isNumber)
            return failedConversion(metric.id);
        // Strict, so that the first of equals stays, and so does a NaN that comes first.
        if (largest < value) {
            dominant = metric.id;
            dominantJsonId = metric.jsonId(config);
        }
    }
    return dominant;
}

bool quillon_report::dominantMetricNeedsSetting() const
{
    for (const PodLatin1String &id : {kPrimary.longString, kPrimary.shortString, kPrimary.type,
             kPrimary.subsectionId, kPrimary.subsectionHeading})
        if (!mMetricValues.hasMetricValue(id))
            return true;
    return false;
}

int quillon_report::setSummaryOverviewAdvice(const QString &advice)
{
    return setMetricValue(DefaultMetrics::OverviewAdvice, advice, ErrorIfNotDefined);
}

int quillon_report::setSummaryEntryAdvice(const QString &summaryEntryId, const QString &advice)
{
    if (!summaryEntryExists(summaryEntryId)) {
        setErrorMessage("no summary entry found with ID: \"%s\"", summaryEntryId.toUtf8().constData());
        return BRIVANE_REPORT_UNKNOWN_SUMMARY_ENTRY;
    }
    const QString id = ReportDefinition::SummaryEntryDef::adviceJsonValue(reportConfig(), summaryEntryId);
    return setMetricValue(asciiId(id), advice, ErrorIfNotDefined);
}

int quillon_report::setSubsectionAdvice(const QString &subsectionId, int number, const QString &advice)
{
    if (!sectionExists(subsectionId)) {
        setErrorMessage("subsection with ID \"%s\" was not found", subsectionId.toUtf8().constData());
        return BRIVANE_REPORT_UNKNOWN_SUBSECTION;
    }
    // The markers %1 to %3 have always stood in these texts as they are; only the id is filled in.
    if (number < 1) {
        setErrorMessage("bad advice string number (%%1) for subsection with ID \"%s\"."
                        "Advice string indexing starts at '1'.",
            subsectionId.toUtf8().constData());
        return BRIVANE_REPORT_BAD_ADVICE_NUMBER;
    }
    if (number > getSubsectionAdviceMaxNumber(subsectionId)) {
        setErrorMessage("bad advice string number (%%1) for subsection with ID \"%s\"."
                        "Expected number in range %%2..%%3",
            subsectionId.toUtf8().constData());
        return BRIVANE_REPORT_BAD_ADVICE_NUMBER;
    }
    const QString id = ReportDefinition::SubsectionDef::adviceJsonValue(
        reportConfig(), subsectionId, static_cast<unsigned>(number));
    return setMetricValue(asciiId(id), advice, ErrorIfNotDefined);
}

int quillon_report::setSubsectionAdvice(QString subsectionId, const QStringList &advice)
{
    if (!sectionExists(subsectionId)) {
        setErrorMessage("subsection with ID \"%s\" was not found", subsectionId.toUtf8().constData());
        return BRIVANE_REPORT_UNKNOWN_SUBSECTION;
    }
    const int max = getSubsectionAdviceMaxNumber(subsectionId);
    for (int i = 0; i < max; ++i) {
        const int result = setSubsectionAdvice(subsectionId, i + 1, advice.value(i));
        if (result != BRIVANE_REPORT_OK)
            return result;
    }
    return BRIVANE_REPORT_OK;
}

int quillon_report::getSubsectionAdviceMaxNumber(QString subsectionId)
{
    if (!sectionExists(subsectionId)) {
        setErrorMessage("subsection with ID \"%s\" was not found", subsectionId.toUtf8().constData());
        return -1;
    }
    return mReportDefinition.getSubsection(subsectionId).maxAdviceStrings;
}

bool quillon_report::summaryEntryExists(const QString &summaryEntryId) const
{
    const ReportDefinition::SummaryEntryDef::List entries = mReportDefinition.getSummaryDefinition().entries;
    return std::any_of(
        entries.begin(), entries.end(), [&](const auto &entry) { return entry.id == summaryEntryId; });
}

bool quillon_report::sectionExists(const QString &sectionId) const
{
    const ReportDefinition::SubsectionDef::List subsections = mReportDefinition.getSubsectionList();
    return std::any_of(subsections.begin(), subsections.end(),
        [&](const auto &subsection) { return subsection.id == sectionId; });
}
