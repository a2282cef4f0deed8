// What comes from outside, given to what reads it. Each program has one reader, chosen by
// QUILLON_FUZZ_TARGET; none may crash, hang or write where it must not. libFuzzer finds inputs; without it
// (replay.cpp) kept ones are run again.

#include "api/brivane-report-private.h"
#include "api/brivane-report.h"
#include "api/embedresources.h"
#include "api/htmltotext.h"
#include "api/performancemetric.h"
#include "api/quillon-report.h"
#include "api/replaceplaceholders.h"
#include "api/reportdefinition.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QScopedPointer>
#include <QUrl>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

using quillon::report::HtmlToTextOptions;
using quillon::report::PMetricType;
using quillon::report::PMetricValues;
using quillon::report::ReportDefinition;

// What must hold of any input.
void require(bool holds)
{
    if (!holds)
        std::abort();
}

// Fills whatever the definition asks for and makes the data of the page of it, which is what the page's
// templates are given.
void makeReport(quillon_report *report)
{
    const ReportDefinition definition = report->definition();
    for (const ReportDefinition::MetricDef &metric : definition.getMetricDefinitionList()) {
        report->setMetricValue(metric.jsonId(definition.config()), PMetricType(metric.type).defaultValue(),
            quillon_report::ErrorIfNotDefined);
    }
    const ReportDefinition::SubsectionDef::List subsections = definition.getSubsectionList();
    for (const ReportDefinition::SubsectionDef &subsection : subsections)
        quillon_report_set_section_advice(report, subsection.id.toUtf8().constData(), "<b>advice</b>");
    quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "program");
    quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "All");
    quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 1);
    if (quillon_report_has_error(report))
        return;
    QByteArray output;
    if (report->generateAndWrite(output, JsonReport) == BRIVANE_REPORT_OK)
        require(QJsonDocument::fromJson(output).isObject());
}

// A full report, as a caller of the C interface gives it.
[[maybe_unused]] void readDefinition(const QByteArray &input)
{
    quillon_report *report = quillon_report_create(input.constData());
    require(report);
    if (!quillon_report_has_error(report))
        makeReport(report);
    quillon_report_free(report);
}

const char kBase[]
    = "<report xmlns=\"http://brivane.example/2016/BrivaneReports\" name=\"base\"><reportMetrics>"
      "<reportMetric id=\"m\" displayName=\"M\" breakdownSubsection=\"s\"/>"
      "<reportMetric id=\"a.b\" displayName=\"AB\" type=\"string\"/></reportMetrics>"
      "<summary><heading>h</heading><entry id=\"e\" reportMetric=\"m\"/></summary>"
      "<subsections><subsection id=\"s\" heading=\"S\" maxAdviceStrings=\"2\"><entry reportMetric=\"m\"/>"
      "</subsection></subsections></report>";

const ReportDefinition &baseDefinition()
{
    static const QScopedPointer<ReportDefinition> definition(ReportDefinition::createFromXml(
        kBase, QUrl(), nullptr, ReportDefinition::SilentValidation, ReportDefinition::Config()));
    require(definition);
    return *definition;
}

// A partial report, checked by the schema and merged into another report.
[[maybe_unused]] void readPartial(const QByteArray &input)
{
    QString error;
    ReportDefinition definition = baseDefinition();
    if (!definition.appendPartialReportFromXml(input, QUrl(), &error, ReportDefinition::SilentValidation))
        return;
    // Merging is there to be repeated; what is added twice may be refused.
    definition.appendPartialReportFromXml(input, QUrl(), &error, ReportDefinition::SilentValidation);
    quillon_report report(definition);
    makeReport(&report);
}

// The reader alone: it must bear what the schema would have stopped.
[[maybe_unused]] void readUnchecked(const QByteArray &input)
{
    QString error;
    const QScopedPointer<ReportDefinition> full(ReportDefinition::createFromXml(
        input, QUrl(), QString(), &error, ReportDefinition::SilentValidation, ReportDefinition::Config()));
    ReportDefinition definition = full ? *full : baseDefinition();
    const bool isMerged = definition.appendPartialReportFromXml(
        input, QUrl(), QString(), &error, ReportDefinition::SilentValidation);
    if (!full && !isMerged)
        return;
    quillon_report report(definition);
    makeReport(&report);
}

[[maybe_unused]] void readHtml(const QByteArray &input)
{
    const QString html = QString::fromUtf8(input);
    quillon::report::validateHtmlSnippet(html, HtmlToTextOptions());
    const QString text = quillon::report::htmlToText(html, HtmlToTextOptions().noWrap());
    // Wrapping turns blanks into line feeds, and does nothing else.
    QString wrapped = quillon::report::htmlToText(html, HtmlToTextOptions().wrap(20));
    require(wrapped.replace(QLatin1Char('\n'), QLatin1Char(' '))
        == QString(text).replace(QLatin1Char('\n'), QLatin1Char(' ')));
    quillon::report::htmlToText(html, HtmlToTextOptions().wrap(0).collapseWhitespace(false));
}

// Every text that the C interface is given, as bytes: names, values and advice.
[[maybe_unused]] void readTexts(const QByteArray &input)
{
    const char *text = input.constData();
    for (int call = 0; call < 5; ++call) {
        quillon_report report(baseDefinition());
        switch (call) {
        case 0:
            quillon_report_set_section_advice(&report, "s", text);
            break;
        case 1:
            quillon_report_set_section_advice(&report, text, "advice");
            break;
        case 2:
            quillon_report_set_value_string(&report, BRIVANE_APPLICATION_DETAIL_NOTES, text);
            break;
        case 3:
            quillon_report_set_value_double(&report, text, 1);
            break;
        default:
            quillon_report_set_dominant_metric(&report, text);
        }
        const char *message = quillon_report_error_message(&report);
        require(!message || *message != '\0');
    }
}

[[maybe_unused]] void readMetrics(const QByteArray &input)
{
    PMetricValues values;
    QString error;
    if (!values.fromJson(QString::fromUtf8(input), &error))
        return;
    // What was read can be written, and read again.
    const QJsonObject document{{QStringLiteral("metricData"), values.toJsonDefinitions()},
        {QStringLiteral("data"), values.toJsonValues()}};
    PMetricValues again;
    again.fromJson(QString::fromUtf8(QJsonDocument(document).toJson()), &error);
    require(again.toJsonDefinitions() == values.toJsonDefinitions());
}

[[maybe_unused]] void readPlaceholders(const QByteArray &input)
{
    ReportDefinition::MetricDef metric;
    metric.id = QStringLiteral("m");
    ReportDefinition definition;
    definition.setMetricDefinitionList({metric});
    const QString text = QString::fromUtf8(input);
    QString error;
    const QString strict = quillon::report::replacePlaceholders(definition, text, &error);
    require(error.isEmpty() || strict.isEmpty());
    // Without an error to write to, what is unknown vanishes.
    const QString lenient = quillon::report::replacePlaceholders(definition, text, nullptr);
    require(!error.isEmpty() || lenient == strict);
}

[[maybe_unused]] void readPage(const QByteArray &input)
{
    quillon::report::embedResources(QString::fromUtf8(input), QStringLiteral(":quillon-report/custom/"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool hasApplication = quillon::report::ensureQCoreApplicationExists();
    require(hasApplication);
    QUILLON_FUZZ_TARGET(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    return 0;
}
