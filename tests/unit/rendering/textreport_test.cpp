#include "qtprinters.h"
#include "renderingtest.h"
#include "reportengine.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using quillon::report::DoublePrecision;
using quillon::report::PMetricType;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

void addApplication(DocumentBuilder &document, bool hasGpu)
{
    document.metric("applicationDetails.commandLine", PMetricType::String, "mpirun -n 8 ./wave_c \"a b\" <in")
        .metric("applicationDetails.nodes.plain", PMetricType::Integer, 1, "nodes")
        .metric("applicationDetails.physicalCoresPerNode", PMetricType::Integer, 8, "cores/node")
        .metric("applicationDetails.logicalCoresPerNode", PMetricType::Integer, 16, "cores/node")
        .metric("applicationDetails.hasGpu", PMetricType::Bool, hasGpu)
        .metric("applicationDetails.gpusPerNode.plain", PMetricType::DoubleWithPrecision,
            DoublePrecision(2, 3).toQVariant(), "GPUs")
        .metric("applicationDetails.hostMemory.plain", PMetricType::DoubleWithPrecision,
            DoublePrecision(16.0 * (1 << 30), 3).toQVariant(), "B")
        .metric("applicationDetails.hostGpuMemory.plain", PMetricType::DoubleWithPrecision,
            DoublePrecision(8.0 * (1 << 30), 3).toQVariant(), "B")
        .metric("applicationDetails.processes.plain", PMetricType::Integer, 8, "processes")
        .metric("applicationDetails.profiledRanks", PMetricType::String, "0-3")
        .metric("applicationDetails.isOpenMp", PMetricType::Bool, true)
        .metric("applicationDetails.ompNumThreads", PMetricType::String, "2")
        .metric("applicationDetails.hostname", PMetricType::String, "node1.example")
        .metric("applicationDetails.startDate", PMetricType::String, "Fri Nov 20 10:00:00 2026")
        .metric("applicationDetails.time.plain", PMetricType::Integer, 125, "seconds")
        .metric("applicationDetails.exePath", PMetricType::String, "/home/user/a&b")
        .metric("applicationDetails.inputFile", PMetricType::String, QString())
        .metric("applicationDetails.notes", PMetricType::String, "one\ntwo");
}

QStringList withPrefix(const QStringList &lines, const QString &prefix)
{
    QStringList result;
    for (const QString &line : lines) {
        if (line.startsWith(prefix))
            result.append(line);
    }
    return result;
}

TEST(TextReport, ReadsAsAWhole)
{
    DocumentBuilder document;
    addApplication(document, true);
    document.percentage("overview.cpu.percent", 62.04)
        .percentage("overview.mpi.percent", 0.0)
        .percentage("cpu.memPercent", 0.04, "Memory accesses")
        .metric("cpu.rate", PMetricType::Double, 12345678.0, "B/s", "Rate")
        .metric("cpu.mem", PMetricType::Double, 123456789.0, "B", "Mean usage")
        .metric("cpu.advice1", PMetricType::String, "<p>Do <span class=\"cpu\">this</span> &amp; that.</p>")
        .metric("cpu.advice2", PMetricType::String, QString())
        .metric("overview.advice", PMetricType::String, "Go on.")
        .summaryText(
            "headingHtmlTemplate", "Summary: {{applicationDetails.exeName}} is {{overview.bound1.long}}")
        .summaryText("footerHtmlTemplate",
            "This application run was <b>{{overview.bound1.long}}</b>. A breakdown of this time, and advice "
            "for "
            "investigating further, is in the section below.")
        .summaryRow("Compute", "overview.cpu.percent")
        .summaryRow("MPI", "overview.mpi.percent")
        .subsection("CPU",
            {QJsonObject{{"metricId", "cpu.memPercent"}, {"template", "percentageTemplate"}},
                QJsonObject{{"template", "spacerTemplate"}},
                QJsonObject{{"metricId", "cpu.rate"}, {"template", "numberTemplate"}},
                QJsonObject{{"metricId", "cpu.mem"}, {"template", "numberTemplate"}, {"useIEC", true},
                    {"displayName", "Mean process memory usage"}}},
            {{"descriptionHtmlTemplate", "A breakdown of the\n   {{overview.cpu.percent}}% CPU time:"},
                {"adviceHtmlTemplate", QJsonArray{"{{{cpu.advice1}}}", "{{{cpu.advice2}}}"}}});
    EXPECT_EQ(QString::fromLocal8Bit(document.render(TxtReport)).toStdString(),
        "Command:        mpirun -n 8 ./wave_c \"a b\" <in\n"
        "Resources:      1 node (8 physical, 16 logical cores per node, 2 GPUs per node available)\n"
        "Memory:         16 GiB per node, 8 GiB per GPU\n"
        "Tasks:          8 processes, OMP_NUM_THREADS was 2\n"
        "Profiled ranks: 0-3\n"
        "Machine:        node1.example\n"
        "Start time:     Fri Nov 20 10:00:00 2026\n"
        "Total time:     125 seconds (about 2 minutes)\n"
        "Full path:      /home/user/a&b\n"
        "Notes:          one two\n"
        "\n"
        "Summary: wave_c is Compute-bound\n"
        "Compute:                                     62.0% |=====|\n"
        "MPI:                                          0.0% |\n"
        "\n"
        "This application run was Compute-bound. A breakdown of this time, and advice for\n"
        "investigating further, is in the section below.\n"
        "\n"
        "Go on.\n"
        "\n"
        "CPU:\n"
        "A breakdown of the 62.04% CPU time:\n"
        "Memory accesses:                             <0.1% ||\n"
        "Rate:                                         12.3 MB/s\n"
        "Mean process memory usage:                     118 MiB\n"
        "Do this & that.\n"
        "\n");
}

