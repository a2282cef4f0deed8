// Which colour belongs to which name.

#include "templatedatatest.h"

#include <QColor>

using namespace templatedatatest;
using namespace quillon::report::json;

namespace {

QJsonArray hsl(int hue, int saturation, int lightness)
{
    return {hue, saturation, lightness};
}

MetricDef coloured(MetricDef metric, const QString &colour)
{
    return metric.withColour(colour);
}

SubsectionEntryDef overriding(SubsectionEntryDef entry, const QString &colour)
{
    entry.overrideColour = QColor(colour);
    return entry;
}

TEST(HslArray, HoldsHueInDegreesAndPercentagesRoundedDown)
{
    QString error;
    EXPECT_EQ(colourStringToJsonHslArray(QColor("#ff0000"), &error), hsl(0, 100, 50));
    EXPECT_EQ(colourStringToJsonHslArray(QColor("#0000ff"), &error), hsl(240, 100, 50));
    EXPECT_EQ(colourStringToJsonHslArray(QColor::fromHsl(200, 254, 1), &error), hsl(200, 99, 0));
    EXPECT_TRUE(error.isNull());
}

TEST(HslArray, GreysHaveNoHue)
{
    QString error;
    EXPECT_EQ(colourStringToJsonHslArray(QColor("#808080"), &error), hsl(-1, 0, 50));
    EXPECT_EQ(colourStringToJsonHslArray(QColor("white"), &error), hsl(-1, 0, 100));
    EXPECT_EQ(colourStringToJsonHslArray(QColor("black"), &error), hsl(-1, 0, 0));
}

TEST(HslArray, OfAnInvalidColourIsEmptyAndSaysSo)
{
    QString error = OldError;
    EXPECT_EQ(colourStringToJsonHslArray(QColor(), &error), QJsonArray());
    EXPECT_EQ(error, " (Unknown colour #000000)");
}

TEST(HslArray, ClearsAnOldError)
{
    QString error = OldError;
    colourStringToJsonHslArray(QColor("red"), &error);
    EXPECT_TRUE(error.isNull());
}

TEST(Colours, OfAnEmptyDefinitionAreNone)
{
    QString error = OldError;
    EXPECT_EQ(createColoursData(definition({}), &error), QJsonObject());
    EXPECT_TRUE(error.isNull());
}

TEST(Colours, StandUnderTheJsonIdsOfMetrics)
{
    const ReportDefinition report = definition(
        {coloured(metric("own"), "#ff0000"), coloured(defaultMetric("cpu.memPercent"), "#0000ff")});
    EXPECT_EQ(createColoursData(report, nullptr),
        (QJsonObject{{"custom.report.metric.own", hsl(0, 100, 50)}, {"cpu.memPercent", hsl(240, 100, 50)}}));
}

TEST(Colours, ThatAreInvalidAreBlack)
{
    QString error;
    EXPECT_EQ(createColoursData(definition({metric("m")}), &error),
        (QJsonObject{{"custom.report.metric.m", hsl(-1, 0, 0)}}));
    EXPECT_TRUE(error.isNull());
}

TEST(Colours, OfGreyAndWhiteMetricsHaveNoHue)
{
    const ReportDefinition report
        = definition({coloured(metric("grey"), "#808080"), coloured(metric("white"), "white")});
    EXPECT_EQ(createColoursData(report, nullptr),
        (QJsonObject{
            {"custom.report.metric.grey", hsl(-1, 0, 50)}, {"custom.report.metric.white", hsl(-1, 0, 100)}}));
}

TEST(Colours, IncludeThoseOfSubsectionsWithoutEntries)
{
    SubsectionDef empty = subsection("empty", {});
    empty.colour = QColor("#ff0000");
    EXPECT_EQ(createColoursData(definition({}, {}, {empty}), nullptr),
        (QJsonObject{{"custom.report.subsection.empty", hsl(0, 100, 50)}}));
}

TEST(Colours, OfSubsectionsReplaceThoseOfMetricsWithTheSameJsonId)
{
    ReportDefinition report = definition({coloured(metric("cpu"), "#ff0000")}, {}, {subsection("cpu", {})});
    report.setConfig(ReportDefinition::Config::withoutPrefixesOrReservedIds());
    EXPECT_EQ(createColoursData(report, nullptr), (QJsonObject{{"cpu", hsl(-1, 0, 0)}}));
}

TEST(Colours, ThatOverrideStandUnderSubsectionPositionAndMetric)
{
    const ReportDefinition report = definition({coloured(metric("m"), "#0000ff")}, {},
        {subsection("s", {overriding(row("m"), "#ff0000"), row("m"), overriding(row("m"), "white")})});
    const QJsonObject colours = createColoursData(report, nullptr);
    EXPECT_EQ(colours.keys(),
        (QStringList{"custom.report.metric.m", "custom.report.subsection.s",
            "custom.report.subsection.s-0-custom.report.metric.m",
            "custom.report.subsection.s-2-custom.report.metric.m"}));
    EXPECT_EQ(colours["custom.report.subsection.s-0-custom.report.metric.m"], hsl(0, 100, 50));
    EXPECT_EQ(colours["custom.report.subsection.s-2-custom.report.metric.m"], hsl(-1, 0, 100));
}

TEST(Colours, CountSpacersInThePosition)
{
    const ReportDefinition report = definition({metric("m")}, {},
        {subsection("s", {row("m"), row("m"), spacer(), overriding(row("m"), "#ff0000")})});
    EXPECT_TRUE(
        createColoursData(report, nullptr).contains("custom.report.subsection.s-3-custom.report.metric.m"));
}

TEST(Colours, ThatOverrideExistForUnknownMetricsToo)
{
    const ReportDefinition report
        = definition({}, {}, {subsection("s", {overriding(row("gone"), "#ff0000")})});
    EXPECT_TRUE(
        createColoursData(report, nullptr).contains("custom.report.subsection.s-0-custom.report.metric."));
}

} // namespace
