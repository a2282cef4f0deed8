// How the time of a job divides, what its instructions were, and what its MPI calls moved.

#include "analysistest.h"

#include "computeperformancedata.h"
#include "profilebuilder.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class TimeFigures : public AnalysisTest { };
class Cores : public AnalysisTest { };
class Accelerators : public AnalysisTest { };
class InstructionMix : public AnalysisTest { };
class MpiFigures : public AnalysisTest { };

// 10 samples of 100 hits of main threads: 25 in MPI, 15 in I/O, 16 in OpenMP, 4 waiting for a GPU, 40
// computing.
ProfileBuilder mixedJob()
{
    return ProfileBuilder(10, 100)
        .main(Category::MPI_COLLECTIVE, 5)
        .main(Category::MPI_P2P, 15)
        .main(Category::MPI_OTHER, 5)
        .main(Category::IO_READ, 10)
        .main(Category::IO_WRITE, 5)
        .main(Category::OMP, 10)
        .main(Category::OMP_RUNTIME_IN_REGION, 4)
        .main(Category::OMP_RUNTIME_OUT_OF_REGION, 2)
        .main(Category::ACCELERATOR, 4)
        .main(Category::COMPUTE, 40);
}

// Half of the time in MPI, half in I/O.
ProfileBuilder jobWithoutComputation()
{
    return ProfileBuilder(10, 100).main(Category::MPI_P2P, 50).main(Category::IO_WRITE, 50);
}

// In percent: vector, scalar and memory instructions of a job that only computes.
ProfileBuilder instructions(double vectorFp, double vectorInt, double fp, double integer, double memory)
{
    return ProfileBuilder(4, 100)
        .main(Category::COMPUTE, 100)
        .series(METRIC_INSTR_VECTOR_FP, {vectorFp})
        .series(METRIC_INSTR_VECTOR_INT, {vectorInt})
        .series(METRIC_INSTR_FP, {fp})
        .series(METRIC_INSTR_INT, {integer})
        .series(METRIC_INSTR_MEM, {memory});
}

TEST_F(TimeFigures, AProfileWithoutSamplesGivesAnInvalidRecordAndNothingElse)
{
    const PerformanceData figures = computePerformanceData(
        ProfileBuilder(0).cores(8, 4).wholeRun(METRIC_BUDGETED_POWER, {100}).build());
    EXPECT_FALSE(figures.isValid);
    EXPECT_FALSE(figures.enableEnergyMetrics);
    EXPECT_FALSE(figures.hasBudgetedMetric);
    EXPECT_EQ(figures.logicalCoresPerNode, 0.0);
    EXPECT_EQ(figures.energyTotal, 0.0);
    EXPECT_TRUE(figures.cpuPowerMetric.isNull());
    EXPECT_EQ(figures.energyTotalBasis, TotalEnergyBasis::None);
    EXPECT_EQ(figures.numGpus, DoublePrecision(0.0, 0));
}

TEST_F(TimeFigures, DivideTheMainThreadsTime)
{
    // Other threads have no say in it.
    const PerformanceData figures = computePerformanceData(
        mixedJob().others(Category::COMPUTE, 500).others(Category::IO_READ, 9).build());
    EXPECT_TRUE(figures.isValid);
    EXPECT_EQ(figures.mpiPercent, 25.0);
    EXPECT_EQ(figures.ioPercent, 15.0);
    EXPECT_EQ(figures.cpuPercent, 60.0);
    EXPECT_EQ(figures.openmpComputePercent, 10.0);
    EXPECT_EQ(figures.openmpOverheadPercent, 6.0);
    EXPECT_EQ(figures.openmpPercent, 16.0);
    EXPECT_EQ(figures.singleCorePercent, 44.0);
    EXPECT_TRUE(figures.isOpenMP);
    EXPECT_EQ(figures.cpuWaitingTimePercent, 4.0);
    EXPECT_DOUBLE_EQ(figures.openmpNum, 80.0 / 3); // 16 of 60
    EXPECT_DOUBLE_EQ(figures.singleCoreNum, 220.0 / 3); // 44 of 60
}

