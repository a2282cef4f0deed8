// Which processes are the job, and what is said about the others.
#include "spoolfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fern::spool;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// A process that lives for two seconds and computes for some of them.
SpoolWriter worker(const char *executable, double seconds)
{
    SpoolWriter spool(0, 2000, 20);
    spool.executable(executable).main(Compute, 1);
    spool.figure(FigureCpuTime, seconds * 1e9 / static_cast<double>(spool.bins.size()));
    return spool;
}

std::vector<std::string> texts(const QStringList &list)
{
    std::vector<std::string> result;
    for (const QString &text : list)
        result.push_back(text.toStdString());
    return result;
}

TEST(JobChoice, RanksAloneWhereThereAreAny)
{
    SpoolFolder folder;
    folder.add(worker("/bin/prog", 1).rank(0, 2));
    folder.add(worker("/bin/prog", 1).rank(1, 2));
    folder.add(worker("/bin/side", 2));
    folder.add(worker("/bin/mpirun", 1).flag(FlagLauncher));
    EXPECT_EQ(folder.merge().numTargetProcs(), 2);
    EXPECT_THAT(texts(folder.remarks),
        ElementsAre("left out 1 process(es) of '/bin/mpirun': it only starts others",
            "left out 1 process(es) of '/bin/side': it isn't part of the MPI job"));
}

TEST(JobChoice, ProgramsThatWorkAndNotTheirHelpers)
{
    SpoolFolder folder;
    folder.add(worker("/bin/a", 2));
    folder.add(worker("/bin/b", 0.03));
    folder.add(worker("/bin/ls", 0.01));
    folder.add(worker("/bin/ls", 0.005));
    folder.add(worker("/bin/sh", 2).flag(FlagLauncher));
    folder.add(worker("/bin/wrapper", 2).flag(FlagExec));
    EXPECT_EQ(folder.merge().numTargetProcs(), 2);
    EXPECT_THAT(texts(folder.remarks),
        ElementsAre("left out 2 process(es) of '/bin/ls': it worked for less than a hundredth of the time",
            "left out 1 process(es) of '/bin/sh': it only starts others",
            "left out 1 process(es) of '/bin/wrapper': it became another program"));
}

TEST(JobChoice, SmallPiecesOfOneProgramAreJudgedTogether)
{
    SpoolFolder folder;
    folder.add(worker("/bin/a", 1));
    for (int i = 0; i < 4; ++i)
        folder.add(worker("/bin/pieces", 0.005));
    EXPECT_EQ(folder.merge().numTargetProcs(), 5);
}

TEST(JobChoice, WaitingForFilesIsWork)
{
    SpoolFolder folder;
    folder.add(worker("/bin/a", 2));
    SpoolWriter reader(0, 2000, 20);
    reader.executable("/bin/reader");
    for (Bin &bin : reader.bins)
        bin.mainHits[IoRead] = 2; // asleep meanwhile
    folder.add(reader);
    EXPECT_EQ(folder.merge().numTargetProcs(), 2);
    EXPECT_THAT(texts(folder.remarks), IsEmpty());
}

TEST(JobChoice, ProgramsThatAllDidNothingAllCount)
{
    SpoolFolder folder;
    folder.add(worker("/bin/a", 0));
    folder.add(worker("/bin/b", 0));
    EXPECT_EQ(folder.merge().numTargetProcs(), 2);
}

TEST(JobChoice, LaunchersAndThenReplacedProgramsWhereNothingElseRan)
{
    SpoolFolder folder;
    folder.add(worker("/bin/sh", 1).flag(FlagLauncher));
    folder.add(worker("/bin/wrapper", 1).flag(FlagExec));
    EXPECT_EQ(folder.merge().target(), QString("/bin/sh"));

    SpoolFolder replaced;
    replaced.add(worker("/bin/wrapper", 1).flag(FlagExec));
    EXPECT_EQ(replaced.merge().target(), QString("/bin/wrapper"));
}

ProfilerData mergedWith(const SpoolFolder &folder, const MergeOptions &options)
{
    ProfilerData profile;
    EXPECT_TRUE(mergeSpools(folder.path(), &profile, nullptr, options));
    return profile;
}

TEST(MergeOptions, SelectedRanksMakeUpTheProfile)
{
    SpoolFolder folder;
    for (int rank = 0; rank < 8; ++rank)
        folder.add(worker("/bin/prog", 1).rank(rank, 8));
    MergeOptions options;
    options.isSelected = [](int rank) { return rank == 1 || rank > 4; };
    const ProfilerData profile = mergedWith(folder, options);
    EXPECT_EQ(profile.numTargetProcs(), 4);
    EXPECT_EQ(profile.getProfiledRanks(), QString("1,5-7"));
}

TEST(MergeOptions, RanksThatTheJobDoesNotHaveAreWarnedOf)
{
    SpoolFolder folder;
    folder.add(worker("/bin/prog", 1).rank(0, 2));
    folder.add(worker("/bin/prog", 1).rank(1, 2));
    QStringList warnings;
    MergeOptions options;
    options.isSelected = [](int rank) { return rank == 9; };
    options.warnings = &warnings;
    const ProfilerData profile = mergedWith(folder, options);
    EXPECT_EQ(profile.getProfiledRanks(), QString("All"));
    EXPECT_EQ(warnings.size(), 1);
}

TEST(MergeOptions, FewerSamplesHoldTheSameHits)
{
    SpoolFolder folder;
    folder.add(worker("/bin/prog", 1));
    for (const int most : {100, 50, 7, 2}) {
        MergeOptions options;
        options.maxSamples = most;
        const ProfilerData profile = mergedWith(folder, options);
        EXPECT_LE(profile.numSamples(), most);
        EXPECT_GE(profile.numSamples(), most / 4);
        qint64 hits = 0;
        for (int sample = 0; sample < profile.numSamples(); ++sample)
            hits += mainHits(profile, sample, Category::COMPUTE);
        EXPECT_EQ(hits, 100);
    }
}

TEST(MergeOptions, ProgressIsTold)
{
    SpoolFolder folder;
    for (int rank = 0; rank < 3; ++rank)
        folder.add(worker("/bin/prog", 1).rank(rank, 3));
    QList<int> done;
    MergeOptions options;
    options.progress = [&done](int number, int all) {
        done.append(number);
        EXPECT_EQ(all, 3);
    };
    mergedWith(folder, options);
    EXPECT_EQ(done, (QList<int>{0, 1, 2}));
}

} // namespace
