// What of the C interface only a caller in C++ can see: the values that arrive, in either build.

#include "api/quillon-report.h"

#include "api/brivane-report-private.h"
#include "api/brivane-report.h"

#include "definition.h"
#include "qtprinters.h"

#include <QTextCodec>

#include <gtest/gtest.h>

#include <memory>

namespace {

using ReportPointer = std::unique_ptr<quillon_report, void (*)(quillon_report *)>;

ReportPointer makeReport(const char *definition = kDefinition)
{
    return ReportPointer(quillon_report_create(definition), quillon_report_free);
}

QVariant value(const ReportPointer &report, const char *metric)
{
    return quillon_report_internal_get_value(report.get(), metric);
}

TEST(CInterfaceTest, applicationExistsOrIsLeftToTheTool)
{
    EXPECT_TRUE(quillon::report::ensureQCoreApplicationExists());
}

TEST(CInterfaceTest, userDefinedMetricIsStoredUnderThePrefix)
{
    const ReportPointer report = makeReport();
    EXPECT_EQ(quillon_report_set_value_double(report.get(), "m", 2.5), 0);
    EXPECT_EQ(value(report, "custom.report.metric.m"), QVariant(2.5));
    EXPECT_FALSE(value(report, "m").isValid());
}

TEST(CInterfaceTest, exposedDetailsKeepTheirTypes)
{
    const ReportPointer report = makeReport();
    EXPECT_EQ(quillon_report_set_value_int(report.get(), BRIVANE_APPLICATION_DETAIL_TIME, 12), 0);
    EXPECT_EQ(value(report, BRIVANE_APPLICATION_DETAIL_TIME), QVariant(12));
    EXPECT_EQ(quillon_report_set_value_string(report.get(), BRIVANE_APPLICATION_DETAIL_NOTES, "\xC3\xA9"), 0);
    EXPECT_EQ(value(report, BRIVANE_APPLICATION_DETAIL_NOTES), QVariant(QString(QChar(0xE9))));
}

TEST(CInterfaceTest, valueOfANullReportIsInvalid)
{
    EXPECT_FALSE(quillon_report_internal_get_value(nullptr, "m").isValid());
}

// What stands in a definition stands in messages, too.
TEST(CInterfaceTest, percentSignsOfADefinitionComeOutAsTheyAre)
{
    const QByteArray definition(kDefinition);
    QByteArray bad = definition;
    bad.replace("rgb(1,2,3)", "%s%n%d%%");
    ASSERT_NE(bad, definition);
    const ReportPointer refused = makeReport(bad.constData());
    EXPECT_TRUE(QByteArray(quillon_report_error_message(refused.get())).contains("colour string '%s%n%d%%'"));

    bad = definition;
    bad.replace("<heading>", "<heading>${%s%n%d%%}");
    ASSERT_NE(bad, definition);
    const ReportPointer report = makeReport(bad.constData());
    ASSERT_EQ(quillon_report_error_message(report.get()), nullptr);
    const quillon::report::ReportDefinition filled = report->definition();
    for (const auto &metric : filled.getMetricDefinitionList())
        quillon_report_set_value_double(report.get(), metric.id.toUtf8().constData(), 1);
    QByteArray output;
    EXPECT_EQ(report->generateAndWrite(output, JsonReport), BRIVANE_REPORT_GENERATION_FAILED);
    EXPECT_TRUE(
        QByteArray(quillon_report_error_message(report.get())).contains("placeholder \"${%s%n%d%%}\""));
}

TEST(CInterfaceTest, processCountOfZeroLeavesTheOldValue)
{
    const ReportPointer report = makeReport();
    const char *metric = BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES;
    EXPECT_EQ(quillon_report_set_value_int(report.get(), metric, 3), 0);
    EXPECT_EQ(quillon_report_set_value_int(report.get(), metric, 0), BRIVANE_REPORT_INVALID_VALUE);
    EXPECT_EQ(value(report, metric), QVariant(3));
}

TEST(CInterfaceTest, refusedAdviceLeavesTheOldOne)
{
    const ReportPointer report = makeReport();
    EXPECT_EQ(quillon_report_set_section_advice(report.get(), "s", "old"), 0);
    const QString key
        = report->definition().getSubsectionList().first().adviceJsonValue(report->reportConfig(), 1);
    EXPECT_EQ(report->getMetricValue(key), QVariant("old"));
    EXPECT_EQ(quillon_report_set_section_advice(report.get(), "s", "<script>x</script>"),
        BRIVANE_REPORT_BAD_SEQUENCE);
    EXPECT_STREQ(quillon_report_error_message(report.get()), "invalid HTML sequence found in advice string");
    EXPECT_EQ(report->getMetricValue(key), QVariant("old"));
}

TEST(CInterfaceTest, sectionAdviceIsTheFirstOfItsSection)
{
    const ReportPointer report = makeReport();
    const auto section = report->definition().getSubsectionList().first();
    EXPECT_EQ(quillon_report_set_section_advice(report.get(), "s", "first"), 0);
    EXPECT_EQ(report->getMetricValue(section.adviceJsonValue(report->reportConfig(), 1)), QVariant("first"));
}

TEST(CInterfaceTest, summaryAdviceArrives)
{
    const ReportPointer report = makeReport();
    const auto entry = report->definition().getSummaryDefinition().entries.first();
    EXPECT_EQ(quillon_report_set_summary_entry_advice(report.get(), "hits", "<b>more"), 0);
    EXPECT_EQ(report->getMetricValue(entry.adviceJsonValue(report->reportConfig())), QVariant("<b>more"));
}

TEST(CInterfaceTest, constructorFromTextMakesAWholeReport)
{
    const quillon_report report(kDefinition);
    EXPECT_FALSE(report.hasErrorMessage());
    EXPECT_TRUE(report.containsUserDefinedMetricWithId("m"));
    EXPECT_TRUE(report.containsMetricWithId("custom.report.metric.m"));
    EXPECT_TRUE(report.containsMetricWithId("applicationDetails.exeName"));
    EXPECT_EQ(QTextCodec::codecForLocale()->name(), "UTF-8");
}

TEST(CInterfaceTest, constructorLeavesAnUnreadableDefinitionEmpty)
{
    const quillon_report report("<report");
    EXPECT_TRUE(report.hasErrorMessage());
    EXPECT_FALSE(report.containsMetricWithId("applicationDetails.exeName"));
    EXPECT_TRUE(report.definition().getMetricDefinitionList().isEmpty());
}

} // namespace