TEST_F(TimeFigures, AnyOpenMpAtAllMakesAnOpenMpJob)
{
    const ProfileBuilder serial = ProfileBuilder(1, 100).main(Category::COMPUTE, 1000);
    EXPECT_FALSE(computePerformanceData(serial.build()).isOpenMP);
    EXPECT_TRUE(computePerformanceData(ProfileBuilder(serial).main(Category::OMP, 1).build()).isOpenMP);
    EXPECT_TRUE(
        computePerformanceData(ProfileBuilder(serial).main(Category::OMP_RUNTIME_OUT_OF_REGION, 1).build())
            .isOpenMP);
}

TEST_F(TimeFigures, WithoutMainThreadHitsSharesAreUnknownAndComputationIsZero)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(10, 100).cores(8, 4).others(Category::COMPUTE, 10).build());
    EXPECT_TRUE(figures.isValid);
    EXPECT_THAT(figures.mpiPercent, IsNan());
    EXPECT_THAT(figures.ioPercent, IsNan());
    EXPECT_THAT(figures.openmpComputePercent, IsNan());
    EXPECT_THAT(figures.openmpOverheadPercent, IsNan());
    EXPECT_THAT(figures.openmpPercent, IsNan());
    EXPECT_THAT(figures.cpuWaitingTimePercent, IsNan());
    EXPECT_EQ(figures.cpuPercent, 0.0);
    EXPECT_EQ(figures.singleCorePercent, 0.0);
    EXPECT_FALSE(figures.isOpenMP);
    EXPECT_EQ(figures.openmpNum, 0.0);
    EXPECT_EQ(figures.singleCoreNum, 0.0);
}

TEST_F(TimeFigures, NoComputationGivesOpenMpAndSerialSharesOfZero)
{
    const PerformanceData figures = computePerformanceData(jobWithoutComputation().build());
    EXPECT_EQ(figures.cpuPercent, 0.0);
    EXPECT_EQ(figures.singleCorePercent, 0.0);
    EXPECT_EQ(figures.openmpNum, 0.0);
    EXPECT_EQ(figures.singleCoreNum, 0.0);
}

TEST_F(TimeFigures, SamplingEndsWhenTheLastSampleDoes)
{
    const ProfilerData data = ProfileBuilder(3, 100).main(Category::COMPUTE, 1).endMs(250).build();
    EXPECT_EQ(computePerformanceData(data).msAtEnd, 250);
}

// A model in which 100 % are fewer hits than there are, as rounding in a merged profile might have it.
class OverfullModel : public MultiSamplePSVModelRootItem {
public:
    using MultiSamplePSVModelRootItem::MultiSamplePSVModelRootItem;
    qint64 maxHits(DataScope::Enum scope) const override
    {
        return MultiSamplePSVModelRootItem::maxHits(scope) / 2;
    }
};

class OverfullProfile : public ProfilerData {
public:
    MultiSamplePSVModelRootItem *mergedPSVModelWithoutSourceInfo(DataScope::Enum, int, int) const override
    {
        return new OverfullModel(hitsOfSample(0));
    }
};

TEST_F(TimeFigures, ComputationIsNeverNegative)
{
    OverfullProfile communicating;
    ProfileBuilder(1, 100).main(Category::MPI_P2P, 80).main(Category::COMPUTE, 20).fill(communicating);
    const PerformanceData figures = computePerformanceData(communicating);
    EXPECT_EQ(figures.mpiPercent, 160.0);
    EXPECT_EQ(figures.cpuPercent, 0.0);
}

TEST_F(TimeFigures, SerialComputationIsNeverNegative)
{
    OverfullProfile parallel;
    ProfileBuilder(1, 100).main(Category::OMP, 80).main(Category::COMPUTE, 20).fill(parallel);
    const PerformanceData figures = computePerformanceData(parallel);
    EXPECT_EQ(figures.cpuPercent, 100.0);
    EXPECT_EQ(figures.openmpPercent, 160.0);
    EXPECT_EQ(figures.singleCorePercent, 0.0);
}

TEST_F(Cores, AreMeansOverTheNodes)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(1, 100)
                                     .nodes(2)
                                     .main(Category::COMPUTE, 1)
                                     .wholeRun(METRIC_NUM_CORES_PER_NODE, {8, 16})
                                     .wholeRun(METRIC_NUM_PHYSICAL_CORES_PER_NODE, {4, 8})
                                     .build());
    EXPECT_EQ(figures.logicalCoresPerNode, 12.0);
    EXPECT_EQ(figures.physicalCoresPerNode, 6.0);
}

