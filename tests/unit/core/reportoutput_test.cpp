#include "api/quillon-report.h"
#include "qtprinters.h"
#include "reportbuilder.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace quillon::report;

namespace {

const auto Refuse = quillon_report::ErrorIfNotDefined;

ReportDefinition twoEntries()
{
    return DefinitionBuilder()
        .metric("cpu", "CPU")
        .metric("mpi", "MPI", "talk")
        .summary("entry.cpu", "cpu")
        .summary("entry.mpi", "mpi")
        .subsection("talk", "MPI time", 2)
        .build();
}

void fill(quillon_report &report)
{
    setRequiredDetails(report);
    report.setMetricValue("cpu", 25.0, Refuse);
    report.setMetricValue("mpi", 75.0, Refuse);
    ASSERT_FALSE(report.hasErrorMessage());
}

QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

TEST(ReportOutput, aJsonReportHoldsValuesAndDefinitions)
{
    quillon_report report(twoEntries());
    fill(report);
    QByteArray output;
    ASSERT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK) << report.getErrorMessage();
    const QJsonObject document = parsed(output);
    EXPECT_EQ(document["data"].toObject(), report.toJsonValues());
    EXPECT_EQ(document["metricData"].toObject(), report.toJsonDefinitions());
    EXPECT_EQ(document["data"].toObject()["mpi"], QJsonValue(75.0));
}

TEST(ReportOutput, readsBackIntoAStore)
{
    quillon_report report(twoEntries());
    fill(report);
    QByteArray output;
    ASSERT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK);
    PMetricValues store;
    QString error;
    ASSERT_TRUE(store.fromJson(QString::fromUtf8(output), &error)) << error.toStdString();
    EXPECT_EQ(store.toJsonValues(), report.toJsonValues());
    EXPECT_EQ(store.toJsonDefinitions(), report.toJsonDefinitions());
}

TEST(ReportOutput, saysWhatBoundTheJobWhenNobodyElseDid)
{
    quillon_report report(twoEntries());
    fill(report);
    QByteArray output;
    ASSERT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.getMetricValue("overview.bound1.long"), QVariant("MPI-bound"));
    EXPECT_EQ(report.getMetricValue("overview.bound1.subsectionHeading"), QVariant("MPI time"));
}

TEST(ReportOutput, keepsTheBoundThatWasSet)
{
    quillon_report report(twoEntries());
    fill(report);
    ASSERT_EQ(report.setDominantMetric("cpu"), BRIVANE_REPORT_OK);
    QByteArray output;
    ASSERT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.getMetricValue("overview.bound1.long"), QVariant("CPU-bound"));
}

TEST(ReportOutput, canBeWrittenAgain)
{
    quillon_report report(twoEntries());
    fill(report);
    QByteArray first, second;
    ASSERT_EQ(report.generateAndWrite(first, JsonReport), BRIVANE_REPORT_OK);
    ASSERT_EQ(report.generateAndWrite(second, JsonReport), BRIVANE_REPORT_OK);
    EXPECT_EQ(first, second);
}

TEST(ReportOutput, aMetricWithoutValueIsNamed)
{
    quillon_report report(twoEntries());
    setRequiredDetails(report);
    report.setMetricValue("cpu", 25.0, Refuse);
    QByteArray output = "old";
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_INCOMPLETE);
    EXPECT_STREQ(report.getErrorMessage(), "No metric value has been set for 'mpi'");
    EXPECT_EQ(output, "old");
}

TEST(ReportOutput, missingDetailsAreListed)
{
    quillon_report report(twoEntries());
    report.setMetricValue("cpu", 25.0, Refuse);
    report.setMetricValue("mpi", 75.0, Refuse);
    QByteArray output;
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_INCOMPLETE);
    EXPECT_STREQ(report.getErrorMessage(),
        "No metric values have been set for the following metrics:\n"
        "        applicationDetails.exeName\n"
        "        applicationDetails.processes.plain\n"
        "        applicationDetails.profiledRanks");
}