TEST(TextReport, BlankLinesDoNotPileUpWhereTextIsMissing)
{
    DocumentBuilder document;
    document.percentage("cpu", 50.0).summaryRow("Compute", "cpu").subsection("CPU", {}).subsection("I/O", {});
    EXPECT_EQ(document.render(TxtReport).toStdString(),
        "Executable:     wave_c\n"
        "\n"
        "Summary: wave_c\n"
        "Compute:                                     50.0% |====|\n"
        "\n"
        "CPU:\n"
        "\n"
        "I/O:\n"
        "\n");
}

TEST(TextReport, ShowsTheExecutableOnlyWithoutACommandLine)
{
    DocumentBuilder document;
    EXPECT_TRUE(document.lines(TxtReport).contains("Executable:     wave_c"));
    document.metric("applicationDetails.commandLine", PMetricType::String, "  ");
    EXPECT_TRUE(document.lines(TxtReport).contains("Executable:     wave_c"));
    document.metric("applicationDetails.commandLine", PMetricType::String, "./wave_c");
    EXPECT_TRUE(withPrefix(document.lines(TxtReport), "Executable").isEmpty());
    EXPECT_TRUE(document.lines(TxtReport).contains("Command:        ./wave_c"));
}

TEST(TextReport, OfAJobWithoutGpusSpeaksOfNone)
{
    DocumentBuilder document;
    addApplication(document, false);
    const QStringList lines = document.lines(TxtReport);
    EXPECT_TRUE(lines.contains("Resources:      1 node (8 physical, 16 logical cores per node)"));
    EXPECT_TRUE(lines.contains("Memory:         16 GiB per node"));
    EXPECT_TRUE(lines.filter("GPU").isEmpty());
    EXPECT_TRUE(document.lines(CsvReport).filter("GPU").isEmpty());
}

TEST(TextReport, WithoutKnownCoresTheBracketsHoldOnlyTheGpus)
{
    DocumentBuilder document;
    addApplication(document, true);
    for (const int unknown : {0, -1}) {
        document.metric(
            "applicationDetails.physicalCoresPerNode", PMetricType::Integer, unknown, "cores/node");
        EXPECT_TRUE(document.lines(TxtReport).contains("Resources:      1 node (2 GPUs per node available)"));
    }
    document.metric("applicationDetails.hasGpu", PMetricType::Bool, false);
    EXPECT_TRUE(document.lines(TxtReport).contains("Resources:      1 node"));
}

TEST(TextReport, ATimeAboveAMinuteIsToldInMinutesToo)
{
    DocumentBuilder document;
    document.metric("applicationDetails.time.plain", PMetricType::Integer, 60, "seconds");
    EXPECT_TRUE(document.lines(TxtReport).contains("Total time:     60 seconds"));
    document.metric("applicationDetails.time.plain", PMetricType::Integer, 61, "seconds");
    EXPECT_TRUE(document.lines(TxtReport).contains("Total time:     61 seconds (about 1 minutes)"));
    document.metric("applicationDetails.time.plain", PMetricType::Integer, 1, "seconds");
    EXPECT_TRUE(document.lines(TxtReport).contains("Total time:     1 second"));
}

