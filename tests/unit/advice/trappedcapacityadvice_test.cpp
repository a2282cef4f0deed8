// What the report on trapped capacity says.

#include "advicetest.h"
#include "figures.h"

#include "advicegenerator.h"
#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "trappedcapacityadvice.h"

using namespace quillon::report;

namespace {

const std::string collectiveIsSlow
    = "The transfer rate for <span class=\"mpi.collectivePercent\">collective calls</span> is low, this may "
      "be caused by load imbalance or inefficient messages. While communicating the CPU core may require "
      "less power. To reduce trapped capacity use an MPI profiler to investigate which calls are affected.";
const std::string p2pIsSlow
    = "The transfer rate for <span class=\"mpi.p2pPercent\">point-to-point operations</span> is low, this "
      "may be caused by load imbalance or inefficient messages. While communicating the CPU core may require "
      "less power. To reduce trapped capacity use an MPI profiler to investigate which calls are affected.";
const std::string muchMpi
    = "Significant time is spent in <span class=\"mpi\">MPI</span> communication. MPI operations may use "
      "less power than compute. To reduce trapped capacity overlap communication with computation or reduce "
      "the amount of communication required.";
const std::string littleMpi
    = "Optimising <span class=\"mpi\">MPI</span> communication will have little impact on the trapped "
      "capacity.";
const std::string noMpi
    = "No time is spent in <span class=\"mpi\">MPI</span> communication, there's nothing to optimise here!";

const std::string readsAreSlow
    = "The transfer rate for <span class=\"io.readPercent\">read</span> operations is low, this may be "
      "caused by contention for the filesystem or inefficient access patterns. While reading the CPU core "
      "will require minimal power. To reduce trapped capacity use an I/O profiler to investigate which read "
      "calls are affected.";
const std::string writesAreSlow
    = "The transfer rate for <span class=\"io.writePercent\">write</span> operations is low, this may be "
      "caused by contention for the filesystem or inefficient access patterns. While writing the CPU core "
      "will require minimal power. To reduce trapped capacity use an I/O profiler to investigate which write "
      "calls are affected.";
const std::string muchIo
    = "Significant time is spent in <span class=\"io\">I/O</span>. Idle CPU cores require minimal power. To "
      "reduce trapped capacity overlap I/O with computation or reduce the amount of I/O required.";
const std::string littleIo
    = "Optimising <span class=\"io\">I/O</span> will have little impact on the trapped capacity.";
const std::string noIo
    = "No time is spent in <span class=\"io\">I/O</span>, there's nothing to optimise here!";

const std::string acceleratorsUnused
    = "<span class=\"cuda.gpusInUsePercent\">Accelerators are available</span> but are not used. It may be "
      "more efficient to make use of accelerators or run on nodes without them.";
const std::string acceleratorsLittleUsed
    = "The <span class=\"cuda.gpusInUsePercent\">accelerator</span> usage is low. Increasing the accelerator "
      "usage could reduce the trapped capacity.";

const std::string moreProcesses
    = "<span class=\"threads.physicalCoreUtilizationPercent\">Physical core utilization</span> is low. "
      "Increasing the number of processes should reduce trapped capacity.";
const std::string threadsWait
    = "Significant time is spent <span class=\"threads.syncPercent\">synchronizing</span> threads. Sleeping "
      "CPU cores require minimal power. Check which locks cause the most overhead with a profiler and "
      "improve workload balance to reduce trapped capacity.";
const std::string threadsShareCores
    = "<span class=\"threads.physicalCoreUtilizationPercent\">Physical core utilization</span> is low and "
      "multiple threads may be sharing one core. Check your thread affinity settings.";
const std::string moreThreads
    = "<span class=\"threads.physicalCoreUtilizationPercent\">Physical core utilization</span> is low. Try "
      "increasing the number of threads or processes to reduce trapped capacity.";

const std::string noEnergyMetrics
    = "The trapped capacity cannot be displayed because energy metrics are not available on this system. ";
const std::string noSystemSensor
    = "The trapped capacity cannot be displayed because no system power sensor is available. ";
const std::string peakExceedsBudget
    = "The <span class=\"energy.nodePeakPower\">peak power</span> draw is high, increasing power consumption "
      "may exceed budgeted energy.";
const std::string peakStandsOut
    = "The <span class=\"energy.nodePeakPower\">peak power</span> draw is significantly higher than the "
      "mean, use a profiler to identify times when the power draw is low.";
const std::string evenPower
    = "The <span class=\"energy.nodePeakPower\">power</span> draw is consistent throughout the job, make "
      "better use of the <span class=\"cpu\">CPU</span> or overlap this job with a complementary "
      "application.";
const std::string evenPowerWithAccelerators
    = "The <span class=\"energy.nodePeakPower\">power</span> draw is consistent throughout the job, make "
      "better use of the <span class=\"cpu\">CPU</span> and <span class=\"cuda\">accelerators</span> or "
      "overlap this job with a complementary application.";
const std::string fewerNodes
    = "Significant time is spent in <span class=\"mpi\">MPI</span> communication. It may be more efficient "
      "to use fewer nodes with more data on each node in order to free up nodes for more intensive "
      "applications.";

const std::string mostlyWaiting
    = "Most of the time is spent <span class=\"cpu.waitingAccPercent\">waiting for accelerators</span>. "
      "Sleeping CPU cores require minimal power. To reduce trapped capacity use asynchronous calls to "
      "overlap CPU and accelerator workloads.";
const std::string muchWaiting
    = "Significant time is spent <span class=\"cpu.waitingAccPercent\">waiting for accelerators</span>. "
      "Sleeping CPU cores require minimal power. To reduce trapped capacity use asynchronous calls to "
      "overlap CPU and accelerator workloads.";
const std::string mostlySerial
    = "Per-process performance is dominated by <span class=\"cpu.singleCorePercent\">serial sections</span> "
      "of computation. Idle CPU cores require minimal power. To reduce trapped capacity use a profiler to "
      "find these or run with fewer threads and more processes.";
const std::string muchSerial
    = "Significant time is spent in <span class=\"cpu.singleCorePercent\">serial sections</span> of "
      "computation. Idle CPU cores require minimal power. To reduce trapped capacity use a profiler to find "
      "these or run with fewer threads and more processes.";
const std::string mostlyMemory
    = "Significant time is spent on <span class=\"cpu.memPercent\">memory accesses</span>. Cache-inefficient "
      "memory operations generally require less power than computation. To reduce trapped capacity use a "
      "profiler to identify time-consuming loops and check their cache performance.";
const std::string muchMemory
    = "Significant time is spent on <span class=\"cpu.memPercent\">memory accesses</span>. Memory operations "
      "generally require less power than computation. To reduce trapped capacity use a profiler to identify "
      "time-consuming loops and check their cache performance.";
const std::string noVectors
    = "No time is spent in <span class=\"cpu.vectorNumPercent\">vectorized instructions</span>. Vectorized "
      "instructions generally require more power than scalar computation. To reduce trapped capacity check "
      "the compiler's vectorization advice to see if key loops can be vectorized.";
const std::string fewVectors
    = "Little time is spent in <span class=\"cpu.vectorNumPercent\">vectorized instructions</span>. "
      "Vectorized instructions generally require more power than scalar computation. To reduce trapped "
      "capacity check the compiler's vectorization advice to see if key loops can be vectorized.";

const std::string estimated
    = "<i>Note: Power and energy values during MPI, I/O and compute are estimated from available information "
      "and may not be accurate.</i>";

constexpr int Slots = 6;

ReportDefinition definition()
{
    ReportDefinition::SubsectionDef::List subsections;
    for (const QString &id : {QString(DefaultMetrics::SubsectionCpu), QString(DefaultMetrics::SubsectionMpi),
             QString(DefaultMetrics::SubsectionIo), QString(DefaultMetrics::SubsectionMemory),
             QString(DefaultMetrics::SubsectionOpenmp), QString(DefaultMetrics::SubsectionThreads),
             QString(DefaultMetrics::SubsectionAccelerator), QString(DefaultMetrics::SubsectionEnergy),
             QString(DefaultMetrics::SubsectionCpuEnergy)}) {
        ReportDefinition::SubsectionDef subsection;
        subsection.id = id;
        subsection.maxAdviceStrings = Slots;
        subsections.append(subsection);
    }
    ReportDefinition result;
    result.setConfig(ReportDefinition::Config::withoutPrefixesOrReservedIds());
    result.setSubsectionList(subsections);
    return result;
}

using List = std::vector<std::string>;

// All that a report of these figures says; slots that were not filled are left out.
class Advised {
public:
    explicit Advised(const PerformanceData &job)
        : mReport(definition())
    {
        // What stood there before must go.
        for (const auto &subsection : mReport.definition().getSubsectionList()) {
            for (int number = 1; number <= Slots; ++number) {
                mReport.setSubsectionAdvice(subsection.id, number, QStringLiteral("old"));
            }
        }
        trappedCapacityAdvice(mReport, job);
        EXPECT_FALSE(mReport.hasErrorMessage()) << mReport.getErrorMessage();
    }

