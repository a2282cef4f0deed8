#include "trappedcapacityadvice.h"

#include "advicegenerator.h"
#include "advicesentences.h"
#include "api/quillon-report.h"

#include <QVector>

#include <algorithm>

namespace quillon::report {

namespace {

using advicesentences::say;
using advicesentences::Sentence;

// A sentence, and when it is said.
struct Rule {
    bool (*holds)(const PerformanceData &);
    Sentence sentence;
};

template <std::size_t size> void addRules(AdviceGenerator &generator, const Rule (&rules)[size])
{
    for (const Rule &rule : rules) {
        generator.addAdvice(say(rule.sentence), rule.holds);
    }
}

template <std::size_t size>
void setAdvice(quillon_report &report, const PerformanceData &perfData, const QString &subsectionId,
    const Rule (&rules)[size])
{
    AdviceGenerator generator;
    addRules(generator, rules);
    report.setSubsectionAdvice(subsectionId, generator.adviceStrings(perfData));
}

// --- Rules of the subsections

constexpr Rule mpiRules[] = {
    {collectiveRateIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "The transfer rate for <span class=\"%1\">collective calls</span> is low, this may be caused by "
             "load imbalance or inefficient messages. While communicating the CPU core may require less "
             "power. To reduce trapped capacity use an MPI profiler to investigate which calls are "
             "affected."),
            DefaultMetrics::MpiCollectivePercent}},
    {p2pRateIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "The transfer rate for <span class=\"%1\">point-to-point operations</span> is low, this may be "
             "caused by load imbalance or inefficient messages. While communicating the CPU core may require "
             "less power. To reduce trapped capacity use an MPI profiler to investigate which calls are "
             "affected."),
            DefaultMetrics::MpiP2pPercent}},
    {mpiTimeIsSignificant,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent in <span class=\"%1\">MPI</span> communication. MPI operations may "
             "use less power than compute. To reduce trapped capacity overlap communication with computation "
             "or reduce the amount of communication required."),
            DefaultMetrics::SubsectionMpi}},
    {mpiTimeIsInsignificant,
        {QT_TRANSLATE_NOOP("QObject",
             "Optimising <span class=\"%1\">MPI</span> communication will have little impact on the trapped "
             "capacity."),
            DefaultMetrics::SubsectionMpi}},
    {noMpiTime,
        {QT_TRANSLATE_NOOP("QObject",
             "No time is spent in <span class=\"%1\">MPI</span> communication, there's nothing to optimise "
             "here!"),
            DefaultMetrics::SubsectionMpi}},
};

constexpr Rule ioRules[] = {
    {readRateIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "The transfer rate for <span class=\"%1\">read</span> operations is low, this may be caused by "
             "contention for the filesystem or inefficient access patterns. While reading the CPU core will "
             "require minimal power. To reduce trapped capacity use an I/O profiler to investigate which "
             "read calls are affected."),
            DefaultMetrics::IoReadPercent}},
    {writeRateIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "The transfer rate for <span class=\"%1\">write</span> operations is low, this may be caused by "
             "contention for the filesystem or inefficient access patterns. While writing the CPU core will "
             "require minimal power. To reduce trapped capacity use an I/O profiler to investigate which "
             "write calls are affected."),
            DefaultMetrics::IoWritePercent}},
    {ioTimeIsSignificant,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent in <span class=\"%1\">I/O</span>. Idle CPU cores require minimal "
             "power. To reduce trapped capacity overlap I/O with computation or reduce the amount of I/O "
             "required."),
            DefaultMetrics::SubsectionIo}},
    {ioTimeIsInsignificant,
        {QT_TRANSLATE_NOOP("QObject",
             "Optimising <span class=\"%1\">I/O</span> will have little impact on the trapped capacity."),
            DefaultMetrics::SubsectionIo}},
    {noIoTime,
        {QT_TRANSLATE_NOOP("QObject",
             "No time is spent in <span class=\"%1\">I/O</span>, there's nothing to optimise here!"),
            DefaultMetrics::SubsectionIo}},
};

