#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "qtprinters.h"
#include "reportbuilder.h"

#include <gtest/gtest.h>

#include <limits>

using namespace quillon::report;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const auto Refuse = quillon_report::ErrorIfNotDefined;

// Three metrics in the summary, the second broken down by a subsection with two places for advice.
ReportDefinition threeEntries(
    const ReportDefinition::Config &config = ReportDefinition::Config::withoutPrefixesOrReservedIds())
{
    return DefinitionBuilder()
        .metric("cpu", "CPU")
        .metric("mpi", "MPI", "mpi.section")
        .metric("io", "I/O")
        .metric("nameless", "", "mpi.section")
        .summary("entry.cpu", "cpu")
        .summary("entry.mpi", "mpi")
        .summary("entry.io", "io")
        .subsection("mpi.section", "MPI time", 2)
        .subsection("silent", "No advice", 0)
        .build(config);
}

void setSummary(quillon_report &report, double cpu, double mpi, double io)
{
    ASSERT_EQ(report.setMetricValue("cpu", cpu, Refuse), BRIVANE_REPORT_OK);
    ASSERT_EQ(report.setMetricValue("mpi", mpi, Refuse), BRIVANE_REPORT_OK);
    ASSERT_EQ(report.setMetricValue("io", io, Refuse), BRIVANE_REPORT_OK);
}

QString text(const quillon_report &report, const QString &id)
{
    const QVariant value = report.getMetricValue(id);
    EXPECT_EQ(value.type(), QVariant::String) << id.toStdString();
    return value.toString();
}

QStringList bound(const quillon_report &report, int number)
{
    const QString prefix = QString("overview.bound%1.").arg(number);
    QStringList result;
    for (const char *part : {"long", "short", "type", "subsectionId", "subsectionHeading"})
        result << text(report, prefix + part);
    return result;
}

} // namespace

// What bound the job

TEST(DominantMetric, isTheFirstOfTheLargest)
{
    quillon_report report(threeEntries());
    setSummary(report, 30.0, 50.0, 50.0);
    EXPECT_EQ(report.getDefaultDominantMetric(), "mpi");
    setSummary(report, 30.0, 50.0, 60.0);
    EXPECT_EQ(report.getDefaultDominantMetric(), "io");
    setSummary(report, 30.0, 30.0, 30.0);
    EXPECT_EQ(report.getDefaultDominantMetric(), "cpu");
}

TEST(DominantMetric, aNanNeverWinsAndInFrontIsNeverDisplaced)
{
    quillon_report report(threeEntries());
    setSummary(report, 30.0, kNan, 50.0);
    EXPECT_EQ(report.getDefaultDominantMetric(), "io");
    setSummary(report, kNan, 30.0, 50.0);
    EXPECT_EQ(report.getDefaultDominantMetric(), "cpu");
}

TEST(DominantMetric, followsTheOrderOfTheEntries)
{
    ReportDefinition definition = threeEntries();
    ReportDefinition::SummaryDef summary = definition.getSummaryDefinition();
    summary.entries[0].order = 5;
    definition.setSummaryDefinition(summary);
    quillon_report report(definition);
    setSummary(report, 50.0, 20.0, 50.0);
    EXPECT_EQ(report.getDefaultDominantMetric(), "io");
}

TEST(DominantMetric, isEmptyWithoutErrorForAnEmptySummary)
{
    quillon_report report(DefinitionBuilder().metric("cpu").build());
    EXPECT_EQ(report.getDefaultDominantMetric(), "");
    EXPECT_FALSE(report.hasErrorMessage());
}

TEST(DominantMetric, needsNumbers)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.getDefaultDominantMetric(), "");
    EXPECT_STREQ(report.getErrorMessage(), "metric \"cpu\" can't be converted to double");

    ASSERT_EQ(report.setMetricValue("cpu", 1.0, Refuse), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.getDefaultDominantMetric(), "");
    EXPECT_STREQ(report.getErrorMessage(), "metric \"mpi\" can't be converted to double");
}

