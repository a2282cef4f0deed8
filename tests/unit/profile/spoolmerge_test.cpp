// What counts as the job, and how bins of different processes become its samples.

#include "spoolfolder.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

namespace {

namespace spool = fern::spool;

TEST(SpoolMerge, EmptyFolderGivesNoProfile)
{
    SpoolFolder folder;
    ProfilerData profile;
    EXPECT_FALSE(mergeSpools(folder.path(), &profile, nullptr));
    EXPECT_FALSE(mergeSpools(folder.path() + "/missing", &profile, nullptr));
}

TEST(SpoolMerge, OneProcessKeepsItsBinsAndItsTimes)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 1000, 100).main(spool::Compute, 7).main(spool::IoWrite, 3));
    const ProfilerData profile = folder.merge();
    ASSERT_TRUE(folder.merged);
    EXPECT_EQ(profile.numSamples(), 10);
    EXPECT_EQ(profile.timeAt(3), 300);
    EXPECT_EQ(profile.timeAt(10), 1000);
    EXPECT_EQ(mainHits(profile, 9, Category::COMPUTE), 7);
    EXPECT_EQ(mainHits(profile, 0, Category::IO_WRITE), 3);
    EXPECT_EQ(profile.target(), "/opt/code.example/bin/prog");
    EXPECT_EQ(profile.getHostname(), "node1.example");
    EXPECT_EQ(profile.numTargetProcs(), 1);
    EXPECT_EQ(profile.numNodes(), 1);
    EXPECT_EQ(profile.getProfiledRanks(), "All");
    EXPECT_EQ(profile.formatOmpNumThreads(), "unset");
    EXPECT_EQ(profile.jobStartTime().toQDateTime().toMSecsSinceEpoch(), 1772805909000);
    EXPECT_EQ(profile.getFernFileVersion(), -1);
    EXPECT_TRUE(folder.remarks.isEmpty());
}

TEST(SpoolMerge, AllKindsOfHitsAreSummedOverTheProcesses)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 100, 100);
    writer.bins[0].mainHits[spool::OpenMp] = 5;
    writer.bins[0].mainActiveHits[spool::OpenMp] = 4;
    writer.bins[0].otherHits[spool::OpenMp] = 15;
    writer.bins[0].otherActiveHits[spool::OpenMp] = 14;
    writer.bins[0].mainAloneHits[spool::OpenMp] = 1;
    folder.add(writer);
    folder.add(writer);
    const HitCounts::Of of = folder.merge().hitsOfSample(0).of[Category::OMP];
    EXPECT_EQ(of.main, 10);
    EXPECT_EQ(of.mainActive, 8);
    EXPECT_EQ(of.other, 30);
    EXPECT_EQ(of.otherActive, 28);
    EXPECT_EQ(of.mainAlone, 2);
}

TEST(SpoolMerge, SumsGoBeyondTheCountersOfASpool)
{
    SpoolFolder folder;
    for (int process = 0; process < 3; ++process) {
        folder.add(SpoolWriter(0, 100, 100).main(spool::Compute, 4000000000u));
    }
    EXPECT_EQ(mainHits(folder.merge(), 0, Category::COMPUTE), 12000000000);
}

TEST(SpoolMerge, DifferentIntervalsMeetAtTheWidest)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 800, 100).main(spool::Compute, 1));
    folder.add(SpoolWriter(0, 800, 400).main(spool::MpiOther, 4));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 2);
    EXPECT_EQ(profile.timeAt(1), 400);
    EXPECT_EQ(mainHits(profile, 0, Category::COMPUTE), 4);
    EXPECT_EQ(mainHits(profile, 1, Category::COMPUTE), 4);
    EXPECT_EQ(mainHits(profile, 1, Category::MPI_OTHER), 4);
}