    List under(const QString &subsectionId) const
    {
        List result;
        for (int number = 1; number <= Slots; ++number) {
            const QString sentence
                = mReport.getMetricValue(QStringLiteral("%1.advice%2").arg(subsectionId).arg(number))
                      .toString();
            if (!sentence.isEmpty()) {
                result.push_back(said(sentence));
            }
        }
        return result;
    }

    std::string overview() const
    {
        return said(mReport.getMetricValue(DefaultMetrics::OverviewAdvice).toString());
    }

private:
    quillon_report mReport;
};

template <typename Change> List under(const QString &subsectionId, Change change)
{
    return Advised(figures(change)).under(subsectionId);
}

template <typename Change> std::string overview(Change change)
{
    return Advised(figures(change)).overview();
}

// --- Subsections

TEST(TrappedMpi, SaysWhatIsSlowBeforeWhatTakesTime)
{
    EXPECT_EQ(under("mpi",
                  [](PerformanceData &job) {
                      job.mpiPercent = 40;
                      job.mpiCollective = 50;
                      job.mpiP2p = 50;
                  }),
        List({collectiveIsSlow, p2pIsSlow, muchMpi}));
}

TEST(TrappedMpi, SaysWhatCanBeGained)
{
    const auto spent = [](double percent) {
        return under("mpi", [=](PerformanceData &job) { job.mpiPercent = percent; });
    };
    EXPECT_EQ(spent(20.1), List({muchMpi}));
    EXPECT_EQ(spent(20), List({littleMpi}));
    EXPECT_EQ(spent(0.05), List({littleMpi}));
    EXPECT_EQ(spent(0.04), List({noMpi}));
}

TEST(TrappedIo, SaysWhatIsSlowBeforeWhatTakesTime)
{
    EXPECT_EQ(under("io",
                  [](PerformanceData &job) {
                      job.ioPercent = 40;
                      job.ioRead = 50;
                      job.ioWrite = 50;
                  }),
        List({readsAreSlow, writesAreSlow, muchIo}));
}

TEST(TrappedIo, SaysWhatCanBeGained)
{
    const auto spent
        = [](double percent) { return under("io", [=](PerformanceData &job) { job.ioPercent = percent; }); };
    EXPECT_EQ(spent(20.1), List({muchIo}));
    EXPECT_EQ(spent(20), List({littleIo}));
    EXPECT_EQ(spent(0.04), List({noIo}));
}

TEST(TrappedAccelerators, AreSpokenOfWhereTheyIdle)
{
    const auto used = [](double percent) {
        return under("cuda", [=](PerformanceData &job) {
            job.enableAccPackMetrics = true;
            job.avgGPUsInUse = percent;
        });
    };
    EXPECT_EQ(used(0), List({acceleratorsUnused}));
    EXPECT_EQ(used(74.9), List({acceleratorsLittleUsed}));
    EXPECT_EQ(used(75), List());
}

TEST(TrappedThreads, SaysAllThatApplies)
{
    EXPECT_EQ(under("threads",
                  [](PerformanceData &job) {
                      job.threadsCompute = 60;
                      job.threadsSync = 40;
                      job.threadsPhysicalCoreUtilization = 30;
                      job.openmpPhysicalCoreUtilization = 100;
                      job.loadAvg = 130;
                  }),
        List({threadsWait, threadsShareCores, moreThreads}));
    EXPECT_EQ(under("threads", [](PerformanceData &job) { job.threadsPhysicalCoreUtilization = 30; }),
        List({moreProcesses}));
}

TEST(TrappedOpenMp, SaysItOfOpenMpsFiguresInTheWordsOfThreads)
{
    EXPECT_EQ(under("openmp",
                  [](PerformanceData &job) {
                      job.openmpCompute = 60;
                      job.openmpOverhead = 40;
                      job.openmpPhysicalCoreUtilization = 30;
                      job.threadsPhysicalCoreUtilization = 100;
                      job.loadAvg = 130;
                  }),
        List({threadsWait, threadsShareCores, moreThreads}));
    EXPECT_EQ(under("openmp", [](PerformanceData &job) { job.openmpPhysicalCoreUtilization = 30; }),
        List({moreProcesses}));
}

TEST(TrappedMemory, IsCleared)
{
    EXPECT_EQ(under("memory", [](PerformanceData &job) { job.memNodePeak = 10; }), List());
}

TEST(TrappedCpuEnergy, SaysThatItIsAnEstimate)
{
    EXPECT_EQ(under("cpuEnergy", [](PerformanceData &) {}), List({estimated}));
}

TEST(TrappedEnergy, SaysWhyThereIsNoTrappedCapacity)
{
    const auto basis = [](TotalEnergyBasis value) {
        return under("energy", [=](PerformanceData &job) {
            job.energyTotalBasis = value;
            job.nodeMeanPower = 100;
            job.nodePeakPower = 200;
        });
    };
    EXPECT_EQ(basis(TotalEnergyBasis::None), List({noEnergyMetrics}));
    EXPECT_EQ(basis(TotalEnergyBasis::CpuPlusAcc), List({noSystemSensor, peakStandsOut}));
    EXPECT_EQ(basis(TotalEnergyBasis::CpuOnly), List({noSystemSensor, peakStandsOut}));
    EXPECT_EQ(basis(TotalEnergyBasis::AccOnly), List({noSystemSensor, peakStandsOut}));
    EXPECT_EQ(basis(TotalEnergyBasis::System), List());
}

TEST(TrappedEnergy, SaysWhatIsOddAboutThePower)
{
    const auto job = [](PerformanceData &data) {
        data.energyTotalBasis = TotalEnergyBasis::System;
        data.msAtEnd = 3600000;
        data.hasBudgetedMetric = true;
        data.energyBudgetedTotalInWh = 150;
        data.nodeMeanPower = 100;
        data.nodePeakPower = 200;
        data.memNodePeak = 40;
        data.mpiPercent = 40;
    };
    EXPECT_EQ(under("energy", job), List({peakExceedsBudget, peakStandsOut, fewerNodes}));
    const auto even = [&](bool accelerators) {
        return under("energy", [&](PerformanceData &data) {
            job(data);
            data.nodePeakPower = 105;
            data.enableAccPackMetrics = accelerators;
        });
    };
    EXPECT_EQ(even(false), List({evenPower, fewerNodes}));
    EXPECT_EQ(even(true), List({evenPowerWithAccelerators, fewerNodes}));
}

TEST(TrappedCpu, SaysTheDominantFindingsBeforeTheOthers)
{
    const auto job = [](PerformanceData &data) {
        data.enableAccPackMetrics = true;
        data.isOpenMP = true;
        data.cpuWaitingTimePercent = 60;
        data.singleCorePercent = 60;
        data.cpuMem = 60;
        data.cpuScalarNum = 20;
    };
    EXPECT_EQ(under("cpu", job), List({mostlyWaiting, mostlySerial, mostlyMemory, noVectors}));
    EXPECT_EQ(under("cpu",
                  [&](PerformanceData &data) {
                      job(data);
                      data.cpuWaitingTimePercent = 40;
                      data.singleCorePercent = 40;
                      data.cpuMem = 40;
                      data.cpuScalarNum = 30;
                      data.cpuVecNum = 20;
                  }),
        List({fewVectors, muchMemory, muchWaiting, muchSerial}));
    EXPECT_EQ(under("cpu", [](PerformanceData &data) { data.cpuVecNum = 40; }), List());
}

// --- Overview

const std::string balanced
    = "This job is well balanced, further reductions in trapped capacity may be difficult.";

std::string lookFirst(const std::string &metric, const std::string &section)
{
    return "To reduce trapped capacity look at " + metric + " first, for more information see the " + section
        + " section below.";
}

std::string lookThen(const std::string &metric, const std::string &section)
{
    return " In addition, look at " + metric + ", see the " + section + " section below.";
}

const std::string accelerators = "<span class=\"cuda\">Accelerators</span>";
const std::string cpu = "<span class=\"cpu\">CPU</span>";
const std::string openMp = "<span class=\"openmp\">OpenMP</span>";
const std::string threadsSection = "<span class=\"threads\">Threads</span>";
const std::string mpi = "<span class=\"mpi\">MPI</span>";
const std::string io = "<span class=\"io\">I/O</span>";

// A job that leaves nothing to gain: all cores at work, and on nothing that counts.
void busy(PerformanceData &job)
{
    job.threadsPhysicalCoreUtilization = 100;
    job.mpiPercent = 30;
    job.isEnergyCpuDefined = true;
    job.mpiMeanCpuPower = job.ioMeanCpuPower = job.otherMeanCpuPower = 100;
    job.cpuPercent = 30;
    job.ioPercent = 30;
}

TEST(TrappedOverview, OfAGainOfNothingSaysOnlyThatTheJobIsBalanced)
{
    EXPECT_EQ(overview(busy), balanced);
}

TEST(TrappedOverview, OfASmallGainSaysWhereItIsAllTheSame)
{
    const auto gain = [](double percent) {
        return overview([=](PerformanceData &job) {
            busy(job);
            job.threadsSync = percent;
        });
    };
    const std::string where = lookFirst("thread synchronisation", threadsSection);
    EXPECT_EQ(gain(0.5), balanced + " " + where);
    EXPECT_EQ(gain(3), balanced + " " + where);
    EXPECT_EQ(gain(4.9), balanced + " " + where);
    EXPECT_EQ(gain(5), where);
}

TEST(TrappedOverview, OfAnUnknownGainSaysNothing)
{
    EXPECT_EQ(overview([](PerformanceData &job) {
        busy(job);
        job.threadsPhysicalCoreUtilization = NotAvailable;
    }),
        Nothing);
}

TEST(TrappedOverview, OfALossSaysThatTheJobIsBalanced)
{
    // Cores do more than they physically can, and take more power in MPI than in computing.
    EXPECT_EQ(overview([](PerformanceData &job) {
        busy(job);
        job.threadsPhysicalCoreUtilization = 120;
        job.threadsSync = -1;
        job.mpiMeanCpuPower = 120;
        job.ioMeanCpuPower = 120;
        job.cpuScalarNum = job.cpuMem = -1;
    }),
        balanced);
}

// The two places to look at, for jobs that differ from a busy one.
template <typename Change> std::string places(Change change)
{
    return overview([=](PerformanceData &job) {
        busy(job);
        change(job);
    });
}

TEST(TrappedOverview, WeighsAcceleratorsByWhatTheyLeaveUnused)
{
    EXPECT_EQ(places([](PerformanceData &job) {
        job.enableAccPackMetrics = true;
        job.avgGPUsInUse = 45;
        job.cpuWaitingTimePercent = 54;
    }),
        (lookFirst("accelerator usage", accelerators)
            + lookThen("time spent waiting for accelerators", cpu)));
}

TEST(TrappedOverview, WeighsWhatCoresDoByHowManyAreAtWork)
{
    const auto waits = [](double utilization) {
        return places([=](PerformanceData &job) {
            job.enableAccPackMetrics = true;
            job.avgGPUsInUse = 50;
            job.cpuWaitingTimePercent = 60;
            job.threadsPhysicalCoreUtilization = utilization;
        });
    };
    EXPECT_EQ(waits(84).find(lookFirst("time spent waiting for accelerators", cpu)), 0u);
    EXPECT_EQ(waits(83).find(lookFirst("accelerator usage", accelerators)), 0u);
}

TEST(TrappedOverview, SpeaksOfOpenMpOrOfThreads)
{
    const auto job = [](bool isOpenMp) {
        return places([=](PerformanceData &data) {
            data.isOpenMP = isOpenMp;
            data.openmpOverhead = 80;
            data.threadsSync = 60;
            data.threadsPhysicalCoreUtilization = 80;
        });
    };
    EXPECT_EQ(job(true),
        lookFirst("OpenMP overhead", openMp) + " In addition, look at physical core utilization, also in the "
            + openMp + " section.");
    EXPECT_EQ(job(false),
        lookFirst("thread synchronisation", threadsSection)
            + " In addition, look at physical core utilization, also in the " + threadsSection + " section.");
}

TEST(TrappedOverview, KeepsTheTablesOrderOfEqualGains)
{
    EXPECT_EQ(places([](PerformanceData &job) {
        job.enableAccPackMetrics = true;
        job.avgGPUsInUse = 50;
        job.cpuWaitingTimePercent = 50;
        job.threadsSync = 50;
    }),
        lookFirst("accelerator usage", accelerators) + lookThen("time spent waiting for accelerators", cpu));
}

TEST(TrappedOverview, EstimatesWhatMpiAndIoWouldGainWhereTheirPowerIsUnknown)
{
    // 15 % of 40 and of 36; with half of the cores at work MPI gains half of that, and I/O as much as before.
    const auto job = [](PerformanceData &data) {
        data.isEnergyCpuDefined = false;
        data.otherMeanCpuPower = 1000;
        data.threadsPhysicalCoreUtilization = 100;
        data.mpiPercent = 40;
        data.ioPercent = 36;
    };
    EXPECT_EQ(places(job), lookFirst("MPI communication", mpi) + lookThen("I/O operations", io));
    const auto halfBusy = [&](PerformanceData &data) {
        job(data);
        data.threadsPhysicalCoreUtilization = 50;
    };
    EXPECT_EQ(places(halfBusy),
        lookFirst("physical core utilization", threadsSection) + lookThen("I/O operations", io));
    // 0.15 times 40 is 6.
    const auto beside = [&](double unused) {
        return places([&](PerformanceData &data) {
            job(data);
            data.threadsSync = unused;
        });
    };
    EXPECT_EQ(beside(5.9).find(lookFirst("MPI communication", mpi)), 0u);
    EXPECT_EQ(beside(6.1).find(lookFirst("thread synchronisation", threadsSection)), 0u);
    // 0.15 times 36 is 5.4.
    EXPECT_NE(beside(5.3).find(lookThen("I/O operations", io)), std::string::npos);
    EXPECT_NE(beside(5.5).find(lookThen("thread synchronisation", threadsSection)), std::string::npos);
}

TEST(TrappedOverview, GainsTheDifferenceInPowerWhereItIsKnown)
{
    // A core draws 60 and 80 W in MPI and I/O and 120 W in computing: twice as much, and half as much again.
    const auto job = [](double mpiPower, double ioPower, double threadsSync) {
        return places([=](PerformanceData &data) {
            data.mpiMeanCpuPower = mpiPower;
            data.ioMeanCpuPower = ioPower;
            data.otherMeanCpuPower = 120;
            data.threadsSync = threadsSync;
        });
    };
    EXPECT_EQ(job(0.5, 0.5, 0).find(lookFirst("MPI communication", mpi)), 0u);
    EXPECT_EQ(job(60, 80, 0), lookFirst("MPI communication", mpi) + lookThen("I/O operations", io));
    EXPECT_EQ(job(60, 80, 29),
        lookFirst("MPI communication", mpi) + lookThen("thread synchronisation", threadsSection));
    EXPECT_EQ(job(60, 80, 31).find(lookFirst("thread synchronisation", threadsSection)), 0u);
    EXPECT_EQ(
        job(80, 60, 14.9).find(lookFirst("I/O operations", io) + lookThen("MPI communication", mpi)), 0u);
    EXPECT_EQ(job(80, 60, 15.1)
                  .find(lookFirst("I/O operations", io) + lookThen("thread synchronisation", threadsSection)),
        0u);
}

TEST(TrappedOverview, EstimatesWherePowerIsZeroOrUnknown)
{
    // Only the estimate of 15 % gives 4.5 from 30.
    const auto job = [](double transferPower, double otherPower) {
        return places([=](PerformanceData &data) {
            data.mpiMeanCpuPower = data.ioMeanCpuPower = transferPower;
            data.otherMeanCpuPower = otherPower;
        });
    };
    const std::string estimate
        = balanced + " " + lookFirst("MPI communication", mpi) + lookThen("I/O operations", io);
    EXPECT_EQ(job(0, 100), estimate);
    EXPECT_EQ(job(100, 0), estimate);
    EXPECT_EQ(job(NotAvailable, 100), estimate);
    EXPECT_EQ(job(100, NotAvailable), estimate);
    EXPECT_EQ(job(-50, -100), estimate);
    // Any power at all counts.
    EXPECT_EQ(job(0.4, 0.8), lookFirst("MPI communication", mpi) + lookThen("I/O operations", io));
}

TEST(TrappedOverview, WeighsVectorizationAndMemoryByTheTimeSpentComputing)
{
    // Of 40 % of the time, 50 % in scalar arithmetic gain a quarter of that, and 60 % in memory accesses 15
    // %.
    const auto job = [](double threadsSync, double utilization = 100) {
        return places([=](PerformanceData &data) {
            data.cpuPercent = 40;
            data.cpuScalarNum = 50;
            data.cpuMem = 60;
            data.threadsSync = threadsSync;
            data.threadsPhysicalCoreUtilization = utilization;
        });
    };
    const std::string vectorizationFirst = lookFirst("vectorization", cpu);
    EXPECT_EQ(job(0),
        vectorizationFirst + " In addition, look at memory accesses, also in the " + cpu + " section.");
    EXPECT_EQ(job(4.9), vectorizationFirst + lookThen("thread synchronisation", threadsSection));
    EXPECT_EQ(job(5.1), lookFirst("thread synchronisation", threadsSection) + lookThen("vectorization", cpu));
    EXPECT_EQ(job(3.5),
        vectorizationFirst + " In addition, look at memory accesses, also in the " + cpu + " section.");
    EXPECT_EQ(job(3.7), vectorizationFirst + lookThen("thread synchronisation", threadsSection));
    // At 97 % of the cores it's 4.85 from vectorization, and 3 from the cores that idle.
    EXPECT_EQ(job(0, 97),
        balanced + " " + vectorizationFirst + " In addition, look at memory accesses, also in the " + cpu
            + " section.");
}

TEST(TrappedOverview, NamesOnlyThePlaceThatHasAGain)
{
    EXPECT_EQ(places([](PerformanceData &job) { job.threadsSync = 20; }),
        lookFirst("thread synchronisation", threadsSection));
    // As little as half a percent is one.
    EXPECT_EQ(places([](PerformanceData &job) {
        job.threadsSync = 20;
        job.enableAccPackMetrics = true;
        job.avgGPUsInUse = 99.5;
    })
                  .find(lookFirst("thread synchronisation", threadsSection)
                      + lookThen("accelerator usage", accelerators)),
        0u);
}

// What stands behind the places to look at.
template <typename Change> std::string partners(Change change)
{
    const std::string text = places(change);
    const size_t at = text.find("This job is bound by");
    return at == std::string::npos ? std::string() : text.substr(at);
}

std::string boundBy(const std::string &high, const std::string &low)
{
    return "This job is bound by " + high + ", scheduling it alongside jobs bound by " + low
        + " may reduce overall trapped capacity.";
}

const std::string compute = "<span class=\"cpu\">compute</span>";
const std::string acceleratorUsage = "<span class=\"cuda\">accelerator usage</span>";

TEST(TrappedPartners, AreBoundByWhatThisJobUsesLeast)
{
    EXPECT_EQ(partners([](PerformanceData &job) {
        job.mpiPercent = 60;
        job.cpuPercent = 24;
        job.ioPercent = 16;
    }),
        boundBy(mpi, compute + " and " + io));
    EXPECT_EQ(partners([](PerformanceData &job) {
        job.mpiPercent = 10;
        job.cpuPercent = 80;
        job.ioPercent = 10;
    }),
        boundBy(compute, mpi + " and " + io));
    EXPECT_EQ(partners([](PerformanceData &job) {
        job.mpiPercent = 10;
        job.ioPercent = 55;
        job.cpuPercent = 35;
    }),
        boundBy(io, mpi));
}

TEST(TrappedPartners, AreNotSoughtForSharesOfExactlyAQuarterOrHalf)
{
    const auto job = [](double mpiShare, double ioShare) {
        return partners([=](PerformanceData &data) {
            data.mpiPercent = mpiShare;
            data.cpuPercent = 40;
            data.ioPercent = ioShare;
        });
    };
    EXPECT_EQ(job(50, 10), "");
    EXPECT_EQ(job(50.1, 10), boundBy(mpi, io));
    EXPECT_EQ(job(55, 25), "");
    EXPECT_EQ(job(55, 24.9), boundBy(mpi, io));
}

TEST(TrappedPartners, NeedBothAHighAndALowShare)
{
    EXPECT_EQ(
        partners([](PerformanceData &job) { job.mpiPercent = job.cpuPercent = job.ioPercent = 10; }), "");
    EXPECT_EQ(
        partners([](PerformanceData &job) { job.mpiPercent = job.cpuPercent = job.ioPercent = 60; }), "");
    EXPECT_EQ(partners([](PerformanceData &job) {
        job.mpiPercent = job.cpuPercent = job.ioPercent = NotAvailable;
    }),
        "");
}

TEST(TrappedPartners, CountAcceleratorsOnlyWhereThereAreAnyAndWaitingForThemNotAsComputing)
{
    const auto job = [](bool haveAccelerators, double usage, double waiting) {
        return partners([=](PerformanceData &data) {
            data.enableAccPackMetrics = haveAccelerators;
            data.avgGPUsInUse = usage;
            data.mpiPercent = 10;
            data.ioPercent = 10;
            data.cpuPercent = 80;
            data.cpuWaitingTimePercent = waiting;
        });
    };
    EXPECT_EQ(job(true, 90, 20), boundBy(compute + " and " + acceleratorUsage, mpi + " and " + io));
    EXPECT_EQ(job(true, 10, 20), boundBy(compute, mpi + ", " + acceleratorUsage + ", and " + io));
    EXPECT_EQ(job(true, 90, 60), boundBy(acceleratorUsage, mpi + ", " + compute + ", and " + io));
    EXPECT_EQ(job(false, 90, 20), boundBy(compute, mpi + " and " + io));
    EXPECT_EQ(job(false, 90, 35), "");
}

// --- Words

TEST(ListInWords, HasACommaBeforeTheLastOfThreeOrMore)
{
    EXPECT_TRUE(listToString({}).isNull());
    EXPECT_EQ(said(listToString({"a"})), "a");
    EXPECT_EQ(said(listToString({"a", "b"})), "a and b");
    EXPECT_EQ(said(listToString({"a", "b", "c"})), "a, b, and c");
    EXPECT_EQ(said(listToString({"a", "b", "c", "d"})), "a, b, c, and d");
}

TEST(Ranking, PutsTheGreaterGainFirst)
{
    const SummaryAdvice low(1, "low", "section");
    const SummaryAdvice high(2, "high", "section");
    EXPECT_TRUE(sortSummaryAdviceDescending(high, low));
    EXPECT_FALSE(sortSummaryAdviceDescending(low, high));
    EXPECT_FALSE(sortSummaryAdviceDescending(low, low));
    EXPECT_FALSE(sortSummaryAdviceDescending(high, SummaryAdvice(NotAvailable, "unknown", "section")));
    EXPECT_EQ(high.metric, "high");
    EXPECT_EQ(high.section, "section");
}

TEST(CommonThreadAdvice, BelongsToAnyKindOfThreads)
{
    const OpenMpMetrics metrics;
    AdviceGenerator generator;
    addCommonThreadAdvice(&metrics, generator);
    EXPECT_EQ(
        generator.adviceStrings(figures([](PerformanceData &job) { job.openmpOverhead = 30; })).size(), 2);
}

// --- Reports

TEST(TrappedAdvice, ForASubsectionThatTheReportLacksIsItsError)
{
    quillon_report report{ReportDefinition()};
    trappedCapacityAdvice(report, PerformanceData());
    EXPECT_STREQ(report.getErrorMessage(), "subsection with ID \"cpuEnergy\" was not found");
}

} // namespace
