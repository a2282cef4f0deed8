// Every definition that is installed, walked from one end to the other: the reader's checks tell that it
// loads, these tell that a person can read what comes out.

#include "api/defaultmetrics.h"
#include "api/jsongeneration.h"
#include "definitiontest.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QRegularExpressionMatchIterator>

#include <cmath>

using namespace quillon::report;
using namespace definitiontest;

namespace {

using MetricDef = ReportDefinition::MetricDef;
using SubsectionDef = ReportDefinition::SubsectionDef;
using SubsectionEntryDef = ReportDefinition::SubsectionEntryDef;

const QDir TemplatesDir(QStringLiteral(REPORT_TEMPLATES_DIR));

// Widths of the text report's columns: a name and its colon have 42 characters.
const int LongestName = 41;
// The radar chart has little room at the ends of its axes.
const int LongestChartLabel = 8;
// WCAG 2.1, success criterion 1.4.3: text of normal size.
const double LeastContrast = 4.5;

// Metrics that are declared for the sake of a sentence alone. A metric in none of the rows, conditions,
// errors and texts of its definition has to be named here.
const QSet<QString> ForASentenceOnly = {};

// Members of the catalogue's sets that nothing sets but the report on trapped capacity. A report that
// declares a metric which nobody sets is never complete.
const QSet<QString> OfTheTrappedReportOnly = {DefaultMetrics::NodePowerBudget,
    DefaultMetrics::EnergyNodeMeanMpiCpuPower, DefaultMetrics::EnergyNodeMeanIoCpuPower,
    DefaultMetrics::EnergyNodeMeanOmpCpuPower, DefaultMetrics::EnergyNodeMeanOtherCpuPower,
    DefaultMetrics::EnergyMpiCpuPercent, DefaultMetrics::EnergyIoCpuPercent,
    DefaultMetrics::EnergyOmpCpuPercent, DefaultMetrics::EnergyOtherCpuPercent};

// The tool loads definitions with ids as they are.
std::unique_ptr<ReportDefinition> loadDefault(QString *error)
{
    return std::unique_ptr<ReportDefinition>(
        ReportDefinition::createFromFile(TemplatesDir.filePath(QStringLiteral("report-default.xml")), error,
            ReportDefinition::SilentValidation, Config::withoutPrefixesOrReservedIds()));
}

bool isPartialReport(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll().contains("<partialReport");
}

QStringList installedFiles()
{
    QStringList files;
    for (const char *folder : {".", "partial-reports"}) {
        const QDir dir(TemplatesDir.filePath(QLatin1String(folder)));
        for (const QString &name : dir.entryList({QStringLiteral("*.xml")}, QDir::Files))
            files << QDir::cleanPath(dir.filePath(name));
    }
    return files;
}

// The definition with this file in it: a full report as it stands, a partial one behind the default report.
Loaded loadInstalled(const QString &path)
{
    Loaded loaded;
    loaded.definition = loadDefault(&loaded.error);
    if (!loaded.definition || !isPartialReport(path))
        return loaded;
    if (!loaded.definition->appendPartialReportFromFile(
            path, &loaded.error, ReportDefinition::SilentValidation))
        loaded.definition.reset();
    return loaded;
}

QString withoutNegation(const QString &condition)
{
    return condition.startsWith(QLatin1Char('!')) ? condition.mid(1) : condition;
}

QSet<QString> conditions(const ReportDefinition &definition)
{
    QSet<QString> ids;
    for (const auto &entry : definition.getSummaryDefinition().entries)
        ids << withoutNegation(entry.requiresMetric);
    for (const SubsectionDef &subsection : definition.getSubsectionList()) {
        ids << withoutNegation(subsection.requiresMetric);
        for (const SubsectionEntryDef &entry : subsection.entries)
            ids << withoutNegation(entry.requiresMetric);
    }
    ids.remove(QString());
    return ids;
}

QSet<QString> shownMetrics(const ReportDefinition &definition)
{
    QSet<QString> ids;
    for (const auto &entry : definition.getSummaryDefinition().entries)
        ids << entry.metricDefId;
    for (const SubsectionDef &subsection : definition.getSubsectionList()) {
        for (const SubsectionEntryDef &entry : subsection.entries) {
            if (!entry.isSpacer)
                ids << entry.metricDefId;
        }
    }
    return ids;
}

QStringList texts(const ReportDefinition &definition)
{
    const ReportDefinition::SummaryDef summary = definition.getSummaryDefinition();
    QStringList result = {summary.heading, summary.footer};
    for (const auto &entry : summary.entries)
        result << entry.descriptionHtml;
    for (const SubsectionDef &subsection : definition.getSubsectionList()) {
        result << subsection.textHtml;
        for (const SubsectionEntryDef &entry : subsection.entries)
            result << entry.descriptionHtml;
    }
    return result;
}

QSet<QString> metricsInTexts(const ReportDefinition &definition)
{
    const QRegularExpression placeholder(QStringLiteral("\\$\\{\\s*\\*?([^${}]*?)\\s*\\}"));
    QSet<QString> ids;
    for (QRegularExpressionMatchIterator it
         = placeholder.globalMatch(texts(definition).join(QLatin1Char('\n')));
         it.hasNext();)
        ids << it.next().captured(1);
    return ids;
}

QSet<QString> errorMetrics(const ReportDefinition &definition)
{
    QSet<QString> ids;
    for (const SubsectionDef &subsection : definition.getSubsectionList())
        ids << subsection.errorMetric;
    ids.remove(QString());
    return ids;
}

bool isNumber(const MetricDef &metric)
{
    return metric.type == PMetricType::Integer || metric.type == PMetricType::Double;
}

// WCAG 2.1, relative luminance of a colour of the sRGB space.
double luminance(const QColor &colour)
{
    const auto linear = [](double channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double contrastOnWhite(const QColor &colour)
{
    return 1.05 / (luminance(colour) + 0.05);
}

QSet<QString> expectedCatalogueMetrics()
{
    QSet<QString> ids = {DefaultMetrics::SystemLoadAvgError, DefaultMetrics::CpuOpenMpPercent};
    for (const QSet<QString> &group : {DefaultMetrics::SummaryMetrics, DefaultMetrics::CpuMetrics,
             DefaultMetrics::MpiMetrics, DefaultMetrics::IoMetrics, DefaultMetrics::OmpMetrics,
             DefaultMetrics::ThreadMetrics, DefaultMetrics::MemoryMetrics, DefaultMetrics::AccMetrics,
             DefaultMetrics::EnergyMetrics, DefaultMetrics::ApplicationMetrics}) {
        for (const QString &id : group) {
            if (!DefaultMetrics::containsImplicitMetric(id) && !OfTheTrappedReportOnly.contains(id))
                ids << id;
        }
    }
    return ids;
}

} // namespace

class InstalledDefinition : public ::testing::TestWithParam<QString> {
protected:
    InstalledDefinition()
        : loaded(loadInstalled(GetParam()))
    {
    }

    const ReportDefinition &definition() const { return *loaded.definition; }

    void SetUp() override { ASSERT_TRUE(loaded.definition) << loaded.error.toStdString(); }

    Loaded loaded;
};

TEST_P(InstalledDefinition, LoadsWithoutAWord)
{
    EXPECT_EQ("", loaded.error);
}

TEST_P(InstalledDefinition, IsAFullReportOnlyIfItIsTheDefault)
{
    EXPECT_EQ(!GetParam().endsWith(QStringLiteral("/report-default.xml")), isPartialReport(GetParam()));
}

TEST_P(InstalledDefinition, HasNoMetricThatServesNothing)
{
    QSet<QString> needed = shownMetrics(definition()) + conditions(definition()) + errorMetrics(definition())
        + metricsInTexts(definition()) + ForASentenceOnly;
    for (const MetricDef &metric : definition().getMetricDefinitionList())
        EXPECT_TRUE(needed.contains(metric.id)) << metric.id.toStdString();
}

TEST_P(InstalledDefinition, ShowsMetricsWithNameTooltipAndUnits)
{
    for (const QString &id : shownMetrics(definition())) {
        SCOPED_TRACE(id.toStdString());
        const MetricDef metric = definition().getMetric(id);
        EXPECT_FALSE(metric.displayName.isEmpty());
        EXPECT_TRUE(metric.tooltip.endsWith(QLatin1Char('.'))) << "a tooltip is a sentence";
        EXPECT_TRUE(metric.colour.isValid());
        EXPECT_EQ(isNumber(metric), !metric.units.isEmpty());
    }
}

TEST_P(InstalledDefinition, HasNamesThatFitTheTextReport)
{
    for (const MetricDef &metric : definition().getMetricDefinitionList()) {
        EXPECT_LE(metric.displayName.size(), LongestName) << metric.id.toStdString();
        EXPECT_FALSE(metric.displayName.contains(QLatin1Char('\''))) << "pages have names in scripts";
    }
    for (const SubsectionDef &subsection : definition().getSubsectionList()) {
        for (const SubsectionEntryDef &entry : subsection.entries)
            EXPECT_LE(entry.overrideDisplayName.size(), LongestName) << entry.metricDefId.toStdString();
    }
}

TEST_P(InstalledDefinition, HasSubsectionsWithHeadingTextColourAndDistinctRows)
{
    for (const SubsectionDef &subsection : definition().getSubsectionList()) {
        SCOPED_TRACE(subsection.id.toStdString());
        EXPECT_FALSE(subsection.heading.isEmpty());
        EXPECT_FALSE(subsection.textHtml.isEmpty());
        EXPECT_TRUE(subsection.colour.isValid());
        EXPECT_GE(subsection.maxAdviceStrings, 1);
        QSet<QString> rows;
        for (const SubsectionEntryDef &entry : subsection.entries) {
            EXPECT_TRUE(entry.isSpacer || !rows.contains(entry.metricDefId))
                << entry.metricDefId.toStdString();
            rows << entry.metricDefId;
        }
        EXPECT_FALSE(rows.isEmpty()) << "a subsection without rows is never shown";
    }
}

TEST_P(InstalledDefinition, HasConditionsThatCanHoldOrNot)
{
    QSet<QString> flags;
    for (const MetricDef::List &list : {definition().getMetricDefinitionList(),
             DefaultMetrics::getOptionalApplicationDetailsMetrics(DefaultMetrics::getCurrentVersion())}) {
        for (const MetricDef &metric : list) {
            if (metric.type == PMetricType::Bool)
                flags << metric.id;
        }
    }
    EXPECT_TRUE(flags.contains(conditions(definition())))
        << QStringList((conditions(definition()) - flags).values()).join(", ").toStdString();
}

TEST_P(InstalledDefinition, ScalesTheBarsOfAllNumbersThatAreNoPercentages)
{
    for (const SubsectionDef &subsection : definition().getSubsectionList()) {
        for (const SubsectionEntryDef &entry : subsection.entries) {
            const MetricDef metric = definition().getMetric(entry.metricDefId);
            if (entry.isSpacer || !isNumber(metric) || metric.units == QLatin1String("%"))
                continue;
            EXPECT_TRUE(!entry.group.isEmpty() || entry.hasMaxBarValue()) << entry.metricDefId.toStdString();
            EXPECT_EQ(metric.units == QLatin1String("B"), entry.unitPrefix == ReportDefinition::PrefixIEC)
                << entry.metricDefId.toStdString();
        }
    }
}

TEST_P(InstalledDefinition, HasBreakdownsThatExistAndErrorsThatAreTexts)
{
    for (const MetricDef &metric : definition().getMetricDefinitionList()) {
        const QString &id = metric.breakdownSubsectionDefId;
        EXPECT_EQ(id, definition().getSubsection(id).id) << metric.id.toStdString();
    }
    for (const QString &id : errorMetrics(definition()))
        EXPECT_EQ(PMetricType::String, definition().getMetric(id).type) << id.toStdString();
}

TEST_P(InstalledDefinition, HasColoursThatCanBeReadOnPaper)
{
    for (const MetricDef &metric : definition().getMetricDefinitionList()) {
        EXPECT_TRUE(!metric.colour.isValid() || contrastOnWhite(metric.colour) >= LeastContrast)
            << metric.id.toStdString();
    }
    for (const SubsectionDef &subsection : definition().getSubsectionList())
        EXPECT_GE(contrastOnWhite(subsection.colour), LeastContrast) << subsection.id.toStdString();
}

TEST_P(InstalledDefinition, HasTextsWhosePlaceholdersAllExist)
{
    QString error;
    EXPECT_FALSE(json::createSummaryData(definition(), &error).isEmpty()) << error.toStdString();
    EXPECT_FALSE(json::createSubsectionsData(definition(), &error).isEmpty()) << error.toStdString();
    for (const QString &text : texts(definition()))
        EXPECT_TRUE(
            QString(text).remove(QRegularExpression(QStringLiteral("\\$\\{[^${}]*\\}"))).indexOf("${") < 0)
            << text.toStdString();
}

TEST_P(InstalledDefinition, HasThreeLinesForTheRadarChart)
{
    int always = 0;
    for (const auto &entry : definition().getSummaryDefinition().entries) {
        const QString label = entry.chartLabel.isEmpty()
            ? definition().getMetric(entry.metricDefId).displayName
            : entry.chartLabel;
        EXPECT_LE(label.size(), LongestChartLabel) << entry.id.toStdString();
        EXPECT_FALSE(entry.descriptionHtml.isEmpty()) << entry.id.toStdString();
        always += entry.requiresMetric.isEmpty() ? 1 : 0;
    }
    EXPECT_GE(always, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Files, InstalledDefinition, ::testing::ValuesIn(installedFiles()), [](const auto &test) {
        return QFileInfo(test.param)
            .baseName()
            .remove(QRegularExpression(QStringLiteral("[^A-Za-z0-9]")))
            .toStdString();
    });

TEST(DefaultReport, IsInstalled)
{
    EXPECT_TRUE(installedFiles().contains(
        QDir::cleanPath(TemplatesDir.filePath(QStringLiteral("report-default.xml")))));
}

TEST(DefaultReport, DeclaresTheCatalogueAndTheCostOfTheMeasurement)
{
    const auto definition = loadDefault(nullptr);
    const QSet<QString> declared = definition->metricIds();
    const QSet<QString> expected = expectedCatalogueMetrics() + QSet<QString>{"measurement.cost"};
    EXPECT_EQ("", QStringList((expected - declared).values()).join(QStringLiteral(", "))) << "missing";
    EXPECT_EQ("", QStringList((declared - expected).values()).join(QStringLiteral(", "))) << "unknown";
    for (const MetricDef &metric : definition->getMetricDefinitionList()) {
        EXPECT_NE(DefaultMetricVersion::NonDefaultMetric, metric.defaultMetricVersion)
            << metric.id.toStdString();
        EXPECT_EQ(metric.id, metric.jsonId(Config())) << "catalogue metrics keep their id";
    }
}

TEST(DefaultReport, DeclaresTheTypesThatTheAnalysisWrites)
{
    const QSet<QString> flags = {DefaultMetrics::CpuShowWaitingAcc, DefaultMetrics::EnergyHasMetrics,
        DefaultMetrics::EnergyHasCpuPower, DefaultMetrics::EnergyHasAccPower,
        DefaultMetrics::EnergyHasBudgetedMetric, DefaultMetrics::EnergyHasTrappedCapacity};
    const QSet<QString> sentences
        = {DefaultMetrics::MpiRateError, DefaultMetrics::IoRateError, DefaultMetrics::MemError,
            DefaultMetrics::CudaError, DefaultMetrics::SystemLoadAvgError, "measurement.cost"};
    const auto definition = loadDefault(nullptr);
    for (const MetricDef &metric : definition->getMetricDefinitionList()) {
        const auto expected = flags.contains(metric.id) ? PMetricType::Bool
            : sentences.contains(metric.id)             ? PMetricType::String
                                                        : PMetricType::Double;
        EXPECT_EQ(expected, metric.type) << metric.id.toStdString();
    }
}

TEST(DefaultReport, HasTheLinesOfTheSummaryInTheirOrder)
{
    const auto definition = loadDefault(nullptr);
    const QList<QPair<QString, QString>> expected
        = {{DefaultMetrics::SummaryEntryCpu, DefaultMetrics::SummaryCpuPercent},
            {DefaultMetrics::SummaryEntryMpi, DefaultMetrics::SummaryMpiPercent},
            {DefaultMetrics::SummaryEntryIo, DefaultMetrics::SummaryIoPercent}};
    const auto entries = definition->getSummaryDefinition().entries;
    ASSERT_EQ(expected.size(), entries.size());
    for (int i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected.at(i).first, entries.at(i).id);
        EXPECT_EQ(expected.at(i).second, entries.at(i).metricDefId);
        EXPECT_FALSE(definition->getMetric(expected.at(i).second).breakdownSubsectionDefId.isEmpty())
            << "what bounds a run is told with its subsection";
    }
}

TEST(DefaultReport, HasEightSubsectionsWithTwoSentencesOfAdvice)
{
    QSet<QString> ids;
    for (const SubsectionDef &subsection : loadDefault(nullptr)->getSubsectionList()) {
        ids << subsection.id;
        EXPECT_GE(subsection.maxAdviceStrings, 2) << subsection.id.toStdString();
    }
    const QSet<QString> expected = {DefaultMetrics::SubsectionCpu, DefaultMetrics::SubsectionMpi,
        DefaultMetrics::SubsectionIo, DefaultMetrics::SubsectionMemory, DefaultMetrics::SubsectionOpenmp,
        DefaultMetrics::SubsectionThreads, DefaultMetrics::SubsectionAccelerator,
        DefaultMetrics::SubsectionEnergy};
    EXPECT_EQ(expected, ids);
}

TEST(DefaultReport, ShowsEveryMetricThatASentenceOfAdviceNames)
{
    const QSet<QString> named = {DefaultMetrics::CpuMemPercent, DefaultMetrics::CpuVectorNumPercent,
        DefaultMetrics::CpuScalarNumPercent, DefaultMetrics::CpuSingleCorePercent,
        DefaultMetrics::CpuWaitingAccPercent, DefaultMetrics::OpenMpOverheadPercent,
        DefaultMetrics::OpenMpPhysicalCoreUtilizationPercent,
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent, DefaultMetrics::ThreadsSyncPercent,
        DefaultMetrics::MpiCollectivePercent, DefaultMetrics::MpiCollectiveRate,
        DefaultMetrics::MpiP2pPercent, DefaultMetrics::MpiP2pRate, DefaultMetrics::IoReadPercent,
        DefaultMetrics::IoReadRate, DefaultMetrics::IoWritePercent, DefaultMetrics::IoWriteRate,
        DefaultMetrics::MemNodePeakPercent, DefaultMetrics::MemMean, DefaultMetrics::CudaGpusInUsePercent,
        DefaultMetrics::CudaGlobalMemoryAccessPercent, DefaultMetrics::CudaPeakMemoryPercent,
        DefaultMetrics::EnergyCpuPercent, DefaultMetrics::EnergyAccPercent,
        DefaultMetrics::EnergyTrappedPercent};
    const QSet<QString> shown = shownMetrics(*loadDefault(nullptr));
    EXPECT_EQ("", QStringList((named - shown).values()).join(QStringLiteral(", ")));
}

// Definitions that follow the default report.

Loaded loadType(const char *name)
{
    return loadInstalled(QDir::cleanPath(TemplatesDir.filePath(QLatin1String(name))));
}

QSet<QString> metricsBeyondTheDefault(const ReportDefinition &definition)
{
    return definition.metricIds() - loadDefault(nullptr)->metricIds();
}

TEST(TrappedReport, DeclaresWhatOnlyItSets)
{
    const Loaded loaded = loadType("report-trapped.xml");
    const QSet<QString> expected = OfTheTrappedReportOnly
        + QSet<QString>{DefaultMetrics::EnergyError, DefaultMetrics::SummaryEntryCpuPercentOfBudget,
            DefaultMetrics::SummaryEntryAccPercentOfBudget, DefaultMetrics::SummaryEntryOtherPercentOfBudget};
    EXPECT_EQ(expected, metricsBeyondTheDefault(*loaded.definition));
    for (const QString &id : expected) {
        const MetricDef metric = loaded.definition->getMetric(id);
        EXPECT_NE(DefaultMetricVersion::NonDefaultMetric, metric.defaultMetricVersion) << id.toStdString();
        EXPECT_EQ(id == DefaultMetrics::EnergyError ? PMetricType::String : PMetricType::Double, metric.type)
            << id.toStdString();
    }
}

TEST(TrappedReport, ShowsTheSharesOfTheBudgetInPlaceOfTheTimes)
{
    const Loaded loaded = loadType("report-trapped.xml");
    const auto summary = loaded.definition->getSummaryDefinition();
    QStringList shown;
    for (const auto &entry : summary.entries) {
        shown << entry.metricDefId;
        // A report's data is a tree: below a number there is no room for the advice of its line.
        EXPECT_NE(entry.id, entry.metricDefId);
        EXPECT_EQ("",
            loaded.definition->getClashingMetricId(
                entry.adviceJsonValue(loaded.definition->config()), nullptr));
    }
    EXPECT_EQ(QStringList({DefaultMetrics::SummaryEntryCpuPercentOfBudget,
                  DefaultMetrics::SummaryEntryAccPercentOfBudget,
                  DefaultMetrics::SummaryEntryOtherPercentOfBudget}),
        shown);
    EXPECT_FALSE(summary.heading.contains("dominant")) << "the default report's heading is gone";
}

TEST(TrappedReport, KeepsTheDefaultSubsectionsAndPutsEnergyFirst)
{
    const Loaded loaded = loadType("report-trapped.xml");
    QStringList ids;
    for (const SubsectionDef &subsection : loaded.definition->getSubsectionList())
        ids << subsection.id;
    QStringList expected = {DefaultMetrics::SubsectionEnergy, DefaultMetrics::SubsectionCpuEnergy};
    for (const SubsectionDef &subsection : loadDefault(nullptr)->getSubsectionList()) {
        if (!expected.contains(subsection.id))
            expected << subsection.id;
    }
    EXPECT_EQ(expected, ids);
    EXPECT_EQ(DefaultMetrics::EnergyError,
        loaded.definition->getSubsection(DefaultMetrics::SubsectionEnergy).errorMetric);
    // Merging adds rows; none of them may come twice.
    EXPECT_EQ(loadDefault(nullptr)->getSubsection(DefaultMetrics::SubsectionCpu).entries.size(),
        loaded.definition->getSubsection(DefaultMetrics::SubsectionCpu).entries.size());
}

TEST(TrappedReport, ShowsEveryMetricThatItsAdviceNames)
{
    const Loaded loaded = loadType("report-trapped.xml");
    const QSet<QString> named = {DefaultMetrics::MpiCollectivePercent, DefaultMetrics::MpiP2pPercent,
        DefaultMetrics::IoReadPercent, DefaultMetrics::IoWritePercent, DefaultMetrics::CudaGpusInUsePercent,
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent, DefaultMetrics::ThreadsSyncPercent,
        DefaultMetrics::EnergyNodePeakPower, DefaultMetrics::CpuWaitingAccPercent,
        DefaultMetrics::CpuSingleCorePercent, DefaultMetrics::CpuMemPercent,
        DefaultMetrics::CpuVectorNumPercent};
    EXPECT_EQ(
        "", QStringList((named - shownMetrics(*loaded.definition)).values()).join(QStringLiteral(", ")));
}

TEST(CountersReport, AddsTheCyclesOfAnInstructionUnderAHeadingOfTheirOwn)
{
    const Loaded loaded = loadType("report-perfcpumetrics.xml");
    const QString cycles = DefaultMetrics::PerfCyclesPerIns;
    EXPECT_EQ(QSet<QString>{cycles}, metricsBeyondTheDefault(*loaded.definition));
    const MetricDef metric = loaded.definition->getMetric(cycles);
    EXPECT_NE(DefaultMetricVersion::NonDefaultMetric, metric.defaultMetricVersion);
    EXPECT_EQ("metric", metric.source) << "only the bound metrics' step writes it";
    EXPECT_EQ(cycles, metric.sourceDetails.metricRef);

    const SubsectionDef perf = loaded.definition->getSubsection(DefaultMetrics::SubsectionPerf);
    EXPECT_GE(perf.maxAdviceStrings, 2) << "advice comes in pairs";
    ASSERT_EQ(1, perf.entries.size());
    EXPECT_EQ(cycles, perf.entries.first().metricDefId);
    EXPECT_EQ(
        loadDefault(nullptr)->getSubsectionList().size() + 1, loaded.definition->getSubsectionList().size());
}

TEST(InstalledTypes, AreTheOnesThatTheCommandLineKnows)
{
    const QStringList types = TemplatesDir.entryList({QStringLiteral("report-*.xml")}, QDir::Files);
    EXPECT_EQ(QStringList({"report-default.xml", "report-perfcpumetrics.xml", "report-trapped.xml"}), types);
}

TEST(InstalledTypes, CanBeCombined)
{
    QString error;
    const auto definition = loadDefault(nullptr);
    for (const char *name : {"report-trapped.xml", "report-perfcpumetrics.xml"}) {
        EXPECT_TRUE(definition->appendPartialReportFromFile(
            TemplatesDir.filePath(QLatin1String(name)), &error, ReportDefinition::SilentValidation));
        EXPECT_EQ("", error);
    }
}
