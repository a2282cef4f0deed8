#include "api/reportdefinition.h"

#include "api/reportdefinitionelement.h"

#include <algorithm>
#include <cmath>

namespace quillon::report {

namespace {

QString prefixed(const QString &prefix, const QString &id)
{
    return prefix.isEmpty() ? id : prefix + QLatin1Char('.') + id;
}

void takeIfSet(QString &field, const QString &other)
{
    if (!other.isEmpty())
        field = other;
}

void takeIfSet(QColor &field, const QColor &other)
{
    if (other.isValid())
        field = other;
}

// A default-constructed definition stands for an id that isn't there.
template <typename Definition>
Definition withIdOrDefault(const QList<Definition> &definitions, const QString &id)
{
    const auto found = findId(definitions, id);
    return found == definitions.end() ? Definition() : *found;
}

// Parts are what stands between dots.
bool hasEmptyParts(const QString &id, QString *error)
{
    const QLatin1Char dot('.');
    if (!error
        || !(id.isEmpty() || id.startsWith(dot) || id.endsWith(dot) || id.contains(QLatin1String(".."))))
        return false;
    *error = QObject::tr("%1 contains empty parts.").arg(id);
    return true;
}

// Whether the parts of one id are the first parts of the other. Each new metric is compared with all that are
// there: nothing is split or copied here.
bool beginsPath(const QString &path, const QString &longer)
{
    return longer.startsWith(path)
        && (longer.size() == path.size() || longer.at(path.size()) == QLatin1Char('.'));
}

} // namespace

const QString ReportDefinition::DefaultSchemaFilename
    = QStringLiteral(":/quillon-report/custom/validation.xsd");

ReportDefinition::Config::Config()
    : mMetricIdJsonPrefix(QStringLiteral("custom.report.metric"))
    , mSummaryJsonPrefix(QStringLiteral("custom.report.summary"))
    , mSubsectionJsonPrefix(QStringLiteral("custom.report.subsection"))
{
}

bool ReportDefinition::Config::isReserved(const QString &id) const
{
    return mReserveBrivanePrefixedIds
        && (id.startsWith(QLatin1String("brivane.")) || id.startsWith(QLatin1String("com.brivane.")));
}

QString ReportDefinition::Config::metricJsonId(const QString &id) const
{
    return prefixed(mMetricIdJsonPrefix, id);
}

QString ReportDefinition::Config::summaryJsonId(const QString &id) const
{
    return prefixed(mSummaryJsonPrefix, id);
}

QString ReportDefinition::Config::subsectionJsonId(const QString &id) const
{
    return prefixed(mSubsectionJsonPrefix, id);
}

ReportDefinition::Config ReportDefinition::Config::withoutPrefixesOrReservedIds()
{
    Config config;
    config.mMetricIdJsonPrefix = QString();
    config.mSummaryJsonPrefix = QString();
    config.mSubsectionJsonPrefix = QString();
    config.mReserveBrivanePrefixedIds = false;
    return config;
}

ReportDefinition::MetricDef &ReportDefinition::MetricDef::withId(const QString &value)
{
    id = value;
    return *this;
}

ReportDefinition::MetricDef &ReportDefinition::MetricDef::withDisplayName(const QString &value)
{
    displayName = value;
    return *this;
}

ReportDefinition::MetricDef &ReportDefinition::MetricDef::withUnits(const QString &value)
{
    units = value;
    return *this;
}

ReportDefinition::MetricDef &ReportDefinition::MetricDef::withColour(const QString &value)
{
    colour.setNamedColor(value);
    return *this;
}

ReportDefinition::MetricDef &ReportDefinition::MetricDef::withType(PMetricType::value_type value)
{
    type = value;
    return *this;
}

ReportDefinition::MetricDef &ReportDefinition::MetricDef::withDefaultMetricVersion(
    DefaultMetricVersion::Enum value)
{
    defaultMetricVersion = value;
    return *this;
}

QString ReportDefinition::MetricDef::jsonId(const Config &config) const
{
    return defaultMetricVersion == DefaultMetricVersion::NonDefaultMetric ? config.metricJsonId(id) : id;
}

bool ReportDefinition::MetricDef::merge(const MetricDef &other)
{
    if (id != other.id)
        return false;
    takeIfSet(displayName, other.displayName);
    takeIfSet(units, other.units);
    takeIfSet(breakdownSubsectionDefId, other.breakdownSubsectionDefId);
    takeIfSet(source, other.source);
    takeIfSet(sourceDetails.metricRef, other.sourceDetails.metricRef);
    takeIfSet(colour, other.colour);
    if (other.sourceDetails.sampleValue != SampleValueUnset)
        sourceDetails.sampleValue = other.sourceDetails.sampleValue;
    if (other.sourceDetails.aggregation != AggregationUnset)
        sourceDetails.aggregation = other.sourceDetails.aggregation;
    return true;
}

QString ReportDefinition::SummaryEntryDef::metricJsonId(const Config &config) const
{
    return config.metricJsonId(metricDefId);
}

QString ReportDefinition::SummaryEntryDef::adviceJsonValue(const Config &config, const QString &id)
{
    return config.summaryJsonId(id) + QLatin1String(".advice");
}

QString ReportDefinition::SummaryEntryDef::adviceJsonValue(const Config &config) const
{
    return adviceJsonValue(config, id);
}

bool ReportDefinition::SubsectionEntryDef::hasMaxBarValue() const
{
    return std::isfinite(maxBarValue);
}

QString ReportDefinition::SubsectionDef::adviceJsonValue(
    const Config &config, const QString &id, unsigned int number)
{
    return QStringLiteral("%1.advice%2").arg(config.subsectionJsonId(id), QString::number(number));
}

QString ReportDefinition::SubsectionDef::adviceJsonValue(const Config &config, unsigned int number) const
{
    return adviceJsonValue(config, id, number);
}

bool ReportDefinition::SubsectionDef::merge(const SubsectionDef &other)
{
    if (id != other.id)
        return false;
    takeIfSet(heading, other.heading);
    takeIfSet(textHtml, other.textHtml);
    takeIfSet(requiresMetric, other.requiresMetric);
    takeIfSet(colour, other.colour);
    if (other.order != 0)
        order = other.order;
    maxAdviceStrings = std::max(maxAdviceStrings, other.maxAdviceStrings);
    entries += other.entries;
    return true;
}

QSet<QString> ReportDefinition::metricIds() const
{
    return idsOf(mMetrics);
}

ReportDefinition::MetricDef ReportDefinition::getMetric(QString id) const
{
    return withIdOrDefault(mMetrics, id);
}

ReportDefinition::SummaryDef ReportDefinition::getSummaryDefinition() const
{
    SummaryDef summary = mSummary;
    std::stable_sort(summary.entries.begin(), summary.entries.end(), summaryEntryOrderingLessThan);
    return summary;
}

ReportDefinition::SubsectionDef::List ReportDefinition::getSubsectionList() const
{
    SubsectionDef::List subsections = mSubsections;
    std::stable_sort(subsections.begin(), subsections.end(), subsectionOrderingLessThan);
    for (SubsectionDef &subsection : subsections)
        std::stable_sort(
            subsection.entries.begin(), subsection.entries.end(), subsectionEntryOrderingLessThan);
    return subsections;
}

ReportDefinition::SubsectionDef ReportDefinition::getSubsection(QString id) const
{
    return withIdOrDefault(mSubsections, id);
}

void ReportDefinition::setMetricDefinitionList(const MetricDef::List &metrics)
{
    mMetrics = metrics;
    assertSanity();
}

void ReportDefinition::setSummaryDefinition(const SummaryDef &summary)
{
    mSummary = summary;
    assertSanity();
}

void ReportDefinition::setSubsectionList(const SubsectionDef::List &subsections)
{
    mSubsections = subsections;
    assertSanity();
}

bool ReportDefinition::assertSanity() const
{
    // Made for a debugger: the sets are what one wants to look at when a definition made by hand goes wrong.
    [[maybe_unused]] const QSet<QString> metricIdSet = metricIds();
    [[maybe_unused]] const QSet<QString> summaryEntryIdSet = idsOf(mSummary.entries);
    [[maybe_unused]] const QSet<QString> subsectionIdSet = idsOf(mSubsections);
    for (const SubsectionDef &subsection : mSubsections) {
        for (const SubsectionEntryDef &entry : subsection.entries) {
            if (entry.isSpacer)
                continue;
            [[maybe_unused]] const bool isDeclared = metricIdSet.contains(entry.metricDefId);
        }
    }
    return true;
}

QString ReportDefinition::getClashingMetricId(const QString &metricId, QString *error) const
{
    if (hasEmptyParts(metricId, error))
        return QString();
    for (const MetricDef &metric : mMetrics) {
        if (hasEmptyParts(metric.id, error))
            return QString();
        if (beginsPath(metric.id, metricId) || beginsPath(metricId, metric.id))
            return metric.id;
    }
    return QString();
}

QString ReportDefinition::listDefinitionFiles(int indent) const
{
    const QString line = QStringLiteral("%1%2 (%3)\n");
    const QString blanks(indent, QLatin1Char(' '));
    QString files = line.arg(blanks, mReportName, mReportDocumentUrl.toString());
    for (auto it = mPartialReportContributions.cbegin(); it != mPartialReportContributions.cend(); ++it)
        files += line.arg(blanks, it.key(), it.value().toString());
    return files;
}

bool ReportDefinition::summaryEntryOrderingLessThan(const SummaryEntryDef &left, const SummaryEntryDef &right)
{
    return left.order < right.order;
}

bool ReportDefinition::subsectionOrderingLessThan(const SubsectionDef &left, const SubsectionDef &right)
{
    return left.order < right.order;
}

bool ReportDefinition::subsectionEntryOrderingLessThan(
    const SubsectionEntryDef &left, const SubsectionEntryDef &right)
{
    return left.order < right.order;
}

} // namespace quillon::report
