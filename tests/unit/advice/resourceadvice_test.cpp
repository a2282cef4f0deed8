// What is said of memory, hardware counters, accelerators and energy.

#include "advicetest.h"

#include "performanceadvice.h"

namespace {

// --- Memory. A mean of 100 and peaks of 149 and 150 are the two sides of being balanced.

const std::string memoryGood
    = "The memory usage is <span class=\"memory.nodePeakPercent\">high</span> and <span "
      "class=\"memory.mean\">well-balanced</span> between processes. The only way to further improve memory "
      "usage "
      "is to reduce the amount of memory required by using a memory debugger to show the most significant "
      "allocations.";
const std::string memoryUnbalanced = "There is <span class=\"memory.mean\">significant variation</span> "
                                     "between peak and mean memory usage. This "
                                     "may be a sign of workload imbalance or a memory leak.";

std::string fewerProcesses(const std::string &loadClass)
{
    return "The <span class=\"memory.nodePeakPercent\">peak node memory usage</span> is " + loadClass
        + ". Running with fewer MPI processes and more data on each process may be more efficient.";
}

std::string largerProblems(const std::string &loadClass)
{
    return "The <span class=\"memory.nodePeakPercent\">peak node memory</span> usage is " + loadClass
        + ". Larger problem sets can be run before scaling to multiple nodes.";
}

TEST(MemoryAdvice, SaysNothingWithoutAPeak)
{
    EXPECT_EQ(said(memAdvice(100, 0, 50, 4)), Sentences(Nothing, Nothing));
    EXPECT_EQ(said(memAdvice(100, 120, 0, 4)), Sentences(Nothing, Nothing));
}

TEST(MemoryAdvice, OfOneProcessSpeaksOfTheNodeAlone)
{
    for (const double peak : {149.0, 150.0}) {
        for (const int processes : {0, 1}) {
            EXPECT_EQ(
                said(memAdvice(100, peak, 20, processes)), Sentences(largerProblems("very low"), Nothing));
            EXPECT_EQ(
                said(memAdvice(100, peak, 69.9, processes)), Sentences(largerProblems("modest"), Nothing));
            EXPECT_EQ(said(memAdvice(100, peak, 70, processes)),
                Sentences("The peak node memory usage is high. You can use a memory debugger to check this "
                          "is being "
                          "allocated from the places you would expect.",
                    Nothing));
        }
    }
}

TEST(MemoryAdvice, OfLoadedNodesDependsOnBalance)
{
    EXPECT_EQ(said(memAdvice(100, 149, 70, 2)), Sentences(memoryGood, Nothing));
    EXPECT_EQ(said(memAdvice(100, 150, 70, 2)), Sentences(memoryUnbalanced, Nothing));
}

TEST(MemoryAdvice, OfUnloadedNodesSuggestsFewerProcesses)
{
    EXPECT_EQ(said(memAdvice(100, 149, 69.9, 2)), Sentences(fewerProcesses("modest"), Nothing));
    EXPECT_EQ(said(memAdvice(100, 150, 40, 2)), Sentences(memoryUnbalanced, fewerProcesses("low")));
}

TEST(MemoryAdvice, ARatioThatIsUnknownCountsAsUnbalanced)
{
    EXPECT_EQ(said(memAdvice(NotAvailable, 150, 70, 2)), Sentences(memoryUnbalanced, Nothing));
    EXPECT_EQ(
        said(memAdvice(100, NotAvailable, 20, 2)), Sentences(memoryUnbalanced, fewerProcesses("very low")));
}

TEST(MemoryAdvice, AnUnknownNodePeakIsHighAndYetNotLoaded)
{
    EXPECT_EQ(said(memAdvice(100, 149, NotAvailable, 2)), Sentences(fewerProcesses("high"), Nothing));
}

// --- Hardware counters

std::string cycles(const std::string &judgement)
{
    return "<span class=\"com.brivane.metrics.perf.cycles_per_instruction\">Cycles per instruction</span> is "
        + judgement;
}

const std::string memoryOrBranches
    = " Lower values are better but are application-dependent. High values may "
      "indicate memory latency or branch mispredictions.";

TEST(CyclesAdvice, JudgesInThreeSteps)
{
    const std::string low
        = cycles("low, which is good. Vectorization allows multiple instructions per clock cycle.");
    EXPECT_EQ(said(cyclesPerInsAdvice(2.1)), Sentences(cycles("high." + memoryOrBranches), Nothing));
    EXPECT_EQ(said(cyclesPerInsAdvice(2)), Sentences(cycles("moderate." + memoryOrBranches), Nothing));
    EXPECT_EQ(said(cyclesPerInsAdvice(1.1)), Sentences(cycles("moderate." + memoryOrBranches), Nothing));
    EXPECT_EQ(said(cyclesPerInsAdvice(1)), Sentences(low, Nothing));
    EXPECT_EQ(said(cyclesPerInsAdvice(0.1)), Sentences(low, Nothing));
    EXPECT_EQ(said(cyclesPerInsAdvice(0)), Sentences(Nothing, Nothing));
}

TEST(CyclesAdvice, IgnoresNoiseAtAThreshold)
{
    EXPECT_EQ(said(cyclesPerInsAdvice(2.0000000004)), said(cyclesPerInsAdvice(2)));
    EXPECT_EQ(said(cyclesPerInsAdvice(2.000000001)), said(cyclesPerInsAdvice(3)));
    EXPECT_EQ(said(cyclesPerInsAdvice(4e-10)), Sentences(Nothing, Nothing));
}

TEST(CyclesAdvice, SaysNothingOfAnUnmeasuredFigure)
{
    EXPECT_EQ(said(cyclesPerInsAdvice(NotAvailable)), Sentences(Nothing, Nothing));
}

// --- Accelerators

const std::string gpusLow
    = "<span class=\"cuda.gpusInUsePercent\">GPU utilization</span> is low; identify CPU bottlenecks with a "
      "profiler and offload them to the accelerator.";
const std::string gpuMemoryAccesses
    = "Significant time is spent in <span class=\"cuda.globalMemoryAccessPercent\">global memory "
      "accesses</span>. Try modifying kernels to use shared memory instead and check for bad striding "
      "patterns.";
const std::string gpusAcceptable = "<span class=\"cuda.gpusInUsePercent\">GPU utilization</span> is "
                                   "acceptable. Use the NVIDIA Visual Profiler "
                                   "to improve kernel performance.";
const std::string gpusGood
    = "<span class=\"cuda.gpusInUsePercent\">GPU utilization</span> is good. Use the NVIDIA "
      "Visual Profiler to improve kernel performance.";

std::string gpuMemory(const std::string &memoryClass)
{
    return "The <span class=\"cuda.peakMemoryPercent\">peak GPU memory usage</span> is " + memoryClass
        + ". It may be more efficient to offload a larger portion of the dataset to each device.";
}

TEST(AcceleratorAdvice, UnusedGpusAreAllThereIsToSay)
{
    EXPECT_EQ(said(cudaAdvice(0, 90, 10)),
        Sentences(
            "<span class=\"cuda.gpusInUsePercent\">GPUs are available</span> but are not used. Identify "
            "suitable hot loops with a profiler and try offloading them to the accelerator.",
            ""));
}

TEST(AcceleratorAdvice, LowUtilizationComesFirst)
{
    EXPECT_EQ(said(cudaAdvice(50, 30, 50)), Sentences(gpusLow, ""));
    EXPECT_EQ(said(cudaAdvice(0.1, 30.1, 50)), Sentences(gpusLow, gpuMemoryAccesses));
    EXPECT_EQ(said(cudaAdvice(50, 30, 49.9)), Sentences(gpusLow, gpuMemory("low")));
    EXPECT_EQ(said(cudaAdvice(50, 30, 29)), Sentences(gpusLow, gpuMemory("very low")));
    EXPECT_EQ(said(cudaAdvice(50, 40, 40)), Sentences(gpusLow, gpuMemoryAccesses));
}

TEST(AcceleratorAdvice, AcceptableUtilizationStandsBeforeGood)
{
    EXPECT_EQ(said(cudaAdvice(50.1, 0, 60)), Sentences(gpusAcceptable, ""));
    EXPECT_EQ(said(cudaAdvice(70, 0, 60)), Sentences(gpusAcceptable, ""));
    EXPECT_EQ(said(cudaAdvice(70.1, 0, 60)), Sentences(gpusAcceptable, gpusGood));
}

TEST(AcceleratorAdvice, MemoryFindingsStandBeforeAcceptableUtilization)
{
    EXPECT_EQ(said(cudaAdvice(75, 40, 60)), Sentences(gpuMemoryAccesses, gpusAcceptable));
    EXPECT_EQ(said(cudaAdvice(75, 0, 40)), Sentences(gpuMemory("low"), gpusAcceptable));
}

TEST(AcceleratorAdvice, TwoMemoryFindingsLeaveNoRoomForUtilization)
{
    EXPECT_EQ(said(cudaAdvice(75, 40, 40)), Sentences(gpuMemoryAccesses, gpuMemory("low")));
}

TEST(AcceleratorAdvice, UnmeasuredFiguresGiveEmptySentences)
{
    EXPECT_EQ(said(cudaAdvice(NotAvailable, NotAvailable, NotAvailable)), Sentences("", ""));
}

// --- Energy

const std::string mpiWaste
    = "Significant energy is wasted during MPI communications. It may be more efficient to "
      "use fewer nodes with more data on each node.";
const std::string slowerClock
    = "Significant time is spent waiting for memory accesses. Reducing the <span "
      "class=\"energy.cpuPercent\">CPU</span> clock frequency could reduce overall energy usage.";
const std::string unusedAccelerators = "Accelerators are available but are not used. It may be more "
                                       "efficient to make use of accelerators or run "
                                       "on nodes without them.";
const std::string idleAccelerators
    = "The <span class=\"energy.accPercent\">accelerator</span> usage is low. Increasing the <span "
      "class=\"energy.accPercent\">accelerator</span> usage could reduce the total energy usage.";
const std::string optimal = "Energy usage appears to be optimal.";

// A job of whose energy use there is nothing to say; tests change what they speak of.
struct EnergyCase {
    bool cpu = true;
    bool accelerators = true;
    QString warning;
    QString systemError;
    QString cpuError;
    QString trappedError;
    double peakMemory = 50;
    double mpiTime = 30;
    double cpuEnergy = 50;
    double memoryAccess = 50;
    double acceleratorUse = 20;