TEST(DominantMetric, aNumberWithPrecisionIsNone)
{
    quillon_report report(
        DefinitionBuilder().metric("a", "A", "", PMetricType::DoubleWithPrecision).summary("e", "a").build());
    ASSERT_EQ(report.setMetricValue("a", DoublePrecision(1.0, 2).toQVariant(), Refuse), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.getDefaultDominantMetric(), "");
    EXPECT_STREQ(report.getErrorMessage(), "metric \"a\" can't be converted to double");
}

TEST(DominantMetric, fillsFiveValues)
{
    quillon_report report(threeEntries());
    EXPECT_TRUE(report.dominantMetricNeedsSetting());
    EXPECT_EQ(report.setDominantMetric("mpi"), BRIVANE_REPORT_OK);
    EXPECT_EQ(bound(report, 1), QStringList({"MPI-bound", "MPI", "mpi", "mpi.section", "MPI time"}));
    EXPECT_FALSE(report.dominantMetricNeedsSetting());
}

TEST(DominantMetric, isTakenByPlainIdAndGivenByJsonId)
{
    quillon_report report(threeEntries(ReportDefinition::Config()));
    EXPECT_EQ(report.setDominantMetric("mpi"), BRIVANE_REPORT_OK);
    EXPECT_EQ(text(report, "overview.bound1.type"), "custom.report.metric.mpi");
    EXPECT_EQ(text(report, "overview.bound1.subsectionId"), "mpi.section");
}

TEST(DominantMetric, withoutBreakdownHasAnEmptySubsection)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.setDominantMetric("cpu"), BRIVANE_REPORT_OK);
    EXPECT_EQ(bound(report, 1), QStringList({"CPU-bound", "CPU", "cpu", "", ""}));
}

TEST(DominantMetric, withoutNameHasNoLongNameEither)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.setDominantMetric("nameless"), BRIVANE_REPORT_OK);
    EXPECT_EQ(bound(report, 1), QStringList({"", "", "nameless", "mpi.section", "MPI time"}));
}

TEST(DominantMetric, canBeChanged)
{
    quillon_report report(threeEntries());
    ASSERT_EQ(report.setDominantMetric("mpi"), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.setDominantMetric("io"), BRIVANE_REPORT_OK);
    EXPECT_EQ(bound(report, 1), QStringList({"I/O-bound", "I/O", "io", "", ""}));
}

TEST(DominantMetric, mustBeKnownAndCannotBeCleared)
{
    for (const auto &config :
        {ReportDefinition::Config(), ReportDefinition::Config::withoutPrefixesOrReservedIds()}) {
        quillon_report report(threeEntries(config));
        EXPECT_EQ(report.setDominantMetric("disk"), BRIVANE_REPORT_UNKNOWN_METRIC);
        EXPECT_STREQ(report.getErrorMessage(), "metric \"disk\" not recognised");
        EXPECT_EQ(report.setDominantMetric(""), BRIVANE_REPORT_UNKNOWN_METRIC);
        EXPECT_STREQ(report.getErrorMessage(), "metric \"\" not recognised");
        EXPECT_TRUE(report.dominantMetricNeedsSetting());
    }
}

TEST(SecondaryDominantMetric, startsEmptyAndCanBeSetAndCleared)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(bound(report, 2), QStringList({"", "", "", "", ""}));
    EXPECT_EQ(report.setSecondaryDominantMetric("mpi"), BRIVANE_REPORT_OK);
    EXPECT_EQ(bound(report, 2), QStringList({"MPI-bound", "MPI", "mpi", "mpi.section", "MPI time"}));
    EXPECT_TRUE(report.dominantMetricNeedsSetting()) << "the secondary metric doesn't count";
    EXPECT_EQ(report.setSecondaryDominantMetric(""), BRIVANE_REPORT_OK);
    EXPECT_EQ(bound(report, 2), QStringList({"", "", "", "", ""}));
}

