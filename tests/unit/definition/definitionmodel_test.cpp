#include "definitiontest.h"

#include <QStringList>

#include <limits>

using namespace quillon::report;
using namespace definitiontest;

namespace {

using MetricDef = ReportDefinition::MetricDef;
using SummaryEntryDef = ReportDefinition::SummaryEntryDef;
using SubsectionDef = ReportDefinition::SubsectionDef;
using SubsectionEntryDef = ReportDefinition::SubsectionEntryDef;

ReportDefinition definitionWithMetrics(const QStringList &ids)
{
    MetricDef::List metrics;
    for (const QString &id : ids)
        metrics << MetricDef().withId(id);
    ReportDefinition definition;
    definition.setMetricDefinitionList(metrics);
    return definition;
}

template <typename Definition> QStringList idsInOrder(const QList<Definition> &definitions)
{
    QStringList ids;
    for (const Definition &definition : definitions)
        ids << definition.id;
    return ids;
}

template <typename Definition> Definition ordered(const char *id, int order)
{
    Definition definition;
    definition.id = QLatin1String(id);
    definition.order = order;
    return definition;
}

SubsectionEntryDef orderedRow(const char *metric, int order)
{
    SubsectionEntryDef entry;
    entry.metricDefId = QLatin1String(metric);
    entry.order = order;
    return entry;
}

QStringList rowsInOrder(const SubsectionDef &subsection)
{
    QStringList rows;
    for (const SubsectionEntryDef &entry : subsection.entries)
        rows << entry.metricDefId;
    return rows;
}

} // namespace

TEST(DefinitionEnumerations, KeepTheirNumbers)
{
    EXPECT_EQ(0, ReportDefinition::Mandatory);
    EXPECT_EQ(1, ReportDefinition::Optional);
    EXPECT_EQ(2, ReportDefinition::OptionalNotEmptyIfExists);
    EXPECT_EQ(0, ReportDefinition::SilentValidation);
    EXPECT_EQ(1, ReportDefinition::VerboseValidation);
    EXPECT_EQ(0, ReportDefinition::FullReport);
    EXPECT_EQ(1, ReportDefinition::PartialReport);
    EXPECT_EQ(0, ReportDefinition::PrefixSI);
    EXPECT_EQ(1, ReportDefinition::PrefixIEC);
    EXPECT_EQ(4, ReportDefinition::SampleValueSum);
    EXPECT_EQ(3, ReportDefinition::AggregationMean);
}

TEST(DefinitionConfig, DefaultPrefixesIdsAndReservesTheMakers)
{
    const Config config = ReportDefinition().config();
    EXPECT_EQ("custom.report.metric.a", config.metricJsonId("a"));
    EXPECT_EQ("custom.report.summary.a", config.summaryJsonId("a"));
    EXPECT_EQ("custom.report.subsection.a", config.subsectionJsonId("a"));
    EXPECT_TRUE(config.isReserved("brivane.x"));
    EXPECT_TRUE(config.isReserved("com.brivane.x"));
}

TEST(DefinitionConfig, ReservesWholePrefixesInTheirCaseOnly)
{
    const Config config;
    EXPECT_FALSE(config.isReserved("Brivane.x"));
    EXPECT_FALSE(config.isReserved("brivane"));
    EXPECT_FALSE(config.isReserved("brivanex"));
    EXPECT_FALSE(config.isReserved("org.brivane.x"));
}

TEST(DefinitionConfig, WithoutPrefixesAcceptsEveryIdAndKeepsItAsItIs)
{
    const Config config = Config::withoutPrefixesOrReservedIds();
    EXPECT_FALSE(config.isReserved("brivane.x"));
    EXPECT_FALSE(config.isReserved("com.brivane.x"));
    EXPECT_EQ("brivane.x", config.metricJsonId("brivane.x"));
    EXPECT_EQ("brivane.x", config.summaryJsonId("brivane.x"));
    EXPECT_EQ("brivane.x", config.subsectionJsonId("brivane.x"));
    EXPECT_TRUE(config.mMetricIdJsonPrefix.isNull());
    EXPECT_TRUE(config.mSummaryJsonPrefix.isNull());
    EXPECT_TRUE(config.mSubsectionJsonPrefix.isNull());
}

