#include "api/defaultmetrics.h"

#include "core/brivaneglobals.h"
#include "core/internstringcache.h"

namespace quillon::report {

namespace {

using MetricDef = ReportDefinition::MetricDef;

// A row of the lists of implicit metrics. A null text is left unset, which documents tell from an empty one.
struct ImplicitMetric {
    PodLatin1String id;
    PMetricType::value_type type;
    const char *units;
    const char *displayName;
    DefaultMetricVersion::Enum version;
};

constexpr auto OlderThan6_1 = DefaultMetricVersion::OlderThan6_1;
constexpr auto DefaultMetrics7_0 = DefaultMetricVersion::DefaultMetrics7_0;
constexpr auto DefaultMetrics7_1 = DefaultMetricVersion::DefaultMetrics7_1;
using DM = DefaultMetrics;
using T = PMetricType;

const ImplicitMetric kRequiredApplicationDetails[] = {
    {DM::ExeName, T::String, "", "Executable", OlderThan6_1},
    {DM::NumProcesses, T::Integer, "processes", "Processes", OlderThan6_1},
    {DM::ProfiledRanks, T::String, "", "Profiled ranks", DefaultMetrics7_1},
};

const ImplicitMetric kOptionalApplicationDetails[] = {
    {DM::CommandLine, T::String, "", "Command", OlderThan6_1},
    {DM::NumNodes, T::Integer, "nodes", "Resources", OlderThan6_1},
    {DM::PhysicalCoresPerNode, T::Integer, "cores/node", "Physical cores per node", OlderThan6_1},
    {DM::LogicalCoresPerNode, T::Integer, "cores/node", "Logical cores per node", OlderThan6_1},
    {DM::NumGpus, T::DoubleWithPrecision, "GPUs", "GPUs", OlderThan6_1},
    {DM::HostMemory, T::DoubleWithPrecision, "B", "Memory", OlderThan6_1},
    {DM::CudaMemoryPerNode, T::DoubleWithPrecision, "B", "GPU Memory", OlderThan6_1},
    {DM::OmpNumThreads, T::String, "", "Number of OMP threads", OlderThan6_1},
    {DM::Hostname, T::String, "", "Machine", OlderThan6_1},
    {DM::StartDate, T::String, "", "Start time", OlderThan6_1},
    {DM::Time, T::Integer, "seconds", "Total time", OlderThan6_1},
    {DM::ExePath, T::String, "", "Full path", OlderThan6_1},
    {DM::Notes, T::String, "", "Notes", OlderThan6_1},
    {DM::InputFile, T::String, "", "Input file", OlderThan6_1},
    {DM::IsOpenMp, T::Bool, "", "", OlderThan6_1},
    {DM::HasGpu, T::Bool, "", "", OlderThan6_1},
    {DM::HasAcceleratorMetricsEnabled, T::Bool, "", "", OlderThan6_1},
    {DM::HasEnergyMetricsEnabled, T::Bool, "", "", OlderThan6_1},
};

const ImplicitMetric kInternal[] = {
    {DM::OverviewAdvice, T::String, nullptr, nullptr, OlderThan6_1},
    {DM::DominantMetricLongString, T::String, nullptr, nullptr, OlderThan6_1},
    {DM::DominantMetricShortString, T::String, nullptr, nullptr, OlderThan6_1},
    {DM::DominantMetricType, T::String, nullptr, nullptr, OlderThan6_1},
    {DM::SecondaryDominantMetricLongString, T::String, nullptr, nullptr, OlderThan6_1},
    {DM::SecondaryDominantMetricShortString, T::String, nullptr, nullptr, OlderThan6_1},
    {DM::SecondaryDominantMetricType, T::String, nullptr, nullptr, OlderThan6_1},
    {{"version"}, T::Integer, nullptr, "Version", OlderThan6_1},
    {DM::ReportValueName, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::ReportValueVersionApi, T::Integer, nullptr, nullptr, DefaultMetrics7_0},
    {DM::ReportValueVersionSoftware, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::ReportValueDocumentDefinitions, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::ReportMetricValuesSource, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::DominantMetricSubsectionId, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::DominantMetricSubsectionHeading, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::SecondaryDominantMetricSubsectionId, T::String, nullptr, nullptr, DefaultMetrics7_0},
    {DM::SecondaryDominantMetricSubsectionHeading, T::String, nullptr, nullptr, DefaultMetrics7_0},
};

MetricDef toMetricDef(const ImplicitMetric &row)
{
    return MetricDef()
        .withId(row.id)
        .withType(row.type)
        .withUnits(QString::fromLatin1(row.units))
        .withDisplayName(QString::fromLatin1(row.displayName))
        .withDefaultMetricVersion(row.version);
}

template <size_t N> MetricDef::List toMetricDefs(const ImplicitMetric (&rows)[N])
{
    MetricDef::List result;
    for (const ImplicitMetric &row : rows)
        result.append(toMetricDef(row));
    return result;
}

const char kTemplateDir[] = "quillon-reports/templates/";
const char kPartialsDir[] = "quillon-reports/templates/partial-reports";
const char kDefaultReport[] = "report-default.xml";

QString installedPath(const QString &relativePath)
{
    const QString path
        = BrivaneGlobals::instance()->installPath().filePath(InternStringCache::intern(relativePath));
    return InternStringCache::intern(path);
}

} // namespace

const QString DefaultMetrics::Version = QStringLiteral("version");

const QSet<QString> DefaultMetrics::ApplicationMetrics
    = {ExeName, CommandLine, NumProcesses, NumNodes, PhysicalCoresPerNode, LogicalCoresPerNode,
        HasAcceleratorMetricsEnabled, NumGpus, HasGpu, HostMemory, OmpNumThreads, IsOpenMp, Hostname,
        StartDate, Time, Notes, InputFile, ExePath, HasEnergyMetricsEnabled, ProfiledRanks};
const QSet<QString> DefaultMetrics::SummaryMetrics = {SummaryCpuPercent, SummaryMpiPercent, SummaryIoPercent,
    DominantMetricLongString, DominantMetricShortString, DominantMetricType, DominantMetricSubsectionId,
    DominantMetricSubsectionHeading, SecondaryDominantMetricLongString, SecondaryDominantMetricShortString,
    SecondaryDominantMetricType, SecondaryDominantMetricSubsectionId,
    SecondaryDominantMetricSubsectionHeading, OverviewAdvice};
const QSet<QString> DefaultMetrics::CpuMetrics = {CpuSingleCorePercent, CpuScalarNumPercent,
    CpuVectorNumPercent, CpuMemPercent, CpuWaitingAccPercent, CpuShowWaitingAcc};
const QSet<QString> DefaultMetrics::MpiMetrics
    = {MpiCollectivePercent, MpiP2pPercent, MpiCollectiveRate, MpiP2pRate, MpiRateError};
const QSet<QString> DefaultMetrics::IoMetrics
    = {IoReadPercent, IoWritePercent, IoReadRate, IoWriteRate, IoRateError};
const QSet<QString> DefaultMetrics::OmpMetrics = {SystemLoadPercent, CpuOpenMpPercent, OpenMpComputePercent,
    OpenMpOverheadPercent, OpenMpPhysicalCoreUtilizationPercent};
const QSet<QString> DefaultMetrics::ThreadMetrics
    = {ThreadsComputePercent, ThreadsSyncPercent, ThreadsPhysicalCoreUtilizationPercent};
const QSet<QString> DefaultMetrics::MemoryMetrics = {MemMean, MemPeak, MemNodePeakPercent, MemError};
const QSet<QString> DefaultMetrics::AccMetrics = {CudaMemoryPerNode, CudaGpusInUsePercent,
    CudaGlobalMemoryAccessPercent, CudaMeanMemoryPercent, CudaPeakMemoryPercent, CudaError};
const QSet<QString> DefaultMetrics::EnergyMetrics
    = {EnergyTotal, EnergyCpuTotal, EnergyAccTotal, EnergyTrappedTotal, NodePowerBudget, EnergyBudgetedTotal,
        EnergyHasMetrics, EnergyHasCpuPower, EnergyHasAccPower, EnergyHasBudgetedMetric,
        EnergyHasTrappedCapacity, EnergyCpuPercent, EnergyAccPercent, EnergyTrappedPercent,
        EnergyOtherPercent, EnergyNodeMeanPower, EnergyNodePeakPower, EnergyNodeMeanMpiCpuPower,
        EnergyNodeMeanIoCpuPower, EnergyNodeMeanOmpCpuPower, EnergyNodeMeanOtherCpuPower, EnergyMpiCpuPercent,
        EnergyIoCpuPercent, EnergyOmpCpuPercent, EnergyOtherCpuPercent};
const QSet<QString> DefaultMetrics::GpuMetrics = {NumGpus};
const QSet<QString> DefaultMetrics::WaitAccMetrics = {CpuWaitingAccPercent};
const QSet<QString> DefaultMetrics::CpuPowerMetrics = {EnergyCpuTotal, EnergyCpuPercent};
const QSet<QString> DefaultMetrics::AccPowerMetrics = {EnergyAccTotal, EnergyAccPercent};

DefaultMetricVersion::Enum DefaultMetrics::getCurrentVersion()
{
    return DefaultMetricVersion::DefaultMetrics7_1;
}

MetricDef::List DefaultMetrics::getRequiredApplicationDetailsMetrics(DefaultMetricVersion::Enum)
{
    static const MetricDef::List metrics = toMetricDefs(kRequiredApplicationDetails);
    return metrics;
}

MetricDef::List DefaultMetrics::getOptionalApplicationDetailsMetrics(DefaultMetricVersion::Enum)
{
    static const MetricDef::List metrics = toMetricDefs(kOptionalApplicationDetails);
    return metrics;
}

MetricDef::List DefaultMetrics::getInternalMetrics(DefaultMetricVersion::Enum version)
{
    // The first call's version decides; threads may make it at once.
    static const MetricDef::List metrics = [version] {
        MetricDef::List rows;
        for (const ImplicitMetric &row : kInternal)
            if (row.version == OlderThan6_1 || version > DefaultMetricVersion::DefaultMetrics6_1)
                rows.append(toMetricDef(row));
        return rows;
    }();
    return metrics;
}

bool DefaultMetrics::containsImplicitMetric(QString metricId)
{
    static const QSet<QString> ids = [] {
        const MetricDef::List metrics = getInternalMetrics(getCurrentVersion())
            + getRequiredApplicationDetailsMetrics(getCurrentVersion())
            + getOptionalApplicationDetailsMetrics(getCurrentVersion());
        QSet<QString> names;
        for (const MetricDef &metric : metrics)
            names.insert(metric.id);
        return names;
    }();
    return ids.contains(metricId);
}

QSet<QString> DefaultMetrics::metricIdsEndingInPlain()
{
    static const QSet<QString> ids = {NumProcesses, NumNodes, NumGpus, HostMemory, CudaMemoryPerNode, Time,
        EnergyTotal, EnergyCpuTotal, EnergyAccTotal, ProfiledRanks};
    return ids;
}

QString DefaultMetrics::reportDefinitionTemplateDir()
{
    return installedPath(QLatin1String(kTemplateDir));
}

QString DefaultMetrics::reportDefinitionPartialsDir()
{
    return installedPath(QLatin1String(kPartialsDir));
}

QString DefaultMetrics::reportDefinitionFilePath()
{
    return installedPath(QLatin1String(kTemplateDir) + QLatin1String(kDefaultReport));
}

QString DefaultMetrics::templateName()
{
    return QStringLiteral("default");
}

} // namespace quillon::report