TEST(SecondaryDominantMetric, mustBeKnown)
{
    quillon_report report(threeEntries());
    ASSERT_EQ(report.setSecondaryDominantMetric("cpu"), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.setSecondaryDominantMetric("disk"), BRIVANE_REPORT_UNKNOWN_METRIC);
    EXPECT_STREQ(report.getErrorMessage(), "metric \"disk\" not recognised");
    EXPECT_EQ(text(report, "overview.bound2.short"), "CPU");
}

// Advice

TEST(Advice, startsAsANullStringEverywhere)
{
    const quillon_report report(threeEntries());
    for (const char *id :
        {"overview.advice", "entry.cpu.advice", "mpi.section.advice1", "mpi.section.advice2"})
        EXPECT_TRUE(text(report, id).isNull()) << id;
    EXPECT_FALSE(report.containsMetricWithId("silent.advice1"));
}

TEST(Advice, ofTheWholeReport)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.setSummaryOverviewAdvice("Use fewer waves."), BRIVANE_REPORT_OK);
    EXPECT_EQ(text(report, "overview.advice"), "Use fewer waves.");
}

TEST(Advice, ofASummaryEntry)
{
    quillon_report report(threeEntries(ReportDefinition::Config()));
    EXPECT_EQ(report.setSummaryEntryAdvice("entry.mpi", "Talk less."), BRIVANE_REPORT_OK);
    EXPECT_EQ(text(report, "custom.report.summary.entry.mpi.advice"), "Talk less.");
    EXPECT_EQ(report.setSummaryEntryAdvice("mpi", "x"), BRIVANE_REPORT_UNKNOWN_SUMMARY_ENTRY);
    EXPECT_STREQ(report.getErrorMessage(), "no summary entry found with ID: \"mpi\"");
}

TEST(Advice, idsOutsideAsciiAreNotFoundInTheStore)
{
    const QString id = QString::fromUtf8("caf\xc3\xa9");
    quillon_report report(DefinitionBuilder().metric("m").summary(id, "m").subsection(id, "x", 1).build());
    EXPECT_TRUE(report.summaryEntryExists(id));
    EXPECT_EQ(report.setSummaryEntryAdvice(id, "x"), BRIVANE_REPORT_UNKNOWN_METRIC);
    EXPECT_EQ(report.setSubsectionAdvice(id, 1, "x"), BRIVANE_REPORT_UNKNOWN_METRIC);
}

TEST(Advice, ofASubsectionByNumber)
{
    quillon_report report(threeEntries(ReportDefinition::Config()));
    EXPECT_EQ(report.setSubsectionAdvice("mpi.section", 2, "Talk at night."), BRIVANE_REPORT_OK);
    EXPECT_EQ(text(report, "custom.report.subsection.mpi.section.advice2"), "Talk at night.");
    EXPECT_EQ(report.setSubsectionAdvice("disk", 1, "x"), BRIVANE_REPORT_UNKNOWN_SUBSECTION);
    EXPECT_STREQ(report.getErrorMessage(), "subsection with ID \"disk\" was not found");
}

TEST(Advice, numbersOutOfRangeAreRefusedWithoutDamage)
{
    quillon_report report(threeEntries());
    for (const int number : {0, -1, std::numeric_limits<int>::min()}) {
        report.setErrorMessage("%s", "");
        EXPECT_EQ(report.setSubsectionAdvice("mpi.section", number, "x"), BRIVANE_REPORT_BAD_ADVICE_NUMBER);
        EXPECT_TRUE(QString(report.getErrorMessage()).startsWith("bad advice string number ("))
            << report.getErrorMessage();
        EXPECT_TRUE(QString(report.getErrorMessage())
                        .endsWith("\"mpi.section\".Advice string indexing starts at '1'."))
            << report.getErrorMessage();
    }
    for (const int number : {3, std::numeric_limits<int>::max()}) {
        report.setErrorMessage("%s", "");
        EXPECT_EQ(report.setSubsectionAdvice("mpi.section", number, "x"), BRIVANE_REPORT_BAD_ADVICE_NUMBER);
        EXPECT_TRUE(QString(report.getErrorMessage()).startsWith("bad advice string number ("))
            << report.getErrorMessage();
        EXPECT_TRUE(QString(report.getErrorMessage()).contains("\"mpi.section\".Expected number in range "))
            << report.getErrorMessage();
    }
    EXPECT_TRUE(text(report, "mpi.section.advice1").isNull());
    EXPECT_TRUE(text(report, "mpi.section.advice2").isNull());
}