TEST(DefinitionConfig, ReplacingItTouchesNothingElse)
{
    ReportDefinition definition = definitionWithMetrics({"a"});
    definition.setConfig(Config::withoutPrefixesOrReservedIds());
    EXPECT_EQ(QSet<QString>{"a"}, definition.metricIds());
    EXPECT_EQ("a", definition.getMetric("a").jsonId(definition.config()));
}

TEST(DefinitionJsonIds, CatalogueMetricsKeepTheirIdAndOthersGetThePrefix)
{
    MetricDef metric
        = MetricDef().withId("a").withDefaultMetricVersion(DefaultMetricVersion::DefaultMetrics7_1);
    EXPECT_EQ("a", metric.jsonId(Config()));
    metric.withDefaultMetricVersion(DefaultMetricVersion::NonDefaultMetric);
    EXPECT_EQ("custom.report.metric.a", metric.jsonId(Config()));
}

TEST(DefinitionJsonIds, SummaryEntryPrefixesItsMetricWithoutAskingWhoseItIs)
{
    SummaryEntryDef entry;
    entry.metricDefId = QStringLiteral("overview.cpu.percent");
    EXPECT_EQ("custom.report.metric.overview.cpu.percent", entry.metricJsonId(Config()));
}

TEST(DefinitionJsonIds, AdviceOfSummaryEntriesAndSubsections)
{
    EXPECT_EQ("custom.report.summary.e.advice", SummaryEntryDef::adviceJsonValue(Config(), "e"));
    EXPECT_EQ("custom.report.subsection.s.advice12", SubsectionDef::adviceJsonValue(Config(), "s", 12));
    SummaryEntryDef entry;
    entry.id = QStringLiteral("e");
    SubsectionDef subsection;
    subsection.id = QStringLiteral("s");
    const Config plain = Config::withoutPrefixesOrReservedIds();
    EXPECT_EQ("e.advice", entry.adviceJsonValue(plain));
    EXPECT_EQ("s.advice1", subsection.adviceJsonValue(plain, 1));
}

TEST(DefinitionJsonIds, AdviceOfAnIdThatLooksLikeAMarkerIsFilledOnce)
{
    EXPECT_EQ("custom.report.subsection.%2.advice1", SubsectionDef::adviceJsonValue(Config(), "%2", 1));
}

TEST(DefinitionMetrics, SettersChainAndSetOneFieldEach)
{
    MetricDef metric;
    metric.withId("i").withDisplayName("d").withUnits("u").withColour("red").withType(PMetricType::Bool);
    EXPECT_EQ("i", metric.id);
    EXPECT_EQ("d", metric.displayName);
    EXPECT_EQ("u", metric.units);
    EXPECT_EQ(QColor(255, 0, 0), metric.colour);
    EXPECT_EQ(PMetricType::Bool, metric.type);
    EXPECT_TRUE(metric.tooltip.isEmpty());
    EXPECT_EQ(DefaultMetricVersion::NonDefaultMetric, metric.defaultMetricVersion);
}

TEST(DefinitionLookup, UnknownMetricIsAnEmptyIdOfTypeDouble)
{
    const MetricDef metric = definitionWithMetrics({"a"}).getMetric("b");
    EXPECT_TRUE(metric.id.isEmpty());
    EXPECT_EQ(PMetricType::Double, metric.type);
    EXPECT_FALSE(metric.colour.isValid());
}

TEST(DefinitionLookup, UnknownSubsectionHasNoIdAndTheDefaults)
{
    const SubsectionDef subsection = ReportDefinition().getSubsection("s");
    EXPECT_TRUE(subsection.id.isEmpty());
    EXPECT_EQ(0, subsection.order);
    EXPECT_EQ(1, subsection.maxAdviceStrings);
}

