#include "api/reportdefinition.h"

#include "api/defaultmetrics.h"
#include "api/reportdefinitionelement.h"

namespace quillon::report {

namespace {

QString noMetricMessage(const QString &metricId)
{
    return QObject::tr("There is no metric with id=\"%1\" in this report").arg(metricId);
}

// Takes the <description> out of an entry or spacer, whose end is read, too.
void readDescription(const DefinitionElement &element, QXmlStreamReader &xml, QString &descriptionHtml)
{
    if (!xmlutils::readNextStartElement(xml))
        return;
    if (element.isNamed("description"))
        descriptionHtml = xmlutils::readElementXml(xml);
    else
        xmlutils::readNextEndElement(xml);
    xmlutils::readNextEndElement(xml);
}

// Units of a number; a metric of another type has none.
bool readUnits(
    const DefinitionElement &element, const QString &typeString, ReportDefinition::MetricDef &metric)
{
    if (metric.type == PMetricType::Integer || metric.type == PMetricType::Double)
        return element.readString("units", ReportDefinition::Optional, metric.units);
    metric.units.clear();
    return !element.hasAttribute("units")
        || element.error(QObject::tr("A '%1' element of type '%2' should not contain a 'units' attribute")
                             .arg(element.name(), typeString));
}

bool readErrorMetric(const DefinitionElement &element, const QSet<QString> &metricIdSet,
    const ReportDefinition &report, ReportDefinition::SubsectionDef &subsection)
{
    QString &id = subsection.errorMetric;
    id.clear();
    if (!element.hasAttribute("errorMetric"))
        return true;
    if (!element.readString("errorMetric", ReportDefinition::Mandatory, id))
        return false;
    if (!metricIdSet.contains(id) && !DefaultMetrics::containsImplicitMetric(id))
        return element.error(noMetricMessage(id));
    // Told, but no failure: what stands in the error channel is the caller's to judge.
    const PMetricType type = report.getMetric(id).type;
    if (type != PMetricType::String)
        element.error(QObject::tr(
            "errorMetric attribute must refer to a string metric, but metric \"%1\" is of type \"%2\"")
                          .arg(id, type.toString()));
    return true;
}

// Each is a metric of its own in every report.
const int MaxAdviceStrings = 100;

bool readMaxAdviceStrings(const DefinitionElement &element, int &maxAdviceStrings)
{
    maxAdviceStrings = 1;
    if (!element.hasAttribute("maxAdviceStrings"))
        return true;
    if (!element.readInt("maxAdviceStrings", maxAdviceStrings))
        return false;
    // Told, but no failure, as above.
    if (maxAdviceStrings < 0)
        element.error(QObject::tr("Attribute 'maxAdviceStrings' cannot be negative. Current value = %1.")
                          .arg(maxAdviceStrings));
    return maxAdviceStrings <= MaxAdviceStrings
        || element.error(
            QObject::tr("Attribute 'maxAdviceStrings' cannot be more than %1. Current value = %2.")
                .arg(QString::number(MaxAdviceStrings), QString::number(maxAdviceStrings)));
}

// Text may come in pieces, anywhere among the rows.
bool readChildren(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error,
    const QSet<QString> &metricIdSet, ReportDefinition::SubsectionDef &subsection)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    while (xmlutils::readNextStartElement(xml)) {
        if (element.isNamed("text")) {
            subsection.textHtml += xmlutils::readElementXml(xml);
        } else if (element.isNamed("entry") || element.isNamed("spacer")) {
            ReportDefinition::SubsectionEntryDef entry;
            if (!entry.readXml(xml, xmlDocumentUrl, error, metricIdSet))
                return false;
            if (!entry.isSpacer && !metricIdSet.contains(entry.metricDefId))
                return element.error(noMetricMessage(entry.metricDefId));
            subsection.entries << entry;
        } else {
            element.skipWithWarning(QObject::tr("Unrecognised element '%1' in <subsection>"));
        }
    }
    return true;
}

} // namespace

