#include "api/quillon-report.h"
#include "qtprinters.h"
#include "reportbuilder.h"

#include <QTextCodec>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace quillon::report;

namespace {

const auto Create = quillon_report::CreateIfNotDefined;
const auto Refuse = quillon_report::ErrorIfNotDefined;
const char kProcesses[] = "applicationDetails.processes.plain";
const char kNodes[] = "applicationDetails.nodes.plain";

} // namespace

TEST(ResultCodes, numbersAreThoseThatCallersKnow)
{
    EXPECT_EQ(BRIVANE_REPORT_OK, 0);
    EXPECT_EQ(BRIVANE_REPORT_EXCEPTION, 1);
    EXPECT_EQ(BRIVANE_REPORT_NULL_REPORT, 2);
    EXPECT_EQ(BRIVANE_REPORT_OUT_OF_MEMORY, 3);
    EXPECT_EQ(BRIVANE_REPORT_UNKNOWN_METRIC, 4);
    EXPECT_EQ(BRIVANE_REPORT_UNKNOWN_SUBSECTION, 5);
    EXPECT_EQ(BRIVANE_REPORT_UNKNOWN_SUMMARY_ENTRY, 6);
    EXPECT_EQ(BRIVANE_REPORT_INCOMPLETE, 7);
    EXPECT_EQ(BRIVANE_REPORT_BAD_SEQUENCE, 8);
    EXPECT_EQ(BRIVANE_REPORT_INVALID_VALUE, 9);
    EXPECT_EQ(BRIVANE_REPORT_WRONG_TYPE, 10);
    EXPECT_EQ(BRIVANE_REPORT_NULL_ARGUMENT, 11);
    EXPECT_EQ(BRIVANE_REPORT_ALREADY_FAILED, 12);
    EXPECT_EQ(BRIVANE_REPORT_NULL_OUTPUT, 13);
    EXPECT_EQ(BRIVANE_REPORT_BAD_ADVICE_NUMBER, 16);
    EXPECT_EQ(BRIVANE_REPORT_INTERNAL, 102);
    EXPECT_EQ(BRIVANE_REPORT_GENERATION_FAILED, 103);
}

TEST(ReportTypes, numbersAreStable)
{
    EXPECT_EQ(TxtReport, 0);
    EXPECT_EQ(HtmlReport, 1);
    EXPECT_EQ(CsvReport, 2);
    EXPECT_EQ(JsonReport, 3);
    EXPECT_EQ(quillon_report::CreateIfNotDefined, 0);
    EXPECT_EQ(quillon_report::ErrorIfNotDefined, 1);
}

// A new report

TEST(Report, startsWithoutErrorOrWarning)
{
    const quillon_report report{ReportDefinition()};
    EXPECT_FALSE(report.hasErrorMessage());
    EXPECT_EQ(report.getErrorMessage(), nullptr);
    EXPECT_FALSE(report.hasWarningMessage());
    EXPECT_EQ(report.getWarningMessage(), "");
}

TEST(Report, describesItself)
{
    const QScopedPointer<ReportDefinition> definition(
        ReportDefinition::createFromMetrics({}, "Waves", QUrl("file:///tmp/waves.xml")));
    const quillon_report report(*definition);
    EXPECT_EQ(report.getMetricValue("report.name"), QVariant("Waves"));
    EXPECT_EQ(report.getMetricValue("report.version.api"), QVariant(1));
    EXPECT_EQ(report.getMetricValue("report.version.software"), QVariant("7.1.0"));
    EXPECT_EQ(report.getMetricValue("report.src.definition"), QVariant("Waves (file:///tmp/waves.xml)\n"));
    EXPECT_EQ(report.getMetricValue("report.src.values"), QVariant("brivane:/custom-report-api"));
    EXPECT_EQ(report.getMetricValue("version"), QVariant(4));
    EXPECT_EQ(report.definition().reportName(), "Waves");
}

TEST(Report, optionalDetailsStartWithTheDefaultOfTheirType)
{
    const quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.getMetricValue(kNodes), QVariant(0));
    EXPECT_EQ(report.getMetricValue("applicationDetails.hasGpu"), QVariant(false));
    EXPECT_TRUE(report.getMetricValue("applicationDetails.notes").toString().isNull());
    EXPECT_TRUE(
        DoublePrecision::isDoubleWithPrecision(report.getMetricValue("applicationDetails.hostMemory.plain")));
    EXPECT_FALSE(report.getMetricValue("applicationDetails.exeName").isValid());
}

TEST(Report, makesUtf8TheLocaleCodec)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    const quillon_report report{ReportDefinition()};
    EXPECT_EQ(QTextCodec::codecForLocale()->name(), "UTF-8");
}

TEST(Report, keepsADefinitionOfItsOwn)
{
    ReportDefinition definition = DefinitionBuilder().metric("m").build();
    quillon_report report(definition);
    definition.setMetricDefinitionList({});
    EXPECT_TRUE(report.containsUserDefinedMetricWithId("m"));
    EXPECT_EQ(report.definition().getMetricDefinitionList().size(), 1);
}

