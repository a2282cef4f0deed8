// What the subsections show.

#include "templatedatatest.h"

#include <QColor>

#include <limits>

using namespace templatedatatest;
using namespace quillon::report::json;

namespace {

ReportDefinition reportOf(const SubsectionDef &def)
{
    return definition({metric("m", "Metric"), defaultMetric("cpu.memPercent")}, {}, {def});
}

QJsonObject onlySubsection(const SubsectionDef &def)
{
    QString error = OldError;
    const QJsonArray subsections = createSubsectionsData(reportOf(def), &error);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(subsections.size(), 1);
    return subsections.first().toObject();
}

QJsonArray entriesOf(const SubsectionEntryDef::List &entries)
{
    return onlySubsection(subsection("s", entries))["metrics"].toArray();
}

QJsonObject onlyEntry(const SubsectionEntryDef &entry)
{
    return entriesOf({entry}).first().toObject();
}

// The one entry of a report whose metric "x" is this one.
QJsonObject entryOf(const MetricDef &metricDef)
{
    return createSubsectionsData(definition({metricDef}, {}, {subsection("s", {row(metricDef.id)})}), nullptr)
        .first()["metrics"][0]
        .toObject();
}

TEST(Subsections, OfAnEmptyDefinitionAreNone)
{
    QString error = OldError;
    EXPECT_EQ(createSubsectionsData(definition({}), &error), QJsonArray());
    EXPECT_TRUE(error.isNull());
}

TEST(Subsections, WithoutEntriesAreLeftOut)
{
    SubsectionDef empty = subsection("empty", {});
    empty.textHtml = "${gone}";
    const ReportDefinition report
        = definition({metric("m")}, {}, {empty, subsection("s", {row("m")}), subsection("also", {})});
    QString error;
    const QJsonArray subsections = createSubsectionsData(report, &error);
    ASSERT_EQ(subsections.size(), 1);
    EXPECT_EQ(subsections[0]["colorName"], "custom.report.subsection.s");
    EXPECT_TRUE(error.isNull());
    EXPECT_TRUE(createColoursData(report, nullptr).contains("custom.report.subsection.empty"));
}

TEST(Subsections, HoldWhatIsAlwaysThere)
{
    SubsectionDef def = subsection("s", {spacer()});
    def.heading = "CPU of ${m}";
    def.textHtml = "How time went: ${cpu.memPercent}";
    EXPECT_EQ(onlySubsection(def),
        (QJsonObject{{"descriptionHtmlTemplate",
                         "How time went: <span class=\"cpu.memPercent\">{{cpu.memPercent}}</span>"},
            {"heading", "CPU of ${m}"}, {"colorName", "custom.report.subsection.s"},
            {"adviceHtmlTemplate", QJsonArray{"{{{custom.report.subsection.s.advice1}}}"}},
            {"metrics", QJsonArray{QJsonObject{{"template", "spacerTemplate"}}}}}));
}

TEST(Subsections, HaveAsManyAdviceSlotsAsTheyDeclare)
{
    SubsectionDef def = subsection("s", {row("m")});
    def.maxAdviceStrings = 2;
    EXPECT_EQ(onlySubsection(def)["adviceHtmlTemplate"],
        (QJsonArray{"{{{custom.report.subsection.s.advice1}}}", "{{{custom.report.subsection.s.advice2}}}"}));
    for (const int none : {0, -1}) {
        def.maxAdviceStrings = none;
        EXPECT_EQ(onlySubsection(def)["adviceHtmlTemplate"], QJsonArray());
    }
}

TEST(Subsections, ShowAnErrorMetricInTwoBracesSoThatItIsEscaped)
{
    SubsectionDef def = subsection("s", {row("m")});
    EXPECT_FALSE(onlySubsection(def).contains("errorHtmlTemplate"));
    def.errorMetric = "memory.error";
    EXPECT_EQ(onlySubsection(def)["errorHtmlTemplate"], "{{memory.error}}");
}

TEST(Subsections, AreVisibleWithAMetricOrHiddenWithIt)
{
    SubsectionDef def = subsection("s", {row("m")});
    def.requiresMetric = "has.gpu";
    EXPECT_EQ(onlySubsection(def)["visible"], "data.has.gpu");
    EXPECT_FALSE(onlySubsection(def).contains("hidden"));
    def.requiresMetric = "!has.gpu";
    EXPECT_EQ(onlySubsection(def)["hidden"], "data.has.gpu");
    EXPECT_FALSE(onlySubsection(def).contains("visible"));
}

TEST(Subsections, StandInTheirOrderWithTheirEntriesInTheirs)
{
    SubsectionEntryDef lastEntry = row("m");
    lastEntry.order = 1;
    SubsectionDef last = subsection("last", {lastEntry, row("n")});
    last.order = 1;
    const ReportDefinition report
        = definition({metric("m"), metric("n")}, {}, {last, subsection("first", {row("m")})});
    const QJsonArray subsections = createSubsectionsData(report, nullptr);
    ASSERT_EQ(subsections.size(), 2);
    EXPECT_EQ(subsections[0]["colorName"], "custom.report.subsection.first");
    EXPECT_EQ(subsections[1]["metrics"][0]["metricId"], "custom.report.metric.n");
    EXPECT_EQ(subsections[1]["metrics"][1]["metricId"], "custom.report.metric.m");
}

TEST(SubsectionEntry, HoldsWhatIsAlwaysThere)
{
    EXPECT_EQ(onlyEntry(row("m")),
        (QJsonObject{{"metricId", "custom.report.metric.m"}, {"template", "numberTemplate"},
            {"colorName", "custom.report.metric.m"}}));
}

TEST(SubsectionEntry, HoldsWhatItDeclares)
{
    SubsectionEntryDef entry = row("cpu.memPercent");
    entry.overrideDisplayName = "Memory accesses";
    entry.unitPrefix = ReportDefinition::PrefixIEC;
    entry.descriptionHtml = "Now ${m}";
    entry.maxBarValue = 12.5;
    entry.group = "mix";
    entry.requiresMetric = "has.perf";
    EXPECT_EQ(onlyEntry(entry),
        (QJsonObject{{"metricId", "cpu.memPercent"}, {"template", "numberTemplate"},
            {"colorName", "cpu.memPercent"}, {"displayName", "Memory accesses"}, {"useIEC", true},
            {"descriptionHtmlTemplate",
                "Now <span class=\"custom.report.metric.m\">{{custom.report.metric.m}}</span>"},
            {"maxBarValue", 12.5}, {"group", "mix"}, {"visible", "data.has.perf"}}));
}

TEST(SubsectionEntry, IsAPercentageWhenItsUnitsAreExactlyAPercentSign)
{
    EXPECT_EQ(entryOf(metric("x").withUnits("%"))["template"], "percentageTemplate");
    EXPECT_EQ(entryOf(metric("x").withUnits("% of peak"))["template"], "numberTemplate");
    EXPECT_EQ(entryOf(metric("x").withUnits("B"))["template"], "numberTemplate");
}

TEST(SubsectionEntry, HasNoTemplateWhenOnlyMachinesReadIt)
{
    SubsectionEntryDef entry = row("m");
    entry.isMachineReadableOnly = true;
    EXPECT_EQ(onlyEntry(entry),
        (QJsonObject{{"metricId", "custom.report.metric.m"}, {"colorName", "custom.report.metric.m"}}));
}

TEST(SubsectionEntry, CarriesTheTooltipOfItsMetric)
{
    MetricDef explained = metric("x");
    explained.tooltip = "Explained";
    EXPECT_EQ(entryOf(explained)["tooltip"], "Explained");
    EXPECT_FALSE(entryOf(metric("x")).contains("tooltip"));
}

TEST(SubsectionEntry, IsHiddenWithANegatedMetric)
{
    SubsectionEntryDef entry = row("m");
    entry.requiresMetric = "!has.gpu";
    EXPECT_EQ(onlyEntry(entry)["hidden"], "data.has.gpu");
    EXPECT_FALSE(onlyEntry(entry).contains("visible"));
}

TEST(SubsectionEntry, KeepsAFullScaleOfZeroAndDropsOneThatIsNotFinite)
{
    SubsectionEntryDef entry = row("m");
    entry.maxBarValue = 0;
    EXPECT_EQ(onlyEntry(entry)["maxBarValue"], 0.0);
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double unset : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        entry.maxBarValue = unset;
        EXPECT_FALSE(onlyEntry(entry).contains("maxBarValue"));
    }
}

