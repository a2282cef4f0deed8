// What the reader of definitions refuses, and in which words.

#include "definitiontest.h"

using namespace quillon::report;
using namespace definitiontest;

struct RefusedRow {
    const char *name;
    QByteArray document;
    const char *message; // without the location; "" where nothing is said
};

class RefusedFullReport : public ::testing::TestWithParam<RefusedRow> { };

TEST_P(RefusedFullReport, SaysWhy)
{
    const Loaded loaded = load(GetParam().document);
    EXPECT_FALSE(loaded.definition);
    if (*GetParam().message == '\0')
        EXPECT_EQ("", loaded.error);
    else
        EXPECT_TRUE(isLocated(loaded.error, "Error", DocumentUrl, GetParam().message));
}

#define NO_METRIC(id) "There is no metric with id=\"" id "\" in this report"

INSTANTIATE_TEST_SUITE_P(Roots, RefusedFullReport,
    ::testing::Values(RefusedRow{"Nothing", "", "Missing string attribute 'name' for '' element"},
        RefusedRow{"AnotherRootWithoutName", "<odd/>", "Missing string attribute 'name' for 'odd' element"},
        RefusedRow{"AnotherRoot", "<odd name=\"x\"/>", "Expected 'report' as the root element, got 'odd'"},
        RefusedRow{"APartialReport", partialReport(""),
            "Expected 'report' as the root element, got 'partialReport'"},
        RefusedRow{"EmptyName", "<report name=\"\"/>", ""},
        RefusedRow{"NoMetrics", "<report name=\"x\"><summary/></report>",
            "Expected start of 'reportMetrics' element, got 'summary'"},
        RefusedRow{"NoSummary", "<report name=\"x\"><reportMetrics/><subsections/></report>",
            "Expected start of 'summary' element, got 'subsections'"},
        RefusedRow{"NoSubsections",
            "<report name=\"x\"><reportMetrics>" + QByteArray(OneMetric) + "</reportMetrics><summary>"
                + OneEntry + "</summary><odd/></report>",
            "Expected start of 'subsections' element, got 'odd'"},
        RefusedRow{"CutOff", fullReport().left(fullReport().indexOf("<entry")),
            "There are no <entry> elements in the <summary> section. A report must contain at least one "
            "metric and "
            "summary entry"}),
    [](const auto &test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Metrics, RefusedFullReport,
    ::testing::Values(RefusedRow{"NoId", fullReport("<reportMetric displayName=\"M\"/>"),
                          "Missing string attribute 'id' for 'reportMetric' element"},
        RefusedRow{"NoName", fullReport("<reportMetric id=\"m\"/>"),
            "Missing string attribute 'displayName' for 'reportMetric' element"},
        RefusedRow{"EmptyName", fullReport("<reportMetric id=\"m\" displayName=\"\"/>"), ""},
        RefusedRow{"EmptySource", fullReport("<reportMetric id=\"m\" displayName=\"M\" source=\"\"/>"), ""},
        RefusedRow{"UnitsOfAString",
            fullReport("<reportMetric id=\"m\" displayName=\"M\" type=\"string\" units=\"B\"/>"),
            "A 'reportMetric' element of type 'string' should not contain a 'units' attribute"},
        RefusedRow{"EmptyUnitsOfABoolean",
            fullReport("<reportMetric id=\"m\" displayName=\"M\" type=\"boolean\" units=\"\"/>"),
            "A 'reportMetric' element of type 'boolean' should not contain a 'units' attribute"},
        RefusedRow{"SameIdTwice", fullReport(QByteArray(OneMetric) + OneMetric),
            "There is already a metric with id=\"m\" in the <metrics> section of this file"},
        RefusedRow{"ReservedId", fullReport("<reportMetric id=\"com.brivane.m\" displayName=\"M\"/>"),
            "The id=\"com.brivane.m\" is reserved."},
        RefusedRow{"EmptyPart", fullReport("<reportMetric id=\"a..b\" displayName=\"M\"/>"),
            "a..b contains empty parts."},
        RefusedRow{"BeginningOfAnotherId",
            fullReport(
                "<reportMetric id=\"a.b\" displayName=\"M\"/><reportMetric id=\"a\" displayName=\"M\"/>"),
            "Partial metric id name collision detected between \"a\" and \"a.b\"."},
        RefusedRow{"SampledWithoutDetails",
            fullReport("<reportMetric id=\"m\" displayName=\"M\" source=\"metric\"/>"),
            "Expected start of 'sourceDetails' element, got 'reportMetric'"},
        RefusedRow{"DetailsWithoutSource",
            fullReport("<reportMetric id=\"m\" displayName=\"M\"><sourceDetails/></reportMetric>"),
            "Unexpected element 'sourceDetails'"},
        RefusedRow{"DetailsTwice",
            fullReport(
                "<reportMetric id=\"m\" displayName=\"M\" source=\"metric\"><sourceDetails metricRef=\"r\" "
                "sampleValue=\"min\" aggregation=\"min\"/><sourceDetails/></reportMetric>"),
            "Unexpected element 'sourceDetails'"},
        RefusedRow{"DetailsWithoutReference",
            fullReport(
                "<reportMetric id=\"m\" displayName=\"M\" source=\"metric\"><sourceDetails/></reportMetric>"),
            "Missing string attribute 'metricRef' for 'sourceDetails' element"},
        RefusedRow{"DetailsWithoutSampleValue",
            fullReport("<reportMetric id=\"m\" displayName=\"M\" source=\"metric\"><sourceDetails "
                       "metricRef=\"r\"/></reportMetric>"),
            "Missing attribute 'sampleValue' for 'sourceDetails' element"},
        RefusedRow{"DetailsWithoutAggregation",
            fullReport(
                "<reportMetric id=\"m\" displayName=\"M\" source=\"metric\"><sourceDetails metricRef=\"r\" "
                "sampleValue=\"min\"/></reportMetric>"),
            "Missing attribute 'aggregation' for 'sourceDetails' element"}),
    [](const auto &test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Summaries, RefusedFullReport,
    ::testing::Values(RefusedRow{"NoHeading", fullReport(OneMetric, "<entry id=\"e\" reportMetric=\"m\"/>"),
                          "Expected start of 'heading' element (from within 'summary'), got 'entry'"},
        RefusedRow{"NoEntry", fullReport(OneMetric, "<heading/>"),
            "There are no <entry> elements in the <summary> section. A report must contain at least one "
            "metric and "
            "summary entry"},
        RefusedRow{"BadOverwrite", fullReport().replace("<summary>", "<summary overwrite=\"TRUE\">"),
            "Invalid boolean value 'TRUE' for 'overwrite' attribute in 'summary' element. Expected 'true', "
            "'false', "
            "'0' or '1'."},
        RefusedRow{"EntryWithoutId", fullReport(OneMetric, "<heading/><entry reportMetric=\"m\"/>"),
            "Missing string attribute 'id' for 'entry' element"},
        RefusedRow{"EntryWithoutMetric", fullReport(OneMetric, "<heading/><entry id=\"e\"/>"),
            "Missing string attribute 'reportMetric' for 'entry' element"},
        RefusedRow{"EntryOfAnUnknownMetric",
            fullReport(OneMetric, "<heading/><entry id=\"e\" reportMetric=\"x\"/>"), NO_METRIC("x")},
        RefusedRow{"EntryThatRequiresAnUnknownMetric",
            fullReport(OneMetric, "<heading/><entry id=\"e\" reportMetric=\"m\" requires=\"!x\"/>"),
            NO_METRIC("x")},
        RefusedRow{"EntryWithABadOrder",
            fullReport(OneMetric, "<heading/><entry id=\"e\" reportMetric=\"m\" order=\"1.5\"/>"),
            "Could not convert '1.5' to an int in attribute 'order' for 'entry' element"},
        RefusedRow{"SameEntryTwice",
            fullReport(OneMetric, QByteArray(OneEntry) + "<entry id=\"e\" reportMetric=\"m\"/>"),
            "There is already an entry with id=\"e\" in the <summary> section of this file"},
        RefusedRow{"ReservedEntry",
            fullReport(OneMetric, "<heading/><entry id=\"brivane.e\" reportMetric=\"m\"/>"),
            "The id=\"brivane.e\" is reserved."}),
    [](const auto &test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Subsections, RefusedFullReport,
    ::testing::Values(RefusedRow{"NoId", fullReport(OneMetric, OneEntry, "<subsection heading=\"S\"/>"),
                          "Missing string attribute 'id' for 'subsection' element"},
        RefusedRow{"NoHeading", fullReport(OneMetric, OneEntry, "<subsection id=\"s\"/>"),
            "Missing string attribute 'heading' for 'subsection' element"},
        RefusedRow{"SameIdTwice",
            fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\"/><subsection id=\"s\"/>"),
            "There is already a subsection with id=\"s\" in the <subsections> section of this file"},
        RefusedRow{"ReservedId",
            fullReport(OneMetric, OneEntry, "<subsection id=\"brivane.s\" heading=\"S\"/>"),
            "The id=\"brivane.s\" is reserved."},
        RefusedRow{"UnknownErrorMetric",
            fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" errorMetric=\"x\"/>"),
            NO_METRIC("x")},
        RefusedRow{"EmptyErrorMetric",
            fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" errorMetric=\"\"/>"), ""},
        RefusedRow{"BadNumberOfAdviceSlots",
            fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" maxAdviceStrings=\"two\"/>"),
            "Could not convert 'two' to an int in attribute 'maxAdviceStrings' for 'subsection' element"},
        RefusedRow{"BadOverwrite",
            fullReport(OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" overwrite=\"yes\"/>"),
            "Invalid boolean value 'yes' for 'overwrite' attribute in 'subsection' element. Expected 'true', "
            "'false', "
            "'0' or '1'."},
        RefusedRow{"RowOfAnUnknownMetric",
            fullReport(OneMetric, OneEntry,
                "<subsection id=\"s\" heading=\"S\"><entry reportMetric=\"x\"/></subsection>"),
            NO_METRIC("x")},
        RefusedRow{"RowOfAnImplicitMetric",
            fullReport(OneMetric, OneEntry,
                "<subsection id=\"s\" heading=\"S\"><entry "
                "reportMetric=\"applicationDetails.notes\"/></subsection>"),
            NO_METRIC("applicationDetails.notes")},
        RefusedRow{"RowWithABarOfNoNumber",
            fullReport(OneMetric, OneEntry,
                "<subsection id=\"s\" heading=\"S\"><entry reportMetric=\"m\" "
                "maxBarValue=\"NaN\"/></subsection>"),
            "Could not convert 'NaN' to an double in attribute 'maxBarValue' for 'entry' element"},
        RefusedRow{"SpacerThatRequiresAnUnknownMetric",
            fullReport(OneMetric, OneEntry,
                "<subsection id=\"s\" heading=\"S\"><spacer requires=\"x\"/></subsection>"),
            NO_METRIC("x")},
        RefusedRow{"UnknownBreakdown",
            fullReport("<reportMetric id=\"m\" displayName=\"M\" breakdownSubsection=\"x\"/>"),
            "No subsection has id=\"x\", required by the \"breakdownSubsection\" attribute of the \"m\" "
            "metric"}),
    [](const auto &test) { return test.param.name; });

