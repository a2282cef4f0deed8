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

// Two metrics, an entry, and a subsection with a row: what partial reports change below.
const char TwoMetrics[] = "<reportMetric id=\"m\" displayName=\"M\" tooltip=\"T\"/>"
                          "<reportMetric id=\"e.rr\" displayName=\"Error\" type=\"string\"/>";
const char OneSubsection[] = "<subsection id=\"s\" heading=\"S\" order=\"4\" maxAdviceStrings=\"3\">"
                             "<text>one</text><entry reportMetric=\"m\"/></subsection>";

inline QByteArray baseReport()
{
    return fullReport(TwoMetrics, OneEntry, OneSubsection);
}

inline QByteArray metrics(const QByteArray &content)
{
    return "<reportMetrics>" + content + "</reportMetrics>";
}

inline QByteArray summary(const QByteArray &content, const QByteArray &attributes = QByteArray())
{
    return "<summary " + attributes + ">" + content + "</summary>";
}

inline QByteArray subsections(const QByteArray &content, const QByteArray &attributes = QByteArray())
{
    return "<subsections " + attributes + ">" + content + "</subsections>";
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