TEST(SubsectionEntry, WithItsOwnColourIsNamedLikeThatColour)
{
    SubsectionEntryDef red = row("m");
    red.overrideColour = QColor("red");
    SubsectionEntryDef unknown = row("gone");
    unknown.overrideColour = QColor("blue");
    const ReportDefinition report = reportOf(subsection("s", {row("m"), row("m"), spacer(), red, unknown}));
    const QJsonValue entries = createSubsectionsData(report, nullptr).first()["metrics"];
    EXPECT_EQ(entries[0]["colorName"], "custom.report.metric.m");
    EXPECT_EQ(entries[3]["colorName"], "custom.report.subsection.s-3-custom.report.metric.m");
    const QJsonObject colours = createColoursData(report, nullptr);
    EXPECT_TRUE(colours.contains(entries[3]["colorName"].toString()));
    EXPECT_TRUE(colours.contains(entries[4]["colorName"].toString()));
}

TEST(SubsectionEntry, OfAnUnknownMetricIsAPercentageThatNamesTheId)
{
    const LogCatcher log;
    const QJsonObject json = onlyEntry(row("gone"));
    EXPECT_EQ(json["template"], "percentageTemplate");
    EXPECT_EQ(json["metricId"], "custom.report.metric.Unknown Metric ID: gone");
    EXPECT_EQ(log.lines().filter("debug: "), QStringList("debug: No metric with the ID \"gone\" was found"));
}

