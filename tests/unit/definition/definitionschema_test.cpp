#include "definitiontest.h"

#include <QFile>
#include <QTemporaryDir>
#include <QXmlSchema>

using namespace quillon::report;
using namespace definitiontest;

namespace {

bool fits(const QByteArray &xml, QString *error = nullptr)
{
    QString text;
    const bool valid = ReportDefinition::validate(
        xml, DocumentUrl, ReportDefinition::DefaultSchemaFilename, &text, ReportDefinition::SilentValidation);
    if (error)
        *error = text;
    return valid;
}

// A full report whose summary's heading holds this markup.
bool markupFits(const QByteArray &markup)
{
    return fits(
        fullReport(OneMetric, "<heading>" + markup + "</heading><entry id=\"e\" reportMetric=\"m\"/>"));
}

QByteArray metric(const QByteArray &attributes, const QByteArray &content = QByteArray())
{
    return "<reportMetric " + attributes + ">" + content + "</reportMetric>";
}

QByteArray subsection(const QByteArray &content, const QByteArray &attributes = "id=\"s\"")
{
    return fullReport(OneMetric, OneEntry, "<subsection " + attributes + ">" + content + "</subsection>");
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &content)
{
    QFile file(dir.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return file.fileName();
}

} // namespace

TEST(Schema, IsValidAsItStandsToo)
{
    QFile file(ReportDefinition::DefaultSchemaFilename);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlSchema schema;
    EXPECT_TRUE(schema.load(file.readAll(), DocumentUrl));
    EXPECT_TRUE(schema.isValid());
}

TEST(Schema, AcceptsTheLeastReportAndTheEmptyPartialReport)
{
    QString error;
    EXPECT_TRUE(fits(fullReport(), &error)) << error.toStdString();
    EXPECT_EQ("", error);
    EXPECT_TRUE(fits(partialReport(""), &error)) << error.toStdString();
}

TEST(Schema, LetsTheReaderJudgeWhatTheReaderKnowsBetter)
{
    QString error;
    EXPECT_TRUE(fits(fullReport(OneMetric, "<entry id=\"e\" reportMetric=\"m\"/>"), &error))
        << error.toStdString();
    EXPECT_TRUE(fits(fullReport("<reportMetric id=\"m\"/>"), &error)) << error.toStdString();
    EXPECT_TRUE(fits(fullReport(QByteArray(OneMetric) + OneMetric), &error)) << error.toStdString();
    EXPECT_TRUE(fits(fullReport(OneMetric, "<heading/><entry id=\"e\" reportMetric=\"x\"/>"), &error))
        << error.toStdString();
    EXPECT_TRUE(fits(partialReport("<summary><entry id=\"e\" reportMetric=\"x\"/></summary>"), &error))
        << error.toStdString();
}

TEST(Schema, OrderOfTheThreePartsCounts)
{
    EXPECT_TRUE(fits(partialReport("<summary/><subsections/>")));
    EXPECT_FALSE(fits(partialReport("<subsections/><summary/>")));
    EXPECT_FALSE(fits(partialReport("<summary/><summary/>")));
    EXPECT_FALSE(fits(QByteArray("<report ") + Head + " name=\"x\"><reportMetrics/><summary/></report>"));
}

TEST(Schema, RootsNeedAName)
{
    EXPECT_FALSE(fits(fullReport().replace(" name=\"Full\"", "")));
    EXPECT_FALSE(fits(partialReport("").replace(" name=\"Partial\"", "")));
    EXPECT_TRUE(fits(fullReport().replace("name=\"Full\"", "name=\"\""))) << "the reader refuses it";
}

TEST(Schema, OverwriteOfWholePartsIsForPartialReports)
{
    EXPECT_TRUE(fits(partialReport("<summary overwrite=\"true\"/><subsections overwrite=\"0\"/>")));
    EXPECT_FALSE(fits(fullReport().replace("<summary>", "<summary overwrite=\"true\">")));
    EXPECT_FALSE(fits(fullReport().replace("<subsections>", "<subsections overwrite=\"true\">")));
    EXPECT_FALSE(fits(partialReport("<summary overwrite=\"yes\"/>")));
}

TEST(Schema, LogoAndItsLinkAreForFullReports)
{
    EXPECT_TRUE(fits(fullReport().replace("name=\"Full\"", "name=\"Full\" logo=\"l\" logoLink=\"k\"")));
    EXPECT_FALSE(fits(partialReport("").replace("name=", "logo=\"l\" name=")));
}

TEST(Schema, SummaryIsHeadingFooterEntries)
{
    EXPECT_TRUE(fits(partialReport("<summary><heading/><footer/></summary>")));
    EXPECT_FALSE(fits(partialReport("<summary><footer/><heading/></summary>")));
    EXPECT_FALSE(fits(partialReport("<summary><heading/><heading/></summary>")));
    EXPECT_FALSE(fits(partialReport("<summary><entry reportMetric=\"m\"/></summary>")));
    EXPECT_FALSE(fits(partialReport("<summary><entry id=\"e\"/></summary>")));
    EXPECT_FALSE(fits(partialReport(
        "<summary><entry id=\"e\" reportMetric=\"m\"><description/><description/></entry></summary>")));
}

TEST(Schema, KnowsTheAttributesOfMetrics)
{
    EXPECT_TRUE(fits(fullReport(metric("id=\"m\" displayName=\"\" tooltip=\"\" units=\"\" colour=\"\" "
                                       "type=\"double\" brivaneMetricVersion=\"9\" "
                                       "breakdownSubsection=\"s\" source=\"internal\""))));
    for (const char *attributes : {"displayName=\"M\"", "id=\"1m\"", "id=\"a b\"", "id=\"a:b\"",
             "id=\"m\" type=\"float\"", "id=\"m\" source=\"x\"", "id=\"m\" brivaneMetricVersion=\"1.5\"",
             "id=\"m\" color=\"red\"", "id=\"m\" subsectionBreakdown=\"s\""}) {
        EXPECT_FALSE(fits(fullReport(metric(attributes)))) << attributes;
    }
}

TEST(Schema, KnowsTheDetailsOfASource)
{
    const char complete[] = "<sourceDetails metricRef=\"r\" aggregation=\"mean\" sampleValue=\"sum\"/>";
    EXPECT_TRUE(fits(fullReport(metric("id=\"m\" source=\"metric\"", complete))));
    EXPECT_FALSE(fits(fullReport(metric("id=\"m\"", QByteArray(complete) + complete))));
    for (const char *details : {"<sourceDetails aggregation=\"mean\" sampleValue=\"sum\"/>",
             "<sourceDetails metricRef=\"r\" aggregation=\"sum\" sampleValue=\"sum\"/>",
             "<sourceDetails metricRef=\"r\" aggregation=\"mean\" sampleValue=\"median\"/>",
             "<sourceDetails metricRef=\"r\" aggregation=\"mean\" sampleValue=\"sum\">x</sourceDetails>"}) {
        EXPECT_FALSE(fits(fullReport(metric("id=\"m\"", details)))) << details;
    }
}

TEST(Schema, KnowsTheAttributesOfSubsections)
{
    EXPECT_TRUE(fits(subsection("",
        "id=\"s\" heading=\"\" colour=\"\" errorMetric=\"m\" requires=\"!m\" "
        "order=\"-1\" maxAdviceStrings=\"0\" overwrite=\"1\"")));
    for (const char *attributes : {"heading=\"S\"", "id=\"s\" maxAdviceStrings=\"-1\"",
             "id=\"s\" order=\"x\"", "id=\"s\" errorMetric=\"\"", "id=\"s\" overwrite=\"TRUE\""}) {
        EXPECT_FALSE(fits(subsection("", attributes))) << attributes;
    }
}

TEST(Schema, KnowsTheRowsOfSubsections)
{
    EXPECT_TRUE(fits(subsection(
        "<text>T</text><spacer requires=\"m\" order=\"1\"/><entry reportMetric=\"m\" maxBarValue=\"1.5\" "
        "unitPrefix=\"iec\" displayName=\"N\" colour=\"red\" group=\"g\" requires=\"m\" order=\"2\" "
        "machineReadableOnly=\"true\"><description>D</description></entry><spacer/>")));
    for (const char *content : {"<entry/>", "<entry reportMetric=\"m\" maxBarValue=\"NaN\"/>",
             "<entry reportMetric=\"m\" maxBarValue=\"1e3\"/>",
             "<entry reportMetric=\"m\" unitPrefix=\"SI\"/>",
             "<entry reportMetric=\"m\" machineReadableOnly=\"no\"/>", "<spacer reportMetric=\"m\"/>",
             "<spacer>x</spacer>", "<spacer> </spacer>", "<text/><text/>",
             "<entry reportMetric=\"m\"/><text/>"}) {
        EXPECT_FALSE(fits(subsection(content))) << content;
    }
}

TEST(Schema, MarkupMixesTextBlocksAndInlineElements)
{
    EXPECT_TRUE(markupFits("plain"));
    EXPECT_TRUE(markupFits("a <p class=\"x\">b <em>c <sub>d</sub></em></p> e <span>f<br/></span>"));
    EXPECT_TRUE(
        markupFits("<div><h1>1</h1><h6>6</h6><div>x<tt>t</tt><big>b</big><small>s</small></div></div>"));
    EXPECT_TRUE(markupFits("<ul style=\"x\"><li>one <ol><li>two</li></ol></li></ul>"));
    EXPECT_TRUE(
        markupFits("<blockquote>t<p>x</p></blockquote><pre>t<i>i</i><b>b</b><sup>s</sup><span/></pre>"));
    EXPECT_TRUE(
        markupFits("<a href=\"https://site.example/\"/><img src=\"x\" alt=\"y\"/><strong>s</strong>"));
}

TEST(Schema, MarkupRefusesWhatHasNoPlaceThere)
{
    for (const char *markup : {"<script/>", "<table/>", "<p><div/></p>", "<span><p/></span>", "<ul/>",
             "<ul>text</ul>", "<ul><p/></ul>", "<li>x</li>", "<blockquote><b>x</b></blockquote>",
             "<pre class=\"x\"/>", "<pre><img/></pre>", "<h7/>", "<br>x</br>", "<img>x</img>"}) {
        EXPECT_FALSE(markupFits(markup)) << markup;
    }
}

TEST(Schema, LinksHaveNoTextInside)
{
    EXPECT_TRUE(markupFits("<a href=\"https://site.example/\"></a>"));
    EXPECT_FALSE(markupFits("<a href=\"https://site.example/\">here</a>"));
}

TEST(Validation, ADocumentWithoutTheNamespaceIsToldBeforeAnythingElse)
{
    QString error;
    EXPECT_FALSE(fits("<report name=\"x\"/>", &error));
    EXPECT_EQ("The report definition XML test:/full.xml does not have the attribute "
              "xmlns=\"http://brivane.example/2016/BrivaneReports\" set in the <report> or <partialReport> "
              "element.",
        error);
    EXPECT_FALSE(fits(fullReport().replace('"', '\''), &error)) << "the search is for double quotes";
    EXPECT_TRUE(error.startsWith("The report definition XML test:/full.xml does not have"));
}

TEST(Validation, WithoutAnAddressThereIsNoBlankForOne)
{
    QString error;
    EXPECT_FALSE(ReportDefinition::validate(
        "x", QUrl(), QStringLiteral("/nowhere.xsd"), &error, ReportDefinition::SilentValidation));
    EXPECT_EQ("The report definition XML does not have the attribute "
              "xmlns=\"http://brivane.example/2016/BrivaneReports\" set in the <report> or <partialReport> "
              "element.",
        error);
}

TEST(Validation, TheNamespaceMayStandAnywhereInTheBytes)
{
    QString error;
    EXPECT_FALSE(fits(QByteArray("<!-- ") + Head + " --><odd/>", &error));
    EXPECT_FALSE(error.startsWith("The report definition XML")) << "this one has come to the schema";
    EXPECT_FALSE(error.isEmpty());
}

TEST(Validation, SchemaFilesThatCannotServeAreNamed)
{
    const QTemporaryDir dir;
    const QString invalid = writeFile(dir, "invalid.xsd",
        "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:element/></xs:schema>");
    const QList<QPair<QString, QString>> rows = {
        {dir.filePath("missing.xsd"), "Schema file '%1' does not exist"},
        {dir.path(), "Schema file '%1' could not be opened for reading"},
        {invalid, "Schema file '%1' is not valid"},
    };
    for (const auto &row : rows) {
        QString error;
        EXPECT_FALSE(ReportDefinition::validate(
            fullReport(), DocumentUrl, row.first, &error, ReportDefinition::SilentValidation));
        EXPECT_EQ(row.second.arg(row.first), error);
        EXPECT_FALSE(ReportDefinition::validate(
            fullReport(), DocumentUrl, row.first, nullptr, ReportDefinition::SilentValidation));
    }
}

TEST(Validation, ProblemsSayWhereTheyAreInPlainText)
{
    QString error;
    EXPECT_FALSE(fits(fullReport(OneMetric, OneEntry, "\n<odd/>"), &error));
    EXPECT_TRUE(error.startsWith("test:/full.xml at line 2 column ")) << error.toStdString();
    EXPECT_TRUE(error.contains("odd"));
    EXPECT_FALSE(error.contains('<')) << "markup: " << error.toStdString();
}

TEST(Validation, MessagesComeBehindWhatIsThereAlready)
{
    QString error = QStringLiteral("before");
    EXPECT_FALSE(ReportDefinition::validate(subsection("<odd/>"), DocumentUrl,
        ReportDefinition::DefaultSchemaFilename, &error, ReportDefinition::SilentValidation));
    EXPECT_TRUE(error.startsWith("before\n\ntest:/full.xml at line 1 column "));
}

TEST(Validation, VerboseMessagesGoToTheErrorStreamAsWell)
{
    for (const auto mode : {ReportDefinition::SilentValidation, ReportDefinition::VerboseValidation}) {
        QString error;
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(ReportDefinition::validate(
            subsection("<odd/>"), DocumentUrl, ReportDefinition::DefaultSchemaFilename, &error, mode));
        const std::string printed = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(mode == ReportDefinition::VerboseValidation, printed.find("odd") != std::string::npos);
        EXPECT_TRUE(error.contains("odd"));
    }
}
