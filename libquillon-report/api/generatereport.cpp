#include "api/generatereport.h"

#include "api/contentpolicy.h"
#include "api/embedresources.h"
#include "core/printable.h"
#include "reportengine.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QList>
#include <QObject>
#include <QPair>

namespace quillon::report {

namespace {

using brivane::ReportEngine;
using brivane::ReportFormat;

const char kResources[] = ":quillon-report/custom";

typedef QPair<QString, ReportFormat> Template;

QString resourcePath(const QString &name)
{
    return QStringLiteral(":quillon-report/custom/%1").arg(name);
}

/// In the order of registration: a partial of HTML also makes one of text, which a text of its own replaces.
const QList<Template> &templates()
{
    static const QList<Template> table = {
        {resourcePath(QStringLiteral("html_template.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("csv_template.txt")), ReportFormat::Text},
        {resourcePath(QStringLiteral("applicationDetailsTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("headerMemoryTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("headerResourcesTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("headerTasksTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("headerTimeTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("logoTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("subsectionsTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("summaryTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("titleTemplate.html")), ReportFormat::Html},
        {resourcePath(QStringLiteral("headerResourcesTemplate.txt")), ReportFormat::Text},
        {resourcePath(QStringLiteral("text_header.txt")), ReportFormat::Text},
        {resourcePath(QStringLiteral("text_subsections.txt")), ReportFormat::Text},
        {resourcePath(QStringLiteral("text_summary.txt")), ReportFormat::Text},
        {resourcePath(QStringLiteral("text_template.txt")), ReportFormat::Text},
    };
    return table;
}

const QStringList &scripts()
{
    static const QStringList table = {resourcePath(QStringLiteral("quillon-reports.js"))};
    return table;
}

const QStringList &headSnippets()
{
    static const QStringList table = {resourcePath(QStringLiteral("header.html"))};
    return table;
}

QString rootTemplateForReportType(QuillonReportType type)
{
    switch (type) {
    case TxtReport:
        return QStringLiteral("text_template");
    case HtmlReport:
        return QStringLiteral("html_template");
    case CsvReport:
        return QStringLiteral("csv_template");
    case JsonReport:
        break;
    }
    return QString();
}

ReportFormat formatForReportType(QuillonReportType type)
{
    switch (type) {
    case TxtReport:
    case CsvReport:
        return ReportFormat::Text;
    case HtmlReport:
        return ReportFormat::Html;
    case JsonReport:
        break;
    }
    return ReportFormat::Invalid;
}

/// A missing resource yields an empty text.
QByteArray includeResource(const QString &name)
{
    QFile file(resourcePath(name));
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

QJsonObject createJsonData(const PMetricValues &metricValues, const QJsonObject &brandingData,
    const QJsonObject &summaryData, const QJsonArray &subsectionData, const QJsonObject &colourData)
{
    QJsonObject json;
    json.insert(QStringLiteral("subsections"), subsectionData);
    json.insert(QStringLiteral("summaryData"), summaryData);
    json.insert(QStringLiteral("brandingData"), brandingData);
    json.insert(QStringLiteral("colorData"), colourData);
    json.insert(QStringLiteral("headerData"),
        QJsonDocument::fromJson(includeResource(QStringLiteral("header-data.json"))).array());
    json.insert(QStringLiteral("data"), metricValues.toJsonValues());
    json.insert(QStringLiteral("metricData"), metricValues.toJsonDefinitions());
    return json;
}

/// What fails to load costs a warning; rendering fails only if it asks for that.
void initialiseReportEngine(ReportEngine &engine)
{
    QString error;
    for (const Template &row : templates()) {
        QFile file(row.first);
        if (!engine.loadPartialFromFile(QFileInfo(row.first).baseName(), file, row.second, &error)) {
            qWarning().noquote() << QObject::tr(
                "Error generating report, failed when processing template '%1':\n%2")
                                        .arg(row.first, error);
            error = QString();
        }
    }
    for (const QString &path : scripts()) {
        QFile file(path);
        if (!engine.loadJavaScriptFromFile(file, &error)) {
            qWarning().noquote() << QObject::tr(
                "Error generating report, failed when processing javascript file '%1'\n:%2")
                                        .arg(path, error);
            error = QString();
        }
    }
    for (const QString &path : headSnippets()) {
        QFile file(path);
        const QByteArray snippet = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        engine.loadAdditionalHeadContent(QString::fromUtf8(snippet));
    }
}

QByteArray renderPage(ReportEngine &engine, const QJsonObject &json)
{
    QString error;
    const QString page = engine.renderDynamicHtml(json, rootTemplateForReportType(HtmlReport), &error);
    QByteArray report
        = withContentPolicy(embedResources(page, QLatin1String(kResources)), json).toLocal8Bit();
    if (!error.isEmpty())
        qWarning().noquote() << QObject::tr("Error generating dynamic HTML report: %1").arg(error);
    return report;
}

QByteArray renderText(ReportEngine &engine, const QJsonObject &json, QuillonReportType type)
{
    QString error;
    const QString report
        = engine.renderStatic(json, rootTemplateForReportType(type), formatForReportType(type), &error);
    if (!error.isEmpty())
        qWarning().noquote() << QObject::tr("Error generating static report: %1").arg(error);
    // The text is for terminals, CSV for programs, which get each value as it is.
    return (type == TxtReport ? printable(report) : report).toLocal8Bit();
}

} // namespace

QByteArray generateQuillonReport(QuillonReportType reportType, const PMetricValues &metricValues,
    const QJsonObject &brandingData, const QJsonObject &summaryData, const QJsonArray &subsectionData,
    const QJsonObject &colourData)
{
    const QJsonObject json
        = createJsonData(metricValues, brandingData, summaryData, subsectionData, colourData);
    if (reportType == JsonReport)
        return QJsonDocument(json).toJson();

    ReportEngine engine;
    initialiseReportEngine(engine);
    return reportType == HtmlReport ? renderPage(engine, json) : renderText(engine, json, reportType);
}

} // namespace quillon::report
