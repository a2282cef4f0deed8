// The spool itself: when there is one, what it says of the process, and that it is always whole.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

Command compute(const std::string &duration, const Folder &folder)
{
    return {client("shares"), duration, "0", "0", "0", folder.path() + "/data"};
}

std::uint64_t nowNs()
{
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::system_clock::now().time_since_epoch())
                                          .count());
}

// The main thread has hits for all the time up to the last look, which may have been a while before the end.
void expectToCountAllTime(const SpoolFile &spool)
{
    constexpr double AWhileMs = 100;
    const spool::Header &header = spool.header();
    const double livedMs = static_cast<double>(header.lastNs - header.startNs) / 1e6;
    const double countedMs = static_cast<double>(sum(spool.total().mainHits) * spool::HitUnitNs) / 1e6;
    EXPECT_LE(countedMs, livedMs);
    EXPECT_GE(countedMs, livedMs - AWhileMs);
}

SpoolFile onlySpool(const Folder &folder)
{
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    EXPECT_EQ(spools.size(), 1U);
    return spools.empty() ? SpoolFile{} : spools.front();
}

} // namespace

TEST(Spool, SaysWhoAndWhereTheProcessWas)
{
    const Folder folder;
    Environment environment = samplingInto(folder.path());
    environment["OMP_NUM_THREADS"] = "3,2";
    const std::uint64_t before = nowNs();
    const Outcome outcome = run(compute("0.3", folder), environment);
    const std::uint64_t after = nowNs();
    EXPECT_EQ(outcome.status, 0);
    const SpoolFile spool = onlySpool(folder);
    ASSERT_EQ(spool.complaint(), "");
    const spool::Header &header = spool.header();
    char host[256] = {};
    gethostname(host, sizeof(host) - 1);
    EXPECT_STREQ(header.hostname, host);
    EXPECT_EQ(std::string(header.executable), std::filesystem::canonical(client("shares")).string());
    EXPECT_EQ(header.parentPid, getpid());
    EXPECT_EQ(header.ompNumThreads, 3);
    EXPECT_EQ(header.maxThreads, 1);
    EXPECT_EQ(header.logicalCores, sysconf(_SC_NPROCESSORS_ONLN));
    EXPECT_GE(header.physicalCores, 1);
    EXPECT_LE(header.physicalCores, header.logicalCores);
    const double memory
        = static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    EXPECT_NEAR(static_cast<double>(header.nodeMemory), memory, 0.01 * memory);
    EXPECT_EQ(header.flags, static_cast<std::uint32_t>(spool::FlagEnded));
    EXPECT_GE(header.startNs, before);
    EXPECT_GT(header.lastNs, header.startNs);
    EXPECT_LE(header.lastNs, after);
    EXPECT_EQ(std::filesystem::path(spool.path).filename().string(),
        std::string(host) + "-" + std::to_string(header.pid) + "-" + std::to_string(header.startNs)
            + ".spool");
    struct stat status { };
    ASSERT_EQ(stat(spool.path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(Spool, EveryBinWithALookHasItsFigures)
{
    const Folder folder;
    run(compute("0.5", folder), samplingInto(folder.path()));
    const SpoolFile spool = onlySpool(folder);
    ASSERT_EQ(spool.complaint(), "");
    const auto *bins = reinterpret_cast<const spool::Bin *>(spool.text.data() + sizeof(spool::Header));
    for (std::uint64_t i = 0; i < spool.header().binCount; ++i) {
        for (const spool::FigureId id : {spool::FigureRss, spool::FigureNodeMemoryUsedPercent,
                 spool::FigureLoadAveragePercent, spool::FigureCpuTime})
            EXPECT_GE(bins[i].figures[id].count, 1U) << "bin " << i << ", figure " << id;
        const spool::Figure &resident = bins[i].figures[spool::FigureRss];
        EXPECT_GE(resident.minimum, 100000.0);
        EXPECT_LE(resident.maximum, 1e9);
        EXPECT_LE(bins[i].figures[spool::FigureNodeMemoryUsedPercent].maximum, 100.0);
    }
}

TEST(Spool, BinsBeginAtTheJobsEpoch)
{
    const Folder folder;
    Environment environment = samplingInto(folder.path());
    const std::uint64_t epoch = nowNs() - 777'000'001;
    environment["QUILLON_SAMPLER_EPOCH"] = std::to_string(epoch);
    environment["QUILLON_SAMPLER_INTERVAL"] = "50";
    run(compute("0.3", folder), environment);
    const SpoolFile spool = onlySpool(folder);
    const spool::Header &header = spool.header();
    EXPECT_EQ(header.epochNs, epoch);
    EXPECT_EQ(header.intervalNs, 50'000'000U);
    EXPECT_EQ(header.firstBin, (header.startNs - epoch) / header.intervalNs);
    EXPECT_EQ(header.firstBin + header.binCount - 1, (header.lastNs - epoch) / header.intervalNs);
}

TEST(Spool, FullBinsAreAddedUpAndLoseNothing)
{
    const Folder folder;
    Environment environment = samplingInto(folder.path());
    environment["QUILLON_SAMPLER_EPOCH"] = std::to_string(nowNs() - 777'000'001);
    environment["QUILLON_SAMPLER_INTERVAL"] = "1";
    const Outcome outcome = run(compute("2.3", folder), environment);
    std::map<std::string, double> measured = numbersIn(outcome.output);
    const SpoolFile spool = onlySpool(folder);
    ASSERT_EQ(spool.complaint(), "");
    const spool::Header &header = spool.header();
    EXPECT_EQ(header.binCapacity, spool::MaxBins);
    EXPECT_GE(header.intervalNs, 4'000'000U);
    EXPECT_EQ(header.intervalNs % 1'000'000, 0U);
    EXPECT_GE(header.changeCount, 4U);
    const spool::Bin total = spool.total();
    expectToCountAllTime(spool);
    // The program's clock counts our thread, too.
    const double cpu = measured["cpu"] - static_cast<double>(header.samplerCpuNs) / 1e9;
    EXPECT_NEAR(total.figures[spool::FigureCpuTime].sum / 1e9, cpu, 0.1 * measured["cpu"]);
    EXPECT_EQ(header.firstBin, (header.startNs - header.epochNs) / header.intervalNs);
}

TEST(Spool, IsWholeAfterAKill)
{
    const Folder folder;
    const pid_t child = start(compute("60", folder), samplingInto(folder.path()), folder.path());
    for (int i = 0; i < 200; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const std::vector<SpoolFile> spools = spoolsIn(folder.path());
        if (!spools.empty() && spools.front().header().ticks >= 30)
            break;
    }
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    const SpoolFile spool = onlySpool(folder);
    ASSERT_EQ(spool.complaint(), "");
    EXPECT_FALSE(spool.has(spool::FlagEnded));
    EXPECT_GE(spool.header().ticks, 30U);
    EXPECT_GE(percent(spool.total().mainHits, spool::Compute), 90.0);
}

TEST(Spool, AShortProcessHasOneToo)
{
    const Folder folder;
    EXPECT_EQ(run({"true"}, samplingInto(folder.path())).status, 0);
    const SpoolFile spool = onlySpool(folder);
    ASSERT_EQ(spool.complaint(), "");
    EXPECT_TRUE(spool.has(spool::FlagEnded));
    expectToCountAllTime(spool);
    EXPECT_GE(spool.header().ticks, 1U);
}

TEST(Spool, LaunchersAndShellsAreMarked)
{
    const Folder folder;
    run({"bash", "-c", "sleep 0.1; :"}, samplingInto(folder.path()));
    const std::vector<SpoolFile> shells = spoolsOf("bash", folder.path());
    const std::vector<SpoolFile> others = spoolsOf("sleep", folder.path());
    ASSERT_EQ(shells.size(), 1U);
    ASSERT_EQ(others.size(), 1U);
    EXPECT_TRUE(shells.front().has(spool::FlagLauncher));
    EXPECT_FALSE(others.front().has(spool::FlagLauncher));
}

// It waits for what it has started, which may need its processor.
TEST(Spool, AShellThatWaitsIsLookedAtSeldom)
{
    const Folder folder;
    run({"bash", "-c", "sleep 2; :"}, samplingInto(folder.path()));
    const std::vector<SpoolFile> shells = spoolsOf("bash", folder.path());
    ASSERT_EQ(shells.size(), 1U);
    expectToCountAllTime(shells.front());
    EXPECT_LT(shells.front().header().ticks, 60U) << "ten a second, and not a hundred";
}

class WithoutSpool : public testing::TestWithParam<Environment> { };

TEST_P(WithoutSpool, TheProgramRunsAsIfNothingWereThere)
{
    const Folder folder;
    Environment environment = GetParam();
    environment["LD_PRELOAD"] = SAMPLER_LIBRARY;
    for (auto &[name, value] : environment) {
        if (value.rfind("FOLDER", 0) == 0)
            value.replace(0, 6, folder.path());
    }
    const Outcome outcome = run({client("guest"), "threads"}, environment);
    EXPECT_EQ(outcome, run({client("guest"), "threads"}));
    EXPECT_TRUE(spoolsIn(folder.path()).empty());
}

INSTANTIATE_TEST_SUITE_P(Spool, WithoutSpool,
    testing::Values(Environment{}, Environment{{"QUILLON_SAMPLER_SPOOL", ""}},
        Environment{{"QUILLON_SAMPLER_SPOOL", "relative/folder"}},
        Environment{{"QUILLON_SAMPLER_SPOOL", "FOLDER/missing"}},
        Environment{{"QUILLON_SAMPLER_SPOOL", "/dev/null"}},
        Environment{{"QUILLON_SAMPLER_SPOOL", "FOLDER"}, {"QUILLON_SAMPLER_INTERVAL", "0"}},
        Environment{{"QUILLON_SAMPLER_SPOOL", "FOLDER"}, {"QUILLON_SAMPLER_INTERVAL", "9999999"}}));

TEST(Spool, ProgramsWithMoreRightsThanTheirUserArentSampled)
{
    if (getuid() != 0)
        GTEST_SKIP() << "Requires root, to make a set-user-id program";
    const Folder folder;
    const Folder programs;
    ASSERT_EQ(chmod(programs.path().c_str(), 0755), 0);
    const std::string program = programs.path() + "/guest";
    std::filesystem::copy_file(client("guest"), program);
    constexpr uid_t Nobody = 65534;
    ASSERT_EQ(chown(program.c_str(), Nobody, Nobody), 0);
    ASSERT_EQ(chmod(program.c_str(), 04755), 0);
    const Outcome outcome = run({program, "threads"}, samplingInto(folder.path()));
    EXPECT_EQ(outcome.output, run({client("guest"), "threads"}).output);
    EXPECT_TRUE(spoolsIn(folder.path()).empty());
}