constexpr Rule acceleratorRules[] = {
    {acceleratorsAreUnused,
        {QT_TRANSLATE_NOOP("QObject",
             "<span class=\"%1\">Accelerators are available</span> but are not used. It may be more "
             "efficient to make use of accelerators or run on nodes without them."),
            DefaultMetrics::CudaGpusInUsePercent}},
    {acceleratorUsageIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "The <span class=\"%1\">accelerator</span> usage is low. Increasing the accelerator usage could "
             "reduce the trapped capacity."),
            DefaultMetrics::CudaGpusInUsePercent}},
};

constexpr Rule cpuRules[] = {
    {waitingForAcceleratorsIsDominant,
        {QT_TRANSLATE_NOOP("QObject",
             "Most of the time is spent <span class=\"%1\">waiting for accelerators</span>. Sleeping CPU "
             "cores require minimal power. To reduce trapped capacity use asynchronous calls to overlap CPU "
             "and accelerator workloads."),
            DefaultMetrics::CpuWaitingAccPercent}},
    {serialCodeIsDominant,
        {QT_TRANSLATE_NOOP("QObject",
             "Per-process performance is dominated by <span class=\"%1\">serial sections</span> of "
             "computation. Idle CPU cores require minimal power. To reduce trapped capacity use a profiler "
             "to find these or run with fewer threads and more processes."),
            DefaultMetrics::CpuSingleCorePercent}},
    {memoryInstructionsAreDominant,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent on <span class=\"%1\">memory accesses</span>. Cache-inefficient "
             "memory operations generally require less power than computation. To reduce trapped capacity "
             "use a profiler to identify time-consuming loops and check their cache performance."),
            DefaultMetrics::CpuMemPercent}},
    {vectorInstructionsAreUnused,
        {QT_TRANSLATE_NOOP("QObject",
             "No time is spent in <span class=\"%1\">vectorized instructions</span>. Vectorized instructions "
             "generally require more power than scalar computation. To reduce trapped capacity check the "
             "compiler's vectorization advice to see if key loops can be vectorized."),
            DefaultMetrics::CpuVectorNumPercent}},
    {vectorInstructionUsageIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "Little time is spent in <span class=\"%1\">vectorized instructions</span>. Vectorized "
             "instructions generally require more power than scalar computation. To reduce trapped capacity "
             "check the compiler's vectorization advice to see if key loops can be vectorized."),
            DefaultMetrics::CpuVectorNumPercent}},
    {memoryInstructionsAreHigh,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent on <span class=\"%1\">memory accesses</span>. Memory operations "
             "generally require less power than computation. To reduce trapped capacity use a profiler to "
             "identify time-consuming loops and check their cache performance."),
            DefaultMetrics::CpuMemPercent}},
    {waitingForAcceleratorsIsHigh,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent <span class=\"%1\">waiting for accelerators</span>. Sleeping CPU "
             "cores require minimal power. To reduce trapped capacity use asynchronous calls to overlap CPU "
             "and accelerator workloads."),
            DefaultMetrics::CpuWaitingAccPercent}},
    {serialCodeIsHigh,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent in <span class=\"%1\">serial sections</span> of computation. Idle "
             "CPU cores require minimal power. To reduce trapped capacity use a profiler to find these or "
             "run with fewer threads and more processes."),
            DefaultMetrics::CpuSingleCorePercent}},
};

constexpr Sentence moreProcesses
    = {QT_TRANSLATE_NOOP("QObject",
           "<span class=\"%1\">Physical core utilization</span> is low. Increasing the number of processes "
           "should reduce trapped capacity."),
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent};
constexpr Sentence threadsWait
    = {QT_TRANSLATE_NOOP("QObject",
           "Significant time is spent <span class=\"%1\">synchronizing</span> threads. Sleeping CPU cores "
           "require minimal power. Check which locks cause the most overhead with a profiler and improve "
           "workload balance to reduce trapped capacity."),
        DefaultMetrics::ThreadsSyncPercent};
constexpr Sentence moreThreads
    = {QT_TRANSLATE_NOOP("QObject",
           "<span class=\"%1\">Physical core utilization</span> is low. Try increasing the number of threads "
           "or processes to reduce trapped capacity."),
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent};