class RefusedPartialReport : public ::testing::TestWithParam<RefusedRow> { };

TEST_P(RefusedPartialReport, SaysWhy)
{
    Loaded loaded = load(baseReport());
    ASSERT_TRUE(loaded.definition) << loaded.error.toStdString();
    EXPECT_FALSE(append(*loaded.definition, GetParam().document, &loaded.error));
    EXPECT_TRUE(isLocated(loaded.error, "Error", PartialUrl, GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Contents, RefusedPartialReport,
    ::testing::Values(
        RefusedRow{"AFullReport", fullReport(), "Expected 'partialReport' as the root element, got 'report'"},
        RefusedRow{
            "NoName", "<partialReport/>", "Missing string attribute 'name' for 'partialReport' element"},
        RefusedRow{"ContinuationOfAnId",
            partialReport(metrics("<reportMetric id=\"m.b\" displayName=\"M\"/>")),
            "Partial metric id name collision detected between \"m.b\" and \"m\"."},
        RefusedRow{"NewMetricTwice",
            partialReport(metrics("<reportMetric id=\"n\" displayName=\"N\"/><reportMetric id=\"n\"/>")),
            "There is already a metric with id=\"n\" in the <metrics> section of this file"},
        RefusedRow{"KnownEntryThoughIdentical",
            partialReport(summary("<entry id=\"e\" reportMetric=\"m\"/>")),
            "There is already a non-identical entry with id=\"e\" in the <summary> section of this report, "
            "added "
            "from one of the following files:\n        Full (test:/full.xml)\n"},
        RefusedRow{"OverwritingSummaryWithoutEntry", partialReport(summary("", "overwrite=\"true\"")),
            "There are no <entry> elements in the <summary> section. A report must contain at least one "
            "metric and "
            "summary entry"},
        RefusedRow{"NewSubsectionTwice",
            partialReport(subsections("<subsection id=\"t\" heading=\"T\"/><subsection id=\"t\"/>")),
            "There is already a subsection with id=\"t\" in the <subsections> section of this file"},
        RefusedRow{"NewSubsectionWithoutHeading", partialReport(subsections("<subsection id=\"t\"/>")),
            "Missing string attribute 'heading' for 'subsection' element"},
        RefusedRow{"DroppedSubsectionIsNewAgain",
            partialReport(subsections("<subsection id=\"s\"/>", "overwrite=\"true\"")),
            "Missing string attribute 'heading' for 'subsection' element"}),
    [](const auto &test) { return test.param.name; });