TEST_F(Cores, PhysicalOnesFallBackToLogicalOnesUpToAHundredth)
{
    const ProfileBuilder job
        = ProfileBuilder(1, 100).main(Category::COMPUTE, 1).wholeRun(METRIC_NUM_CORES_PER_NODE, {8});
    const auto physical = [&](double mean) {
        return computePerformanceData(
            ProfileBuilder(job).wholeRun(METRIC_NUM_PHYSICAL_CORES_PER_NODE, {mean}).build())
            .physicalCoresPerNode;
    };
    EXPECT_EQ(physical(0.0), 8.0);
    EXPECT_EQ(physical(0.01), 8.0);
    EXPECT_EQ(physical(0.0101), 0.0101);
    EXPECT_EQ(physical(4.0), 4.0);
    EXPECT_EQ(computePerformanceData(job.build()).physicalCoresPerNode, 8.0);
}

TEST_F(Cores, AreUnknownWhereNobodyCountedThem)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(1, 100).main(Category::COMPUTE, 1).build());
    EXPECT_THAT(figures.logicalCoresPerNode, IsNan());
    EXPECT_THAT(figures.physicalCoresPerNode, IsNan());
}

// The cores of a process show in what stands for all hits: half a core's hits in threads of 4 cores is an
// eighth.
TEST_F(Cores, OfAProcessAreThoseOfTheLargestNodeSharedOutAndRoundedUp)
{
    const auto computeFraction = [](int processes, int nodes, QVector<double> cores) {
        return computePerformanceData(ProfileBuilder(1, 100)
                                          .processes(processes)
                                          .nodes(nodes)
                                          .wholeRun(METRIC_NUM_CORES_PER_NODE, cores)
                                          .main(Category::COMPUTE, 100)
                                          .others(Category::PTHREAD_COMPUTE, 50)
                                          .build())
            .threadsComputeFraction;
    };
    EXPECT_EQ(computeFraction(2, 1, {8}), 0.5 / 4); // 4
    EXPECT_EQ(computeFraction(3, 1, {8}), 0.5 / 3); // 2.67
    EXPECT_EQ(computeFraction(7, 1, {8}), 0.5 / 2); // 1.14
    EXPECT_EQ(computeFraction(8, 1, {8}), 0.5 / 1); // 1
    EXPECT_EQ(computeFraction(100, 1, {8}), 0.5 / 1); // 0.08
    EXPECT_EQ(computeFraction(4, 2, {2, 8}), 0.5 / 4); // of 2 nodes with 8 each
}

TEST_F(Cores, OfAJobWithoutProcessesAreNoneAndFaultNothing)
{
    const PerformanceData figures = computePerformanceData(ProfileBuilder(1, 100)
                                                               .processes(0)
                                                               .cores(8, 4)
                                                               .main(Category::COMPUTE, 100)
                                                               .others(Category::PTHREAD_COMPUTE, 50)
                                                               .build());
    EXPECT_TRUE(figures.isValid);
    EXPECT_EQ(figures.threadsComputeFraction, std::numeric_limits<double>::infinity()); // of no hits at all
    EXPECT_EQ(figures.cpuPercent, 100.0);
}

TEST_F(Accelerators, ArePresentIfTheyWereCountedAndThereIsAny)
{
    const auto enabled = [](QVector<double> counts) {
        return computePerformanceData(ProfileBuilder(1, 100)
                                          .main(Category::COMPUTE, 1)
                                          .wholeRun(METRIC_NVIDIA_GPUS_COUNT, counts)
                                          .build())
            .enableAccPackMetrics;
    };
    EXPECT_FALSE(enabled({}));
    EXPECT_FALSE(enabled({0, 0}));
    EXPECT_FALSE(enabled({NotAvailable}));
    EXPECT_TRUE(enabled({0, 1}));
    EXPECT_FALSE(computePerformanceData(ProfileBuilder(1, 100).main(Category::COMPUTE, 1).build())
                     .enableAccPackMetrics);
}

