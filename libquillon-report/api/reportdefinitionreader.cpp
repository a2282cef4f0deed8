#include "api/reportdefinition.h"

#include "api/reportdefinitionelement.h"
#include "core/branding.h"

namespace quillon::report {

namespace {

// For error texts that name what was merged so far.
const int FileListIndent = 8;

// What a metric, entry or subsection is worth stands as deeply in the report's data as its id has parts.
const int MaxIdParts = 80;

// What is wrong with an id that is new; nothing is if it is null.
QString idProblem(const ReportDefinition::Config &config, const QString &id)
{
    if (config.isReserved(id))
        return QObject::tr("The id=\"%1\" is reserved.").arg(id);
    if (id.count(QLatin1Char('.')) >= MaxIdParts)
        return QObject::tr("The id=\"%1\" has more than %2 parts.").arg(id, QString::number(MaxIdParts));
    return QString();
}

// Summary headings and footers of several documents follow each other.
void appendOnNewLine(QString &text, const QString &addition)
{
    text = text.isEmpty() ? addition : text + QLatin1String("<br/>") + addition;
}

} // namespace

bool ReportDefinition::readXml(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, ReportInputType inputType, QString *error)
{
    if (error)
        error->clear();
    xmlutils::readNextStartElement(xml);
    return inputType == FullReport ? readXmlFullReport(xml, xmlDocumentUrl, error)
                                   : readXmlPartialReport(xml, xmlDocumentUrl, error);
}

bool ReportDefinition::readXmlFullReport(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    mMetrics.clear();
    mSummary = SummaryDef();
    mSubsections.clear();
    mPartialReportContributions.clear();
    mReportDocumentUrl = xmlDocumentUrl;

    const DefinitionElement element(xml, xmlDocumentUrl, error);
    QString logo;
    QString logoLink;
    if (!element.readString("name", Mandatory, mReportName) || !element.readString("logo", Optional, logo)
        || !element.readString("logoLink", Optional, logoLink))
        return false;
    mReportLogo
        = logo.isEmpty() ? QStringLiteral("%1-180.png").arg(QLatin1String(Branding::ourLogoPrefix)) : logo;
    mReportLogoLink = logoLink.isEmpty() ? QString(QLatin1String(Branding::ourLogoLink)) : logoLink;
    if (!element.expectName("report", QObject::tr("Expected 'report' as the root element, got '%1'")))
        return false;

    xmlutils::readNextStartElement(xml);
    if (!readXmlReportMetricsElement(xml, xmlDocumentUrl, error))
        return false;
    xmlutils::readNextStartElement(xml);
    if (!readXmlSummaryElement(xml, xmlDocumentUrl, FullReport, error))
        return false;
    xmlutils::readNextStartElement(xml);
    return readXmlSubsectionsElement(xml, xmlDocumentUrl, error);
}

bool ReportDefinition::readXmlPartialReport(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    QString partialReportName;
    if (!element.readString("name", Mandatory, partialReportName)
        || !element.expectName(
            "partialReport", QObject::tr("Expected 'partialReport' as the root element, got '%1'")))
        return false;

    xmlutils::readNextStartElement(xml);
    if (element.isNamed("reportMetrics")) {
        if (!readXmlReportMetricsElement(xml, xmlDocumentUrl, error))
            return false;
        xmlutils::readNextStartElement(xml);
    }
    if (element.isNamed("summary")) {
        if (!readXmlSummaryElement(xml, xmlDocumentUrl, PartialReport, error))
            return false;
        xmlutils::readNextStartElement(xml);
    }
    if (element.isNamed("subsections") && !readXmlSubsectionsElement(xml, xmlDocumentUrl, error))
        return false;
    mPartialReportContributions[partialReportName] = xmlDocumentUrl;
    return true;
}

bool ReportDefinition::readXmlReportMetricsElement(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    QSet<QString> metricIdSet = metricIds();
    const QSet<QString> idSetFromBeforeThisXmlStream = metricIdSet;
    if (!element.expectName(
            "reportMetrics", QObject::tr("Expected start of 'reportMetrics' element, got '%1'")))
        return false;
    while (xmlutils::readNextStartElement(xml)) {
        if (!element.isNamed("reportMetric")) {
            element.skipWithWarning(QObject::tr("Unrecognised element '%1' in <reportMetric>"));
            continue;
        }
        MetricDef metric;
        if (!metric.readXmlReportMetricElement(xml, xmlDocumentUrl, error, metricIdSet))
            return false;
        if (!metricIdSet.contains(metric.id)) {
            metricIdSet.insert(metric.id);
            if (!addMetric(metric, xml, xmlDocumentUrl, error))
                return false;
        } else if (!idSetFromBeforeThisXmlStream.contains(metric.id)) {
            return element.error(
                QObject::tr("There is already a metric with id=\"%1\" in the <metrics> section of this file")
                    .arg(metric.id));
        } else if (!findId(mMetrics, metric.id)->merge(metric)) {
            return element.error(mergeMessage(
                QObject::tr("Unable to merge metric with id=\"%1\" from this file into the existing report "
                            "that was constructed from the following files:\n"),
                metric.id));
        }
    }
    return true;
}

bool ReportDefinition::addMetric(
    const MetricDef &metric, QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    const QString problem = idProblem(mConfig, metric.id);
    if (!problem.isNull())
        return element.error(problem);
    QString emptyPartsError;
    const QString clashingId = getClashingMetricId(metric.id, &emptyPartsError);
    if (!emptyPartsError.isEmpty())
        return element.error(emptyPartsError);
    if (!clashingId.isEmpty()) {
        const QString kind = clashingId == metric.id ? QObject::tr("Full") : QObject::tr("Partial");
        return element.error(QObject::tr("%1 metric id name collision detected between \"%2\" and \"%3\".")
                                 .arg(kind, metric.id, clashingId));
    }
    mMetrics << metric;
    return true;
}

bool ReportDefinition::readXmlSummaryElement(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, ReportInputType inputType, QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    bool overwrite = false;
    if (!element.readBool("overwrite", overwrite))
        return false;
    if (overwrite)
        mSummary = SummaryDef();
    const QSet<QString> metricIdSet = metricIds();
    const QSet<QString> idSetFromBeforeThisXmlStream = idsOf(mSummary.entries);
    if (!element.expectName("summary", QObject::tr("Expected start of 'summary' element, got '%1'")))
        return false;

    bool nextElementMustBeHeading = inputType == FullReport;
    while (xmlutils::readNextStartElement(xml)) {
        if (nextElementMustBeHeading
            && !element.expectName("heading",
                QObject::tr("Expected start of 'heading' element (from within 'summary'), got '%1'")))
            return false;
        nextElementMustBeHeading = false;
        if (element.isNamed("heading")) {
            appendOnNewLine(mSummary.heading, xmlutils::readElementXml(xml));
        } else if (element.isNamed("footer")) {
            appendOnNewLine(mSummary.footer, xmlutils::readElementXml(xml));
        } else if (element.isNamed("entry")) {
            SummaryEntryDef entry;
            if (!entry.readXml(xml, xmlDocumentUrl, error, metricIdSet)
                || !addSummaryEntry(
                    entry, metricIdSet, idSetFromBeforeThisXmlStream, xml, xmlDocumentUrl, error))
                return false;
        } else {
            element.skipWithWarning(QObject::tr("Unrecognised element '%1' in <summary>"));
        }
    }
    return !mSummary.entries.isEmpty()
        || element.error(QObject::tr("There are no <entry> elements in the <summary> section. A report must "
                                     "contain at least one metric and summary entry"));
}

bool ReportDefinition::addSummaryEntry(const SummaryEntryDef &entry, const QSet<QString> &metricIdSet,
    const QSet<QString> &idSetFromBeforeThisXmlStream, QXmlStreamReader &xml, const QUrl &xmlDocumentUrl,
    QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    if (idSetFromBeforeThisXmlStream.contains(entry.id)) {
        return element.error(mergeMessage(
            QObject::tr("There is already a non-identical entry with id=\"%1\" in the <summary> section of "
                        "this report, added from one of the following files:\n"),
            entry.id));
    }
    if (findId(mSummary.entries, entry.id) != mSummary.entries.end()) {
        return element.error(
            QObject::tr("There is already an entry with id=\"%1\" in the <summary> section of this file")
                .arg(entry.id));
    }
    const QString problem = idProblem(mConfig, entry.id);
    if (!problem.isNull())
        return element.error(problem);
    if (!metricIdSet.contains(entry.metricDefId)) {
        return element.error(
            QObject::tr("There is no metric with id=\"%1\" in this report").arg(entry.metricDefId));
    }
    mSummary.entries << entry;
    return true;
}

bool ReportDefinition::readXmlSubsectionsElement(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    bool overwriteAll = false;
    if (!element.readBool("overwrite", overwriteAll))
        return false;
    if (overwriteAll)
        mSubsections.clear();
    const QSet<QString> metricIdSet = metricIds();
    const QSet<QString> idSetFromBeforeThisXmlStream = idsOf(mSubsections);
    QSet<QString> idSet = idSetFromBeforeThisXmlStream;
    if (!element.expectName("subsections", QObject::tr("Expected start of 'subsections' element, got '%1'")))
        return false;
    while (xmlutils::readNextStartElement(xml)) {
        if (!element.isNamed("subsection")) {
            element.skipWithWarning(QObject::tr("Unrecognised element '%1' in <subsections>"));
            continue;
        }
        bool overwriteSubsection = false;
        SubsectionDef subsection;
        if (!element.readBool("overwrite", overwriteSubsection)
            || !subsection.readXml(xml, xmlDocumentUrl, error, metricIdSet, idSet, *this)
            || !addSubsection(
                subsection, overwriteSubsection, idSetFromBeforeThisXmlStream, xml, xmlDocumentUrl, error))
            return false;
        idSet.insert(subsection.id);
    }
    return checkBreakdownSubsections(xml, xmlDocumentUrl, error);
}

bool ReportDefinition::addSubsection(const SubsectionDef &subsection, bool overwrite,
    const QSet<QString> &idSetFromBeforeThisXmlStream, QXmlStreamReader &xml, const QUrl &xmlDocumentUrl,
    QString *error)
{
    const DefinitionElement element(xml, xmlDocumentUrl, error);
    const auto existing = findId(mSubsections, subsection.id);
    if (existing == mSubsections.end()) {
        const QString problem = idProblem(mConfig, subsection.id);
        if (!problem.isNull())
            return element.error(problem);
        mSubsections << subsection;
        return true;
    }
    if (!idSetFromBeforeThisXmlStream.contains(subsection.id)) {
        return element.error(QObject::tr(
            "There is already a subsection with id=\"%1\" in the <subsections> section of this file")
                                 .arg(subsection.id));
    }
    if (overwrite) {
        *existing = subsection;
        return true;
    }
    return existing->merge(subsection)
        || element.error(mergeMessage(
            QObject::tr(
                "Unable to merge subsection with id=\"%1\" from this file into the existing report that "
                "was constructed from the following files:\n"),
            subsection.id));
}

bool ReportDefinition::checkBreakdownSubsections(
    QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error) const
{
    const QSet<QString> subsectionIds = idsOf(mSubsections);
    for (const MetricDef &metric : mMetrics) {
        const QString &id = metric.breakdownSubsectionDefId;
        if (id.isEmpty() || subsectionIds.contains(id))
            continue;
        return DefinitionElement(xml, xmlDocumentUrl, error)
            .error(QObject::tr(
                "No subsection has id=\"%1\", required by the \"breakdownSubsection\" attribute of "
                "the \"%2\" metric")
                       .arg(id, metric.id));
    }
    return true;
}

QString ReportDefinition::mergeMessage(const QString &message, const QString &id) const
{
    return message.arg(id) + listDefinitionFiles(FileListIndent);
}

} // namespace quillon::report
