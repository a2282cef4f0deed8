#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "core/brivaneglobals.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

using namespace quillon::report;
using MetricDef = ReportDefinition::MetricDef;

namespace {

const auto kCurrent = DefaultMetricVersion::DefaultMetrics7_1;

QStringList idsOf(const MetricDef::List &metrics)
{
    QStringList ids;
    for (const MetricDef &metric : metrics)
        ids << metric.id;
    return ids;
}

MetricDef rowOf(const MetricDef::List &metrics, const QString &id)
{
    for (const MetricDef &metric : metrics)
        if (metric.id == id)
            return metric;
    ADD_FAILURE() << "no row " << id.toStdString();
    return MetricDef();
}

} // namespace

TEST(DefaultMetricVersion, onlyKnownNumbersAreVersions)
{
    EXPECT_EQ(DefaultMetricVersion::versionFromInt(1), DefaultMetricVersion::OlderThan6_1);
    EXPECT_EQ(DefaultMetricVersion::versionFromInt(2), DefaultMetricVersion::DefaultMetrics6_1);
    EXPECT_EQ(DefaultMetricVersion::versionFromInt(3), DefaultMetricVersion::DefaultMetrics7_0);
    EXPECT_EQ(DefaultMetricVersion::versionFromInt(4), DefaultMetricVersion::DefaultMetrics7_1);
    for (const int number : {-1, 0, 5, 260})
        EXPECT_EQ(DefaultMetricVersion::versionFromInt(number), DefaultMetricVersion::NonDefaultMetric);
    EXPECT_EQ(DefaultMetrics::getCurrentVersion(), 4);
}

TEST(PodLatin1String, convertsToWhatQtTakes)
{
    constexpr PodLatin1String id = {"memory.mean"};
    EXPECT_EQ(QString(id), "memory.mean");
    EXPECT_EQ(id.toLatin1String(), QLatin1String("memory.mean"));
    EXPECT_EQ(id.toLatin1(), QByteArray("memory.mean"));
    EXPECT_EQ(id.toLocal8Bit(), QByteArray("memory.mean"));
    EXPECT_EQ(id.length(), 11);
    EXPECT_TRUE(id.contains("ory.me"));
    EXPECT_FALSE(id.contains("Mean"));
    EXPECT_TRUE(id == QString("memory.mean"));
    EXPECT_TRUE(QString("memory.mean") == id);
    EXPECT_TRUE(id != QString("memory"));
    EXPECT_FALSE(QString("memory.mean") != id);
}

TEST(PodLatin1String, isPlainData)
{
    static_assert(std::is_trivial<PodLatin1String>::value && std::is_standard_layout<PodLatin1String>::value,
        "constants must be valid before any static initialisation");
    static_assert(DefaultMetrics::MemMean.value[0] == 'm', "constants are known to the compiler");
}

TEST(DefaultMetrics, setsHaveTheirSizes)
{
    EXPECT_EQ(DefaultMetrics::ApplicationMetrics.size(), 20);
    EXPECT_EQ(DefaultMetrics::SummaryMetrics.size(), 14);
    EXPECT_EQ(DefaultMetrics::CpuMetrics.size(), 6);
    EXPECT_EQ(DefaultMetrics::MpiMetrics.size(), 5);
    EXPECT_EQ(DefaultMetrics::IoMetrics.size(), 5);
    EXPECT_EQ(DefaultMetrics::OmpMetrics.size(), 5);
    EXPECT_EQ(DefaultMetrics::ThreadMetrics.size(), 3);
    EXPECT_EQ(DefaultMetrics::MemoryMetrics.size(), 4);
    EXPECT_EQ(DefaultMetrics::AccMetrics.size(), 6);
    EXPECT_EQ(DefaultMetrics::EnergyMetrics.size(), 25);
    EXPECT_EQ(DefaultMetrics::GpuMetrics.size(), 1);
    EXPECT_EQ(DefaultMetrics::WaitAccMetrics.size(), 1);
    EXPECT_EQ(DefaultMetrics::CpuPowerMetrics.size(), 2);
    EXPECT_EQ(DefaultMetrics::AccPowerMetrics.size(), 2);
}

TEST(DefaultMetrics, partsOfAGroupCanBeWithdrawnAlone)
{
    EXPECT_TRUE(DefaultMetrics::ApplicationMetrics.contains(DefaultMetrics::GpuMetrics));
    EXPECT_TRUE(DefaultMetrics::CpuMetrics.contains(DefaultMetrics::WaitAccMetrics));
    EXPECT_TRUE(DefaultMetrics::EnergyMetrics.contains(DefaultMetrics::CpuPowerMetrics));
    EXPECT_TRUE(DefaultMetrics::EnergyMetrics.contains(DefaultMetrics::AccPowerMetrics));
    EXPECT_TRUE(DefaultMetrics::AccMetrics.contains("applicationDetails.hostGpuMemory.plain"));
    EXPECT_FALSE(DefaultMetrics::ApplicationMetrics.contains("applicationDetails.hostGpuMemory.plain"));
    EXPECT_TRUE(DefaultMetrics::OmpMetrics.contains("overview.systemLoadPercent"));
    EXPECT_TRUE(DefaultMetrics::OmpMetrics.contains("cpu.openMpPercent"));
    EXPECT_FALSE(DefaultMetrics::CpuMetrics.contains("cpu.openMpPercent"));
    EXPECT_FALSE(DefaultMetrics::EnergyMetrics.contains("energy.error"));
}