TEST(Report, knowsItsMetricsByJsonIdAndByPlainId)
{
    quillon_report report(DefinitionBuilder().metric("m", "Waves/s").build(ReportDefinition::Config()));
    EXPECT_TRUE(report.containsMetricWithId("custom.report.metric.m"));
    EXPECT_FALSE(report.containsMetricWithId("m"));
    EXPECT_TRUE(report.containsMetricWithId(kProcesses));
    EXPECT_TRUE(report.containsUserDefinedMetricWithId("m"));
    EXPECT_FALSE(report.containsUserDefinedMetricWithId("custom.report.metric.m"));
    EXPECT_FALSE(report.containsUserDefinedMetricWithId(kProcesses));
    EXPECT_EQ(report.getMetricDisplayName("m"), "Waves/s");
    EXPECT_EQ(report.getMetricDisplayName(kProcesses), "");
    EXPECT_EQ(report.reportConfig().mMetricIdJsonPrefix, "custom.report.metric");
}

// Values

TEST(ReportValues, anUnknownMetricIsAnErrorOrIsCreated)
{
    quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.setMetricValue("wave.speed", 1.5, Refuse), BRIVANE_REPORT_UNKNOWN_METRIC);
    EXPECT_STREQ(report.getErrorMessage(), "unknown metric: \"wave.speed\"");
    EXPECT_FALSE(report.containsMetricWithId("wave.speed"));

    EXPECT_EQ(report.setMetricValue("wave.speed", 1.5, Create), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.getMetricValue("wave.speed"), QVariant(1.5));
    EXPECT_EQ(report.toJsonDefinitions()["wave.speed"].toObject(),
        (QJsonObject{{"value", "wave.speed"}, {"type", "Double"}}));
}

TEST(ReportValues, aCreatedMetricKeepsItsType)
{
    quillon_report report{ReportDefinition()};
    ASSERT_EQ(report.setMetricValue("wave.speed", 1.5, Create), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.setMetricValue("wave.speed", 2, Create), BRIVANE_REPORT_WRONG_TYPE);
    EXPECT_STREQ(report.getErrorMessage(), "expected type \"Double\" for metric \"wave.speed\"");
    EXPECT_EQ(report.getMetricValue("wave.speed"), QVariant(1.5));
}

TEST(ReportValues, aValueThatNoMetricCanHoldIsRefused)
{
    quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.setMetricValue("a", QVariant(1u), Create), BRIVANE_REPORT_WRONG_TYPE);
    EXPECT_STREQ(report.getErrorMessage(), "expected type \"\" for metric \"a\"");
    EXPECT_FALSE(report.getMetricValue("a").isValid());
}

TEST(ReportValues, namesInErrorsAreUtf8)
{
    quillon_report report{ReportDefinition()};
    report.setMetricValue(QString::fromUtf8("\xc3\xa9t\xc3\xa9"), 1, Refuse);
    EXPECT_STREQ(report.getErrorMessage(), "unknown metric: \"\xc3\xa9t\xc3\xa9\"");
}

TEST(ReportValues, thereIsAtLeastOneProcess)
{
    quillon_report report{ReportDefinition()};
    ASSERT_EQ(report.setMetricValue(kProcesses, 8, Refuse), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.setMetricValue(kProcesses, 0, Refuse), BRIVANE_REPORT_INVALID_VALUE);
    EXPECT_STREQ(report.getErrorMessage(),
        "0 is an invalid value for metric BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES. Value must be >= 1.");
    EXPECT_EQ(report.getMetricValue(kProcesses), QVariant(8));
    EXPECT_EQ(report.setMetricValue(kProcesses, 1, Refuse), BRIVANE_REPORT_OK);
}

TEST(ReportValues, zeroNodesPassAndFewerDoNot)
{
    quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.setMetricValue(kNodes, 0, Refuse), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.setMetricValue(kNodes, -1, Refuse), BRIVANE_REPORT_INVALID_VALUE);
    EXPECT_STREQ(report.getErrorMessage(),
        "-1 is an invalid value for metric BRIVANE_APPLICATION_DETAIL_NUM_NODES. Value must be >= 1.");
    EXPECT_EQ(report.getMetricValue(kNodes), QVariant(0));
}

TEST(ReportValues, aWrongTypeIsFoundBeforeABadNumber)
{
    quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.setMetricValue(kProcesses, 0.0, Refuse), BRIVANE_REPORT_WRONG_TYPE);
}

TEST(ReportValues, anErrorFromBeforeStopsNothing)
{
    quillon_report report{ReportDefinition()};
    report.setErrorMessage("older");
    EXPECT_EQ(report.setMetricValue(kNodes, 2, Refuse), BRIVANE_REPORT_OK);
    EXPECT_STREQ(report.getErrorMessage(), "older");
}

