#ifndef QUILLON_REPORT_API_DEFAULTMETRICS_H
#define QUILLON_REPORT_API_DEFAULTMETRICS_H

#include "api/defaultmetricversion.h"
#include "api/export.h"
#include "api/podlatin1string.h"
#include "api/reportdefinition.h"

#include <QSet>
#include <QString>

namespace quillon::report {

// The catalogue: the ids of the system's own metrics, summary entries and subsections, which of them belong
// together, which metrics every report has whether its definition mentions them or not, and where the
// installed definition lies. Metric ids are dotted paths; they stand in definitions, documents and advice.
//
// Lists and sets are built once, on first use or when the library is loaded, and never change. The first use
// isn't guarded against other threads.
class QUILLON_REPORT_EXPORT DefaultMetrics {
public:
    DefaultMetrics() = delete;

    // Report values.
    static constexpr PodLatin1String ReportValueName = {"report.name"};
    static constexpr PodLatin1String ReportValueVersionApi = {"report.version.api"};
    static constexpr PodLatin1String ReportValueVersionSoftware = {"report.version.software"};
    static constexpr PodLatin1String ReportValueDocumentDefinitions = {"report.src.definition"};
    static constexpr PodLatin1String ReportMetricValuesSource = {"report.src.values"};

    // Summary entries.
    static constexpr PodLatin1String SummaryEntryCpu = {"overview.cpu"};
    static constexpr PodLatin1String SummaryEntryMpi = {"overview.mpi"};
    static constexpr PodLatin1String SummaryEntryIo = {"overview.io"};
    static constexpr PodLatin1String SummaryEntryCpuPercentOfBudget = {"overview.cpu.percentOfBudget"};
    static constexpr PodLatin1String SummaryEntryAccPercentOfBudget = {"overview.acc.percentOfBudget"};
    static constexpr PodLatin1String SummaryEntryOtherPercentOfBudget = {"overview.other.percentOfBudget"};

    // Subsections.
    static constexpr PodLatin1String SubsectionCpu = {"cpu"};
    static constexpr PodLatin1String SubsectionMpi = {"mpi"};
    static constexpr PodLatin1String SubsectionIo = {"io"};
    static constexpr PodLatin1String SubsectionMemory = {"memory"};
    static constexpr PodLatin1String SubsectionOpenmp = {"openmp"};
    static constexpr PodLatin1String SubsectionThreads = {"threads"};
    static constexpr PodLatin1String SubsectionAccelerator = {"cuda"};
    static constexpr PodLatin1String SubsectionEnergy = {"energy"};
    static constexpr PodLatin1String SubsectionCpuEnergy = {"cpuEnergy"};
    static constexpr PodLatin1String SubsectionPerf = {"perf"};

    // Application details.
    static constexpr PodLatin1String ExeName = {"applicationDetails.exeName"};
    static constexpr PodLatin1String CommandLine = {"applicationDetails.commandLine"};
    static constexpr PodLatin1String NumProcesses = {"applicationDetails.processes.plain"};
    static constexpr PodLatin1String NumNodes = {"applicationDetails.nodes.plain"};
    static constexpr PodLatin1String LogicalCoresPerNode = {"applicationDetails.logicalCoresPerNode"};
    static constexpr PodLatin1String PhysicalCoresPerNode = {"applicationDetails.physicalCoresPerNode"};
    static constexpr PodLatin1String HasAcceleratorMetricsEnabled
        = {"applicationDetails.hasAcceleratorMetricsEnabled"};
    static constexpr PodLatin1String NumGpus = {"applicationDetails.gpusPerNode.plain"};
    static constexpr PodLatin1String HasGpu = {"applicationDetails.hasGpu"};
    static constexpr PodLatin1String HostMemory = {"applicationDetails.hostMemory.plain"};
    static constexpr PodLatin1String CudaMemoryPerNode = {"applicationDetails.hostGpuMemory.plain"};
    static constexpr PodLatin1String OmpNumThreads = {"applicationDetails.ompNumThreads"};
    static constexpr PodLatin1String IsOpenMp = {"applicationDetails.isOpenMp"};
    static constexpr PodLatin1String Hostname = {"applicationDetails.hostname"};
    static constexpr PodLatin1String StartDate = {"applicationDetails.startDate"};
    static constexpr PodLatin1String Time = {"applicationDetails.time.plain"};
    static constexpr PodLatin1String ExePath = {"applicationDetails.exePath"};
    static constexpr PodLatin1String Notes = {"applicationDetails.notes"};
    static constexpr PodLatin1String InputFile = {"applicationDetails.inputFile"};
    static constexpr PodLatin1String HasEnergyMetricsEnabled = {"applicationDetails.hasEnergyMetricsEnabled"};
    static constexpr PodLatin1String ProfiledRanks = {"applicationDetails.profiledRanks"};

