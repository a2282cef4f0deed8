// What the summary shows.

#include "templatedatatest.h"

using namespace templatedatatest;
using namespace quillon::report::json;

namespace {

SummaryDef summaryOf(const SummaryEntryDef::List &entries)
{
    SummaryDef summary;
    summary.entries = entries;
    return summary;
}

QJsonObject onlyRow(const ReportDefinition &report)
{
    const QJsonArray rows = createSummaryData(report, nullptr)["rows"].toArray();
    EXPECT_EQ(rows.size(), 1);
    return rows.first().toObject();
}

QJsonObject rowThatRequires(const QString &requiresMetric)
{
    SummaryEntryDef entry = summaryEntry("m");
    entry.requiresMetric = requiresMetric;
    return onlyRow(definition({metric("m")}, summaryOf({entry})));
}

TEST(Summary, OfAnEmptyDefinitionHasNeitherRowsNorBounds)
{
    QString error = OldError;
    EXPECT_EQ(createSummaryData(definition({}), &error),
        (QJsonObject{{"headingHtmlTemplate", ""}, {"rows", QJsonArray()}, {"bounds", QJsonArray()},
            {"footerHtmlTemplate", ""}, {"adviceHtmlTemplate", "{{{overview.advice}}}"},
            {"primaryBound", "overview.bound1.type"}}));
    EXPECT_TRUE(error.isNull());
}

TEST(Summary, ReplacesPlaceholdersInHeadingAndFooter)
{
    SummaryDef summary;
    summary.heading = "${brivane.appDetails.exeName} is bound";
    summary.footer = "by ${m}";
    QString error = OldError;
    const QJsonObject json = createSummaryData(definition({defaultMetric("m")}, summary), &error);
    EXPECT_EQ(json["headingHtmlTemplate"], "{{applicationDetails.exeName}} is bound");
    EXPECT_EQ(json["footerHtmlTemplate"], "by <span class=\"m\">{{m}}</span>");
    EXPECT_TRUE(error.isNull());
}

TEST(Summary, BoundsAreAllMetricsInTheirOrder)
{
    const ReportDefinition report = definition({metric("z"), defaultMetric("a"), metric("b")});
    EXPECT_EQ(createSummaryData(report, nullptr)["bounds"],
        (QJsonArray{QJsonObject{{"type", "custom.report.metric.z"}, {"colorName", "custom.report.metric.z"}},
            QJsonObject{{"type", "a"}, {"colorName", "a"}},
            QJsonObject{{"type", "custom.report.metric.b"}, {"colorName", "custom.report.metric.b"}}}));
}

TEST(SummaryRow, HoldsWhatIsAlwaysThere)
{
    SummaryEntryDef entry = summaryEntry("m");
    entry.descriptionHtml = "Time in <b>code</b>: ${m}";
    const ReportDefinition report = definition({metric("m", "Compute")}, summaryOf({entry}));
    EXPECT_EQ(onlyRow(report),
        (QJsonObject{{"descriptionHtmlTemplate",
                         "Time in <b>code</b>: <span "
                         "class=\"custom.report.metric.m\">{{custom.report.metric.m}}</span>"},
            {"heading", "Compute"}, {"metricId", "custom.report.metric.m"},
            {"colorName", "custom.report.metric.m"},
            {"adviceHtmlTemplate", "{{{custom.report.summary.entry-m.advice}}}"}}));
}

TEST(SummaryRow, OfADefaultMetricHasItsPlainId)
{
    const QJsonObject json = onlyRow(definition({defaultMetric("m")}, summaryOf({summaryEntry("m")})));
    EXPECT_EQ(json["metricId"], "m");
    EXPECT_EQ(json["colorName"], "m");
}

TEST(SummaryRow, CarriesAChartLabelIfThereIsOne)
{
    SummaryEntryDef entry = summaryEntry("m");
    entry.chartLabel = "CPU";
    EXPECT_EQ(onlyRow(definition({metric("m")}, summaryOf({entry})))["chartLabel"], "CPU");
}

TEST(SummaryRow, IsVisibleWithAMetricOrHiddenWithIt)
{
    const QJsonObject visible = rowThatRequires("has.gpu");
    EXPECT_EQ(visible["visible"], "data.has.gpu");
    EXPECT_FALSE(visible.contains("hidden"));

    const QJsonObject hidden = rowThatRequires("!has.gpu");
    EXPECT_EQ(hidden["hidden"], "data.has.gpu");
    EXPECT_FALSE(hidden.contains("visible"));

    const QJsonObject always = rowThatRequires("");
    EXPECT_FALSE(always.contains("visible"));
    EXPECT_FALSE(always.contains("hidden"));
}

TEST(SummaryRow, StandInTheOrderOfTheEntries)
{
    SummaryEntryDef last = summaryEntry("a");
    last.order = 2;
    const ReportDefinition report = definition({metric("a", "A"), metric("b", "B"), metric("c", "C")},
        summaryOf({last, summaryEntry("b"), summaryEntry("c")}));
    QStringList headings;
    for (const QJsonValue &json : createSummaryData(report, nullptr)["rows"].toArray()) {
        headings << json["heading"].toString();
    }
    EXPECT_EQ(headings, (QStringList{"B", "C", "A"}));
}

TEST(SummaryRow, OfAnUnknownMetricNamesItsId)
{
    const ReportDefinition report = definition({metric("m")}, summaryOf({summaryEntry("gone")}));
    const LogCatcher log;
    QString error;
    const QJsonObject json = createSummaryData(report, &error)["rows"].toArray().first().toObject();
    EXPECT_EQ(json["heading"], "Unknown Metric ID: gone");
    EXPECT_EQ(json["metricId"], "custom.report.metric.Unknown Metric ID: gone");
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(log.lines().filter("debug: "), QStringList("debug: No metric with the ID \"gone\" was found"));
}

TEST(SummaryErrors, InTheHeadingHaveNoContext)
{
    SummaryDef summary;
    summary.heading = "${gone}";
    const ReportDefinition report = definition({metric("m")}, summary);
    QString error;
    EXPECT_EQ(createSummaryData(report, &error), QJsonObject());
    EXPECT_EQ(error, placeholderError(report, "${gone}"));
    EXPECT_NE(error, "");
}

TEST(SummaryErrors, InAnEntryNameItsMetric)
{
    SummaryEntryDef bad = summaryEntry("b");
    bad.descriptionHtml = "${gone}";
    SummaryEntryDef good = summaryEntry("c");
    good.descriptionHtml = "${c}";
    const ReportDefinition report
        = definition({metric("a"), metric("b"), metric("c")}, summaryOf({summaryEntry("a"), bad, good}));
    QString error;
    EXPECT_EQ(createSummaryData(report, &error), QJsonObject());
    EXPECT_EQ(error, placeholderError(report, "${gone}") + " (in summary entry b)");
}

TEST(SummaryErrors, InTheFooterSaySo)
{
    SummaryDef summary;
    summary.footer = "${gone}";
    const ReportDefinition report = definition({}, summary);
    QString error;
    EXPECT_EQ(createSummaryData(report, &error), QJsonObject());
    EXPECT_EQ(error, placeholderError(report, "${gone}") + " (in summary footer)");
}

TEST(SummaryErrors, EmptyTheResultAlsoWhenNobodyWantsTheText)
{
    SummaryDef summary;
    summary.footer = "${gone}";
    EXPECT_EQ(createSummaryData(definition({}, summary), nullptr), QJsonObject());
}

} // namespace
