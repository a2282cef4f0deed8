#include "quillonreport.h"

#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "boundmetrics.h"
#include "computeperformancedata.h"
#include "forcedmetrics.h"
#include "metricreaders.h"
#include "performanceadvice.h"
#include "rateclassification.h"
#include "trappedcapacityadvice.h"

#include "core/environment.h"
#include "core/internstringcache.h"
#include "core/pathstring.h"
#include "profile/metricids.h"
#include "profile/profilerdata.h"
#include "profile/samplermetrics.h"
#include "workflow/brivanetool.h"
#include "workflow/kelpconfig.h"
#include "workflow/nomenclature.h"

#include <QFileInfo>
#include <QObject>
#include <QUrl>

#include <limits>
#include <memory>

namespace quillon::report {

namespace {

constexpr double notAvailable = std::numeric_limits<double>::quiet_NaN();
constexpr double unevenMemoryBytes = 104857600.0; // nodes whose memory deviates by more than 100 MiB differ

// A report being filled, and what it is filled from.
struct Filling {
    quillon_report &report;
    const ProfilerData &data;
    const PerformanceData &perfData;
    QStringList implicitMetrics; // written although the definition doesn't declare them

    void force(std::initializer_list<Figure> figures) { forceMetrics(report, implicitMetrics, figures); }
    void put(const QString &subsectionId, const QPair<QString, QString> &advice)
    {
        putAdvice(report, subsectionId, advice);
    }
};

QUrl metricsSourceUrl(const ProfilerData &data)
{
    if (!data.sourceFernFile().isEmpty())
        return QUrl::fromLocalFile(data.sourceFernFile());
    return QUrl(QStringLiteral("brivane:/%1_%2p_%3n_%4t_%5")
                    .arg(PathString::fileName(InternStringCache::intern(data.target())),
                        QString::number(data.numTargetProcs()), QString::number(data.numNodes()),
                        data.formatOmpNumThreads(),
                        data.jobStartTime().toString(QStringLiteral("yyyy-MM-dd_hh-mm"))));
}

// "<label>: <first error of the metric>", the null string if it has none.
QString labelledError(const QString &label, const ProfilerData &data, const QString &metricId)
{
    const QString error = data.getFirstMetricError(metricId);
    return error.isEmpty() ? QString() : label.arg(error);
}

// A memory size of nodes with its decimal places: one where the nodes differ.
DoublePrecision memoryPerNode(double bytes, const ProfilerData &data, const QString &metricId)
{
    const bool nodesDiffer
        = !PMetricValue::isNan(bytes) && data.metric(metricId).standardDeviation() > unevenMemoryBytes;
    return DoublePrecision(bytes, nodesDiffer ? 1 : 0);
}

int roundedCores(double cores)
{
    return PMetricValue::isNan(cores) ? -1 : qRound(cores);
}

// Time that has begun counts as a second.
int wholeSeconds(int ms)
{
    return static_cast<int>((qint64(ms) + 999) / 1000);
}

// The program's folder. One that isn't on this machine has no canonical path, for which Qt says "." instead
// of nothing.
QString exePath(const QFileInfo &target)
{
    return target.canonicalFilePath().isEmpty() ? PathString::cleanPath(target.path())
                                                : target.canonicalPath();
}

QString notes(const ProfilerData &data)
{
    return data.isNotesEmpty() ? brivane::environmentString("NOTES") : data.getNotes();
}

QString inputFile()
{
    const KELPConfig *const config = KELPConfig::getInstance();
    return config ? config->getInputFile() : QString();
}

void setApplicationData(Filling &filling)
{
    const ProfilerData &data = filling.data;
    const PerformanceData &perfData = filling.perfData;
    const QFileInfo target(data.target());
    const Figure facts[] = {
        {DefaultMetrics::CommandLine, data.getCommandLine()},
        {DefaultMetrics::ExeName, target.fileName()},
        {DefaultMetrics::ExePath, exePath(target)},
        {DefaultMetrics::NumProcesses, data.numTargetProcs()},
        {DefaultMetrics::NumNodes, data.numNodes()},
        {DefaultMetrics::PhysicalCoresPerNode, roundedCores(perfData.physicalCoresPerNode)},
        {DefaultMetrics::LogicalCoresPerNode, roundedCores(perfData.logicalCoresPerNode)},
        {DefaultMetrics::OmpNumThreads, data.formatOmpNumThreads()},
        {DefaultMetrics::Hostname, data.getHostname()},
        {DefaultMetrics::StartDate, data.jobStartTime().toString(Qt::TextDate)},
        {DefaultMetrics::NumGpus, perfData.numGpus.toQVariant()},
        {DefaultMetrics::ProfiledRanks, data.getProfiledRanks()},
        {DefaultMetrics::Time, wholeSeconds(perfData.msAtEnd)},
        {DefaultMetrics::Notes, notes(data)},
        {DefaultMetrics::InputFile, inputFile()},
        {DefaultMetrics::HostMemory,
            memoryPerNode(getSingleValueMetric(data, METRIC_MEMORY_PER_NODE), data, METRIC_MEMORY_PER_NODE)
                .toQVariant()},
        {DefaultMetrics::IsOpenMp, perfData.isOpenMP},
        {DefaultMetrics::HasGpu, perfData.numGpus.first > 0},
        {DefaultMetrics::HasAcceleratorMetricsEnabled, perfData.enableAccPackMetrics},
        {DefaultMetrics::HasEnergyMetricsEnabled, perfData.enableEnergyMetrics},
    };
    filling.report.setMetricUnits(
        DefaultMetrics::NumProcesses, Nomenclature::process(false, true, false, true));
    for (const Figure &fact : facts)
        filling.report.setMetricValue(fact.metricId, fact.value, quillon_report::ErrorIfNotDefined);
}

void setOverviewData(Filling &filling)
{
    filling.force({
        {DefaultMetrics::SummaryCpuPercent, filling.perfData.cpuPercent},
        {DefaultMetrics::SummaryMpiPercent, filling.perfData.mpiPercent},
        {DefaultMetrics::SummaryIoPercent, filling.perfData.ioPercent},
    });
}

void setCpuData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    const bool showCpuWaitingAcc = perfData.enableAccPackMetrics || perfData.cpuWaitingTimePercent > 0;
    filling.force({
        {DefaultMetrics::CpuShowWaitingAcc, showCpuWaitingAcc},
        {DefaultMetrics::CpuSingleCorePercent, perfData.singleCoreNum},
        {DefaultMetrics::CpuOpenMpPercent, perfData.openmpNum},
        {DefaultMetrics::CpuScalarNumPercent, perfData.cpuScalarNum},
        {DefaultMetrics::CpuVectorNumPercent, perfData.cpuVecNum},
        {DefaultMetrics::CpuMemPercent, perfData.cpuMem},
        {DefaultMetrics::CpuWaitingAccPercent, perfData.cpuWaitingTimePercent},
    });
    filling.put(DefaultMetrics::SubsectionCpu,
        cpuAdvice(perfData.cpuPercent, perfData.singleCoreNum, perfData.cpuScalarNum, perfData.cpuVecNum,
            perfData.cpuMem, perfData.cpuWaitingTimePercent));
}

void setMpiData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    filling.force({
        {DefaultMetrics::MpiRateError,
            labelledError(QObject::tr("MPI Rate Metrics: %1"), filling.data,
                perfData.mpiCollectiveBytesPerSecMetricName)},
        {DefaultMetrics::MpiCollectivePercent, perfData.mpiCollective},
        {DefaultMetrics::MpiP2pPercent, perfData.mpiP2p},
        {DefaultMetrics::MpiCollectiveRate, perfData.mpiCollectiveRate},
        {DefaultMetrics::MpiP2pRate, perfData.mpiP2pRate},
    });
    filling.put(DefaultMetrics::SubsectionMpi,
        mpiAdvice(perfData.mpiPercent, perfData.mpiCollective, perfData.mpiP2p, perfData.mpiCollectiveRate,
            perfData.mpiP2pRate));
}