TEST(ReportValues, unitsCanBeChanged)
{
    quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.setMetricUnits(kNodes, "blades"), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.toJsonDefinitions()[kNodes].toObject()["units"], QJsonValue("blades"));
    EXPECT_EQ(report.setMetricUnits("nope", "blades"), BRIVANE_REPORT_UNKNOWN_METRIC);
    EXPECT_STREQ(report.getErrorMessage(), "failed to adjust units for metric 'nope' to 'blades'))");
}

TEST(ReportValues, theirSourceIsAnAddress)
{
    quillon_report report{ReportDefinition()};
    EXPECT_EQ(report.setMetricValuesSource(QUrl::fromLocalFile("/tmp/a b.fern")), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.getMetricValue("report.src.values"), QVariant("file:///tmp/a b.fern"));
}

TEST(ReportValues, catalogueMetricsCarryTheirVersionAndTellEmptyFromNoUnits)
{
    const quillon_report report{ReportDefinition()};
    const QJsonObject definitions = report.toJsonDefinitions();
    EXPECT_EQ(definitions["applicationDetails.exeName"].toObject(),
        (QJsonObject{{"value", "applicationDetails.exeName"}, {"type", "String"}, {"units", ""},
            {"displayName", "Executable"}, {"version", 1}}));
    EXPECT_EQ(definitions["overview.advice"].toObject(),
        (QJsonObject{{"value", "overview.advice"}, {"type", "String"}, {"version", 1}}));
    EXPECT_EQ(definitions["version"].toObject(),
        (QJsonObject{{"value", "version"}, {"type", "Integer"}, {"displayName", "Version"}, {"version", 1}}));
}

// Errors and warnings

TEST(ReportErrors, aLongTextIsCut)
{
    quillon_report report{ReportDefinition()};
    report.setErrorMessage("%s", QByteArray(5000, 'x').constData());
    EXPECT_EQ(QByteArray(report.getErrorMessage()), QByteArray(4094, 'x'));
}

TEST(ReportErrors, aNewTextReplacesTheOld)
{
    quillon_report report{ReportDefinition()};
    report.setErrorMessage("%s and much more than the next", "this");
    report.setErrorMessage("%d", 5);
    EXPECT_STREQ(report.getErrorMessage(), "5");
}

TEST(ReportErrors, anEmptyTextClearsTheError)
{
    quillon_report report{ReportDefinition()};
    report.setErrorMessage("oops");
    EXPECT_TRUE(report.hasErrorMessage());
    report.setErrorMessage("%s", "");
    EXPECT_FALSE(report.hasErrorMessage());
    EXPECT_EQ(report.getErrorMessage(), nullptr);
}

TEST(ReportWarnings, theFirstForAMetricWins)
{
    quillon_report report{ReportDefinition()};
    report.setWarningMessage("a", "first");
    report.setWarningMessage("a", "second");
    EXPECT_TRUE(report.hasWarningMessage());
    EXPECT_EQ(report.getWarningMessage(), "first\n");
}

TEST(ReportWarnings, areListedInTheOrderOfTheirMetrics)
{
    quillon_report report{ReportDefinition()};
    report.setWarningMessage("b", "100% of b");
    report.setWarningMessage("a", "about %1");
    EXPECT_EQ(report.getWarningMessage(), "about %1\n100% of b\n");
    EXPECT_FALSE(report.hasErrorMessage());
}

TEST(ReportExceptions, becomeErrors)
{
    quillon_report report{ReportDefinition()};
    try {
        throw std::runtime_error("out of luck");
    } catch (...) {
        EXPECT_EQ(report.handleException("do_it"), BRIVANE_REPORT_EXCEPTION);
    }
    EXPECT_STREQ(
        report.getErrorMessage(), "EXCEPTION! context: do_it | fatal error with found message: out of luck");
    try {
        throw 5;
    } catch (...) {
        EXPECT_EQ(report.handleException("do_it"), BRIVANE_REPORT_EXCEPTION);
    }
    EXPECT_STREQ(report.getErrorMessage(), "EXCEPTION! context: do_it | unknown error");
}

TEST(ReportTexts, utf8IsToldFromOtherBytes)
{
    EXPECT_TRUE(quillon_report::utf8SequenceIsSane(nullptr));
    EXPECT_TRUE(quillon_report::utf8SequenceIsSane(""));
    EXPECT_TRUE(quillon_report::utf8SequenceIsSane("plain"));
    EXPECT_TRUE(quillon_report::utf8SequenceIsSane("\xe2\x82\xac"));
    EXPECT_FALSE(quillon_report::utf8SequenceIsSane("\xe2\x82")) << "cut within a character";
    EXPECT_FALSE(quillon_report::utf8SequenceIsSane("a\xffz"));
    EXPECT_FALSE(quillon_report::utf8SequenceIsSane("\xe9t\xe9")) << "Latin-1";
}