// The first ones end in a blank, which belongs to them.
constexpr Sentence noEnergyMetrics = {QT_TRANSLATE_NOOP("QObject",
    "The trapped capacity cannot be displayed because energy metrics are not available on this system. ")};
constexpr Sentence noSystemSensor = {QT_TRANSLATE_NOOP(
    "QObject", "The trapped capacity cannot be displayed because no system power sensor is available. ")};
constexpr Sentence consistentPower
    = {QT_TRANSLATE_NOOP("QObject",
           "The <span class=\"%1\">power</span> draw is consistent throughout the job, make better use of "
           "the <span class=\"cpu\">CPU</span> or overlap this job with a complementary application."),
        DefaultMetrics::EnergyNodePeakPower};
constexpr Sentence consistentPowerWithAccelerators
    = {QT_TRANSLATE_NOOP("QObject",
           "The <span class=\"%1\">power</span> draw is consistent throughout the job, make better use of "
           "the <span class=\"%2\">CPU</span> and <span class=\"%3\">accelerators</span> or overlap this job "
           "with a complementary application."),
        DefaultMetrics::EnergyNodePeakPower, DefaultMetrics::SubsectionCpu,
        DefaultMetrics::SubsectionAccelerator};

constexpr Rule peakRules[] = {
    {peakPowerWouldExceedBudget,
        {QT_TRANSLATE_NOOP("QObject",
             "The <span class=\"%1\">peak power</span> draw is high, increasing power consumption may exceed "
             "budgeted energy."),
            DefaultMetrics::EnergyNodePeakPower}},
    {meanPowerIsLow,
        {QT_TRANSLATE_NOOP("QObject",
             "The <span class=\"%1\">peak power</span> draw is significantly higher than the mean, use a "
             "profiler to identify times when the power draw is low."),
            DefaultMetrics::EnergyNodePeakPower}},
};

constexpr Rule fewerNodesRules[] = {
    {lowMemoryAndHighMpi,
        {QT_TRANSLATE_NOOP("QObject",
             "Significant time is spent in <span class=\"%1\">MPI</span> communication. It may be more "
             "efficient to use fewer nodes with more data on each node in order to free up nodes for more "
             "intensive applications."),
            DefaultMetrics::SubsectionMpi}},
};

constexpr Sentence powerIsEstimated = {QT_TRANSLATE_NOOP("QObject",
    "<i>Note: Power and energy values during MPI, I/O and compute are estimated from available information "
    "and may not be accurate.</i>")};

void energyAdvice(quillon_report &report, const PerformanceData &perfData)
{
    AdviceGenerator generator;
    generator.addAdvice(say(noEnergyMetrics), EnergyBasisIs(TotalEnergyBasis::None));
    for (const auto basis :
        {TotalEnergyBasis::CpuPlusAcc, TotalEnergyBasis::CpuOnly, TotalEnergyBasis::AccOnly}) {
        generator.addAdvice(say(noSystemSensor), EnergyBasisIs(basis));
    }
    addRules(generator, peakRules);
    generator.addAdvice(
        say(perfData.enableAccPackMetrics ? consistentPowerWithAccelerators : consistentPower),
        powerIsConsistent);
    addRules(generator, fewerNodesRules);
    report.setSubsectionAdvice(DefaultMetrics::SubsectionEnergy, generator.adviceStrings(perfData));
}

void cpuAdvice(quillon_report &report, const PerformanceData &perfData)
{
    setAdvice(report, perfData, DefaultMetrics::SubsectionCpu, cpuRules);
}

void threadAdvice(quillon_report &report, const PerformanceData &perfData, const QString &subsectionId,
    const ThreadMetrics &metrics)
{
    AdviceGenerator generator;
    addCommonThreadAdvice(&metrics, generator);
    report.setSubsectionAdvice(subsectionId, generator.adviceStrings(perfData));
}

// --- Summary

constexpr Sentence acceleratorsSection
    = {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">Accelerators</span>"),
        DefaultMetrics::SubsectionAccelerator};
constexpr Sentence cpuSection
    = {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">CPU</span>"), DefaultMetrics::SubsectionCpu};