    // Overview.
    static constexpr PodLatin1String SummaryCpuPercent = {"overview.cpu.percent"};
    static constexpr PodLatin1String SummaryMpiPercent = {"overview.mpi.percent"};
    static constexpr PodLatin1String SummaryIoPercent = {"overview.io.percent"};
    static constexpr PodLatin1String DominantMetricLongString = {"overview.bound1.long"};
    static constexpr PodLatin1String DominantMetricShortString = {"overview.bound1.short"};
    static constexpr PodLatin1String DominantMetricType = {"overview.bound1.type"};
    static constexpr PodLatin1String DominantMetricSubsectionId = {"overview.bound1.subsectionId"};
    static constexpr PodLatin1String DominantMetricSubsectionHeading = {"overview.bound1.subsectionHeading"};
    static constexpr PodLatin1String SecondaryDominantMetricLongString = {"overview.bound2.long"};
    static constexpr PodLatin1String SecondaryDominantMetricShortString = {"overview.bound2.short"};
    static constexpr PodLatin1String SecondaryDominantMetricType = {"overview.bound2.type"};
    static constexpr PodLatin1String SecondaryDominantMetricSubsectionId = {"overview.bound2.subsectionId"};
    static constexpr PodLatin1String SecondaryDominantMetricSubsectionHeading
        = {"overview.bound2.subsectionHeading"};
    static constexpr PodLatin1String OverviewAdvice = {"overview.advice"};
    static constexpr PodLatin1String SystemLoadPercent = {"overview.systemLoadPercent"};
    static constexpr PodLatin1String SystemLoadAvgError = {"overview.systemLoadAvgError"};

    // CPU.
    static constexpr PodLatin1String CpuSingleCorePercent = {"cpu.singleCorePercent"};
    static constexpr PodLatin1String CpuOpenMpPercent = {"cpu.openMpPercent"};
    static constexpr PodLatin1String CpuScalarNumPercent = {"cpu.scalarNumPercent"};
    static constexpr PodLatin1String CpuVectorNumPercent = {"cpu.vectorNumPercent"};
    static constexpr PodLatin1String CpuMemPercent = {"cpu.memPercent"};
    static constexpr PodLatin1String CpuWaitingAccPercent = {"cpu.waitingAccPercent"};
    static constexpr PodLatin1String CpuShowWaitingAcc = {"cpu.showWaitingAcc"};

    // MPI.
    static constexpr PodLatin1String MpiCollectivePercent = {"mpi.collectivePercent"};
    static constexpr PodLatin1String MpiP2pPercent = {"mpi.p2pPercent"};
    static constexpr PodLatin1String MpiCollectiveRate = {"mpi.collectiveRate"};
    static constexpr PodLatin1String MpiP2pRate = {"mpi.p2pRate"};
    static constexpr PodLatin1String MpiRateError = {"mpi.rateError"};

    // I/O.
    static constexpr PodLatin1String IoReadPercent = {"io.readPercent"};
    static constexpr PodLatin1String IoWritePercent = {"io.writePercent"};
    static constexpr PodLatin1String IoReadRate = {"io.readRate"};
    static constexpr PodLatin1String IoWriteRate = {"io.writeRate"};
    static constexpr PodLatin1String IoRateError = {"io.rateError"};

    // OpenMP.
    static constexpr PodLatin1String OpenMpComputePercent = {"openmp.computePercent"};
    static constexpr PodLatin1String OpenMpOverheadPercent = {"openmp.overheadPercent"};
    static constexpr PodLatin1String OpenMpPhysicalCoreUtilizationPercent
        = {"openmp.physicalCoreUtilizationPercent"};

    // Threads.
    static constexpr PodLatin1String ThreadsComputePercent = {"threads.computePercent"};
    static constexpr PodLatin1String ThreadsSyncPercent = {"threads.syncPercent"};
    static constexpr PodLatin1String ThreadsPhysicalCoreUtilizationPercent
        = {"threads.physicalCoreUtilizationPercent"};

    // Memory.
    static constexpr PodLatin1String MemMean = {"memory.mean"};
    static constexpr PodLatin1String MemPeak = {"memory.peak"};
    static constexpr PodLatin1String MemNodePeakPercent = {"memory.nodePeakPercent"};
    static constexpr PodLatin1String MemError = {"memory.error"};

    // Accelerator.
    static constexpr PodLatin1String CudaGpusInUsePercent = {"cuda.gpusInUsePercent"};
    static constexpr PodLatin1String CudaGlobalMemoryAccessPercent = {"cuda.globalMemoryAccessPercent"};
    static constexpr PodLatin1String CudaMeanMemoryPercent = {"cuda.meanMemoryPercent"};
    static constexpr PodLatin1String CudaPeakMemoryPercent = {"cuda.peakMemoryPercent"};
    static constexpr PodLatin1String CudaError = {"cuda.error"};

