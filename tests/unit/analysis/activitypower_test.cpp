// What power the CPUs took while the job was in MPI, in I/O, in OpenMP or computing.

#include "analysistest.h"

#include "activitypower.h"
#include "computeperformancedata.h"
#include "profilebuilder.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class ActivityPower : public AnalysisTest { };
class ActivityWeights : public AnalysisTest { };

constexpr int OneHourMs = 3600000;

// An hour on 2 nodes: half of it in MPI at 100 W, the other half in MPI and computing at 200 W.
ProfileBuilder communicatingJob()
{
    return ProfileBuilder(2, OneHourMs / 2)
        .nodes(2)
        .mainAt(0, Category::MPI_P2P, 100)
        .mainAt(1, Category::MPI_P2P, 50)
        .mainAt(1, Category::COMPUTE, 50)
        .series(METRIC_RAPL_POWER, {100, 200});
}

// All that can be told apart; 1,000 hits of main threads.
ProfileBuilder mixedJob()
{
    return ProfileBuilder(1, 100)
        .main(Category::COMPUTE, 250, 200)
        .main(Category::MPI_COLLECTIVE, 100, 90)
        .main(Category::MPI_P2P, 50, 10)
        .main(Category::MPI_OTHER, 50)
        .main(Category::IO_READ, 100, 5)
        .main(Category::IO_WRITE, 50, 5)
        .main(Category::OMP, 200)
        .main(Category::OMP_RUNTIME_IN_REGION, 30)
        .main(Category::OMP_RUNTIME_OUT_OF_REGION, 20)
        .main(Category::ACCELERATOR, 150, 50)
        .others(Category::OMP, 600)
        .others(Category::PTHREAD_COMPUTE, 140)
        .others(Category::PTHREAD_SYNC, 100, 10)
        .others(Category::MPI_P2P, 200);
}

double weightOf(ActivityWeight weight, const ProfileBuilder &job)
{
    const std::unique_ptr<MultiSamplePSVModelRootItem> model(
        job.build().mergedPSVModelWithoutSourceInfo(DataScope::ALL_CORES, -1, -1));
    return weight(*model);
}

TEST_F(ActivityWeights, GiveOpenMpItsShareOfTheMainThreads)
{
    EXPECT_EQ(weightOf(openmpWeightForEnergy, mixedJob()), 0.25);
}

TEST_F(ActivityWeights, DivideTheRestByTheHitsOfAllCores)
{
    // Computing: 200 active hits in the program itself, 50 waiting for the accelerator, 140 + 10 in threads.
    // MPI: 400 hits, I/O: 150, active or not.
    EXPECT_DOUBLE_EQ(weightOf(computeWeightForEnergy, mixedJob()), 0.75 * 400 / 950);
    EXPECT_DOUBLE_EQ(weightOf(mpiWeightForEnergy, mixedJob()), 0.75 * 400 / 950);
    EXPECT_DOUBLE_EQ(weightOf(ioWeightForEnergy, mixedJob()), 0.75 * 150 / 950);
}

TEST_F(ActivityWeights, OfAModelWithoutHitsAreZero)
{
    const ProfileBuilder idle(1, 100);
    EXPECT_EQ(weightOf(openmpWeightForEnergy, idle), 0.0);
    EXPECT_EQ(weightOf(mpiWeightForEnergy, idle), 0.0);
    EXPECT_EQ(weightOf(ioWeightForEnergy, idle), 0.0);
    EXPECT_EQ(weightOf(computeWeightForEnergy, idle), 0.0);
}

TEST_F(ActivityPower, IsTheMeanOfTheSamplesWeightedByTheActivity)
{
    const PerformanceData figures = computePerformanceData(communicatingJob().build());
    EXPECT_DOUBLE_EQ(figures.mpiMeanCpuPower, (1.0 * 100 + 0.5 * 200) / 1.5);
    EXPECT_DOUBLE_EQ(figures.otherMeanCpuPower, 200.0);
    EXPECT_EQ(figures.ioMeanCpuPower, 0.0);
    EXPECT_EQ(figures.ompMeanCpuPower, 0.0);
}

TEST_F(ActivityPower, PassesOverSamplesWithoutAValue)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(4, 100)
                                     .main(Category::IO_READ, 100)
                                     .readingsBySample(METRIC_RAPL_POWER, {{100}, {}, {NotAvailable}, {300}})
                                     .build());
    EXPECT_EQ(figures.ioMeanCpuPower, 200.0);
}