constexpr Sentence openmpSection
    = {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">OpenMP</span>"), DefaultMetrics::SubsectionOpenmp};
constexpr Sentence threadsSection
    = {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">Threads</span>"), DefaultMetrics::SubsectionThreads};
constexpr Sentence mpiSection
    = {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">MPI</span>"), DefaultMetrics::SubsectionMpi};
constexpr Sentence ioSection
    = {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">I/O</span>"), DefaultMetrics::SubsectionIo};

// How much more power a core draws in computing than in something else, as a fraction.
double energyGain(const PerformanceData &perfData, double meanCpuPower, double unmeasured)
{
    const bool measured = perfData.isEnergyCpuDefined && meanCpuPower > 0 && perfData.otherMeanCpuPower > 0;
    return measured ? perfData.otherMeanCpuPower / meanCpuPower - 1 : unmeasured;
}

// What might use trapped capacity, the greatest gain first.
QVector<SummaryAdvice> candidates(const PerformanceData &perfData)
{
    const double activityFactor = perfData.threadsPhysicalCoreUtilization / 100;
    const double mpiEnergyGain = energyGain(perfData, perfData.mpiMeanCpuPower, 0.15);
    const double ioEnergyGain = energyGain(perfData, perfData.ioMeanCpuPower, 0.15);
    const double vectorEnergyGain = 0.25;
    const double memoryEnergyGain = 0.15;
    const bool haveAccelerators = perfData.enableAccPackMetrics;
    const bool isOpenMP = perfData.isOpenMP;

    const struct {
        bool applies;
        double value;
        const char *metric;
        Sentence section;
    } rows[] = {
        {haveAccelerators, 100 - perfData.avgGPUsInUse, QT_TRANSLATE_NOOP("QObject", "accelerator usage"),
            acceleratorsSection},
        {haveAccelerators, activityFactor * perfData.cpuWaitingTimePercent,
            QT_TRANSLATE_NOOP("QObject", "time spent waiting for accelerators"), cpuSection},
        {isOpenMP, activityFactor * perfData.openmpOverhead, QT_TRANSLATE_NOOP("QObject", "OpenMP overhead"),
            openmpSection},
        {!isOpenMP, activityFactor * perfData.threadsSync,
            QT_TRANSLATE_NOOP("QObject", "thread synchronisation"), threadsSection},
        {true, activityFactor * perfData.mpiPercent * mpiEnergyGain,
            QT_TRANSLATE_NOOP("QObject", "MPI communication"), mpiSection},
        // Whatever the cores' activity: I/O keeps none busy.
        {true, ioEnergyGain * perfData.ioPercent, QT_TRANSLATE_NOOP("QObject", "I/O operations"), ioSection},
        // The threads' figure for OpenMP jobs, too.
        {true, 100 - perfData.threadsPhysicalCoreUtilization,
            QT_TRANSLATE_NOOP("QObject", "physical core utilization"),
            isOpenMP ? openmpSection : threadsSection},
        {true, perfData.cpuScalarNum / 100 * perfData.cpuPercent * activityFactor * vectorEnergyGain,
            QT_TRANSLATE_NOOP("QObject", "vectorization"), cpuSection},
        {true, perfData.cpuMem / 100 * perfData.cpuPercent * activityFactor * memoryEnergyGain,
            QT_TRANSLATE_NOOP("QObject", "memory accesses"), cpuSection},
    };
    QVector<SummaryAdvice> result;
    for (const auto &row : rows) {
        if (row.applies) {
            result.append({row.value, QObject::tr(row.metric), say(row.section)});
        }
    }
    // So few are sorted by insertion, which keeps the order of equal ones and bears with NaNs.
    std::sort(result.begin(), result.end(), sortSummaryAdviceDescending);
    return result;
}

QStringList whereToLook(const QVector<SummaryAdvice> &ranked)
{
    const SummaryAdvice &top = ranked.at(0);
    const SummaryAdvice &next = ranked.at(1);
    QStringList advice;
    if (top.value < 5) {
        advice << QObject::tr(
            "This job is well balanced, further reductions in trapped capacity may be difficult.");
    }
    if (top.value > 0) {
        advice << QObject::tr("To reduce trapped capacity look at %1 first, for more information see the %2 "
                              "section below.")
                      .arg(top.metric, top.section);
        if (next.value > 0) {
            advice << (next.section == top.section
                    ? QObject::tr("In addition, look at %1, also in the %2 section.")
                    : QObject::tr("In addition, look at %1, see the %2 section below."))
                          .arg(next.metric, next.section);
        }
    }
    return advice;
}