void setOpenMpData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    filling.force({
        {DefaultMetrics::SystemLoadAvgError,
            labelledError(QObject::tr("System load: %1"), filling.data, perfData.systemLoadAvgMetricName)},
        {DefaultMetrics::SystemLoadPercent, perfData.loadAvg},
        {DefaultMetrics::OpenMpComputePercent, perfData.openmpCompute},
        {DefaultMetrics::OpenMpOverheadPercent, perfData.openmpOverhead},
        {DefaultMetrics::OpenMpPhysicalCoreUtilizationPercent, perfData.openmpPhysicalCoreUtilization},
    });
    filling.put(DefaultMetrics::SubsectionOpenmp,
        openmpAdvice(perfData.openmpPercent, perfData.openmpCompute, perfData.openmpOverhead,
            perfData.openmpPhysicalCoreUtilization, perfData.loadAvg));
}

void setThreadsData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    filling.force({
        {DefaultMetrics::ThreadsComputePercent, perfData.threadsCompute},
        {DefaultMetrics::ThreadsSyncPercent, perfData.threadsSync},
        {DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent, perfData.threadsPhysicalCoreUtilization},
    });
    filling.put(DefaultMetrics::SubsectionThreads,
        threadsAdvice(perfData.threadsCompute, perfData.threadsSync, perfData.threadsPhysicalCoreUtilization,
            perfData.loadAvg));
}