TEST_F(Accelerators, AreShownWithADecimalPlaceWhereNodesDiffer)
{
    const auto gpus = [](QVector<double> counts) {
        return computePerformanceData(ProfileBuilder(1, 100)
                                          .main(Category::COMPUTE, 1)
                                          .wholeRun(METRIC_NVIDIA_GPUS_COUNT, counts)
                                          .build())
            .numGpus;
    };
    EXPECT_EQ(gpus({2, 2}), DoublePrecision(2.0, 0));
    EXPECT_EQ(gpus({1, 2}), DoublePrecision(1.5, 1));
    EXPECT_EQ(gpus({0}), DoublePrecision(0.0, 0));
}

TEST_F(Accelerators, HaveFiguresOfPowerUseAndMemory)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(4, 500)
                                     .nodes(2)
                                     .main(Category::COMPUTE, 1)
                                     .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1, 1})
                                     .readingsBySample(METRIC_NVIDIA_POWER, {{100e3, 200e3}, {200e3, 300e3}})
                                     .series(METRIC_NVIDIA_GPU_USAGE, {20, 40, 60, 80})
                                     .wholeRun(METRIC_NVIDIA_TOTAL_MEMORY, {8e9, 8e9})
                                     .readingsBySample(METRIC_NVIDIA_MEMORY_USED, {{1e9, 1e9}, {4e9, 2e9}})
                                     .series(METRIC_NVIDIA_MEMORY_SYS_USAGE, {0, 10, 20, 30})
                                     .build());
    // Sums over the nodes: 300 W in one sample, 500 W in three; 2 s.
    EXPECT_EQ(figures.cudaAvgPower, 450.0);
    EXPECT_TRUE(figures.isEnergyAccDefined);
    EXPECT_EQ(figures.energyAccTotal, 900.0);
    EXPECT_EQ(figures.avgGPUsInUse, 50.0);
    // 2 GB in one sample, 6 GB in three; of 16 GB.
    EXPECT_EQ(figures.cudaTotalMemory, 16e9);
    EXPECT_EQ(figures.cudaPeakMemoryUsed, 6e9);
    EXPECT_EQ(figures.cudaPeakMemoryUsedPercent, 37.5);
    EXPECT_EQ(figures.cudaMeanMemoryUsed, 5e9);
    EXPECT_EQ(figures.cudaMeanMemoryUsedPercent, 31.25);
    EXPECT_EQ(figures.cudaMemoryAccess, 15.0);
}

TEST_F(Accelerators, WithoutReadingsAreUnknownButForPercentagesOfUnknownMemory)
{
    const PerformanceData figures = computePerformanceData(
        ProfileBuilder(4, 500).main(Category::COMPUTE, 1).wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1}).build());
    EXPECT_TRUE(figures.enableAccPackMetrics);
    EXPECT_THAT(figures.cudaAvgPower, IsNan());
    EXPECT_FALSE(figures.isEnergyAccDefined);
    EXPECT_EQ(figures.energyAccTotal, 0.0);
    EXPECT_THAT(figures.avgGPUsInUse, IsNan());
    EXPECT_EQ(figures.cudaTotalMemory, 0.0);
    EXPECT_THAT(figures.cudaPeakMemoryUsed, IsNan());
    EXPECT_EQ(figures.cudaPeakMemoryUsedPercent, 0.0);
    EXPECT_THAT(figures.cudaMeanMemoryUsed, IsNan());
    EXPECT_EQ(figures.cudaMeanMemoryUsedPercent, 0.0);
    EXPECT_THAT(figures.cudaMemoryAccess, IsNan());
}

TEST_F(Accelerators, ThatAreAbsentHaveNoFiguresWhateverWasRead)
{
    const PerformanceData figures = computePerformanceData(ProfileBuilder(4, 500)
                                                               .main(Category::COMPUTE, 1)
                                                               .series(METRIC_NVIDIA_POWER, {100e3})
                                                               .series(METRIC_NVIDIA_GPU_USAGE, {50})
                                                               .wholeRun(METRIC_NVIDIA_TOTAL_MEMORY, {8e9})
                                                               .build());
    EXPECT_FALSE(figures.isEnergyAccDefined);
    EXPECT_EQ(figures.cudaAvgPower, 0.0);
    EXPECT_EQ(figures.avgGPUsInUse, 0.0);
    EXPECT_EQ(figures.cudaTotalMemory, 0.0);
}