// Which other jobs would go well with this one; a null string if that can't be told.
QString complementaryJobs(const PerformanceData &perfData)
{
    const struct {
        bool applies;
        double share;
        Sentence word;
    } rows[] = {
        {true, perfData.mpiPercent, mpiSection},
        {true, perfData.cpuPercent - perfData.cpuWaitingTimePercent,
            {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">compute</span>"),
                DefaultMetrics::SubsectionCpu}},
        {perfData.enableAccPackMetrics, perfData.avgGPUsInUse,
            {QT_TRANSLATE_NOOP("QObject", "<span class=\"%1\">accelerator usage</span>"),
                DefaultMetrics::SubsectionAccelerator}},
        {true, perfData.ioPercent, ioSection},
    };
    QStringList lowTime;
    QStringList highTime;
    for (const auto &row : rows) {
        if (row.applies && row.share < 25) {
            lowTime << say(row.word);
        } else if (row.applies && row.share > 50) {
            highTime << say(row.word);
        }
    }
    if (lowTime.isEmpty() || highTime.isEmpty()) {
        return {};
    }
    return QObject::tr("This job is bound by %1, scheduling it alongside jobs bound by %2 may reduce overall "
                       "trapped capacity.")
        .arg(listToString(highTime), listToString(lowTime));
}

void summaryAdvice(quillon_report &report, const PerformanceData &perfData)
{
    QStringList advice = whereToLook(candidates(perfData));
    const QString others = complementaryJobs(perfData);
    if (!others.isNull()) {
        advice << others;
    }
    report.setSummaryOverviewAdvice(advice.join(QLatin1Char(' ')));
}

} // namespace

bool sortSummaryAdviceDescending(const SummaryAdvice &a, const SummaryAdvice &b)
{
    return a.value > b.value;
}

QString listToString(const QStringList &list)
{
    switch (list.size()) {
    case 0:
        return {};
    case 1:
        return list.first();
    case 2:
        return QObject::tr("%1 and %2").arg(list.first(), list.last());
    default:
        return list.mid(0, list.size() - 1).join(QLatin1String(", "))
            + QObject::tr(", and %1").arg(list.last());
    }
}

void addCommonThreadAdvice(const ThreadMetrics *metrics, AdviceGenerator &generator)
{
    generator.addAdvice(say(moreProcesses), PhysicalCoreUtilisationIsLowAndSingleCore(metrics));
    generator.addAdvice(say(threadsWait), OverheadIsHigh(metrics));
    generator.addAdvice(say(advicesentences::threadsLowAndShared), BadThreadAffinity(metrics));
    generator.addAdvice(say(moreThreads), PhysicalCoreUtilisationIsLowAndMultiCore(metrics));
}

void trappedCapacityAdvice(quillon_report &report, const PerformanceData &perfData)
{
    summaryAdvice(report, perfData);
    energyAdvice(report, perfData);
    cpuAdvice(report, perfData);
    threadAdvice(report, perfData, DefaultMetrics::SubsectionThreads, ThreadMetrics());
    threadAdvice(report, perfData, DefaultMetrics::SubsectionOpenmp, OpenMpMetrics());
    // Nothing about memory.
    report.setSubsectionAdvice(DefaultMetrics::SubsectionMemory, AdviceGenerator().adviceStrings(perfData));
    setAdvice(report, perfData, DefaultMetrics::SubsectionMpi, mpiRules);
    setAdvice(report, perfData, DefaultMetrics::SubsectionIo, ioRules);
    setAdvice(report, perfData, DefaultMetrics::SubsectionAccelerator, acceleratorRules);
    report.setSubsectionAdvice(DefaultMetrics::SubsectionCpuEnergy, QStringList{say(powerIsEstimated)});
}

} // namespace quillon::report