TEST(ReportOutput, aBoundDeclaredByTheDefinitionNeedsNoValueBeforehand)
{
    DefinitionBuilder builder;
    builder.metric("cpu", "CPU").summary("e", "cpu");
    for (const char *id : {"overview.bound1.long", "overview.bound1.short", "overview.bound1.type"})
        builder.metric(id, "Bound", "", PMetricType::String);
    quillon_report report(builder.build());
    setRequiredDetails(report);
    report.setMetricValue("cpu", 25.0, Refuse);
    QByteArray output;
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK) << report.getErrorMessage();
}

TEST(ReportOutput, withoutSummaryEntriesNothingSaysWhatBoundTheJob)
{
    quillon_report report(DefinitionBuilder().metric("cpu").build());
    setRequiredDetails(report);
    report.setMetricValue("cpu", 25.0, Refuse);
    QByteArray output;
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_INCOMPLETE);
    EXPECT_TRUE(QString(report.getErrorMessage()).contains("overview.bound1.long"))
        << report.getErrorMessage();

    EXPECT_EQ(report.setDominantMetric("cpu"), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK) << report.getErrorMessage();
}

TEST(ReportOutput, aSummaryThatIsNotMadeOfNumbersIsIncomplete)
{
    quillon_report report(
        DefinitionBuilder().metric("a", "A", "", PMetricType::String).summary("e", "a").build());
    setRequiredDetails(report);
    report.setMetricValue("a", "many", Refuse);
    QByteArray output;
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_INCOMPLETE);
    EXPECT_STREQ(report.getErrorMessage(), "metric \"a\" can't be converted to double");
}

TEST(ReportOutput, aBadPlaceholderInTheDefinitionIsReported)
{
    quillon_report report(
        DefinitionBuilder().metric("cpu").summary("e", "cpu").summaryFooter("${no.such}").build());
    setRequiredDetails(report);
    report.setMetricValue("cpu", 25.0, Refuse);
    const QJsonObject before = report.toJsonValues();
    QByteArray output;
    const int result = report.generateAndWrite(output, JsonReport);
    EXPECT_EQ(result, BRIVANE_REPORT_GENERATION_FAILED);
    EXPECT_TRUE(report.hasErrorMessage());
    EXPECT_EQ(report.toJsonValues(), before);
}

TEST(ReportOutput, anOlderErrorIsWiped)
{
    quillon_report report(twoEntries());
    fill(report);
    report.setErrorMessage("older");
    QByteArray output;
    EXPECT_EQ(report.generateAndWrite(output, JsonReport), BRIVANE_REPORT_OK);
    EXPECT_FALSE(report.hasErrorMessage());
}

TEST(ReportOutput, aBufferHoldsExactlyTheReport)
{
    quillon_report report(twoEntries());
    fill(report);
    QByteArray expected;
    ASSERT_EQ(report.generateAndWrite(expected, JsonReport), BRIVANE_REPORT_OK);
    char *buffer = nullptr;
    ASSERT_EQ(report.generateAndWrite(&buffer, JsonReport), BRIVANE_REPORT_OK);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(QByteArray(buffer, expected.size()), expected);
    std::free(buffer);
}

TEST(ReportOutput, aBufferIsNullAfterAFailure)
{
    quillon_report report(twoEntries());
    char something = 'x';
    char *buffer = &something;
    EXPECT_EQ(report.generateAndWrite(&buffer, JsonReport), BRIVANE_REPORT_INCOMPLETE);
    EXPECT_EQ(buffer, nullptr);
}

TEST(ReportOutput, aNullPointerForTheBufferIsAnError)
{
    quillon_report report(twoEntries());
    fill(report);
    EXPECT_EQ(report.generateAndWrite(static_cast<char **>(nullptr), JsonReport), BRIVANE_REPORT_NULL_OUTPUT);
    EXPECT_STREQ(report.getErrorMessage(), "Pointer to receive the report output buffer is NULL");
}

TEST(ReportOutput, recordsForMonitoringComeFromTheStore)
{
    quillon_report report(twoEntries());
    fill(report);
    const QList<DcimValue> records = report.toDcimValues({"mpi", "applicationDetails.processes.plain"});
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(records.at(0),
        (DcimValue{"com.brivane.application.processes", "4", "int32", "processes", "Processes"}));
    EXPECT_EQ(records.at(1).id, "com.brivane.mpi");
    EXPECT_EQ(records.at(1).value, "75");
}
