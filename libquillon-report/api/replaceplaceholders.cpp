#include "api/replaceplaceholders.h"

#include "api/defaultmetrics.h"
#include "api/reportdefinition.h"

#include <QMap>
#include <QObject>
#include <QRegularExpression>

#include <algorithm>

namespace quillon::report {
namespace {

using Fragments = QMap<QString, QString>;

QString value(const QString &id)
{
    return QStringLiteral("{{%1}}").arg(id);
}

// Advice is markup, which three braces leave as it is.
QString markup(const QString &id)
{
    return QStringLiteral("{{{%1}}}").arg(id);
}

// Text that takes its colour from the class that `classId` evaluates to.
QString colouredValue(const QString &classId, const QString &textId)
{
    return QStringLiteral("<span class=\"{{%1}}\">{{%2}}</span>").arg(classId, textId);
}

Fragments makeBuiltinPlaceholders()
{
    using M = DefaultMetrics;
    return {
        {QStringLiteral("brivane.appDetails.exeName"), value(M::ExeName)},
        {QStringLiteral("brivane.dominant.metric.bound"),
            colouredValue(M::DominantMetricType, M::DominantMetricLongString)},
        {QStringLiteral("brivane.dominant.metric.name"),
            colouredValue(M::DominantMetricType, M::DominantMetricShortString)},
        {QStringLiteral("brivane.dominant.metric.subsection"),
            colouredValue(M::DominantMetricSubsectionId, M::DominantMetricSubsectionHeading)},
        {QStringLiteral("brivane.dominant.metric.advice"), markup(M::OverviewAdvice)},
        {QStringLiteral("brivane.secondaryDominant.metric.bound"),
            colouredValue(M::SecondaryDominantMetricType, M::SecondaryDominantMetricLongString)},
        {QStringLiteral("brivane.secondaryDominant.metric.name"),
            colouredValue(M::SecondaryDominantMetricType, M::SecondaryDominantMetricShortString)},
        {QStringLiteral("brivane.secondaryDominant.metric.subsection"),
            colouredValue(
                M::SecondaryDominantMetricSubsectionId, M::SecondaryDominantMetricSubsectionHeading)},
    };
}

Fragments builtinPlaceholders()
{
    static const Fragments fragments = makeBuiltinPlaceholders();
    return fragments;
}

// A null string if the report has no such metric.
QString jsonIdOfMetric(const ReportDefinition &definition, const QString &metricId)
{
    const ReportDefinition::MetricDef::List &metrics = definition.getMetricDefinitionList();
    const auto metric = std::find_if(metrics.begin(), metrics.end(),
        [&](const ReportDefinition::MetricDef &candidate) { return candidate.id == metricId; });
    return metric == metrics.end() ? QString() : metric->jsonId(definition.config());
}

QString metricValue(const QString &jsonId)
{
    return QStringLiteral("<span class=\"%1\">{{%2}}</span>").arg(jsonId, jsonId);
}

QString metricValueAndUnits(const QString &jsonId)
{
    return QStringLiteral("<span class=\"%1\">{{toPrecision (%2Value (lookupMetric \"%3\")) %4}}</span> "
                          "{{%2Units (lookupMetric \"%3\") symbol=(lookupMetricUnits \"%3\")}}")
        .arg(jsonId, QStringLiteral("si"), jsonId, QStringLiteral("3"));
}

// A null string if `key` is neither built in nor a metric of the report.
QString replacementFor(const ReportDefinition &definition, const QString &key)
{
    const Fragments builtins = builtinPlaceholders();
    const auto builtin = builtins.constFind(key);
    if (builtin != builtins.constEnd()) {
        return *builtin;
    }
    const bool withUnits = key.size() > 1 && key.startsWith(QLatin1Char('*'));
    const QString jsonId = jsonIdOfMetric(definition, withUnits ? key.mid(1) : key);
    if (jsonId.isNull()) {
        return {};
    }
    return withUnits ? metricValueAndUnits(jsonId) : metricValue(jsonId);
}

QString invalidPlaceholderMessage(const ReportDefinition &definition, const QString &key)
{
    constexpr int indent = 8;
    QString builtinLines;
    const QStringList builtinKeys = builtinPlaceholders().keys();
    for (const QString &builtinKey : builtinKeys) {
        builtinLines += QStringLiteral("%1${%2}\n").arg(QString(indent, QLatin1Char(' ')), builtinKey);
    }
    return QObject::tr("Invalid placeholder \"${%1}\" in report:\n%2\n"
                       "The built-in placeholders are:\n%3\n"
                       "You can also reference metric values by using the metric id:\n"
                       "    ${metricId}  : the metric value\n"
                       "    ${*metricId} : the metric value and units, scaled to a suitable SI prefix\n")
        .arg(key, definition.listDefinitionFiles(indent), builtinLines);
}

} // namespace

QString replacePlaceholders(const ReportDefinition &definition, const QString &text, QString *error)
{
    static const QRegularExpression placeholder(QStringLiteral("[$][{]([^${}]*)[}]"));

    QString result;
    int position = 0;
    auto matches = placeholder.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        result += text.midRef(position, match.capturedStart() - position);
        position = match.capturedEnd();

        const QString key = match.captured(1).trimmed();
        const QString replacement = replacementFor(definition, key);
        if (error) {
            error->clear();
            if (replacement.isNull()) {
                *error = invalidPlaceholderMessage(definition, key);
                return {};
            }
        }
        result += replacement;
    }
    return result + text.midRef(position);
}

} // namespace quillon::report