void setAcceleratorData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    const bool enabled = perfData.enableAccPackMetrics;
    const QString cudaError = enabled ? filling.data.getFirstMetricError(METRIC_NVIDIA_GPU_USAGE) : QString();
    filling.force({
        {DefaultMetrics::CudaError, cudaError},
        {DefaultMetrics::CudaGpusInUsePercent, enabled ? perfData.avgGPUsInUse : notAvailable},
        {DefaultMetrics::CudaPeakMemoryPercent, enabled ? perfData.cudaPeakMemoryUsedPercent : notAvailable},
        {DefaultMetrics::CudaMeanMemoryPercent, enabled ? perfData.cudaMeanMemoryUsedPercent : notAvailable},
        {DefaultMetrics::CudaGlobalMemoryAccessPercent, enabled ? perfData.cudaMemoryAccess : notAvailable},
    });
    if (enabled) {
        filling.put(DefaultMetrics::SubsectionAccelerator,
            cudaAdvice(perfData.avgGPUsInUse, perfData.cudaMemoryAccess, perfData.cudaPeakMemoryUsedPercent));
    }
    const double bytesOfGpu = enabled
        ? getSingleValueMetric(filling.data, METRIC_NVIDIA_TOTAL_MEMORY) / perfData.numGpus.first
        : notAvailable;
    filling.force({
        {DefaultMetrics::CudaMemoryPerNode,
            memoryPerNode(bytesOfGpu, filling.data, METRIC_NVIDIA_TOTAL_MEMORY).toQVariant()},
    });
}

// What the measurement itself took, for definitions that ask for it.
void setMeasurementData(Filling &filling)
{
    const QString id = QStringLiteral("measurement.cost");
    const QString cost = SamplerMetrics::costSentence(filling.data);
    if (filling.report.containsMetricWithId(id))
        filling.report.setMetricValue(
            id, cost.isNull() ? QStringLiteral("") : cost, quillon_report::ErrorIfNotDefined);
}

void setFigures(Filling &filling)
{
    setOverviewData(filling);
    setApplicationData(filling);
    setCpuData(filling);
    setMpiData(filling);
    forceIoMetricsData(filling.report, filling.implicitMetrics, filling.perfData, filling.data);
    forceMemoryMetricsData(filling.report, filling.implicitMetrics, filling.perfData, filling.data);
    setOpenMpData(filling);
    setThreadsData(filling);
    setAcceleratorData(filling);
    setMeasurementData(filling);
    forceEnergyMetricsData(filling.report, filling.implicitMetrics, filling.perfData, filling.data);
    const double cyclesPerIns = filling.perfData.perfCyclesPerIns;
    if (cyclesPerIns > 0 && filling.report.sectionExists(DefaultMetrics::SubsectionPerf))
        filling.put(DefaultMetrics::SubsectionPerf, cyclesPerInsAdvice(cyclesPerIns));
}

// A compute-bound job on nodes with GPUs may be bound by them.
void setSecondaryBound(quillon_report &report)
{
    const Figure bound[] = {
        {DefaultMetrics::SecondaryDominantMetricLongString, QObject::tr("Accelerator-bound")},
        {DefaultMetrics::SecondaryDominantMetricShortString, QObject::tr("accelerator")},
        {DefaultMetrics::SecondaryDominantMetricType, QString(DefaultMetrics::SubsectionAccelerator)},
        {DefaultMetrics::SecondaryDominantMetricSubsectionId, QString(DefaultMetrics::SubsectionAccelerator)},
        {DefaultMetrics::SecondaryDominantMetricSubsectionHeading, QObject::tr("Accelerators")},
    };
    for (const Figure &figure : bound)
        report.setMetricValue(figure.metricId, figure.value, quillon_report::ErrorIfNotDefined);
}

