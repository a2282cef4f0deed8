#include "messagelog.h"
#include "qtprinters.h"
#include "renderingtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using quillon::report::PMetricType;
using testing::HasSubstr;

namespace {

QJsonObject jsonOf(const DocumentBuilder &document)
{
    return QJsonDocument::fromJson(document.render(JsonReport)).object();
}

TEST(GenerateReport, AJsonReportCarriesAllSevenKeysOfTheDocument)
{
    const QJsonObject json = jsonOf(DocumentBuilder().subsection("CPU", {}).summaryRow("CPU", "cpu"));
    EXPECT_EQ(json.keys(),
        QStringList(
            {"brandingData", "colorData", "data", "headerData", "metricData", "subsections", "summaryData"}));
    EXPECT_EQ(json["subsections"].toArray().size(), 1);
    EXPECT_EQ(json["summaryData"].toObject()["rows"].toArray().size(), 1);
}

TEST(GenerateReport, AJsonReportWithoutSubsectionsHasAnEmptyArray)
{
    const QJsonValue subsections = jsonOf(DocumentBuilder())["subsections"];
    EXPECT_TRUE(subsections.isArray());
    EXPECT_TRUE(subsections.toArray().isEmpty());
}

TEST(GenerateReport, AJsonReportIsUtf8)
{
    const QString name = QString::fromUtf8("caf\xc3\xa9");
    const QByteArray report = DocumentBuilder()
                                  .metric("applicationDetails.exeName", PMetricType::String, name)
                                  .render(JsonReport);
    EXPECT_TRUE(report.contains("caf\xc3\xa9"));
}

TEST(GenerateReport, TheRowsOfTheHeaderAreInTheirOrder)
{
    QStringList captions;
    const QJsonArray rows = jsonOf(DocumentBuilder())["headerData"].toArray();
    for (const QJsonValue &row : rows)
        captions.append(row.toObject()["caption"].toString());
    EXPECT_EQ(captions,
        QStringList({"Executable", "Command", "Resources", "Nodes", "Physical cores per node",
            "Logical cores per node", "GPUs per node available", "Memory", "Memory per node", "GPU memory",
            "Tasks", "Profiled ranks", "OpenMP threads", "Machine", "Start time", "Total time", "Full path",
            "Input file", "Notes"}));
}

TEST(GenerateReport, ATypeOutsideTheTableEndsInTheWarningForStaticReports)
{
    MessageLog log;
    EXPECT_EQ(DocumentBuilder().render(static_cast<QuillonReportType>(7)), QByteArray());
    EXPECT_EQ(log.warnings(), QStringList({"Error generating static report: Error: Invalid format \"\""}));
}

TEST(GenerateReport, ARendererThatFailsYieldsAWarningAndNothing)
{
    DocumentBuilder document;
    document.summaryText("headingHtmlTemplate", "{{#if unfinished}}");
    MessageLog log;
    EXPECT_EQ(document.render(TxtReport), QByteArray());
    ASSERT_EQ(log.warnings().size(), 1);
    EXPECT_THAT(log.warnings().first().toStdString(),
        HasSubstr("Error generating static report: Error: Parse error"));
}

TEST(GenerateReport, NoTemplateOrScriptCostsAWarning)
{
    MessageLog log;
    for (QuillonReportType type : {TxtReport, CsvReport, HtmlReport, JsonReport})
        EXPECT_FALSE(DocumentBuilder().render(type).isEmpty());
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST(GenerateReport, TwoReportsOfTheSameDataAreTheSame)
{
    DocumentBuilder document;
    document.summaryText("headingHtmlTemplate", "{{#makeId}}entry{{/makeId}} {{#makeId}}entry{{/makeId}}");
    const QByteArray first = document.render(TxtReport);
    EXPECT_TRUE(first.contains("entry entry2\n"));
    EXPECT_EQ(document.render(TxtReport), first);
}

TEST(GenerateReport, AnHtmlReportIsOneFile)
{
    const QByteArray report = DocumentBuilder().render(HtmlReport);
    EXPECT_TRUE(report.startsWith("<!DOCTYPE html>"));
    EXPECT_FALSE(report.contains(".js\"></script>"));
    EXPECT_FALSE(report.contains("rel=\"stylesheet\""));
    EXPECT_TRUE(report.contains("var quillonReports = "));
    EXPECT_TRUE(report.contains("RadarChart"));
}

} // namespace
