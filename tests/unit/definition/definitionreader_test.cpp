#include "definitiontest.h"

#include <QXmlStreamReader>

#include <cmath>

using namespace quillon::report;
using namespace definitiontest;

namespace {

using SubsectionEntryDef = ReportDefinition::SubsectionEntryDef;

// The base report with a partial report of this content merged into it.
Loaded merged(const QByteArray &partialContent)
{
    Loaded loaded = load(baseReport());
    if (!loaded.definition)
        return loaded;
    if (!append(*loaded.definition, partialReport(partialContent), &loaded.error))
        loaded.definition.reset();
    return loaded;
}

} // namespace

// What is read.

TEST(ReadingReports, TakesEveryAttributeOfAMetric)
{
    const Loaded loaded
        = load(fullReport("<reportMetric id=\"m\" displayName=\"N\" tooltip=\"T\" units=\"B\" "
                          "colour=\"rgb(1,2,3)\" type=\"integer\" "
                          "brivaneMetricVersion=\"3\" breakdownSubsection=\"s\" source=\"internal\"/>",
            OneEntry, "<subsection id=\"s\" heading=\"S\"/>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto metric = loaded.definition->getMetric("m");
    EXPECT_EQ("N", metric.displayName);
    EXPECT_EQ("T", metric.tooltip);
    EXPECT_EQ("B", metric.units);
    EXPECT_EQ(QColor(1, 2, 3), metric.colour);
    EXPECT_EQ(PMetricType::Integer, metric.type);
    EXPECT_EQ(DefaultMetricVersion::DefaultMetrics7_0, metric.defaultMetricVersion);
    EXPECT_EQ("s", metric.breakdownSubsectionDefId);
    EXPECT_EQ("internal", metric.source);
    EXPECT_EQ("", loaded.error);
}

TEST(ReadingReports, AMetricsSourceStaysEmptyIfItIsntGiven)
{
    const Loaded loaded = load(fullReport(), ReportDefinition::DefaultSchemaFilename);
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("", loaded.definition->getMetric("m").source);
    EXPECT_EQ(PMetricType::Double, loaded.definition->getMetric("m").type);
}

TEST(ReadingReports, TakesTheDetailsOfASampledMetric)
{
    const Loaded loaded
        = load(fullReport("<reportMetric id=\"m\" displayName=\"N\" source=\"metric\"><sourceDetails "
                          "metricRef=\"rss\" sampleValue=\"sum\" aggregation=\"max\"/></reportMetric>"
                          "<reportMetric id=\"n\" displayName=\"N\"/>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto metric = loaded.definition->getMetric("m");
    EXPECT_EQ("metric", metric.source);
    EXPECT_EQ("rss", metric.sourceDetails.metricRef);
    EXPECT_EQ(ReportDefinition::SampleValueSum, metric.sourceDetails.sampleValue);
    EXPECT_EQ(ReportDefinition::AggregationMax, metric.sourceDetails.aggregation);
    EXPECT_EQ("n", loaded.definition->getMetric("n").id);
}

TEST(ReadingReports, IgnoresTheDetailsOfAnInternalMetric)
{
    const Loaded loaded
        = load(fullReport("<reportMetric id=\"m\" displayName=\"N\" source=\"internal\"><sourceDetails "
                          "metricRef=\"rss\" sampleValue=\"sum\" aggregation=\"max\"/></reportMetric>"
                          "<reportMetric id=\"n\" displayName=\"N\"/>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("", loaded.definition->getMetric("m").sourceDetails.metricRef);
    EXPECT_EQ("n", loaded.definition->getMetric("n").id);
}

TEST(ReadingReports, TakesEverythingOfTheSummary)
{
    const Loaded loaded = load(fullReport(OneMetric,
        "<heading>H <b>x</b></heading><footer>F</footer><entry id=\"e\" reportMetric=\"m\" chartLabel=\"C\" "
        "requires=\"!m\" order=\"3\"><description>D<br/></description></entry>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto summaryDef = loaded.definition->getSummaryDefinition();
    EXPECT_EQ("H <b>x</b>", summaryDef.heading);
    EXPECT_EQ("F", summaryDef.footer);
    ASSERT_EQ(1, summaryDef.entries.size());
    const auto entry = summaryDef.entries.first();
    EXPECT_EQ("e", entry.id);
    EXPECT_EQ("m", entry.metricDefId);
    EXPECT_EQ("C", entry.chartLabel);
    EXPECT_EQ("!m", entry.requiresMetric);
    EXPECT_EQ(3, entry.order);
    EXPECT_EQ("D<br/>", entry.descriptionHtml);
}

TEST(ReadingReports, TakesEverythingOfASubsection)
{
    const Loaded loaded = load(fullReport(TwoMetrics, OneEntry,
        "<subsection id=\"s\" heading=\"S\" colour=\"red\" errorMetric=\"e.rr\" requires=\"m\" order=\"-2\" "
        "maxAdviceStrings=\"5\"><text>T</text><spacer requires=\"m\" order=\"7\"/>"
        "<entry reportMetric=\"m\" maxBarValue=\"2.5\" unitPrefix=\"iec\" displayName=\"N\" colour=\"blue\" "
        "group=\"G\" requires=\"!m\" order=\"9\" machineReadableOnly=\"true\">"
        "<description>D</description></entry></subsection>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto subsection = loaded.definition->getSubsection("s");
    EXPECT_EQ("S", subsection.heading);
    EXPECT_EQ(QColor(Qt::red), subsection.colour);
    EXPECT_EQ("e.rr", subsection.errorMetric);
    EXPECT_EQ("m", subsection.requiresMetric);
    EXPECT_EQ(-2, subsection.order);
    EXPECT_EQ(5, subsection.maxAdviceStrings);
    EXPECT_EQ("T", subsection.textHtml);
    ASSERT_EQ(2, subsection.entries.size());
    const SubsectionEntryDef spacer = subsection.entries.first();
    EXPECT_TRUE(spacer.isSpacer);
    EXPECT_EQ("m", spacer.requiresMetric);
    EXPECT_EQ(7, spacer.order);
    EXPECT_EQ("", spacer.metricDefId);
    const SubsectionEntryDef entry = subsection.entries.last();
    EXPECT_FALSE(entry.isSpacer);
    EXPECT_EQ("m", entry.metricDefId);
    EXPECT_EQ(2.5, entry.maxBarValue);
    EXPECT_EQ(ReportDefinition::PrefixIEC, entry.unitPrefix);
    EXPECT_EQ("N", entry.overrideDisplayName);
    EXPECT_EQ(QColor(Qt::blue), entry.overrideColour);
    EXPECT_EQ("G", entry.group);
    EXPECT_EQ("!m", entry.requiresMetric);
    EXPECT_EQ(9, entry.order);
    EXPECT_TRUE(entry.isMachineReadableOnly);
    EXPECT_EQ("D", entry.descriptionHtml);
}

TEST(ReadingReports, RowsAndSubsectionsHaveDefaults)
{
    const Loaded loaded = load(fullReport(
        OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\"><entry reportMetric=\"m\"/></subsection>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto subsection = loaded.definition->getSubsection("s");
    EXPECT_EQ(1, subsection.maxAdviceStrings);
    EXPECT_EQ("", subsection.errorMetric);
    const SubsectionEntryDef entry = subsection.entries.first();
    EXPECT_FALSE(entry.hasMaxBarValue());
    EXPECT_FALSE(entry.isMachineReadableOnly);
    EXPECT_FALSE(entry.overrideColour.isValid());
    EXPECT_EQ(ReportDefinition::PrefixSI, entry.unitPrefix);
}

TEST(ReadingReports, TextsOfASubsectionJoinWhereverTheyStand)
{
    const Loaded loaded = load(fullReport(OneMetric, OneEntry,
        "<subsection id=\"s\" heading=\"S\"><text>one </text><entry reportMetric=\"m\"/><text>two</text>"
        "</subsection>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("one two", loaded.definition->getSubsection("s").textHtml);
}

TEST(ReadingReports, WithoutALogoItIsOurs)
{
    const Loaded loaded = load(fullReport());
    EXPECT_EQ(
        "https://brivane.example/downloads/quillon-report-logo-180.png", loaded.definition->reportLogo());
    EXPECT_TRUE(loaded.definition->reportLogoLink().startsWith("https://brivane.example/"));
    QByteArray empty = fullReport();
    empty.replace("name=\"Full\"", "name=\"Full\" logo=\"\" logoLink=\"\"");
    EXPECT_EQ(loaded.definition->reportLogo(), load(empty).definition->reportLogo());
    EXPECT_EQ(loaded.definition->reportLogoLink(), load(empty).definition->reportLogoLink());
}

TEST(ReadingReports, KeepsALogoOfItsOwn)
{
    QByteArray xml = fullReport();
    xml.replace("name=\"Full\"", "name=\"Full\" logo=\"site.png\" logoLink=\"https://site.example/\"");
    const Loaded loaded = load(xml);
    EXPECT_EQ("site.png", loaded.definition->reportLogo());
    EXPECT_EQ("https://site.example/", loaded.definition->reportLogoLink());
    EXPECT_EQ("Full", loaded.definition->reportName());
    EXPECT_EQ(DocumentUrl, loaded.definition->sourceDocumentUrl());
}

TEST(ReadingReports, AFullReportForgetsWhatWasThere)
{
    Loaded loaded = merged(subsections("<subsection id=\"t\" heading=\"T\"/>"));
    ASSERT_TRUE(loaded.definition);
    QXmlStreamReader xml(fullReport());
    ASSERT_TRUE(
        loaded.definition->readXml(xml, QUrl("test:/again.xml"), ReportDefinition::FullReport, nullptr));
    EXPECT_EQ(QSet<QString>{"m"}, loaded.definition->metricIds());
    EXPECT_TRUE(loaded.definition->getSubsectionList().isEmpty());
    EXPECT_EQ("Full (test:/again.xml)\n", loaded.definition->listDefinitionFiles(0));
}

// Ids that refer to something.

TEST(References, ASummaryEntryMayRequireAnImplicitMetricButNotShowOne)
{
    EXPECT_TRUE(load(fullReport(OneMetric,
                         "<heading/><entry id=\"e\" reportMetric=\"m\" requires=\"overview.bound1.long\"/>"))
                    .definition);
    const Loaded shown
        = load(fullReport(OneMetric, "<heading/><entry id=\"e\" reportMetric=\"overview.bound1.long\"/>"));
    EXPECT_FALSE(shown.definition);
    EXPECT_TRUE(isLocated(shown.error, "Error", DocumentUrl,
        "There is no metric with id=\"overview.bound1.long\" in this report"));
}

TEST(References, AnErrorMetricThatIsNoStringIsToldButAccepted)
{
    const Loaded loaded
        = load(fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" errorMetric=\"m\"/>"));
    ASSERT_TRUE(loaded.definition);
    EXPECT_EQ("m", loaded.definition->getSubsection("s").errorMetric);
    EXPECT_TRUE(isLocated(loaded.error, "Error", DocumentUrl,
        "errorMetric attribute must refer to a string metric, but metric \"m\" is of type \"Double\""));
}

TEST(References, AnImplicitErrorMetricIsAcceptedAndTakenForANumber)
{
    const Loaded loaded = load(fullReport(OneMetric, OneEntry,
        "<subsection id=\"s\" heading=\"S\" errorMetric=\"applicationDetails.notes\"/>"));
    ASSERT_TRUE(loaded.definition);
    EXPECT_EQ("applicationDetails.notes", loaded.definition->getSubsection("s").errorMetric);
    EXPECT_TRUE(isLocated(loaded.error, "Error", DocumentUrl,
        "errorMetric attribute must refer to a string metric, but metric \"applicationDetails.notes\" is of "
        "type "
        "\"Double\""));
}

TEST(References, ANegativeNumberOfAdviceSlotsIsToldButAccepted)
{
    const Loaded loaded = load(
        fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" maxAdviceStrings=\"-1\"/>"));
    ASSERT_TRUE(loaded.definition);
    EXPECT_EQ(-1, loaded.definition->getSubsection("s").maxAdviceStrings);
    EXPECT_TRUE(isLocated(loaded.error, "Error", DocumentUrl,
        "Attribute 'maxAdviceStrings' cannot be negative. Current value = -1."));
}

TEST(References, ReservedIdsAreAcceptedWhereNothingIsReserved)
{
    const QByteArray xml = fullReport("<reportMetric id=\"brivane.m\" displayName=\"M\"/>",
        "<heading/><entry id=\"com.brivane.e\" reportMetric=\"brivane.m\"/>",
        "<subsection id=\"brivane.s\" heading=\"S\"/>");
    EXPECT_FALSE(load(xml).definition);
    EXPECT_TRUE(load(xml, NoSchema, Config::withoutPrefixesOrReservedIds()).definition);
}

// Elements that nobody knows.

TEST(Warnings, UnknownElementsAreSkippedAndTold)
{
    const QByteArray unknown = "<odd><reportMetric id=\"z\"/><entry/></odd>";
    const QList<QPair<QByteArray, QString>> rows = {
        {fullReport(QByteArray(OneMetric) + unknown), "Unrecognised element 'odd' in <reportMetric>"},
        {fullReport(OneMetric, OneEntry + unknown), "Unrecognised element 'odd' in <summary>"},
        {fullReport(OneMetric, OneEntry, unknown), "Unrecognised element 'odd' in <subsections>"},
        {fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\">" + unknown + "</subsection>"),
            "Unrecognised element 'odd' in <subsection>"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.second.toStdString());
        const Loaded loaded = load(row.first);
        ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
        EXPECT_TRUE(isLocated(loaded.error, "Warning", DocumentUrl, row.second));
        EXPECT_EQ(QSet<QString>{"m"}, loaded.definition->metricIds());
    }
}

TEST(Warnings, OtherChildrenOfAnEntryAreSkippedInSilence)
{
    const Loaded loaded = load(fullReport(OneMetric,
        "<heading/><entry id=\"e\" reportMetric=\"m\"><odd/><description>D</description></entry>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("", loaded.error);
    EXPECT_EQ("", loaded.definition->getSummaryDefinition().entries.first().descriptionHtml);
}

// Partial reports.

TEST(MergingReports, KeepsNameLogoAndDocumentOfTheFullReport)
{
    const Loaded loaded = merged(subsections(""));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("Full", loaded.definition->reportName());
    EXPECT_EQ(DocumentUrl, loaded.definition->sourceDocumentUrl());
}

TEST(MergingReports, AnEmptyPartialReportChangesNothing)
{
    const Loaded loaded = merged("");
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ(1, loaded.definition->getSubsectionList().size());
    EXPECT_EQ(
        "Full (test:/full.xml)\nPartial (test:/partial.xml)\n", loaded.definition->listDefinitionFiles(0));
}

TEST(MergingReports, SubsectionsAloneAreFound)
{
    const Loaded loaded = merged(subsections("<subsection id=\"t\" heading=\"T\"/>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("T", loaded.definition->getSubsection("t").heading);
    EXPECT_EQ(1, loaded.definition->getSummaryDefinition().entries.size());
}

TEST(MergingReports, AnElementOfAnotherNameIsPassedOverWithoutAWord)
{
    const Loaded loaded = merged("<odd/>");
    ASSERT_TRUE(loaded.definition);
    EXPECT_EQ("", loaded.error);
}

TEST(MergingReports, AKnownMetricNeedsNoNameAndKeepsTooltipAndType)
{
    const Loaded loaded = merged(
        metrics("<reportMetric id=\"m\" tooltip=\"new\" type=\"integer\" units=\"B\" colour=\"red\"/>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto metric = loaded.definition->getMetric("m");
    EXPECT_EQ("M", metric.displayName);
    EXPECT_EQ("T", metric.tooltip);
    EXPECT_EQ(PMetricType::Double, metric.type);
    EXPECT_EQ("B", metric.units);
    EXPECT_EQ(QColor(Qt::red), metric.colour);
    EXPECT_EQ(2, loaded.definition->getMetricDefinitionList().size());
}

TEST(MergingReports, HeadingsAndFootersFollowOnNewLines)
{
    const Loaded loaded = merged(summary("<heading>I</heading><heading>J</heading><footer>F</footer>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("H<br/>I<br/>J", loaded.definition->getSummaryDefinition().heading);
    EXPECT_EQ("F", loaded.definition->getSummaryDefinition().footer);
}

TEST(MergingReports, AnOverwritingSummaryReplacesHeadingFooterAndEntries)
{
    const Loaded loaded
        = merged(summary("<entry id=\"e\" reportMetric=\"m\" order=\"5\"/>", "overwrite=\"true\""));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("", loaded.definition->getSummaryDefinition().heading);
    ASSERT_EQ(1, loaded.definition->getSummaryDefinition().entries.size());
    EXPECT_EQ(5, loaded.definition->getSummaryDefinition().entries.first().order);
}

TEST(MergingReports, AKnownSubsectionNeedsNoHeadingAndGrows)
{
    const Loaded loaded
        = merged(subsections("<subsection id=\"s\" errorMetric=\"e.rr\" maxAdviceStrings=\"2\">"
                             "<text>two</text><spacer/></subsection>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    const auto subsection = loaded.definition->getSubsection("s");
    EXPECT_EQ("S", subsection.heading);
    EXPECT_EQ("two", subsection.textHtml);
    EXPECT_EQ(2, subsection.entries.size());
    EXPECT_EQ(3, subsection.maxAdviceStrings);
    EXPECT_EQ(4, subsection.order);
    EXPECT_EQ("", subsection.errorMetric) << "merging never changes the error metric";
}

TEST(MergingReports, AnOverwritingSubsectionReplacesAllOfItInItsPlace)
{
    Loaded loaded = load(fullReport(TwoMetrics, OneEntry,
        QByteArray(OneSubsection) + "<subsection id=\"t\" heading=\"T\" order=\"4\"/>"));
    QString error;
    ASSERT_TRUE(append(*loaded.definition,
        partialReport(subsections("<subsection id=\"s\" overwrite=\"true\" errorMetric=\"e.rr\" "
                                  "order=\"4\"><spacer/></subsection>")),
        &error))
        << error.toStdString();
    const auto first = loaded.definition->getSubsectionList().first();
    EXPECT_EQ("s", first.id);
    EXPECT_EQ("", first.heading);
    EXPECT_EQ("e.rr", first.errorMetric);
    EXPECT_EQ(1, first.maxAdviceStrings);
    ASSERT_EQ(1, first.entries.size());
    EXPECT_TRUE(first.entries.first().isSpacer);
}

TEST(MergingReports, OverwritingAllSubsectionsDropsThem)
{
    const Loaded loaded = merged(subsections("<subsection id=\"t\" heading=\"T\"/>", "overwrite=\"1\""));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    ASSERT_EQ(1, loaded.definition->getSubsectionList().size());
    EXPECT_EQ("t", loaded.definition->getSubsectionList().first().id);
}

TEST(MergingReports, DroppingASubsectionThatAMetricBreaksDownIntoFails)
{
    Loaded loaded = load(fullReport(
        "<reportMetric id=\"m\" displayName=\"M\" breakdownSubsection=\"s\"/>", OneEntry, OneSubsection));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    QString error;
    EXPECT_FALSE(append(*loaded.definition, partialReport(subsections("", "overwrite=\"true\"")), &error));
    EXPECT_TRUE(isLocated(error, "Error", PartialUrl,
        "No subsection has id=\"s\", required by the \"breakdownSubsection\" attribute of the \"m\" metric"));
}

TEST(MergingReports, BreakdownsAreOnlyCheckedWhereSubsectionsAreRead)
{
    EXPECT_TRUE(merged(metrics("<reportMetric id=\"m\" breakdownSubsection=\"nowhere\"/>")).definition);
    EXPECT_FALSE(merged(metrics("<reportMetric id=\"m\" breakdownSubsection=\"nowhere\"/>") + subsections(""))
                     .definition);
}

TEST(MergingReports, AMetricOfThisDocumentMayBeMergedTwice)
{
    const Loaded loaded = merged(
        metrics("<reportMetric id=\"m\" displayName=\"A\"/><reportMetric id=\"m\" displayName=\"B\"/>"));
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_EQ("B", loaded.definition->getMetric("m").displayName);
}

TEST(MergingReports, AFailureLeavesWhatWasMergedBeforeAndRecordsNoContribution)
{
    Loaded loaded = load(baseReport());
    QString error;
    EXPECT_FALSE(append(*loaded.definition,
        partialReport(metrics("<reportMetric id=\"new\" displayName=\"N\"/><reportMetric id=\"bad\"/>")),
        &error));
    EXPECT_EQ("new", loaded.definition->getMetric("new").id);
    EXPECT_EQ("Full (test:/full.xml)\n", loaded.definition->listDefinitionFiles(0));
}

TEST(MergingReports, RepeatingANameKeepsOneEntryWithTheLastDocument)
{
    Loaded loaded = load(baseReport());
    for (const char *url : {"test:/one.xml", "test:/two.xml"}) {
        EXPECT_TRUE(loaded.definition->appendPartialReportFromXml(partialReport(""), QUrl(QLatin1String(url)),
            NoSchema, nullptr, ReportDefinition::SilentValidation));
    }
    EXPECT_EQ("Full (test:/full.xml)\nPartial (test:/two.xml)\n", loaded.definition->listDefinitionFiles(0));
}

// The readers of single elements look where they stand.

TEST(ElementReaders, RefuseAnotherElement)
{
    QXmlStreamReader xml(QStringLiteral("<odd/>"));
    xml.readNextStartElement();
    QString error;
    const auto expects = [&error](const char *message) {
        return isLocated(error, QStringLiteral("Error"), DocumentUrl, QString::fromLatin1(message));
    };
    EXPECT_FALSE(ReportDefinition::MetricDef().readXmlReportMetricElement(xml, DocumentUrl, &error, {}));
    EXPECT_TRUE(expects("Expected start of 'reportMetric' element, got 'odd'"));
    EXPECT_FALSE(ReportDefinition::SummaryEntryDef().readXml(xml, DocumentUrl, &error, {}));
    EXPECT_TRUE(expects("Expected start of 'entry' element (from within 'summary'), got 'odd'"));
    EXPECT_FALSE(SubsectionEntryDef().readXml(xml, DocumentUrl, &error, {}));
    EXPECT_TRUE(
        expects("Expected start of 'entry' or 'spacer' element (from within 'subsection'), got 'odd'"));
    EXPECT_FALSE(
        ReportDefinition::SubsectionDef().readXml(xml, DocumentUrl, &error, {}, {}, ReportDefinition()));
    EXPECT_TRUE(expects("Expected start of 'subsection' element, got 'odd'"));
}

TEST(ElementReaders, NobodyHasToAskForTheText)
{
    EXPECT_EQ(nullptr,
        ReportDefinition::createFromXml(fullReport("<reportMetric/>"), DocumentUrl, NoSchema, nullptr,
            ReportDefinition::SilentValidation, Config()));
    EXPECT_NE(nullptr,
        std::unique_ptr<ReportDefinition>(
            ReportDefinition::createFromXml(fullReport(QByteArray(OneMetric) + "<odd/>"), DocumentUrl,
                NoSchema, nullptr, ReportDefinition::SilentValidation, Config())));
}