TEST_F(InstructionMix, IsRescaledToTheTimeThatIsLeft)
{
    // Of all instructions 20 % vector, 50 - 20 % scalar, 10 % memory; 40 % remain.
    const PerformanceData figures = computePerformanceData(instructions(15, 5, 30, 20, 10).build());
    EXPECT_EQ(figures.allCpuVecNum, 20.0);
    EXPECT_EQ(figures.allCpuScalarNum, 30.0);
    EXPECT_EQ(figures.allCpuMem, 10.0);
    EXPECT_EQ(figures.allCpuOther, 40.0);
    EXPECT_EQ(figures.cpuOther, 40.0);
    // 60 % are accounted for and 60 are to be filled.
    EXPECT_EQ(figures.cpuVecNum, 20.0);
    EXPECT_EQ(figures.cpuScalarNum, 30.0);
    EXPECT_EQ(figures.cpuMem, 10.0);
}

TEST_F(InstructionMix, TakesMpiAndIoOutOfTheOtherInstructions)
{
    // A quarter of the time in MPI: of the 40 % others 15 are left, and 85 are to be filled from 60.
    const PerformanceData figures = computePerformanceData(
        instructions(15, 5, 30, 20, 10).main(Category::MPI_P2P, 100).main(Category::COMPUTE, 200).build());
    EXPECT_EQ(figures.mpiPercent, 25.0);
    EXPECT_EQ(figures.allCpuOther, 40.0);
    EXPECT_EQ(figures.cpuOther, 15.0);
    EXPECT_DOUBLE_EQ(figures.cpuVecNum, 20.0 * 85 / 60);
    EXPECT_DOUBLE_EQ(figures.cpuScalarNum, 30.0 * 85 / 60);
    EXPECT_DOUBLE_EQ(figures.cpuMem, 10.0 * 85 / 60);
}

TEST_F(InstructionMix, CountsWaitingForAcceleratorsAsAccountedFor)
{
    // Half of the time waiting: 60 + 50 are accounted for, nothing is left, and 110 are to fill 100.
    const PerformanceData figures
        = computePerformanceData(instructions(15, 5, 30, 20, 10).main(Category::ACCELERATOR, 100).build());
    EXPECT_EQ(figures.cpuWaitingTimePercent, 50.0);
    EXPECT_EQ(figures.allCpuOther, 0.0);
    EXPECT_EQ(figures.cpuOther, 0.0);
    EXPECT_DOUBLE_EQ(figures.cpuVecNum, 20.0 * 100 / 110);
}

TEST_F(InstructionMix, OtherInstructionsAreNeverNegative)
{
    EXPECT_EQ(
        computePerformanceData(instructions(50, 0, 60, 30, 10).build()).allCpuOther, 0.0); // of exactly 100
    EXPECT_EQ(computePerformanceData(instructions(50, 0, 60, 30, 30).build()).allCpuOther, 0.0); // of 120
    EXPECT_EQ(computePerformanceData(instructions(50, 0, 60, 30, 9).build()).allCpuOther, 1.0);
}

TEST_F(InstructionMix, OfNoInstructionsIsNothing)
{
    const PerformanceData figures = computePerformanceData(instructions(0, 0, 0, 0, 0).build());
    EXPECT_EQ(figures.allCpuOther, 100.0);
    EXPECT_EQ(figures.cpuVecNum, 0.0);
    EXPECT_EQ(figures.cpuScalarNum, 0.0);
    EXPECT_EQ(figures.cpuMem, 0.0);
}

TEST_F(InstructionMix, WithoutMetricsIsUnknownButForTheOtherInstructions)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(4, 100).main(Category::COMPUTE, 100).build());
    EXPECT_THAT(figures.allCpuVecNum, IsNan());
    EXPECT_THAT(figures.allCpuScalarNum, IsNan());
    EXPECT_THAT(figures.allCpuMem, IsNan());
    EXPECT_THAT(figures.allCpuOther, IsNan());
    EXPECT_EQ(figures.cpuOther, 0.0);
    EXPECT_THAT(figures.cpuScalarNum, IsNan());
    EXPECT_THAT(figures.cpuVecNum, IsNan());
    EXPECT_THAT(figures.cpuMem, IsNan());
}