TEST(DefaultMetrics, requiredApplicationDetails)
{
    const MetricDef::List metrics = DefaultMetrics::getRequiredApplicationDetailsMetrics(kCurrent);
    EXPECT_EQ(idsOf(metrics),
        QStringList({"applicationDetails.exeName", "applicationDetails.processes.plain",
            "applicationDetails.profiledRanks"}));
    EXPECT_EQ(metrics.at(1).type, PMetricType::Integer);
    EXPECT_EQ(metrics.at(1).units, "processes");
    EXPECT_EQ(metrics.at(1).displayName, "Processes");
    EXPECT_EQ(metrics.at(1).defaultMetricVersion, DefaultMetricVersion::OlderThan6_1);
    EXPECT_EQ(metrics.at(2).type, PMetricType::String);
    EXPECT_EQ(metrics.at(2).displayName, "Profiled ranks");
    EXPECT_EQ(metrics.at(2).defaultMetricVersion, DefaultMetricVersion::DefaultMetrics7_1);
}

TEST(DefaultMetrics, optionalApplicationDetails)
{
    const MetricDef::List metrics = DefaultMetrics::getOptionalApplicationDetailsMetrics(kCurrent);
    ASSERT_EQ(metrics.size(), 18);
    EXPECT_EQ(metrics.first().id, "applicationDetails.commandLine");
    EXPECT_EQ(metrics.last().id, "applicationDetails.hasEnergyMetricsEnabled");
    for (const MetricDef &metric : metrics)
        EXPECT_EQ(metric.defaultMetricVersion, DefaultMetricVersion::OlderThan6_1) << metric.id.toStdString();

    EXPECT_EQ(rowOf(metrics, "applicationDetails.ompNumThreads").type, PMetricType::String);
    EXPECT_EQ(rowOf(metrics, "applicationDetails.gpusPerNode.plain").type, PMetricType::DoubleWithPrecision);
    EXPECT_EQ(rowOf(metrics, "applicationDetails.logicalCoresPerNode").type, PMetricType::Integer);
    EXPECT_EQ(rowOf(metrics, "applicationDetails.logicalCoresPerNode").units, "cores/node");
    EXPECT_EQ(rowOf(metrics, "applicationDetails.hostMemory.plain").units, "B");
    EXPECT_EQ(rowOf(metrics, "applicationDetails.nodes.plain").displayName, "Resources");
    EXPECT_EQ(rowOf(metrics, "applicationDetails.time.plain").displayName, "Total time");
    EXPECT_EQ(rowOf(metrics, "applicationDetails.hasGpu").type, PMetricType::Bool);
}

TEST(DefaultMetrics, internalMetrics)
{
    const MetricDef::List metrics = DefaultMetrics::getInternalMetrics(kCurrent);
    EXPECT_EQ(idsOf(metrics),
        QStringList(
            {"overview.advice", "overview.bound1.long", "overview.bound1.short", "overview.bound1.type",
                "overview.bound2.long", "overview.bound2.short", "overview.bound2.type", "version",
                "report.name", "report.version.api", "report.version.software", "report.src.definition",
                "report.src.values", "overview.bound1.subsectionId", "overview.bound1.subsectionHeading",
                "overview.bound2.subsectionId", "overview.bound2.subsectionHeading"}));
    for (int i = 0; i < metrics.size(); ++i)
        EXPECT_EQ(metrics.at(i).defaultMetricVersion,
            i < 8 ? DefaultMetricVersion::OlderThan6_1 : DefaultMetricVersion::DefaultMetrics7_0);
    EXPECT_EQ(rowOf(metrics, "version").type, PMetricType::Integer);
    EXPECT_EQ(rowOf(metrics, "version").displayName, "Version");
    EXPECT_EQ(rowOf(metrics, "report.version.api").type, PMetricType::Integer);
    EXPECT_EQ(rowOf(metrics, "report.version.software").type, PMetricType::String);
}

TEST(DefaultMetrics, implicitRowsSetNothingElse)
{
    const MetricDef::List metrics = DefaultMetrics::getInternalMetrics(kCurrent)
        + DefaultMetrics::getRequiredApplicationDetailsMetrics(kCurrent)
        + DefaultMetrics::getOptionalApplicationDetailsMetrics(kCurrent);
    ASSERT_EQ(metrics.size(), 38);
    for (const MetricDef &metric : metrics) {
        EXPECT_FALSE(metric.colour.isValid());
        EXPECT_TRUE(metric.tooltip.isEmpty());
        EXPECT_TRUE(metric.breakdownSubsectionDefId.isEmpty());
        EXPECT_TRUE(metric.source.isEmpty());
        EXPECT_EQ(metric.jsonId(ReportDefinition::Config()), metric.id) << "catalogue ids have no prefix";
    }
}

