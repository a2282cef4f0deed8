#include "api/jsongeneration.h"

#include "api/defaultmetrics.h"
#include "api/replaceplaceholders.h"
#include "api/reportdefinition.h"
#include "core/branding.h"

#include <QColor>
#include <QFile>
#include <QObject>

#include <algorithm>

namespace quillon::report::json {
namespace {

using MetricDef = ReportDefinition::MetricDef;
using SummaryEntryDef = ReportDefinition::SummaryEntryDef;
using SubsectionDef = ReportDefinition::SubsectionDef;
using SubsectionEntryDef = ReportDefinition::SubsectionEntryDef;

// What to show for an id that no metric has, so that a report with a dangling reference still renders.
MetricDef unknownMetric(const QString &id)
{
    MetricDef metric;
    metric.id = QStringLiteral("Unknown Metric ID: %1").arg(id);
    metric.displayName = metric.id;
    metric.units = QStringLiteral("%");
    // Not a form that QColor knows: the colour stays unset.
    metric.colour.setNamedColor(QStringLiteral("0xdddddd"));
    return metric;
}

MetricDef findMetricWithId(const MetricDef::List &metrics, const QString &id)
{
    const auto found = std::find_if(
        metrics.begin(), metrics.end(), [&](const MetricDef &metric) { return metric.id == id; });
    if (found != metrics.end()) {
        return *found;
    }
    qDebug("No metric with the ID \"%s\" was found", qUtf8Printable(id));
    return unknownMetric(id);
}

// The name of an overriding colour: unique, since a row is known by its subsection and its place in it.
QString colourIdForSubsectionEntryOverride(const ReportDefinition &report, const SubsectionDef &subsection,
    const SubsectionEntryDef &entry, int index)
{
    return QStringLiteral("%1-%2-%3")
        .arg(report.config().subsectionJsonId(subsection.id), QString::number(index),
            report.getMetric(entry.metricDefId).jsonId(report.config()));
}

void insertMetricColour(const QString &id, const QColor &colour, QJsonObject &json, QString *error)
{
    json.insert(id, colourStringToJsonHslArray(colour.isValid() ? colour : QColor(Qt::black), error));
}

// Advice and errors are paths into the report's values. Three braces let the markup of advice through.
QString adviceTemplate(const QString &path)
{
    return QStringLiteral("{{{%1}}}").arg(path);
}
QString errorTemplate(const QString &path)
{
    return QStringLiteral("{{%1}}").arg(path);
}

void insertIfNotEmpty(const QString &key, const QString &text, QJsonObject &json)
{
    if (!text.isEmpty()) {
        json.insert(key, text);
    }
}

// "!" and an id hides what carries it while that metric holds; an id alone shows it while the metric holds.
void insertVisibility(const QString &requiresMetric, QJsonObject &json)
{
    const QString path = QStringLiteral("data.%1");
    if (requiresMetric.startsWith(QLatin1Char('!'))) {
        json.insert(QStringLiteral("hidden"), path.arg(requiresMetric.mid(1)));
    } else if (!requiresMetric.isEmpty()) {
        json.insert(QStringLiteral("visible"), path.arg(requiresMetric));
    }
}

// A description that fails leaves its message in `error`; the rest of the row stands all the same.
QJsonObject summaryRow(const ReportDefinition &report, const SummaryEntryDef &entry, QString *error)
{
    const MetricDef metric = findMetricWithId(report.getMetricDefinitionList(), entry.metricDefId);
    const QString metricId = metric.jsonId(report.config());
    QJsonObject row{
        {QStringLiteral("descriptionHtmlTemplate"),
            replacePlaceholders(report, entry.descriptionHtml, error)},
        {QStringLiteral("heading"), metric.displayName},
        {QStringLiteral("metricId"), metricId},
        {QStringLiteral("colorName"), metricId},
        {QStringLiteral("adviceHtmlTemplate"), adviceTemplate(entry.adviceJsonValue(report.config()))},
    };
    insertIfNotEmpty(QStringLiteral("chartLabel"), entry.chartLabel, row);
    insertVisibility(entry.requiresMetric, row);
    return row;
}

QJsonArray summaryBounds(const ReportDefinition &report)
{
    QJsonArray bounds;
    for (const MetricDef &metric : report.getMetricDefinitionList()) {
        const QString id = metric.jsonId(report.config());
        bounds.append(QJsonObject{{QStringLiteral("type"), id}, {QStringLiteral("colorName"), id}});
    }
    return bounds;
}

QJsonObject spacerEntry(const SubsectionEntryDef &entry)
{
    QJsonObject json{{QStringLiteral("template"), QStringLiteral("spacerTemplate")}};
    insertVisibility(entry.requiresMetric, json);
    return json;
}

QJsonObject metricEntry(const ReportDefinition &report, const SubsectionDef &subsection,
    const SubsectionEntryDef &entry, int index, QString *error)
{
    const MetricDef metric = findMetricWithId(report.getMetricDefinitionList(), entry.metricDefId);
    const QString metricId = metric.jsonId(report.config());
    const bool isPercentage = metric.units == QLatin1String("%");

    QJsonObject json{{QStringLiteral("metricId"), metricId}};
    insertVisibility(entry.requiresMetric, json);
    if (!entry.isMachineReadableOnly) {
        json.insert(QStringLiteral("template"),
            isPercentage ? QStringLiteral("percentageTemplate") : QStringLiteral("numberTemplate"));
    }
    json.insert(QStringLiteral("colorName"),
        entry.overrideColour.isValid() ? colourIdForSubsectionEntryOverride(report, subsection, entry, index)
                                       : metricId);
    insertIfNotEmpty(QStringLiteral("displayName"), entry.overrideDisplayName, json);
    insertIfNotEmpty(QStringLiteral("tooltip"), metric.tooltip, json);
    if (entry.unitPrefix == ReportDefinition::PrefixIEC) {
        json.insert(QStringLiteral("useIEC"), true);
    }
    if (!entry.descriptionHtml.isEmpty()) {
        json.insert(QStringLiteral("descriptionHtmlTemplate"),
            replacePlaceholders(report, entry.descriptionHtml, error));
    }
    if (entry.hasMaxBarValue()) {
        json.insert(QStringLiteral("maxBarValue"), entry.maxBarValue);
    }
    insertIfNotEmpty(QStringLiteral("group"), entry.group, json);
    return json;
}

QJsonArray subsectionEntries(const ReportDefinition &report, const SubsectionDef &subsection, QString *error)
{
    QJsonArray entries;
    for (int index = 0; index < subsection.entries.size(); ++index) {
        const SubsectionEntryDef &entry = subsection.entries.at(index);
        entries.append(
            entry.isSpacer ? spacerEntry(entry) : metricEntry(report, subsection, entry, index, error));
    }
    return entries;
}

QJsonArray subsectionAdvice(const ReportDefinition &report, const SubsectionDef &subsection)
{
    QJsonArray advice;
    for (int number = 1; number <= subsection.maxAdviceStrings; ++number) {
        advice.append(
            adviceTemplate(subsection.adviceJsonValue(report.config(), static_cast<unsigned int>(number))));
    }
    return advice;
}

QJsonObject subsectionObject(const ReportDefinition &report, const SubsectionDef &subsection, QString *error)
{
    const QString description = replacePlaceholders(report, subsection.textHtml, error);
    if (!error->isEmpty()) {
        *error += QObject::tr(" (in description of subsection %1)").arg(subsection.id);
        return {};
    }
    QJsonObject json{
        {QStringLiteral("descriptionHtmlTemplate"), description},
        {QStringLiteral("heading"), subsection.heading},
        {QStringLiteral("colorName"), report.config().subsectionJsonId(subsection.id)},
        {QStringLiteral("adviceHtmlTemplate"), subsectionAdvice(report, subsection)},
        {QStringLiteral("metrics"), subsectionEntries(report, subsection, error)},
    };
    if (!subsection.errorMetric.isEmpty()) {
        json.insert(QStringLiteral("errorHtmlTemplate"), errorTemplate(subsection.errorMetric));
    }
    insertVisibility(subsection.requiresMetric, json);
    return json;
}

struct Logo {
    QString image;
    QString link;
    QString alternative; // a data: URI
    int height; // in pixels
};

QJsonObject logoObject(const Logo &logo)
{
    QJsonObject json{{QStringLiteral("image"), logo.image}, {QStringLiteral("height"), logo.height}};
    insertIfNotEmpty(QStringLiteral("link"), logo.link, json);
    insertIfNotEmpty(QStringLiteral("altData"), logo.alternative, json);
    return json;
}

} // namespace

QJsonArray colourStringToJsonHslArray(const QColor &colour, QString *error)
{
    *error = QString();
    if (!colour.isValid()) {
        *error += QObject::tr(" (Unknown colour %1)").arg(colour.name());
        return {};
    }
    // Greys have no hue: -1, which the signed remainder keeps.
    return {colour.hslHue() % 360, colour.hslSaturation() * 100 / 255, colour.lightness() * 100 / 255};
}

QJsonObject createColoursData(const ReportDefinition &reportDefinition, QString *error)
{
    QString localError;
    error = error ? error : &localError;
    *error = QString();

    const ReportDefinition::Config &config = reportDefinition.config();
    QJsonObject colours;
    for (const MetricDef &metric : reportDefinition.getMetricDefinitionList()) {
        insertMetricColour(metric.jsonId(config), metric.colour, colours, error);
        if (!error->isNull()) {
            return {};
        }
    }
    const SubsectionDef::List subsections = reportDefinition.getSubsectionList();
    for (const SubsectionDef &subsection : subsections) {
        insertMetricColour(config.subsectionJsonId(subsection.id), subsection.colour, colours, error);
        if (!error->isNull()) {
            return {};
        }
        for (int index = 0; index < subsection.entries.size(); ++index) {
            const SubsectionEntryDef &entry = subsection.entries.at(index);
            if (entry.overrideColour.isValid()) {
                insertMetricColour(
                    colourIdForSubsectionEntryOverride(reportDefinition, subsection, entry, index),
                    entry.overrideColour, colours, error);
            }
        }
    }
    return colours;
}

QJsonObject createSummaryData(const ReportDefinition &reportDefinition, QString *error)
{
    QString localError;
    error = error ? error : &localError;
    *error = QString();

    const ReportDefinition::SummaryDef summary = reportDefinition.getSummaryDefinition();
    const QString heading = replacePlaceholders(reportDefinition, summary.heading, error);
    if (!error->isEmpty()) {
        return {};
    }
    QJsonArray rows;
    for (const SummaryEntryDef &entry : summary.entries) {
        rows.append(summaryRow(reportDefinition, entry, error));
        if (!error->isEmpty()) {
            *error += QObject::tr(" (in summary entry %1)").arg(entry.metricDefId);
            return {};
        }
    }
    const QString footer = replacePlaceholders(reportDefinition, summary.footer, error);
    if (!error->isEmpty()) {
        *error += QObject::tr(" (in summary footer)");
        return {};
    }
    return {
        {QStringLiteral("headingHtmlTemplate"), heading},
        {QStringLiteral("rows"), rows},
        {QStringLiteral("bounds"), summaryBounds(reportDefinition)},
        {QStringLiteral("footerHtmlTemplate"), footer},
        {QStringLiteral("adviceHtmlTemplate"), adviceTemplate(DefaultMetrics::OverviewAdvice)},
        {QStringLiteral("primaryBound"), QString(DefaultMetrics::DominantMetricType)},
    };
}

QJsonArray createSubsectionsData(const ReportDefinition &reportDefinition, QString *error)
{
    QString localError;
    error = error ? error : &localError;
    *error = QString();

    QJsonArray result;
    const SubsectionDef::List subsections = reportDefinition.getSubsectionList();
    for (const SubsectionDef &subsection : subsections) {
        if (subsection.entries.isEmpty()) {
            continue;
        }
        // An error of one of the entries is kept only if no later placeholder of the subsection was valid.
        result.append(subsectionObject(reportDefinition, subsection, error));
        if (!error->isEmpty()) {
            return {};
        }
    }
    return result;
}

QJsonObject createBrandingData(const ReportDefinition &reportDefinition)
{
    const QString &logo = reportDefinition.reportLogo();
    const bool ourLogo = logo.startsWith(QLatin1String(Branding::ourLogoPrefix));

    QList<Logo> logos;
    logos.append({logo, reportDefinition.reportLogoLink(),
        ourLogo ? convertPngFileToBase64DataUri(QStringLiteral(":/quillon-report/custom/logo.png"))
                : QString(),
        150});
    if (!ourLogo) {
        logos.append({QLatin1String(Branding::creditImage), QLatin1String(Branding::creditLink),
            convertPngFileToBase64DataUri(
                QStringLiteral(":/quillon-report/custom/powered-by-quillon-reports.png")),
            30});
    }
    QJsonArray logoObjects;
    for (const Logo &entry : qAsConst(logos)) {
        logoObjects.append(logoObject(entry));
    }
    return {{QStringLiteral("logos"), logoObjects}};
}

QString convertPngFileToBase64DataUri(const QString &filename)
{
    QFile file(filename);
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning("Error: %s not found.", qPrintable(filename));
        return {};
    }
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(file.readAll().toBase64());
}

} // namespace quillon::report::json