TEST(TextReport, ASummaryRowWithoutAValueIsAbsentAndOneOf0IsThere)
{
    DocumentBuilder document;
    document.percentage("a", kNaN).percentage("b", 0.0).summaryRow("None", "a").summaryRow("Zero", "b");
    const QStringList lines = document.lines(TxtReport);
    EXPECT_TRUE(withPrefix(lines, "None").isEmpty());
    EXPECT_TRUE(lines.contains("Zero:                                         0.0% |"));
}

TEST(TextReport, TheSummaryListsHiddenRowsToo)
{
    DocumentBuilder document;
    document.percentage("a", 10.0).summaryRow("Hidden", "a", {{"visible", "data.nosuch"}});
    EXPECT_EQ(withPrefix(document.lines(TxtReport), "Hidden:").size(), 1);
    EXPECT_TRUE(document.lines(CsvReport).filter("Hidden").isEmpty());
}

TEST(TextReport, AnEntryWithoutATemplateIsInTheCsvReportAlone)
{
    DocumentBuilder document;
    document.percentage("a", 12.5, "For machines").subsection("CPU", {QJsonObject{{"metricId", "a"}}});
    EXPECT_TRUE(document.lines(TxtReport).filter("For machines").isEmpty());
    EXPECT_TRUE(document.lines(CsvReport).contains("\"CPU For machines (%)\",12.5"));
}

TEST(TextReport, ARowOfTheHeaderWithoutAValueTemplateIsInTheCsvReportAlone)
{
    DocumentBuilder document;
    addApplication(document, false);
    EXPECT_TRUE(withPrefix(document.lines(TxtReport), "Physical cores").isEmpty());
    EXPECT_TRUE(document.lines(CsvReport).contains("\"Physical cores per node (cores/node)\",8"));
}

TEST(TextReport, ASubsectionOfSpacersStillDraws)
{
    DocumentBuilder document;
    document.subsection(
        "Energy", {QJsonObject{{"template", "spacerTemplate"}}, QJsonObject{{"template", "spacerTemplate"}}});
    const QStringList lines = document.lines(TxtReport);
    const int heading = lines.indexOf("Energy:");
    ASSERT_GE(heading, 0);
    EXPECT_EQ(lines.mid(heading + 1), QStringList({"", ""}));
}

TEST(TextReport, AHiddenSubsectionIsAbsent)
{
    DocumentBuilder document;
    document.metric("no", PMetricType::Bool, false).subsection("Energy", {}, {{"visible", "data.no"}});
    EXPECT_TRUE(document.lines(TxtReport).filter("Energy").isEmpty());
    EXPECT_TRUE(document.lines(CsvReport).filter("Energy").isEmpty());
}

TEST(TextReport, WhatIsNotSupportedIsPrintedTrimmedAndWithoutABar)
{
    DocumentBuilder document;
    document.percentage("a", kNaN, "Share")
        .metric("b", PMetricType::Double, kNaN, "B/s", "Rate")
        .subsection("CPU",
            {QJsonObject{{"metricId", "a"}, {"template", "percentageTemplate"}},
                QJsonObject{{"metricId", "b"}, {"template", "numberTemplate"}}});
    const QStringList lines = document.lines(TxtReport);
    EXPECT_TRUE(lines.contains("Share:                                    not supported"));
    EXPECT_TRUE(lines.contains("Rate:                                     not supported"));
}

TEST(TextReport, AnErrorStandsBehindTheAdvice)
{
    DocumentBuilder document;
    document.metric("io.advice1", PMetricType::String, "Some advice.")
        .metric("io.error", PMetricType::String, "No <rates> & more.")
        .subsection("I/O", {},
            {{"adviceHtmlTemplate", QJsonArray{"{{{io.advice1}}}"}}, {"errorHtmlTemplate", "{{io.error}}"}});
    const QStringList lines = document.lines(TxtReport);
    const int heading = lines.indexOf("I/O:");
    EXPECT_EQ(lines.mid(heading), QStringList({"I/O:", "Some advice.", "No <rates> & more.", "", ""}));
    EXPECT_TRUE(document.lines(CsvReport).contains("\"I/O Error\",\"No <rates> & more.\""));
}

TEST(TextReport, ALongSentenceIsWrappedAt80Columns)
{
    DocumentBuilder document;
    document.summaryText("footerHtmlTemplate",
        "<span class=\"x\">Some</span> words that go on and on, with <b>spans</b> in between, until the line "
        "of an "
        "<i>eighty-column</i> terminal is full and another one begins, which is full at last, too.");
    for (const QString &line : document.lines(TxtReport))
        EXPECT_LE(line.size(), 80) << qPrintable(line);
    EXPECT_TRUE(
        document.lines(TxtReport).filter("Some words that go on and on, with spans in between").size() == 1);
}