TEST(DefaultMetrics, implicitMetricsAreThoseOfTheThreeLists)
{
    EXPECT_TRUE(DefaultMetrics::containsImplicitMetric("overview.bound1.long"));
    EXPECT_TRUE(DefaultMetrics::containsImplicitMetric("report.name"));
    EXPECT_TRUE(DefaultMetrics::containsImplicitMetric("applicationDetails.profiledRanks"));
    EXPECT_TRUE(DefaultMetrics::containsImplicitMetric("applicationDetails.hasGpu"));
    EXPECT_FALSE(DefaultMetrics::containsImplicitMetric("cpu.memPercent"));
    EXPECT_FALSE(DefaultMetrics::containsImplicitMetric("overview.bound1.Long"));
    EXPECT_FALSE(DefaultMetrics::containsImplicitMetric(""));
}

TEST(DefaultMetrics, tenIdsCountAsEndingInPlain)
{
    const QSet<QString> ids = DefaultMetrics::metricIdsEndingInPlain();
    EXPECT_EQ(ids.size(), 10);
    EXPECT_TRUE(ids.contains("applicationDetails.profiledRanks"));
    int plain = 0;
    for (const QString &id : ids)
        plain += id.endsWith(".plain");
    EXPECT_EQ(plain, 9);
}

TEST(DefaultMetrics, installedFilesLieInTheDataFolder)
{
    const PathString before = BrivaneGlobals::instance()->installPath();
    BrivaneGlobals::instance()->setInstallPath(PathString("/opt/tool/share"));
    EXPECT_EQ(DefaultMetrics::reportDefinitionTemplateDir(), "/opt/tool/share/quillon-reports/templates/");
    EXPECT_EQ(DefaultMetrics::reportDefinitionPartialsDir(),
        "/opt/tool/share/quillon-reports/templates/partial-reports");
    EXPECT_EQ(DefaultMetrics::reportDefinitionFilePath(),
        "/opt/tool/share/quillon-reports/templates/report-default.xml");
    BrivaneGlobals::instance()->setInstallPath(before);
    EXPECT_EQ(DefaultMetrics::templateName(), "default");
}

TEST(MetricsOfAReport, areItsOwnThenItsAdviceThenTheImplicitOnes)
{
    ReportDefinition definition;
    definition.setMetricDefinitionList(
        {MetricDef().withId("m").withUnits("B").withDisplayName("M").withType(PMetricType::Double)});
    ReportDefinition::SummaryEntryDef entry;
    entry.id = "e";
    entry.metricDefId = "m";
    definition.setSummaryDefinition({QString(), QString(), {entry}});
    ReportDefinition::SubsectionDef subsection;
    subsection.id = "s";
    subsection.maxAdviceStrings = 2;
    ReportDefinition::SubsectionDef silent;
    silent.id = "t";
    silent.maxAdviceStrings = 0;
    definition.setSubsectionList({subsection, silent});

    const PMetricDefinition::List metrics = createMetricValues(definition);
    ASSERT_EQ(metrics.size(), 4 + 38);
    EXPECT_EQ(metrics.at(0),
        PMetricDefinition("custom.report.metric.m")
            .setJsonId("custom.report.metric.m")
            .setType(PMetricType::Double)
            .setUnits("B")
            .setDisplayName("M"));
    const auto advice = [](const QString &id, const QString &name) {
        return PMetricDefinition(id).setJsonId(id).setType(PMetricType::String).setDisplayName(name);
    };
    EXPECT_EQ(metrics.at(1), advice("custom.report.summary.e.advice", "Advice"));
    EXPECT_EQ(metrics.at(2), advice("custom.report.subsection.s.advice1", "Advice 1"));
    EXPECT_EQ(metrics.at(3), advice("custom.report.subsection.s.advice2", "Advice 2"));
    EXPECT_TRUE(metrics.at(3).getUnits().isNull());

    const QStringList implicit = idsOf(DefaultMetrics::getInternalMetrics(kCurrent))
        + idsOf(DefaultMetrics::getRequiredApplicationDetailsMetrics(kCurrent))
        + idsOf(DefaultMetrics::getOptionalApplicationDetailsMetrics(kCurrent));
    for (int i = 0; i < implicit.size(); ++i)
        EXPECT_EQ(metrics.at(4 + i).getId(), implicit.at(i));
}

TEST(MetricsOfAReport, theCatalogueDecidesOverADefinitionOfTheSameMetric)
{
    ReportDefinition definition;
    definition.setMetricDefinitionList({MetricDef()
                                            .withId("applicationDetails.time.plain")
                                            .withUnits("hours")
                                            .withType(PMetricType::Double)
                                            .withDefaultMetricVersion(kCurrent)});
    PMetricValues store;
    store << createMetricValues(definition);
    const PMetricDefinition time = store.getMetricDefinition("applicationDetails.time.plain");
    EXPECT_EQ(time.getType(), PMetricType::Integer);
    EXPECT_EQ(time.getUnits(), "seconds");
    EXPECT_EQ(time.getDisplayName(), "Total time");
    EXPECT_EQ(time.getVersion(), DefaultMetricVersion::OlderThan6_1);
}