TEST(DefinitionRows, BarLimitCountsOnlyIfItIsFinite)
{
    SubsectionEntryDef entry;
    EXPECT_FALSE(entry.hasMaxBarValue());
    entry.maxBarValue = 0;
    EXPECT_TRUE(entry.hasMaxBarValue());
    entry.maxBarValue = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(entry.hasMaxBarValue());
    entry.maxBarValue = -std::numeric_limits<double>::infinity();
    EXPECT_FALSE(entry.hasMaxBarValue());
}

TEST(DefinitionOrder, EqualOrdersOfSummaryEntriesKeepDeclaration)
{
    ReportDefinition::SummaryDef summary;
    summary.heading = QStringLiteral("h");
    summary.entries << ordered<SummaryEntryDef>("A", 2) << ordered<SummaryEntryDef>("B", 1)
                    << ordered<SummaryEntryDef>("C", 1);
    ReportDefinition definition;
    definition.setSummaryDefinition(summary);
    EXPECT_EQ((QStringList{"B", "C", "A"}), idsInOrder(definition.getSummaryDefinition().entries));
    EXPECT_EQ("h", definition.getSummaryDefinition().heading);
}

TEST(DefinitionOrder, EqualOrdersOfSubsectionsAndRowsKeepDeclaration)
{
    SubsectionDef first = ordered<SubsectionDef>("A", 2);
    first.entries << orderedRow("a", 2) << orderedRow("b", -1) << orderedRow("c", -1);
    ReportDefinition definition;
    definition.setSubsectionList({first, ordered<SubsectionDef>("B", 1), ordered<SubsectionDef>("C", 1)});
    const SubsectionDef::List sorted = definition.getSubsectionList();
    EXPECT_EQ((QStringList{"B", "C", "A"}), idsInOrder(sorted));
    EXPECT_EQ((QStringList{"b", "c", "a"}), rowsInOrder(sorted.last()));
}

TEST(DefinitionOrder, SortedViewsLeaveTheDefinitionAsItIs)
{
    SubsectionDef subsection = ordered<SubsectionDef>("A", 0);
    subsection.entries << orderedRow("a", 2) << orderedRow("b", 1);
    ReportDefinition definition;
    definition.setSubsectionList({subsection});
    definition.getSubsectionList();
    EXPECT_EQ((QStringList{"a", "b"}), rowsInOrder(definition.getSubsection("A")));
}

TEST(DefinitionSanity, ReportsNothingEvenForRowsThatReferToNothing)
{
    SubsectionDef subsection = ordered<SubsectionDef>("s", 0);
    subsection.entries << orderedRow("unknown", 0);
    ReportDefinition definition;
    definition.setSubsectionList({subsection});
    EXPECT_TRUE(definition.assertSanity());
}

TEST(MergingMetrics, TakesWhatTheLaterDeclarationSets)
{
    MetricDef metric = MetricDef().withId("a").withDisplayName("old").withUnits("old");
    MetricDef later = MetricDef().withId("a").withDisplayName("new").withUnits("B").withColour("blue");
    later.breakdownSubsectionDefId = QStringLiteral("s");
    later.source = QStringLiteral("metric");
    later.sourceDetails.metricRef = QStringLiteral("ref");
    later.sourceDetails.sampleValue = ReportDefinition::SampleValueSum;
    later.sourceDetails.aggregation = ReportDefinition::AggregationMax;
    ASSERT_TRUE(metric.merge(later));
    EXPECT_EQ("new", metric.displayName);
    EXPECT_EQ("B", metric.units);
    EXPECT_EQ(QColor(0, 0, 255), metric.colour);
    EXPECT_EQ("s", metric.breakdownSubsectionDefId);
    EXPECT_EQ("metric", metric.source);
    EXPECT_EQ("ref", metric.sourceDetails.metricRef);
    EXPECT_EQ(ReportDefinition::SampleValueSum, metric.sourceDetails.sampleValue);
    EXPECT_EQ(ReportDefinition::AggregationMax, metric.sourceDetails.aggregation);
}