TEST(TextReport, ALongNameIsCutByTheField)
{
    DocumentBuilder document;
    document.percentage("a", 50.0, QString(50, QLatin1Char('n')))
        .subsection("CPU", {QJsonObject{{"metricId", "a"}, {"template", "percentageTemplate"}}});
    EXPECT_TRUE(document.lines(TxtReport).contains(QString(42, QLatin1Char('n')) + "   50.0% |====|"));
}

TEST(TextReport, ALongCaptionIsCutWithItsColon)
{
    brivane::ReportEngine engine;
    QString error;
    QFile scripts(":quillon-report/custom/quillon-reports.js");
    QFile header(":quillon-report/custom/text_header.txt");
    ASSERT_TRUE(engine.loadJavaScriptFromFile(scripts, &error)) << qPrintable(error);
    ASSERT_TRUE(engine.loadPartialFromFile("text_header", header, brivane::ReportFormat::Text, &error));
    const QJsonArray rows{QJsonObject{{"caption", "Fourteen chars"}, {"valueHtmlTemplate", "1"}},
        QJsonObject{{"caption", "Fifteen letters"}, {"valueHtmlTemplate", "2"}},
        QJsonObject{{"caption", "Empty"}, {"valueHtmlTemplate", " {{nothing}} "}},
        QJsonObject{{"caption", "Hidden"}, {"valueHtmlTemplate", "3"}, {"hidden", "data.yes"}}};
    const QJsonObject data{{"headerData", rows}, {"data", QJsonObject{{"yes", true}}}};
    EXPECT_EQ(engine.renderStatic(data, "text_header", brivane::ReportFormat::Text, &error),
        "Fourteen chars: 1\nFifteen letters 2\n");
    EXPECT_EQ(error, "");
}

TEST(CsvReport, ReadsAsAWhole)
{
    DocumentBuilder document;
    addApplication(document, true);
    document.percentage("overview.cpu.percent", 62.04)
        .percentage("a", 12.5, "Share, in all")
        .metric("b", PMetricType::Double, kNaN, "B/s", "Rate")
        .metric("cpu.advice1", PMetricType::String, "<p>Say &quot;this&quot;.</p>")
        .metric("overview.advice", PMetricType::String, "Go on.")
        .summaryRow("Compute", "overview.cpu.percent")
        .summaryRow("No units", "nosuch")
        .subsection("CPU",
            {QJsonObject{{"metricId", "a"}, {"template", "percentageTemplate"}},
                QJsonObject{{"template", "spacerTemplate"}},
                QJsonObject{{"metricId", "b"}, {"displayName", "Own name"}},
                QJsonObject{{"metricId", "a"}, {"hidden", "data.applicationDetails.hasGpu"}}},
            {{"adviceHtmlTemplate", QJsonArray{"{{{cpu.advice1}}}", "{{{cpu.advice2}}}"}}});
    EXPECT_EQ(document.render(CsvReport).toStdString(),
        "Name,Value\n"
        "Executable,wave_c\n"
        "Command,\"mpirun -n 8 ./wave_c \"\"a b\"\" <in\"\n"
        "\"Nodes (nodes)\",1\n"
        "\"Physical cores per node (cores/node)\",8\n"
        "\"Logical cores per node (cores/node)\",16\n"
        "\"GPUs per node available (GPUs)\",2\n"
        "\"Memory per node (B)\",17179869184\n"
        "\"GPU memory (B)\",8589934592\n"
        "\"Tasks (processes)\",8\n"
        "\"Profiled ranks\",0-3\n"
        "\"OpenMP threads\",2\n"
        "Machine,node1.example\n"
        "\"Start time\",\"Fri Nov 20 10:00:00 2026\"\n"
        "\"Total time (seconds)\",125\n"
        "\"Full path\",/home/user/a&b\n"
        "\"Input file\",\n"
        "Notes,\"one\ntwo\"\n"
        "Bound,Compute-bound\n"
        "\n"
        "\"Compute (%)\",62.04\n"
        "\"No units\",\n"
        "\"Overview advice\",\"Go on.\"\n"
        "\n"
        "\"CPU Share, in all (%)\",12.5\n"
        "\"CPU \",\n"
        "\"CPU Own name (B/s)\",\n"
        "\"CPU Advice 1\",\"Say \"\"this\"\".\"\n"
        "\"CPU Advice 2\",\n"
        "\"CPU Error\",\n"
        "\n");
}

} // namespace