    // Energy.
    static constexpr PodLatin1String EnergyTotal = {"energy.total.plain"};
    static constexpr PodLatin1String EnergyHasCpuPower = {"energy.hasCpuPower"};
    static constexpr PodLatin1String EnergyCpuTotal = {"energy.cpuTotal.plain"};
    static constexpr PodLatin1String EnergyAccTotal = {"energy.accTotal.plain"};
    static constexpr PodLatin1String EnergyTrappedTotal = {"energy.trapped"};
    static constexpr PodLatin1String NodePowerBudget = {"energy.nodePowerBudget"};
    static constexpr PodLatin1String EnergyBudgetedTotal = {"energy.budgetedTotal"};
    static constexpr PodLatin1String EnergyHasMetrics = {"energy.hasMetrics"};
    static constexpr PodLatin1String EnergyHasAccPower = {"energy.hasAccPower"};
    static constexpr PodLatin1String EnergyHasBudgetedMetric = {"energy.hasBudgetedMetric"};
    static constexpr PodLatin1String EnergyHasTrappedCapacity = {"energy.hasTrappedCapacity"};
    static constexpr PodLatin1String EnergyCpuPercent = {"energy.cpuPercent"};
    static constexpr PodLatin1String EnergyAccPercent = {"energy.accPercent"};
    static constexpr PodLatin1String EnergyTrappedPercent = {"energy.trappedPercent"};
    static constexpr PodLatin1String EnergyOtherPercent = {"energy.otherPercent"};
    static constexpr PodLatin1String EnergyNodeMeanPower = {"energy.nodeMeanPower"};
    static constexpr PodLatin1String EnergyNodePeakPower = {"energy.nodePeakPower"};
    static constexpr PodLatin1String EnergyNodeMeanMpiCpuPower = {"energy.nodeMeanMpiCpuPower"};
    static constexpr PodLatin1String EnergyNodeMeanIoCpuPower = {"energy.nodeMeanIoCpuPower"};
    static constexpr PodLatin1String EnergyNodeMeanOmpCpuPower = {"energy.nodeMeanOmpCpuPower"};
    static constexpr PodLatin1String EnergyNodeMeanOtherCpuPower = {"energy.nodeMeanOtherCpuPower"};
    static constexpr PodLatin1String EnergyMpiCpuPercent = {"energy.mpiCpuPercent"};
    static constexpr PodLatin1String EnergyIoCpuPercent = {"energy.ioCpuPercent"};
    static constexpr PodLatin1String EnergyOmpCpuPercent = {"energy.ompCpuPercent"};
    static constexpr PodLatin1String EnergyOtherCpuPercent = {"energy.otherCpuPercent"};
    static constexpr PodLatin1String EnergyError = {"energy.error"};

    // Counters.
    static constexpr PodLatin1String PerfCyclesPerIns = {"com.brivane.metrics.perf.cycles_per_instruction"};

    // The metric that holds the version of a metric document.
    static const QString Version;

    // Metrics that go together, by what a run must have for them to mean something. A metric may be in two
    // sets, so that a part of a group can be withdrawn on its own.
    static const QSet<QString> ApplicationMetrics;
    static const QSet<QString> SummaryMetrics;
    static const QSet<QString> CpuMetrics;
    static const QSet<QString> MpiMetrics;
    static const QSet<QString> IoMetrics;
    static const QSet<QString> OmpMetrics;
    static const QSet<QString> ThreadMetrics;
    static const QSet<QString> MemoryMetrics;
    static const QSet<QString> AccMetrics;
    static const QSet<QString> EnergyMetrics;
    static const QSet<QString> GpuMetrics;
    static const QSet<QString> WaitAccMetrics;
    static const QSet<QString> CpuPowerMetrics;
    static const QSet<QString> AccPowerMetrics;
    // The version of the catalogue that documents written now have.
    static DefaultMetricVersion::Enum getCurrentVersion();

    // The metrics that every report has. Those of the first list have to be set by whoever fills a report;
    // those of the second may be; those of the third describe the report itself. Every caller passes
    // getCurrentVersion(): the first two lists don't look at the version, and the third looks at it only in
    // the first call of the process and returns what it built then ever after.
    static ReportDefinition::MetricDef::List getRequiredApplicationDetailsMetrics(
        DefaultMetricVersion::Enum version);
    static ReportDefinition::MetricDef::List getOptionalApplicationDetailsMetrics(
        DefaultMetricVersion::Enum version);
    static ReportDefinition::MetricDef::List getInternalMetrics(DefaultMetricVersion::Enum version);
    // Whether the id is in one of the three lists.
    static bool containsImplicitMetric(QString metricId);

    // Ids whose last six characters are left out when they go to a data centre's monitoring. All end in
    // ".plain" but ProfiledRanks, which monitoring has always known by its shortened name.
    static QSet<QString> metricIdsEndingInPlain();

    // Places in the installed data; see BrivaneGlobals::installPath().
    static QString reportDefinitionTemplateDir();
    static QString reportDefinitionPartialsDir();
    static QString reportDefinitionFilePath();
    // The name of the default report among the types of report.
    static QString templateName();
};

} // namespace quillon::report

#endif