TEST(Spacer, HoldsNothingButItsTemplateAndCondition)
{
    SubsectionEntryDef entry = spacer();
    entry.metricDefId = "gone";
    entry.overrideDisplayName = "name";
    entry.group = "group";
    entry.descriptionHtml = "${gone}";
    entry.requiresMetric = "!has.gpu";
    const LogCatcher log;
    EXPECT_EQ(onlyEntry(entry), (QJsonObject{{"template", "spacerTemplate"}, {"hidden", "data.has.gpu"}}));
    EXPECT_EQ(log.lines(), QStringList());
}

TEST(SubsectionErrors, InTheDescriptionNameTheSubsection)
{
    SubsectionDef bad = subsection("s", {row("m")});
    bad.textHtml = "${gone}";
    const ReportDefinition report = reportOf(bad);
    QString error;
    EXPECT_EQ(createSubsectionsData(report, &error), QJsonArray());
    EXPECT_EQ(error, placeholderError(report, "${gone}") + " (in description of subsection s)");
    EXPECT_EQ(createSubsectionsData(report, nullptr), QJsonArray());
}

TEST(SubsectionErrors, EndTheWork)
{
    SubsectionDef bad = subsection("s", {row("m")});
    bad.textHtml = "${gone}";
    SubsectionDef good = subsection("t", {row("m")});
    good.textHtml = "${m}";
    QString error;
    EXPECT_EQ(createSubsectionsData(definition({metric("m")}, {}, {bad, good}), &error), QJsonArray());
    EXPECT_TRUE(error.endsWith(" (in description of subsection s)"));
}

// A row whose description is this text.
SubsectionEntryDef described(const QString &text)
{
    SubsectionEntryDef entry = row("m");
    entry.descriptionHtml = text;
    return entry;
}

TEST(SubsectionErrors, InAnEntrySurfaceAtTheEndWithoutContext)
{
    const ReportDefinition report
        = reportOf(subsection("s", {described("${gone}"), described("no placeholder"), row("m")}));
    QString error;
    EXPECT_EQ(createSubsectionsData(report, &error), QJsonArray());
    EXPECT_EQ(error, placeholderError(report, "${gone}"));
}

TEST(SubsectionErrors, InAnEntryAreForgottenAtTheNextValidPlaceholder)
{
    const QJsonArray entries = entriesOf({described("${gone}"), described("${m}")});
    ASSERT_EQ(entries.size(), 2);
    EXPECT_EQ(entries[0]["descriptionHtmlTemplate"], "");
    EXPECT_EQ(entries[1]["descriptionHtmlTemplate"],
        "<span class=\"custom.report.metric.m\">{{custom.report.metric.m}}</span>");
}

TEST(SubsectionErrors, InAnEntryAreNotForgottenInTheNextSubsection)
{
    SubsectionDef next = subsection("t", {row("m")});
    next.textHtml = "${m}";
    QString error;
    EXPECT_EQ(createSubsectionsData(
                  definition({metric("m")}, {}, {subsection("s", {described("${gone}")}), next}), &error),
        QJsonArray());
    EXPECT_TRUE(error.startsWith("Invalid placeholder \"${gone}\""));
}

} // namespace