TEST_F(ActivityPower, IsUnknownWithoutAPowerMetric)
{
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(2, 100).main(Category::MPI_P2P, 100).build());
    EXPECT_THAT(figures.mpiMeanCpuPower, IsNan());
    EXPECT_THAT(figures.ioMeanCpuPower, IsNan());
    EXPECT_THAT(figures.ompMeanCpuPower, IsNan());
    EXPECT_THAT(figures.otherMeanCpuPower, IsNan());
    EXPECT_THAT(figures.mpiCpuEnergyInWh, IsNan());
    EXPECT_THAT(figures.otherCpuEnergyInWh, IsNan());
}

TEST_F(ActivityPower, IsUnknownForAPowerMetricWithoutAReading)
{
    const ProfilerData data = ProfileBuilder(2, 100)
                                  .main(Category::MPI_P2P, 100)
                                  .readingsBySample(METRIC_RAPL_POWER, {{}})
                                  .build();
    EXPECT_THAT(weightedAverage(data, METRIC_RAPL_POWER, mpiWeightForEnergy), IsNan());
}

// A profile whose metrics have figures by sample although it has no samples.
class ProfileWithoutSamples : public ProfilerData {
public:
    MetricModel *metricModel(const QString &, QObject *parent, int, int) const override
    {
        return new MetricModel({MetricStatistics::of(100)}, 0, 0, parent);
    }
};

TEST_F(ActivityPower, IsZeroWithoutSamples)
{
    for (const ActivityWeight weight :
        {mpiWeightForEnergy, ioWeightForEnergy, openmpWeightForEnergy, computeWeightForEnergy})
        EXPECT_EQ(weightedAverage(ProfileWithoutSamples(), METRIC_RAPL_POWER, weight), 0.0);
}

TEST_F(ActivityPower, BecomesEnergyOfAllNodesAndTheRestIsComputing)
{
    // The sensors counted 500 Wh; in three quarters of the hour 2 nodes took 133.3 W each in MPI.
    const PerformanceData figures
        = computePerformanceData(communicatingJob().series(METRIC_RAPL_ENERGY, {0, 500 * 3600}).build());
    EXPECT_EQ(figures.energyCpuInWh, 500.0);
    EXPECT_DOUBLE_EQ(figures.mpiCpuEnergyInWh, 200.0);
    EXPECT_EQ(figures.ioCpuEnergyInWh, 0.0);
    EXPECT_EQ(figures.ompCpuEnergyInWh, 0.0);
    EXPECT_DOUBLE_EQ(figures.otherCpuEnergyInWh, 300.0);
}

TEST_F(ActivityPower, ThatOvershootsTheSensorIsScaledDownToIt)
{
    // 100 W for an hour: 50 Wh in MPI, 30 in I/O, 20 in OpenMP; but the sensor counted 60.
    const ProfileBuilder job = ProfileBuilder(1, OneHourMs)
                                   .main(Category::MPI_P2P, 50, 0)
                                   .main(Category::IO_READ, 30, 0)
                                   .main(Category::OMP, 20)
                                   .series(METRIC_RAPL_POWER, {100});
    const PerformanceData figures
        = computePerformanceData(ProfileBuilder(job).series(METRIC_RAPL_ENERGY, {60 * 3600}).build());
    EXPECT_EQ(figures.otherCpuEnergyInWh, 0.0);
    EXPECT_DOUBLE_EQ(figures.mpiCpuEnergyInWh, 30.0);
    EXPECT_DOUBLE_EQ(figures.ioCpuEnergyInWh, 18.0);
    EXPECT_DOUBLE_EQ(figures.ompCpuEnergyInWh, 12.0);
}

TEST_F(ActivityPower, ThatMeetsTheSensorLeavesNothing)
{
    const PerformanceData figures = computePerformanceData(ProfileBuilder(1, OneHourMs)
                                                               .main(Category::MPI_P2P, 100)
                                                               .series(METRIC_RAPL_POWER, {64})
                                                               .series(METRIC_RAPL_ENERGY, {64 * 3600})
                                                               .build());
    EXPECT_EQ(figures.mpiCpuEnergyInWh, 64.0);
    EXPECT_EQ(figures.otherCpuEnergyInWh, 0.0);
}

TEST_F(ActivityPower, IsKnownWhereTheEnergyIsNot)
{
    const PerformanceData figures = computePerformanceData(communicatingJob().build());
    EXPECT_DOUBLE_EQ(figures.mpiCpuEnergyInWh, 200.0);
    EXPECT_THAT(figures.otherCpuEnergyInWh, IsNan());
}

} // namespace