TEST(MergingMetrics, KeepsWhatTheLaterDeclarationLeavesOut)
{
    MetricDef metric = MetricDef().withId("a").withDisplayName("n").withUnits("u").withColour("blue");
    metric.sourceDetails.metricRef = QStringLiteral("ref");
    metric.sourceDetails.sampleValue = ReportDefinition::SampleValueMin;
    metric.sourceDetails.aggregation = ReportDefinition::AggregationMin;
    ASSERT_TRUE(metric.merge(MetricDef().withId("a")));
    EXPECT_EQ("n", metric.displayName);
    EXPECT_EQ("u", metric.units);
    EXPECT_EQ(QColor(0, 0, 255), metric.colour);
    EXPECT_EQ("ref", metric.sourceDetails.metricRef);
    EXPECT_EQ(ReportDefinition::SampleValueMin, metric.sourceDetails.sampleValue);
    EXPECT_EQ(ReportDefinition::AggregationMin, metric.sourceDetails.aggregation);
}

TEST(MergingMetrics, TooltipTypeAndCatalogueVersionStand)
{
    MetricDef metric = MetricDef().withId("a").withType(PMetricType::String);
    metric.tooltip = QStringLiteral("old");
    MetricDef later = MetricDef()
                          .withId("a")
                          .withType(PMetricType::Integer)
                          .withDefaultMetricVersion(DefaultMetricVersion::DefaultMetrics7_0);
    later.tooltip = QStringLiteral("new");
    ASSERT_TRUE(metric.merge(later));
    EXPECT_EQ("old", metric.tooltip);
    EXPECT_EQ(PMetricType::String, metric.type);
    EXPECT_EQ(DefaultMetricVersion::NonDefaultMetric, metric.defaultMetricVersion);
}

TEST(MergingMetrics, AnotherIdIsRefusedAndChangesNothing)
{
    MetricDef metric = MetricDef().withId("a").withDisplayName("n");
    EXPECT_FALSE(metric.merge(MetricDef().withId("b").withDisplayName("new")));
    EXPECT_EQ("n", metric.displayName);
}

TEST(MergingSubsections, TakesWhatTheLaterDeclarationSets)
{
    SubsectionDef subsection = ordered<SubsectionDef>("s", 5);
    subsection.errorMetric = QStringLiteral("old");
    SubsectionDef later = ordered<SubsectionDef>("s", 7);
    later.heading = QStringLiteral("h");
    later.textHtml = QStringLiteral("t");
    later.requiresMetric = QStringLiteral("!r");
    later.colour = QColor(Qt::red);
    later.errorMetric = QStringLiteral("new");
    later.maxAdviceStrings = 4;
    ASSERT_TRUE(subsection.merge(later));
    EXPECT_EQ("h", subsection.heading);
    EXPECT_EQ("t", subsection.textHtml);
    EXPECT_EQ("!r", subsection.requiresMetric);
    EXPECT_EQ(QColor(Qt::red), subsection.colour);
    EXPECT_EQ(7, subsection.order);
    EXPECT_EQ(4, subsection.maxAdviceStrings);
    EXPECT_EQ("old", subsection.errorMetric);
}

TEST(MergingSubsections, AnOrderOfZeroKeepsTheEarlierOne)
{
    SubsectionDef subsection = ordered<SubsectionDef>("s", 5);
    ASSERT_TRUE(subsection.merge(ordered<SubsectionDef>("s", 0)));
    EXPECT_EQ(5, subsection.order);
}

TEST(MergingSubsections, TheLargerNumberOfAdviceSlotsStays)
{
    SubsectionDef subsection = ordered<SubsectionDef>("s", 0);
    subsection.maxAdviceStrings = 3;
    ASSERT_TRUE(subsection.merge(ordered<SubsectionDef>("s", 0)));
    EXPECT_EQ(3, subsection.maxAdviceStrings);
}

