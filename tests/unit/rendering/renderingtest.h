#ifndef TESTS_RENDERINGTEST_H
#define TESTS_RENDERINGTEST_H

#include "api/generatereport.h"

#include <QByteArray>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

/// A small report for the pipeline, in the form that it takes: a test adds what it is about and renders.
class DocumentBuilder {
public:
    DocumentBuilder()
    {
        using quillon::report::PMetricType;
        metric("applicationDetails.exeName", PMetricType::String, QStringLiteral("wave_c"));
        metric("overview.bound1.long", PMetricType::String, QStringLiteral("Compute-bound"));
        metric("overview.advice", PMetricType::String, QString());
        mSummary["headingHtmlTemplate"] = "Summary: {{applicationDetails.exeName}}";
        mSummary["footerHtmlTemplate"] = "";
        mSummary["adviceHtmlTemplate"] = "{{{overview.advice}}}";
    }

    DocumentBuilder &metric(const QString &id, quillon::report::PMetricType::value_type type,
        const QVariant &value, const QString &units = QString(), const QString &displayName = QString())
    {
        mMetrics << quillon::report::PMetricDefinition(id)
                        .setJsonId(id)
                        .setType(type)
                        .setUnits(units)
                        .setDisplayName(displayName);
        mMetrics.set(id, value);
        return *this;
    }

    DocumentBuilder &percentage(
        const QString &id, const QVariant &value, const QString &displayName = QString())
    {
        return metric(id, quillon::report::PMetricType::Double, value, QStringLiteral("%"), displayName);
    }

    DocumentBuilder &summaryRow(const QString &heading, const QString &metricId, const QJsonObject &more = {})
    {
        QJsonObject row = more;
        row["heading"] = heading;
        row["metricId"] = metricId;
        row["colorName"] = metricId;
        row["descriptionHtmlTemplate"] = "About " + heading;
        mRows.append(row);
        return *this;
    }

    DocumentBuilder &summaryText(const QString &key, const QString &text)
    {
        mSummary[key] = text;
        return *this;
    }

    DocumentBuilder &subsection(
        const QString &heading, const QJsonArray &metrics, const QJsonObject &more = {})
    {
        QJsonObject section = more;
        section["heading"] = heading;
        section["metrics"] = metrics;
        section["colorName"] = heading.toLower();
        if (!section.contains("descriptionHtmlTemplate"))
            section["descriptionHtmlTemplate"] = "";
        if (!section.contains("adviceHtmlTemplate"))
            section["adviceHtmlTemplate"] = QJsonArray();
        mSubsections.append(section);
        return *this;
    }

    QByteArray render(QuillonReportType type) const
    {
        QJsonObject summary = mSummary;
        summary["rows"] = mRows;
        return quillon::report::generateQuillonReport(
            type, mMetrics, QJsonObject{{"logos", QJsonArray()}}, summary, mSubsections, QJsonObject());
    }
    QStringList lines(QuillonReportType type) const
    {
        return QString::fromLocal8Bit(render(type)).split(QLatin1Char('\n'));
    }

private:
    quillon::report::PMetricValues mMetrics;
    QJsonObject mSummary;
    QJsonArray mRows;
    QJsonArray mSubsections;
};

#endif