TEST(SpoolMerge, BordersOfWiderBinsLieWhereTheEpochPutsThem)
{
    SpoolFolder folder;
    // Bins 3 and 4 of 100 ms; of 200 ms the first ends in the middle of the process's life.
    folder.add(SpoolWriter(300, 500, 100).main(spool::Compute, 1));
    folder.add(SpoolWriter(300, 500, 200).main(spool::MpiOther, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 2);
    EXPECT_EQ(profile.timeAt(1), 100) << "the first sample is as short as what the job has of it";
    EXPECT_EQ(profile.timeAt(2), 200);
    EXPECT_EQ(mainHits(profile, 0, Category::COMPUTE), 1);
    EXPECT_EQ(mainHits(profile, 1, Category::COMPUTE), 1);
}

TEST(SpoolMerge, LateStarterCountsFromItsOwnStart)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 1000, 100).main(spool::Compute, 1));
    folder.add(SpoolWriter(600, 1200, 100).main(spool::IoRead, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 12);
    EXPECT_EQ(mainHits(profile, 5, Category::IO_READ), 0);
    EXPECT_EQ(mainHits(profile, 6, Category::IO_READ), 1);
    EXPECT_EQ(mainHits(profile, 11, Category::COMPUTE), 0);
    EXPECT_EQ(mainHits(profile, 11, Category::IO_READ), 1);
}

TEST(SpoolMerge, SamplingBeginsWithTheJobAndNotWithTheEpoch)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(5030, 5480, 100).main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 5);
    EXPECT_EQ(profile.timeAt(0), 0);
    EXPECT_EQ(profile.timeAt(1), 70);
    EXPECT_EQ(profile.timeAt(5), 450);
    EXPECT_EQ(profile.jobStartTime().toQDateTime().toMSecsSinceEpoch(), 1772805909000 + 5030);
}

TEST(SpoolMerge, BinsBeforeTheStartOfTheProcessAreDropped)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 1000, 100);
    writer.header.startNs += 700 * SpoolWriter::NsPerMs;
    for (int bin = 7; bin < 10; ++bin) {
        writer.bins[bin].mainHits[spool::Compute] = 1;
    }
    folder.add(writer);
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 3);
    EXPECT_EQ(mainHits(profile, 0, Category::COMPUTE), 1);
    EXPECT_EQ(profile.timeAt(3), 300);
}

TEST(SpoolMerge, JobLongerThanItsBinsGetsWiderSamples)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 10000, 10).main(spool::Compute, 1));
    folder.add(SpoolWriter(9000, 19000, 10).main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 950);
    EXPECT_EQ(profile.timeAt(1), 20);
    EXPECT_EQ(mainHits(profile, 0, Category::COMPUTE), 2);
    EXPECT_EQ(mainHits(profile, 460, Category::COMPUTE), 4);
}

TEST(SpoolMerge, ProcessesWithEpochsOfTheirOwnMeetInTime)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 400, 100).main(spool::Compute, 1));
    SpoolWriter other(0, 200, 100);
    other.header.epochNs += 230 * SpoolWriter::NsPerMs;
    other.header.startNs += 230 * SpoolWriter::NsPerMs;
    other.header.lastNs += 230 * SpoolWriter::NsPerMs;
    folder.add(other.main(spool::IoRead, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 5);
    EXPECT_EQ(profile.timeAt(5), 430);
    EXPECT_EQ(mainHits(profile, 1, Category::IO_READ), 0);
    EXPECT_EQ(mainHits(profile, 2, Category::IO_READ), 1);
    EXPECT_EQ(mainHits(profile, 3, Category::IO_READ), 1);
}

TEST(SpoolMerge, JobOfAnInstantIsAMillisecondLong)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 100, 100);
    writer.header.lastNs = writer.header.startNs;
    folder.add(writer.main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numSamples(), 1);
    EXPECT_EQ(profile.getSampledRuntimeMs(), 1u);
}

TEST(SpoolMerge, KilledProcessCountsForWhatItDid)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 1000, 100).main(spool::Compute, 1).rank(0, 2));
    folder.add(SpoolWriter(0, 400, 100).main(spool::Compute, 1).rank(1, 2).killed());
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numTargetProcs(), 2);
    EXPECT_EQ(mainHits(profile, 3, Category::COMPUTE), 2);
    EXPECT_EQ(mainHits(profile, 4, Category::COMPUTE), 1);
    EXPECT_EQ(profile.getProfiledRanks(), "All");
}

