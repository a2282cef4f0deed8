// The page as the browser draws it, drawn by the script engine.

#include "qtprinters.h"
#include "renderingtest.h"
#include "reportengine.h"

#include <QDir>
#include <QRegularExpression>

#include <limits>

#include <gtest/gtest.h>

using brivane::ReportEngine;
using brivane::ReportFormat;
using quillon::report::PMetricType;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

/// White space condensed, so that a test doesn't rest on the layout of the templates.
QString drawn(const DocumentBuilder &document, const QString &templateName = QStringLiteral("html_template"))
{
    ReportEngine engine;
    QString error;
    const QDir resources(":quillon-report/custom");
    for (const QString &name : resources.entryList({"*Template.html", "html_template.html"})) {
        QFile file(resources.filePath(name));
        EXPECT_TRUE(engine.loadPartialFromFile(QFileInfo(name).baseName(), file, ReportFormat::Html, &error));
    }
    QFile scripts(resources.filePath("quillon-reports.js"));
    EXPECT_TRUE(engine.loadJavaScriptFromFile(scripts, &error));
    const QJsonObject data = QJsonDocument::fromJson(document.render(JsonReport)).object();
    const QString page = engine.renderStatic(data, templateName, ReportFormat::Html, &error);
    EXPECT_EQ(error, "");
    return page.simplified().replace("> <", "><");
}

QJsonObject entry(const QString &metricId, QJsonObject more = {})
{
    more["metricId"] = metricId;
    more["template"] = "percentageTemplate";
    more["colorName"] = metricId;
    return more;
}

TEST(Page, ShowsTheExecutableOnlyWithoutACommandLine)
{
    DocumentBuilder document;
    EXPECT_TRUE(
        drawn(document).contains("<td class=\"details_key\">Executable:</td><td id=\"\">wave_c</td>"));
    document.metric("applicationDetails.commandLine", PMetricType::String, "./a & b");
    EXPECT_FALSE(drawn(document).contains("Executable"));
    EXPECT_TRUE(
        drawn(document).contains("<td class=\"details_key\">Command:</td><td id=\"\">./a &amp; b</td>"));
}

TEST(Page, OfAJobWithoutGpusSpeaksOfNone)
{
    DocumentBuilder document;
    document.metric("applicationDetails.nodes.plain", PMetricType::Integer, 2, "nodes")
        .metric("applicationDetails.hasGpu", PMetricType::Bool, false);
    EXPECT_TRUE(drawn(document).contains("2 nodes</td>"));
    EXPECT_FALSE(drawn(document).contains("GPU"));
}

TEST(Page, SpeaksOfCoresOnlyWhereTheirNumberIsKnown)
{
    DocumentBuilder document;
    document.metric("applicationDetails.nodes.plain", PMetricType::Integer, 2, "nodes")
        .metric("applicationDetails.physicalCoresPerNode", PMetricType::Integer, 8)
        .metric("applicationDetails.logicalCoresPerNode", PMetricType::Integer, 16);
    EXPECT_TRUE(drawn(document).contains("(8 physical, 16 logical cores per node)"));
    document.metric("applicationDetails.physicalCoresPerNode", PMetricType::Integer, -1)
        .metric("applicationDetails.logicalCoresPerNode", PMetricType::Integer, -1);
    EXPECT_FALSE(drawn(document).contains("physical"));
}

TEST(Page, ARowOfTheHeaderWithoutAValueTemplateIsAbsent)
{
    DocumentBuilder document;
    document.metric("applicationDetails.physicalCoresPerNode", PMetricType::Integer, 8);
    EXPECT_FALSE(drawn(document).contains("Physical cores"));
}

TEST(Page, ASummaryRowWithoutAValueKeepsItsHeadingAndText)
{
    DocumentBuilder document;
    document.percentage("a", kNaN).summaryRow("None", "a");
    EXPECT_TRUE(drawn(document, "summaryTemplate")
                    .contains("<tr id=\"summary-entry-none\"><td><h2 class=\"a\">None</h2></td>"
                              "<td class=\"details\"><p>About None</p><p></p></td></tr>"));
}

TEST(Page, ASummaryRowOf0HasItsPercentageAndABar)
{
    DocumentBuilder document;
    document.percentage("a", 0.0).summaryRow("Zero", "a");
    EXPECT_TRUE(drawn(document, "summaryTemplate")
                    .contains("<td class=\"percent\" title=\"0.00\">0.0%</td><td class=\"bar_graph\">"
                              "<div class=\"bar\"><div class=\"a\" style=\"width:0%\"></div></div></td>"));
}

TEST(Page, AnEntryWithoutATemplateIsAbsent)
{
    DocumentBuilder document;
    document.percentage("a", 12.5, "For machines").subsection("CPU", {QJsonObject{{"metricId", "a"}}});
    EXPECT_FALSE(drawn(document).contains("For machines"));
}

