// Placeholders in the texts of a definition.

#include "templatedatatest.h"

#include <QScopedPointer>
#include <QUrl>

using namespace templatedatatest;
using quillon::report::replacePlaceholders;

namespace {

class Placeholders : public testing::Test {
protected:
    ReportDefinition mReport = definition({metric("a.b"), metric("b"), defaultMetric("cpu.memPercent")});
    QString mError = OldError;

    QString replaced(const QString &text) { return replacePlaceholders(mReport, text, &mError); }
};

TEST_F(Placeholders, TextWithoutDollarComesBackUnchangedAndLeavesTheErrorAlone)
{
    EXPECT_EQ(replaced("Time in {{mpi}} % of {all} calls"), "Time in {{mpi}} % of {all} calls");
    EXPECT_EQ(replaced(QString()), "");
    EXPECT_EQ(mError, OldError);
}

TEST_F(Placeholders, DollarWithoutBraceIsPlainText)
{
    EXPECT_EQ(replaced("costs $5 or $ {b} or $"), "costs $5 or $ {b} or $");
    EXPECT_EQ(mError, OldError);
}

TEST_F(Placeholders, UnclosedPlaceholderIsPlainText)
{
    EXPECT_EQ(replaced("${b"), "${b");
    EXPECT_EQ(replaced("${b$}"), "${b$}");
    EXPECT_EQ(mError, OldError);
}

TEST_F(Placeholders, MetricIsItsValueInASpanOfItsClass)
{
    EXPECT_EQ(
        replaced("x ${b} y"), "x <span class=\"custom.report.metric.b\">{{custom.report.metric.b}}</span> y");
    EXPECT_EQ(mError, "");
}

TEST_F(Placeholders, KeyIsTrimmed)
{
    EXPECT_EQ(
        replaced("${ a.b }"), "<span class=\"custom.report.metric.a.b\">{{custom.report.metric.a.b}}</span>");
    EXPECT_EQ(replaced("${\n\ta.b\n}"), replaced("${a.b}"));
}

TEST_F(Placeholders, DefaultMetricsHaveNoPrefix)
{
    EXPECT_EQ(replaced("${cpu.memPercent}"), "<span class=\"cpu.memPercent\">{{cpu.memPercent}}</span>");
}

TEST_F(Placeholders, OwnMetricsHaveNoPrefixWhereTheDefinitionHasNone)
{
    mReport.setConfig(ReportDefinition::Config::withoutPrefixesOrReservedIds());
    EXPECT_EQ(replaced("${a.b}"), "<span class=\"a.b\">{{a.b}}</span>");
}

TEST_F(Placeholders, AsteriskAddsUnitsScaledToAnSiPrefix)
{
    EXPECT_EQ(replaced("${*cpu.memPercent}"),
        "<span class=\"cpu.memPercent\">{{toPrecision (siValue (lookupMetric \"cpu.memPercent\")) 3}}</span> "
        "{{siUnits (lookupMetric \"cpu.memPercent\") symbol=(lookupMetricUnits \"cpu.memPercent\")}}");
    EXPECT_EQ(replaced("${*b}"),
        "<span class=\"custom.report.metric.b\">{{toPrecision (siValue (lookupMetric "
        "\"custom.report.metric.b\")) 3}}</span> {{siUnits (lookupMetric \"custom.report.metric.b\") "
        "symbol=(lookupMetricUnits \"custom.report.metric.b\")}}");
    EXPECT_EQ(mError, "");
}

TEST_F(Placeholders, SeveralInOneTextKeepWhatStandsBetween)
{
    EXPECT_EQ(replaced("${b}${b}, ${cpu.memPercent}%"),
        replaced("${b}") + replaced("${b}") + ", " + replaced("${cpu.memPercent}") + "%");
}

TEST_F(Placeholders, OnlyTheInnerOfTwoNestedOnesMatches)
{
    EXPECT_EQ(
        replaced("${a${b}}"), "${a<span class=\"custom.report.metric.b\">{{custom.report.metric.b}}</span>}");
}

TEST_F(Placeholders, FirstOfTwoMetricsWithOneIdIsTaken)
{
    mReport.setMetricDefinitionList({defaultMetric("x"), metric("x")});
    EXPECT_EQ(replaced("${x}"), "<span class=\"x\">{{x}}</span>");
}

TEST_F(Placeholders, BuiltinsAreTemplateExpressions)
{
    EXPECT_EQ(replaced("${brivane.appDetails.exeName}"), "{{applicationDetails.exeName}}");
    EXPECT_EQ(replaced("${brivane.dominant.metric.bound}"),
        "<span class=\"{{overview.bound1.type}}\">{{overview.bound1.long}}</span>");
    EXPECT_EQ(replaced("${brivane.dominant.metric.name}"),
        "<span class=\"{{overview.bound1.type}}\">{{overview.bound1.short}}</span>");
    EXPECT_EQ(replaced("${brivane.dominant.metric.subsection}"),
        "<span class=\"{{overview.bound1.subsectionId}}\">{{overview.bound1.subsectionHeading}}</span>");
    EXPECT_EQ(replaced("${brivane.secondaryDominant.metric.bound}"),
        "<span class=\"{{overview.bound2.type}}\">{{overview.bound2.long}}</span>");
    EXPECT_EQ(replaced("${brivane.secondaryDominant.metric.name}"),
        "<span class=\"{{overview.bound2.type}}\">{{overview.bound2.short}}</span>");
    EXPECT_EQ(replaced("${brivane.secondaryDominant.metric.subsection}"),
        "<span class=\"{{overview.bound2.subsectionId}}\">{{overview.bound2.subsectionHeading}}</span>");
    EXPECT_EQ(mError, "");
}

TEST_F(Placeholders, AdviceHasThreeBracesSoThatItsMarkupStays)
{
    EXPECT_EQ(replaced("${brivane.dominant.metric.advice}"), "{{{overview.advice}}}");
}

TEST_F(Placeholders, ThereIsNoSecondaryAdvice)
{
    EXPECT_EQ(replaced("${brivane.secondaryDominant.metric.advice}"), "");
    EXPECT_NE(mError, "");
}

TEST_F(Placeholders, BuiltinsHideMetricsOfTheSameId)
{
    mReport.setMetricDefinitionList({metric("brivane.appDetails.exeName")});
    EXPECT_EQ(replaced("${brivane.appDetails.exeName}"), "{{applicationDetails.exeName}}");
}

TEST_F(Placeholders, AsteriskDoesNotReachBuiltins)
{
    EXPECT_EQ(replaced("${*brivane.appDetails.exeName}"), "");
    EXPECT_NE(mError, "");
}

TEST_F(Placeholders, EmptyKeyIsInvalid)
{
    EXPECT_EQ(replaced("${}"), "");
    EXPECT_TRUE(mError.startsWith("Invalid placeholder \"${}\" in report:\n")) << mError.toStdString();
    EXPECT_EQ(replaced("${  }"), "");
    EXPECT_TRUE(mError.startsWith("Invalid placeholder \"${}\" in report:\n")) << mError.toStdString();
}

TEST_F(Placeholders, AsteriskAloneIsAMetricId)
{
    EXPECT_EQ(replaced("${*}"), "");
    EXPECT_TRUE(mError.startsWith("Invalid placeholder \"${*}\" in report:\n")) << mError.toStdString();
    mReport.setMetricDefinitionList({defaultMetric("*")});
    EXPECT_EQ(replaced("${*}"), "<span class=\"*\">{{*}}</span>");
    EXPECT_EQ(mError, "");
}

TEST_F(Placeholders, IdsAreCaseSensitive)
{
    EXPECT_EQ(replaced("${B}"), "");
    EXPECT_NE(mError, "");
}

TEST_F(Placeholders, MessageNamesThePlaceholderTheFilesAndWhatCouldStandThere)
{
    const QScopedPointer<ReportDefinition> report(ReportDefinition::createFromMetrics(
        {metric("b")}, "Site %1 report", QUrl("file:///opt/site.example/a%2Fb.xml")));
    EXPECT_EQ(placeholderError(*report, "see ${*wrong}"),
        "Invalid placeholder \"${*wrong}\" in report:\n"
        "        Site %1 report (file:///opt/site.example/a%2Fb.xml)\n"
        "\n"
        "The built-in placeholders are:\n"
        "        ${brivane.appDetails.exeName}\n"
        "        ${brivane.dominant.metric.advice}\n"
        "        ${brivane.dominant.metric.bound}\n"
        "        ${brivane.dominant.metric.name}\n"
        "        ${brivane.dominant.metric.subsection}\n"
        "        ${brivane.secondaryDominant.metric.bound}\n"
        "        ${brivane.secondaryDominant.metric.name}\n"
        "        ${brivane.secondaryDominant.metric.subsection}\n"
        "\n"
        "You can also reference metric values by using the metric id:\n"
        "    ${metricId}  : the metric value\n"
        "    ${*metricId} : the metric value and units, scaled to a suitable SI prefix\n");
}

TEST_F(Placeholders, FirstInvalidOneEndsTheWork)
{
    EXPECT_EQ(replaced("${b} ${first} ${second}"), "");
    EXPECT_TRUE(mError.startsWith("Invalid placeholder \"${first}\"")) << mError.toStdString();
}

TEST_F(Placeholders, ValidOneClearsAnOldError)
{
    replaced("${b}");
    EXPECT_EQ(mError, "");
}

TEST_F(Placeholders, InvalidOnesVanishWhenNobodyWantsTheError)
{
    EXPECT_EQ(replacePlaceholders(mReport, "a ${nothing} b ${cpu.memPercent} ${} c", nullptr),
        "a  b <span class=\"cpu.memPercent\">{{cpu.memPercent}}</span>  c");
}

} // namespace