TEST(MergingSubsections, MergedWithItselfHasItsRowsTwice)
{
    SubsectionDef subsection = ordered<SubsectionDef>("s", 0);
    subsection.entries << orderedRow("a", 0) << orderedRow("b", 0);
    ASSERT_TRUE(subsection.merge(subsection));
    EXPECT_EQ((QStringList{"a", "b", "a", "b"}), rowsInOrder(subsection));
}

TEST(MergingSubsections, AnotherIdIsRefusedAndChangesNothing)
{
    SubsectionDef subsection = ordered<SubsectionDef>("s", 0);
    SubsectionDef other = ordered<SubsectionDef>("t", 9);
    other.entries << orderedRow("a", 0);
    EXPECT_FALSE(subsection.merge(other));
    EXPECT_EQ(0, subsection.order);
    EXPECT_TRUE(subsection.entries.isEmpty());
}

TEST(MetricIdClash, PathsClashWithTheirBeginningsAndContinuations)
{
    QString error;
    EXPECT_EQ("a", definitionWithMetrics({"a"}).getClashingMetricId("a.b", &error));
    EXPECT_EQ("a.b", definitionWithMetrics({"a.b"}).getClashingMetricId("a.b", &error));
    EXPECT_EQ("a.b.c", definitionWithMetrics({"a.b.c"}).getClashingMetricId("a.b", &error));
    EXPECT_EQ("", definitionWithMetrics({"a.c", "ab", "A"}).getClashingMetricId("a.b", &error));
    EXPECT_EQ("", error);
}

TEST(MetricIdClash, TheFirstClashInDeclarationOrderIsNamed)
{
    EXPECT_EQ("a.b.c", definitionWithMetrics({"x", "a.b.c", "a"}).getClashingMetricId("a.b", nullptr));
}

TEST(MetricIdClash, EmptyPartsOfTheIdAreAnErrorIfSomebodyAsks)
{
    QString error;
    EXPECT_EQ("", definitionWithMetrics({"a"}).getClashingMetricId("a..b", &error));
    EXPECT_EQ("a..b contains empty parts.", error);
}

TEST(MetricIdClash, EmptyPartsOfADeclaredIdAreAnErrorIfSomebodyAsks)
{
    QString error;
    EXPECT_EQ("", definitionWithMetrics({"b", "x.", "a"}).getClashingMetricId("a", &error));
    EXPECT_EQ("x. contains empty parts.", error);
}

TEST(MetricIdClash, EmptyPartsAreComparedLikeOthersIfNobodyAsks)
{
    const ReportDefinition definition = definitionWithMetrics({"a..b"});
    EXPECT_EQ("a..b", definition.getClashingMetricId("a..b.c", nullptr));
    EXPECT_EQ("", definition.getClashingMetricId("a.b", nullptr));
}

TEST(DefinitionFiles, ListNamesTheReportAndThenItsPartsByName)
{
    Loaded loaded = load(fullReport());
    ASSERT_TRUE(loaded.definition);
    QString error;
    const QByteArray nothing = "<subsections/>";
    ASSERT_TRUE(append(*loaded.definition, partialReport(nothing, "zebra"), &error));
    ASSERT_TRUE(append(*loaded.definition, partialReport(nothing, "ape"), &error));
    EXPECT_EQ("  Full (test:/full.xml)\n  ape (test:/partial.xml)\n  zebra (test:/partial.xml)\n",
        loaded.definition->listDefinitionFiles(2));
    EXPECT_EQ("Full (test:/full.xml)\nape (test:/partial.xml)\nzebra (test:/partial.xml)\n",
        loaded.definition->listDefinitionFiles(0));
}

TEST(DefinitionFiles, NamesAndAddressesWithMarkersComeOutAsTheyAre)
{
    const std::unique_ptr<ReportDefinition> definition(
        ReportDefinition::createFromMetrics({}, "%2 and %1", QUrl("file:///a%2Fb.xml")));
    EXPECT_EQ("%2 and %1 (file:///a%2Fb.xml)\n", definition->listDefinitionFiles(0));
}