    Sentences advice() const
    {
        return said(energyAdvice(cpu, accelerators, warning, systemError, cpuError, trappedError, peakMemory,
            mpiTime, cpuEnergy, memoryAccess, acceleratorUse));
    }
};

TEST(EnergyAdvice, IsOptimalWhenThereIsNothingToSay)
{
    EXPECT_EQ(EnergyCase().advice(), Sentences(optimal, ""));
    EnergyCase nothingMeasured;
    nothingMeasured.cpu = nothingMeasured.accelerators = false;
    EXPECT_EQ(nothingMeasured.advice(), Sentences(optimal, ""));
}

TEST(EnergyAdvice, MpiWithoutMuchDataWastesEnergy)
{
    EnergyCase job;
    job.peakMemory = 49.9;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
    job.mpiTime = 30.1;
    EXPECT_EQ(job.advice(), Sentences(mpiWaste, ""));
    job.peakMemory = 50;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
}

TEST(EnergyAdvice, WaitingForMemoryAllowsASlowerClock)
{
    EnergyCase job;
    job.cpuEnergy = 50.1;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
    job.memoryAccess = 50.1;
    EXPECT_EQ(job.advice(), Sentences(slowerClock, ""));
    job.cpuEnergy = 50;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
}

TEST(EnergyAdvice, SaysNothingOfCpusThatWereNotMeasured)
{
    EnergyCase job;
    job.peakMemory = 10;
    job.mpiTime = job.cpuEnergy = job.memoryAccess = 90;
    EXPECT_EQ(job.advice(), Sentences(mpiWaste, slowerClock));
    job.cpu = false;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
}

TEST(EnergyAdvice, AcceleratorsInThreeSteps)
{
    EnergyCase job;
    job.acceleratorUse = 0.9;
    EXPECT_EQ(job.advice(), Sentences(unusedAccelerators, ""));
    job.acceleratorUse = 1;
    EXPECT_EQ(job.advice(), Sentences(idleAccelerators, ""));
    job.acceleratorUse = 19.9;
    EXPECT_EQ(job.advice(), Sentences(idleAccelerators, ""));
    job.acceleratorUse = 20;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
}

TEST(EnergyAdvice, SaysNothingOfAcceleratorsThatWereNotMeasured)
{
    EnergyCase job;
    job.accelerators = false;
    job.acceleratorUse = 0;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
}

TEST(EnergyAdvice, CpuFindingsStandBeforeAccelerators)
{
    EnergyCase job;
    job.peakMemory = 10;
    job.mpiTime = 90;
    job.acceleratorUse = 0;
    EXPECT_EQ(job.advice(), Sentences(mpiWaste, unusedAccelerators));
    job.cpuEnergy = job.memoryAccess = 90;
    EXPECT_EQ(job.advice(), Sentences(mpiWaste, slowerClock));
}

TEST(EnergyAdvice, MessagesStandInTheOrderWarningCpuSystemTrapped)
{
    EnergyCase job;
    job.trappedError = QStringLiteral("trapped");
    EXPECT_EQ(job.advice(), Sentences("trapped", ""));
    job.systemError = QStringLiteral("system");
    EXPECT_EQ(job.advice(), Sentences("system", "trapped"));
    job.cpuError = QStringLiteral("cpu");
    EXPECT_EQ(job.advice(), Sentences("cpu", "system"));
    job.warning = QStringLiteral("warning");
    EXPECT_EQ(job.advice(), Sentences("warning", "cpu"));
}

TEST(EnergyAdvice, TwoMessagesLeaveNoRoomForAdvice)
{
    EnergyCase job;
    job.acceleratorUse = 0;
    job.warning = QStringLiteral("warning");
    EXPECT_EQ(job.advice(), Sentences("warning", unusedAccelerators));
    job.cpuError = QStringLiteral("cpu");
    job.trappedError = QStringLiteral("trapped");
    EXPECT_EQ(job.advice(), Sentences("warning", "cpu"));
}

TEST(EnergyAdvice, OneMessageAloneIsNotFollowedByPraise)
{
    EnergyCase job;
    job.systemError = QStringLiteral("No sensor.");
    EXPECT_EQ(job.advice(), Sentences("No sensor.", ""));
}

TEST(EnergyAdvice, UnmeasuredFiguresLookOptimal)
{
    EnergyCase job;
    job.peakMemory = job.mpiTime = job.cpuEnergy = job.memoryAccess = job.acceleratorUse = NotAvailable;
    EXPECT_EQ(job.advice(), Sentences(optimal, ""));
}

} // namespace