TEST(Advice, aListBlanksTheSlotsBehindItsEnd)
{
    quillon_report report(threeEntries());
    ASSERT_EQ(report.setSubsectionAdvice("mpi.section", 2, "old"), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.setSubsectionAdvice("mpi.section", QStringList({"new"})), BRIVANE_REPORT_OK);
    EXPECT_EQ(text(report, "mpi.section.advice1"), "new");
    EXPECT_EQ(text(report, "mpi.section.advice2"), "");
}

TEST(Advice, ofAListWhatHasNoSlotIsDropped)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.setSubsectionAdvice("mpi.section", QStringList({"a", "b", "c"})), BRIVANE_REPORT_OK);
    EXPECT_EQ(text(report, "mpi.section.advice2"), "b");
    EXPECT_FALSE(report.containsMetricWithId("mpi.section.advice3"));
}

TEST(Advice, aListForASubsectionWithoutSlotsChangesNothing)
{
    quillon_report report(threeEntries());
    const QJsonObject before = report.toJsonValues();
    EXPECT_EQ(report.setSubsectionAdvice("silent", QStringList({"a"})), BRIVANE_REPORT_OK);
    EXPECT_EQ(report.toJsonValues(), before);
    EXPECT_FALSE(report.hasErrorMessage());
}

TEST(Advice, aListNeedsAKnownSubsection)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.setSubsectionAdvice("disk", QStringList({"a"})), BRIVANE_REPORT_UNKNOWN_SUBSECTION);
    EXPECT_STREQ(report.getErrorMessage(), "subsection with ID \"disk\" was not found");
}

TEST(Advice, theNumberOfSlotsIsThatOfTheDefinition)
{
    quillon_report report(threeEntries());
    EXPECT_EQ(report.getSubsectionAdviceMaxNumber("mpi.section"), 2);
    EXPECT_EQ(report.getSubsectionAdviceMaxNumber("silent"), 0);
    EXPECT_FALSE(report.hasErrorMessage());
    EXPECT_EQ(report.getSubsectionAdviceMaxNumber("disk"), -1);
    EXPECT_STREQ(report.getErrorMessage(), "subsection with ID \"disk\" was not found");
}

TEST(Advice, entriesAndSubsectionsAreKnownByTheirIds)
{
    const quillon_report report(threeEntries(ReportDefinition::Config()));
    EXPECT_TRUE(report.summaryEntryExists("entry.cpu"));
    EXPECT_FALSE(report.summaryEntryExists("cpu"));
    EXPECT_TRUE(report.sectionExists("silent"));
    EXPECT_FALSE(report.sectionExists("custom.report.subsection.silent"));
}

TEST(ANewReport, lacksItsOwnMetricsTheRequiredDetailsAndWhatBoundTheJob)
{
    const ReportDefinition definition = threeEntries();
    const quillon_report report(definition);
    QStringList missing;
    for (const PMetricDefinition &metric : createMetricValues(definition))
        if (!report.getMetricValue(metric.getId()).isValid())
            missing << metric.getId();
    missing.sort();
    EXPECT_EQ(missing,
        QStringList({"applicationDetails.exeName", "applicationDetails.processes.plain",
            "applicationDetails.profiledRanks", "cpu", "io", "mpi", "nameless", "overview.bound1.long",
            "overview.bound1.short", "overview.bound1.subsectionHeading", "overview.bound1.subsectionId",
            "overview.bound1.type"}));
}