void setDefaultTemplateDominantMetrics(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    const double cpu = perfData.cpuPercent;
    const double mpi = perfData.mpiPercent;
    const double io = perfData.ioPercent;
    if (cpu > mpi && cpu > io) {
        filling.report.setDominantMetric(DefaultMetrics::SummaryCpuPercent);
        if (perfData.enableAccPackMetrics && perfData.numGpus.first > 0)
            setSecondaryBound(filling.report);
    } else if ((cpu < mpi && mpi > io) || (cpu == mpi && cpu > io)) {
        filling.report.setDominantMetric(DefaultMetrics::SummaryMpiPercent);
    } else {
        filling.report.setDominantMetric(DefaultMetrics::SummaryIoPercent);
    }
}

void setDefaultTemplateData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    const QString summaryEntryString = QObject::tr("This is <span class=\"summary_class\">%1</span>; %2");
    const auto setEntry = [&](const QString &entryId, const QPair<QString, QString> &snippets) {
        filling.report.setSummaryEntryAdvice(
            entryId, summaryEntryString.arg(snippets.first, snippets.second));
    };
    setEntry(
        DefaultMetrics::SummaryEntryCpu, classifyCpu(perfData.cpuPercent, perfData.enableAccPackMetrics));
    setEntry(DefaultMetrics::SummaryEntryMpi, classifyMpi(perfData.mpiPercent));
    setEntry(DefaultMetrics::SummaryEntryIo, classifyIo(perfData.ioPercent));
    filling.report.setSummaryOverviewAdvice(
        overviewAdvice(perfData.cpuPercent, perfData.mpiPercent, perfData.ioPercent));
    setDefaultTemplateDominantMetrics(filling);
}

void setTrappedTemplateData(Filling &filling)
{
    const PerformanceData &perfData = filling.perfData;
    const auto percentOfBudget
        = [&](double energyInWh) { return energyInWh * 100 / perfData.energyBudgetedTotalInWh; };
    const auto zeroIfNan = [](double percent) { return PMetricValue::isNan(percent) ? 0.0 : percent; };
    const double cpuPercent = zeroIfNan(percentOfBudget(perfData.energyCpuInWh));
    const double accPercent = zeroIfNan(percentOfBudget(perfData.energyAccInWh));
    const double rest = percentOfBudget(perfData.energyTotalInWh) - cpuPercent - accPercent;
    const double otherPercent = rest > 0 ? rest : 0.0;
    filling.force({
        {DefaultMetrics::SummaryEntryCpuPercentOfBudget, cpuPercent},
        {DefaultMetrics::SummaryEntryAccPercentOfBudget, accPercent},
        {DefaultMetrics::SummaryEntryOtherPercentOfBudget, otherPercent},
    });
    setTrappedCapacityMetricsData(filling.report, filling.implicitMetrics, perfData, filling.data);
    trappedCapacityAdvice(filling.report, perfData);
    if (!perfData.hasTrappedCapacity)
        qCritical("Trapped Capacity metric unavailable, report will be incomplete.");
}

void addDataToReport(quillon_report &report, const ProfilerData &data, const QString &templateName,
    QuillonReportSummary *summary)
{
    const PerformanceData perfData = computePerformanceData(data);
    if (!perfData.isValid)
        return;
    if (summary)
        *summary = {perfData.cpuPercent, perfData.mpiPercent, perfData.ioPercent};
    report.setMetricValuesSource(metricsSourceUrl(data));

    Filling filling = {report, data, perfData, {}};
    setFigures(filling);
    if (templateName == DefaultMetrics::templateName())
        setDefaultTemplateData(filling);
    else if (templateName == QLatin1String("trapped"))
        setTrappedTemplateData(filling);
    setBoundMetrics(report, data);
}

QByteArray toolName()
{
    return BrivaneTool::currentTool()->getFriendlyName().toLocal8Bit();
}

} // namespace

quillon_report *convertToReport(const ProfilerData &data, const ReportDefinition &definition,
    const QString &templateName, QuillonReportSummary *summary)
{
    auto report = std::make_unique<quillon_report>(definition);
    addDataToReport(*report, data, templateName, summary);
    return report.release();
}

void printError(const quillon_report &report)
{
    if (report.hasErrorMessage())
        qWarning("%s: failed to generate report: %s", toolName().constData(), report.getErrorMessage());
}

void printWarning(const quillon_report &report)
{
    if (report.hasWarningMessage()) {
        qWarning("%s: warning(s) found during report generation: %s", toolName().constData(),
            report.getWarningMessage().toLocal8Bit().constData());
    }
}

} // namespace quillon::report
