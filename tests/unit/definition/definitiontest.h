#ifndef DEFINITIONTEST_H
#define DEFINITIONTEST_H

#include "api/reportdefinition.h"
#include "qtprinters.h"

#include <QByteArray>
#include <QUrl>

#include <gtest/gtest.h>

#include <memory>

namespace definitiontest {

using quillon::report::ReportDefinition;
using Config = ReportDefinition::Config;

const QUrl DocumentUrl(QStringLiteral("test:/full.xml"));
const QUrl PartialUrl(QStringLiteral("test:/partial.xml"));
const QString NoSchema;

const char Head[] = "xmlns=\"http://brivane.example/2016/BrivaneReports\"";
// One metric and the line of the summary that shows it: the least that a report can have.
const char OneMetric[] = "<reportMetric id=\"m\" displayName=\"M\"/>";
const char OneEntry[] = "<heading>H</heading><entry id=\"e\" reportMetric=\"m\"/>";

// A full report of these three parts' contents.
inline QByteArray fullReport(const QByteArray &metrics = OneMetric, const QByteArray &summary = OneEntry,
    const QByteArray &subsections = QByteArray())
{
    return QByteArray("<report ") + Head + " name=\"Full\"><reportMetrics>" + metrics
        + "</reportMetrics><summary>" + summary + "</summary><subsections>" + subsections
        + "</subsections></report>";
}

inline QByteArray partialReport(const QByteArray &content, const QByteArray &name = "Partial")
{
    return QByteArray("<partialReport ") + Head + " name=\"" + name + "\">" + content + "</partialReport>";
}

struct Loaded {
    std::unique_ptr<ReportDefinition> definition; // null: refused
    QString error;
};

inline Loaded load(const QByteArray &xml, const QString &schema = NoSchema, const Config &config = Config())
{
    Loaded loaded;
    loaded.definition.reset(ReportDefinition::createFromXml(
        xml, DocumentUrl, schema, &loaded.error, ReportDefinition::SilentValidation, config));
    return loaded;
}

inline bool append(
    ReportDefinition &definition, const QByteArray &xml, QString *error, const QString &schema = NoSchema)
{
    return definition.appendPartialReportFromXml(
        xml, PartialUrl, schema, error, ReportDefinition::SilentValidation);
}

// Whether the text is a located message of this kind ("Error", "Warning") about this document.
inline ::testing::AssertionResult isLocated(
    const QString &text, const QString &kind, const QUrl &document, const QString &message)
{
    const QString start = QStringLiteral("%1 in %2 at line ").arg(kind, document.toString());
    if (text.startsWith(start) && text.endsWith(QStringLiteral(": ") + message))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
        << "expected \"" << start.toStdString() << "... : " << message.toStdString() << "\", got \""
        << text.toStdString() << '"';
}

} // namespace definitiontest

#endif