TEST(Page, ASubsectionOfSpacersStillDraws)
{
    DocumentBuilder document;
    document.subsection("Energy", {QJsonObject{{"template", "spacerTemplate"}}});
    const QString page = drawn(document, "subsectionsTemplate");
    EXPECT_TRUE(page.contains("<h2 class=\"energy\">Energy</h2>"));
    EXPECT_TRUE(page.contains("<tr class=\"spacer\"><td></td><td></td><td></td><td></td></tr>"));
}

TEST(Page, ClearingElementsStandBehindEverySecondSubsectionAndAtTheEnd)
{
    DocumentBuilder document;
    for (const char *heading : {"A", "B", "C", "D", "E"})
        document.subsection(heading, {});
    document.subsection("Hidden", {}, {{"visible", "data.nosuch"}});
    const QString page = drawn(document, "subsectionsTemplate");
    QStringList order;
    QRegularExpressionMatchIterator match
        = QRegularExpression("id=\"subsection-([a-z]+)\"|class=\"(clear)\"").globalMatch(page);
    while (match.hasNext()) {
        const QRegularExpressionMatch found = match.next();
        order.append(found.captured(1) + found.captured(2));
    }
    EXPECT_EQ(order, QStringList({"a", "b", "clear", "c", "d", "clear", "e", "clear"}));
}

TEST(Page, AGroupOfOneHasNoBarAndFourColumnsOfDetail)
{
    DocumentBuilder document;
    document.percentage("a", 12.5, "Alone")
        .percentage("b", 12.5, "Other")
        .subsection("CPU", {entry("a", {{"group", "g"}}), entry("b")});
    const QString page = drawn(document, "subsectionsTemplate");
    EXPECT_EQ(page.count("<td class=\"bar\">"), 1);
    EXPECT_EQ(page.count("<td colspan=\"4\" class=\"metricDetail\""), 2);
}

TEST(Page, AnAdviceSlotWithoutAdviceLeavesAnEmptyElement)
{
    DocumentBuilder document;
    document.metric("cpu.advice1", PMetricType::String, "<b>Go</b>")
        .metric("cpu.advice2", PMetricType::String, QString())
        .metric("cpu.error", PMetricType::String, "<no>")
        .subsection("CPU", {},
            {{"adviceHtmlTemplate", QJsonArray{"{{{cpu.advice1}}}", "{{{cpu.advice2}}}"}},
                {"errorHtmlTemplate", "{{cpu.error}}"}});
    EXPECT_TRUE(
        drawn(document, "subsectionsTemplate")
            .contains("<div><div class=\"explanation\"><b>Go</b></div><div class=\"explanation\"></div>"
                      "<div class=\"explanation\">&lt;no&gt;</div></div>"));
}

TEST(Page, ADisplayNameArrivesAsATextWhateverItHolds)
{
    DocumentBuilder document;
    document.percentage("a", 12.5, "it's');alert('\\\"<b>")
        .subsection("CPU", {entry("a", {{"descriptionHtmlTemplate", "More."}})});
    EXPECT_TRUE(drawn(document, "subsectionsTemplate")
                    .contains("onclick=\"quillonReports.toggleMetric(event,"
                              "'it\\u0027s\\u0027);alert(\\u0027\\u005c\\u0022\\u003cb\\u003e detail')\""));
}

TEST(Page, ALogoFallsBackToItsEmbeddedPicture)
{
    ReportEngine engine;
    QFile file(":quillon-report/custom/logoTemplate.html");
    ASSERT_TRUE(engine.loadPartialFromFile("logoTemplate", file, ReportFormat::Html, nullptr));
    const QJsonObject whole{{"image", "https://brivane.example/a.png"}, {"height", 150},
        {"link", "https://l.example"}, {"altData", "data:image/png;base64,AAAA"}};
    const QJsonObject bare{{"image", "b.png"}, {"height", 30}};
    const QJsonObject data{{"brandingData", QJsonObject{{"logos", QJsonArray{whole, bare}}}}};
    QString error;
    EXPECT_EQ(engine.renderStatic(data, "logoTemplate", ReportFormat::Html, &error)
                  .simplified()
                  .replace("> <", "><"),
        "<div><a href=\"https://l.example\" target=\"_blank\"><img src=\"https://brivane.example/a.png\" "
        "width=\"130\" "
        "height=\"150\" onerror=\"this.onerror=null;this.src='data:image/png;base64,AAAA'\"></a></div>"
        "<div><img src=\"b.png\" width=\"130\" height=\"30\"></div>");
    EXPECT_EQ(error, "");
}

} // namespace