bool ReportDefinition::MetricDef::readXmlReportMetricElement(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error, QSet<QString> existingMetricIds)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    if (!element.expectName(
            "reportMetric", QObject::tr("Expected start of 'reportMetric' element, got '%1'")))
        return false;
    if (!element.readString("id", Mandatory, id))
        return false;
    const XmlNecessityType displayNameType = existingMetricIds.contains(id) ? Optional : Mandatory;
    QString typeString;
    if (!element.readString("displayName", displayNameType, displayName)
        || !element.readString("tooltip", Optional, tooltip)
        || !element.readString("breakdownSubsection", Optional, breakdownSubsectionDefId)
        || !element.readColour("colour", colour) || !element.readMetricType(type, typeString)
        || !readUnits(element, typeString, *this) || !element.readMetricVersion(defaultMetricVersion)
        || !element.readString("source", OptionalNotEmptyIfExists, source))
        return false;

    if (source == QLatin1String("metric")) {
        xmlutils::readNextStartElement(xml);
        if (!readXmlSourceDetailsElement(xml, xmlDocumentUrl, error))
            return false;
    }
    if (element.hasAttribute("source")) {
        xmlutils::readNextEndElement(xml);
        return true;
    }
    // Either there is no source or the stream is behind its details: details that follow belong to nothing.
    while (xmlutils::readNextStartElement(xml)) {
        if (element.isNamed("sourceDetails"))
            return element.error(QObject::tr("Unexpected element '%1'").arg(element.name()));
    }
    return true;
}

bool ReportDefinition::MetricDef::readXmlSourceDetailsElement(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    if (!element.expectName(
            "sourceDetails", QObject::tr("Expected start of 'sourceDetails' element, got '%1'")))
        return false;
    if (!element.readString("metricRef", Mandatory, sourceDetails.metricRef)
        || !element.readSampleValue(sourceDetails.sampleValue)
        || !element.readAggregation(sourceDetails.aggregation))
        return false;
    xmlutils::readNextEndElement(xml);
    return true;
}

bool ReportDefinition::SummaryEntryDef::readXml(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error, QSet<QString> metricIdSet)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    if (!element.expectName(
            "entry", QObject::tr("Expected start of 'entry' element (from within 'summary'), got '%1'")))
        return false;
    if (!element.readString("id", Mandatory, id)
        || !element.readString("reportMetric", Mandatory, metricDefId)
        || !element.readString("chartLabel", Optional, chartLabel)
        || !element.readRequires(requiresMetric, metricIdSet) || !element.readInt("order", order))
        return false;
    readDescription(element, xml, descriptionHtml);
    return true;
}

bool ReportDefinition::SubsectionEntryDef::readXml(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error, QSet<QString> metricIdSet)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    if (!element.isNamed("spacer") && !element.isNamed("entry"))
        return element.error(
            QObject::tr("Expected start of 'entry' or 'spacer' element (from within 'subsection'), got '%1'")
                .arg(element.name()));
    isSpacer = element.isNamed("spacer");
    if (!isSpacer
        && (!element.readBool("machineReadableOnly", isMachineReadableOnly)
            || !element.readString("reportMetric", Mandatory, metricDefId)
            || !element.readUnitPrefix(unitPrefix)
            || !element.readString("displayName", Optional, overrideDisplayName)
            || !element.readColour("colour", overrideColour) || !element.readString("group", Optional, group)
            || !element.readDouble("maxBarValue", maxBarValue)))
        return false;
    if (!element.readInt("order", order) || !element.readRequires(requiresMetric, metricIdSet))
        return false;
    readDescription(element, xml, descriptionHtml);
    return true;
}

bool ReportDefinition::SubsectionDef::readXml(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl,
    QString *error, QSet<QString> metricIdSet, QSet<QString> existingSubsectionIds,
    const ReportDefinition &report)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    if (!element.expectName("subsection", QObject::tr("Expected start of 'subsection' element, got '%1'")))
        return false;
    if (!element.readString("id", Mandatory, id))
        return false;
    const XmlNecessityType headingType = existingSubsectionIds.contains(id) ? Optional : Mandatory;
    return element.readString("heading", headingType, heading) && element.readColour("colour", colour)
        && element.readRequires(requiresMetric, metricIdSet)
        && readErrorMetric(element, metricIdSet, report, *this) && element.readInt("order", order)
        && readMaxAdviceStrings(element, maxAdviceStrings)
        && readChildren(xml, xmlDocumentUrl, error, metricIdSet, *this);
}

} // namespace quillon::report