TEST_F(InstructionMix, WithoutOneMetricHasNoSharesAtAll)
{
    const PerformanceData figures = computePerformanceData(
        instructions(15, 5, 30, 20, 10).readingsBySample(METRIC_INSTR_MEM, {{}}).build());
    EXPECT_EQ(figures.allCpuVecNum, 20.0);
    EXPECT_EQ(figures.allCpuScalarNum, 30.0);
    EXPECT_THAT(figures.allCpuMem, IsNan());
    EXPECT_THAT(figures.cpuVecNum, IsNan());
    EXPECT_THAT(figures.cpuScalarNum, IsNan());
    EXPECT_THAT(figures.cpuMem, IsNan());
}

TEST_F(InstructionMix, HasTheMeanCyclesPerInstruction)
{
    const ProfileBuilder job = ProfileBuilder(2, 100).main(Category::COMPUTE, 100);
    EXPECT_THAT(computePerformanceData(job.build()).perfCyclesPerIns, IsNan());
    EXPECT_EQ(computePerformanceData(
                  ProfileBuilder(job)
                      .series(QStringLiteral("com.brivane.metrics.perf.cycles_per_instruction"), {1, 2})
                      .build())
                  .perfCyclesPerIns,
        1.5);
}

TEST_F(MpiFigures, SplitTheTimeInCallsAndGiveEffectiveRates)
{
    const PerformanceData figures
        = computePerformanceData(mixedJob()
                                     .series(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, {1e6, 3e6, 2e6})
                                     .series(METRIC_MPI_P2P_BYTES_PER_SEC, {3e6})
                                     .build());
    EXPECT_EQ(figures.mpiCollectiveBytesPerSecMetricName, METRIC_MPI_COLLECTIVE_BYTES_PER_SEC);
    // 5 and 15 hits of 100; other calls have no part in the split.
    EXPECT_EQ(figures.mpiCollectiveFraction, 0.05);
    EXPECT_EQ(figures.mpiP2pFraction, 0.15);
    EXPECT_DOUBLE_EQ(figures.mpiBoth, 0.2);
    EXPECT_DOUBLE_EQ(figures.mpiCollective, 25.0);
    EXPECT_DOUBLE_EQ(figures.mpiP2p, 75.0);
    // 2 MB/s on average in a twentieth of the time, 3 MB/s in three twentieths.
    EXPECT_DOUBLE_EQ(figures.mpiCollectiveRate, 4e7);
    EXPECT_DOUBLE_EQ(figures.mpiP2pRate, 2e7);
}

TEST_F(MpiFigures, AreZeroWithoutCalls)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(2, 100).main(Category::COMPUTE, 100).build());
    EXPECT_EQ(figures.mpiBoth, 0.0);
    EXPECT_EQ(figures.mpiCollective, 0.0);
    EXPECT_EQ(figures.mpiP2p, 0.0);
    EXPECT_EQ(figures.mpiCollectiveRate, 0.0);
    EXPECT_EQ(figures.mpiP2pRate, 0.0);
}

TEST_F(MpiFigures, OfOneKindOfCallTakeAllOfTheTime)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(2, 100)
                                     .main(Category::MPI_P2P, 50)
                                     .main(Category::COMPUTE, 50)
                                     .series(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, {1e6})
                                     .build());
    EXPECT_EQ(figures.mpiCollective, 0.0);
    EXPECT_EQ(figures.mpiP2p, 100.0);
    EXPECT_EQ(figures.mpiCollectiveRate, 0.0);
    EXPECT_THAT(figures.mpiP2pRate, IsNan()); // calls, but nobody counted their bytes
}

TEST_F(MpiFigures, AreUnknownOrZeroWithoutMainThreadHits)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(2, 100).others(Category::MPI_P2P, 50).build());
    EXPECT_THAT(figures.mpiCollectiveFraction, IsNan());
    EXPECT_THAT(figures.mpiP2pFraction, IsNan());
    EXPECT_THAT(figures.mpiCollective, IsNan());
    EXPECT_EQ(figures.mpiCollectiveRate, 0.0);
    EXPECT_EQ(figures.mpiP2pRate, 0.0);
}

} // namespace