TEST(SpoolMerge, RanksAreTheJobWhereThereAreAny)
{
    SpoolFolder folder;
    folder.add(SpoolWriter(0, 2000, 100)
                   .main(spool::PthreadSync, 9)
                   .flag(spool::FlagLauncher)
                   .executable("/usr/bin/mpirun"));
    folder.add(SpoolWriter(0, 2000, 100).main(spool::IoRead, 9).executable("/opt/code.example/bin/setup"));
    folder.add(SpoolWriter(500, 1000, 100).main(spool::Compute, 1).rank(1, 2));
    folder.add(SpoolWriter(600, 1000, 100).main(spool::Compute, 1).rank(0, 2).executable("/rank0"));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numTargetProcs(), 2);
    EXPECT_EQ(profile.target(), "/rank0");
    EXPECT_EQ(profile.numSamples(), 5) << "the launcher's time isn't the job's";
    EXPECT_EQ(mainHits(profile, 0, Category::PTHREAD_SYNC), 0);
    EXPECT_EQ(mainHits(profile, 0, Category::IO_READ), 0);
}

TEST(SpoolMerge, WithoutRanksLaunchersAndReplacedProgramsAreLeftOut)
{
    SpoolFolder folder;
    folder.add(
        SpoolWriter(0, 900, 100).main(spool::PthreadSync, 1).flag(spool::FlagLauncher).executable("/bin/sh"));
    folder.add(
        SpoolWriter(100, 200, 100).main(spool::IoOther, 1).flag(spool::FlagExec).executable("/wrapper"));
    folder.add(SpoolWriter(200, 800, 100).main(spool::Compute, 1));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numTargetProcs(), 1);
    EXPECT_EQ(profile.target(), "/opt/code.example/bin/prog");
    EXPECT_EQ(profile.getSampledRuntimeMs(), 600u);
}

TEST(SpoolMerge, LauncherIsTheJobWhereNothingElseRan)
{
    SpoolFolder folder;
    folder.add(
        SpoolWriter(0, 300, 100).main(spool::Sleep, 1).flag(spool::FlagLauncher).executable("/bin/sh"));
    const ProfilerData profile = folder.merge();
    EXPECT_TRUE(folder.merged);
    EXPECT_EQ(profile.target(), "/bin/sh");
    EXPECT_EQ(mainHits(profile, 0, Category::SLEEP), 1);
}

TEST(SpoolMerge, RanksOfOneHostShareANode)
{
    SpoolFolder folder;
    for (int rank = 0; rank < 4; ++rank) {
        const char *host = rank % 2 == 0 ? "node1.example" : "node2.example";
        folder.add(SpoolWriter(0, 200, 100).main(spool::Compute, 1).rank(rank, 4).host(host));
    }
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numNodes(), 2);
    EXPECT_EQ(profile.numTargetProcs(), 4);
    EXPECT_EQ(profile.metric(METRIC_NUM_CORES_PER_NODE).statistics().count, 2);
}

TEST(SpoolMerge, RanksWithoutASpoolAreTold)
{
    SpoolFolder folder;
    for (int rank : {0, 1, 2, 5, 7, 8}) {
        folder.add(SpoolWriter(0, 200, 100).main(spool::Compute, 1).rank(rank, 9));
    }
    EXPECT_EQ(folder.merge().getProfiledRanks(), "0-2,5,7-8");
    EXPECT_EQ(folder.remarks, QStringList{"only 6 of 9 ranks left a profile"});
}

TEST(SpoolMerge, ThreadCountsOfProcessesAreARangeWhereTheyDiffer)
{
    const auto textFor = [](const std::vector<int> &counts) {
        SpoolFolder folder;
        for (int count : counts) {
            SpoolWriter writer(0, 200, 100);
            writer.header.ompNumThreads = count;
            folder.add(writer.main(spool::Compute, 1));
        }
        return folder.merge().formatOmpNumThreads();
    };
    EXPECT_EQ(textFor({4, 4}), "4");
    EXPECT_EQ(textFor({8, 0, 2}), "2-8");
    EXPECT_EQ(textFor({0, 0}), "unset");
}

TEST(SpoolMerge, MissedThreadsAreTold)
{
    SpoolFolder folder;
    SpoolWriter writer(0, 200, 100);
    writer.header.threadsMissed = 3;
    folder.add(writer.main(spool::Compute, 1));
    folder.merge();
    EXPECT_EQ(folder.remarks,
        QStringList{
            "3 thread(s) of process 100 on node1.example are not in the profile, because it had too many"});
}

} // namespace
