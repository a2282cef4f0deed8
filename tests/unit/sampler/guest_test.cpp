// Things that a guest in a process could disturb: the program sees the same with and without the sampler.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

namespace {

// A client's run with the sampler, after it was compared with one without.
struct Visit {
    Folder folder;
    Outcome outcome;
    std::vector<SpoolFile> spools;

    explicit Visit(const std::string &what)
    {
        const std::string file = folder.path() + "/file";
        const Command command{client("guest"), what, file};
        const Outcome alone = run(command);
        unlinkFile(file);
        outcome = run(command, samplingInto(folder.path()));
        EXPECT_EQ(outcome, alone);
        EXPECT_NE(outcome.status, 2 << 8) << "the client doesn't know " << what;
        spools = spoolsIn(folder.path());
        for (const SpoolFile &spool : spools)
            EXPECT_EQ(spool.complaint(), "");
    }
    // The spool of the client itself.
    const SpoolFile &first() const
    {
        static const SpoolFile none;
        EXPECT_FALSE(spools.empty());
        return spools.empty() ? none : spools.front();
    }

private:
    static void unlinkFile(const std::string &path) { std::remove(path.c_str()); }
};

} // namespace

TEST(Guest, AForkedChildThatLivesOnHasASpoolOfItsOwn)
{
    const Visit visit("fork");
    ASSERT_GE(visit.spools.size(), 2U);
    for (const SpoolFile &spool : visit.spools)
        EXPECT_TRUE(spool.has(spool::FlagEnded));
    // The fifty that end at once leave nothing, if they do: a child may have to wait for a processor first.
    for (std::size_t i = 1; i + 1 < visit.spools.size(); ++i)
        EXPECT_GE(visit.spools[i].header().lastNs - visit.spools[i].header().startNs, 10'000'000);
    const SpoolFile &child = visit.spools.back();
    EXPECT_EQ(child.header().parentPid, visit.first().header().pid);
    EXPECT_GE(percent(child.total().mainHits, spool::Compute), 90.0);
}

TEST(Guest, VforkAndExecInItsChild)
{
    const Visit visit("vfork");
    EXPECT_EQ(visit.first().program(), "client-guest");
    EXPECT_TRUE(visit.first().has(spool::FlagEnded));
    EXPECT_FALSE(visit.first().has(spool::FlagExec));
    EXPECT_EQ(spoolsOf("echo", visit.folder.path()).size(), 1U);
}

TEST(Guest, SpawnPopenAndSystem)
{
    const Visit visit("spawn");
    EXPECT_TRUE(visit.first().has(spool::FlagEnded));
}

TEST(Guest, ExecEndsOneSpoolAndBeginsAnother)
{
    const Visit visit("exec");
    ASSERT_GE(visit.spools.size(), 2U);
    EXPECT_TRUE(visit.spools[0].has(spool::FlagExec));
    EXPECT_FALSE(visit.spools[0].has(spool::FlagEnded));
    EXPECT_EQ(visit.spools[1].header().pid, visit.spools[0].header().pid);
    EXPECT_TRUE(visit.spools[1].has(spool::FlagLauncher));
    EXPECT_FALSE(visit.spools[1].has(spool::FlagExec));
}

TEST(Guest, AFailedExecGoesOnBeingSampled)
{
    const Visit visit("failedexec");
    ASSERT_EQ(visit.spools.size(), 1U);
    EXPECT_FALSE(visit.first().has(spool::FlagExec));
    EXPECT_TRUE(visit.first().has(spool::FlagEnded));
    const spool::Header &header = visit.first().header();
    // Looks every 10 ms: all but a tenth of the time would be missing had it stopped.
    EXPECT_GE(static_cast<double>(header.ticks + header.ticksMissed),
        0.3 * static_cast<double>(header.lastNs - header.startNs) / 1e7);
}

TEST(Guest, ThreadsAreSampled)
{
    const Visit visit("threads");
    const spool::Bin total = visit.first().total();
    EXPECT_EQ(visit.first().header().maxThreads, 5);
    EXPECT_EQ(visit.first().header().threadsMissed, 0U);
    // Four threads, perhaps on fewer processors: one that waits for a processor computes all the same.
    EXPECT_GE(percent(total.otherHits, spool::PthreadCompute), 95.0);
    EXPECT_LE(total.otherActiveHits[spool::PthreadCompute], total.otherHits[spool::PthreadCompute]);
    EXPECT_GE(total.otherActiveHits[spool::PthreadCompute], 1U);
    EXPECT_GE(percent(total.mainHits, spool::PthreadSync), 60.0);
    // While the others work the main thread isn't alone.
    EXPECT_LT(sum(total.mainAloneHits), sum(total.mainHits));
}

TEST(Guest, ThreadsThatWaitForAProcessorCompute)
{
    const Folder folder;
    // Four threads on one processor.
    const Outcome outcome
        = run({"taskset", "-c", "0", client("guest"), "threads"}, samplingInto(folder.path()));
    ASSERT_EQ(outcome.status, 0) << outcome;
    const std::vector<SpoolFile> spools = spoolsOf("client-guest", folder.path());
    ASSERT_EQ(spools.size(), 1U);
    const spool::Bin total = spools.front().total();
    EXPECT_GE(percent(total.otherHits, spool::PthreadCompute), 95.0);
    // Together they had at most the one processor.
    const std::uint64_t livedNs = spools.front().header().lastNs - spools.front().header().startNs;
    EXPECT_LE(sum(total.otherActiveHits), 1.1 * static_cast<double>(livedNs) / spool::HitUnitNs);
}

TEST(Guest, WaitsThatNoWrapperSeesAreThoseThatTheKernelTellsOf)
{
    const Folder folder;
    const Outcome outcome = run({client("guest"), "rawwaits"}, samplingInto(folder.path()));
    std::map<std::string, double> seconds = numbersIn(outcome.output);
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    const spool::Bin total = spools.front().total();
    const double whole = seconds["futex"] + seconds["poll"] + seconds["compute"];
    EXPECT_NEAR(percent(total.otherHits, spool::PthreadSync), 100 * seconds["futex"] / whole, 8.0);
    EXPECT_NEAR(percent(total.otherHits, spool::Sleep), 100 * seconds["poll"] / whole, 8.0);
    EXPECT_NEAR(percent(total.otherHits, spool::PthreadCompute), 100 * seconds["compute"] / whole, 8.0);
    EXPECT_NEAR(
        percent(total.mainHits, spool::PthreadSync), 100 * seconds["main.wait"] / seconds["main"], 8.0);
}

// On a full node a look stops the thread that it is for, and none of another process.
TEST(Guest, TheSamplingThreadGoesWhereTheMainThreadIsOnAFullNode)
{
    const Folder folder;
    const Outcome outcome = run({client("guest"), "fullnode"}, samplingInto(folder.path()));
    if (outcome.output.find("no such processor") != std::string::npos)
        GTEST_SKIP() << "Requires the first and the last processor";
    EXPECT_EQ(outcome.output, "follows\nfollows\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST(Guest, ALibraryThatIsPreloadedBeforeIsNamed)
{
    const Folder folder;
    Environment environment = samplingInto(folder.path());
    const auto spoolOfSleep = [&] {
        run({"sleep", "0.1"}, environment);
        const std::vector<SpoolFile> spools = spoolsIn(folder.path());
        EXPECT_FALSE(spools.empty());
        return spools.empty() ? SpoolFile{} : spools.back();
    };
    const SpoolFile alone = spoolOfSleep();
    EXPECT_EQ(alone.header().rivalNames, 0U);
    EXPECT_STREQ(alone.header().rival, "");
    const std::string before = client("forerunner.so");
    const std::string library = before.substr(0, before.rfind('/')) + "/libforerunner.so";
    environment["LD_PRELOAD"] += ":" + library;
    EXPECT_EQ(spoolOfSleep().header().rivalNames, 0U) << "it comes behind";
    environment["LD_PRELOAD"] = library + ":" SAMPLER_LIBRARY;
    const SpoolFile behind = spoolOfSleep();
    EXPECT_EQ(behind.header().rivalNames, 1U);
    EXPECT_EQ(behind.header().rival, library);
}

TEST(Guest, AThreadThatOnlyWaitsDoesNotCompute)
{
    const Visit visit("idlethread");
    const spool::Bin total = visit.first().total();
    EXPECT_EQ(visit.first().header().maxThreads, 2);
    EXPECT_GE(percent(total.otherHits, spool::Sleep), 80.0);
}

TEST(Guest, ThreadsBeyondTheTableRunUnsampled)
{
    const Visit visit("manythreads");
    EXPECT_EQ(visit.first().header().maxThreads, 1024);
    EXPECT_EQ(visit.first().header().threadsMissed, 1100U - 1023U);
}

TEST(Guest, TenThousandThreadsAtATime)
{
    // Processes, memory maps and tasks of a group of processes all have their limits.
    if (run({client("guest"), "tenthousandthreads"}).status != 0)
        GTEST_SKIP() << "Requires a system that allows 10,000 threads";
    const Visit visit("tenthousandthreads");
    EXPECT_EQ(visit.first().header().maxThreads, 1024);
    EXPECT_EQ(visit.first().header().threadsMissed, 10000U - 1023U);
}

TEST(Guest, PthreadExitInMain)
{
    const Visit visit("mainexits");
    const spool::Bin total = visit.first().total();
    EXPECT_TRUE(visit.first().has(spool::FlagEnded));
    EXPECT_GE(sum(total.otherHits), 5U);
    EXPECT_LE(sum(total.mainHits), sum(total.otherHits) / 2);
}

TEST(Guest, AProcessWhoseOnlyThreadEndsByItsOwnSystemCall)
{
    const Visit visit("rawexit");
    EXPECT_EQ(visit.outcome.status, 0);
}

TEST(Guest, CancellationReachesAThreadInAWrappedCall)
{
    const Visit visit("cancel");
    EXPECT_EQ(visit.outcome.output, "cancelled\n");
}

TEST(Guest, AProgramThatClosesEveryDescriptor)
{
    const Visit visit("closeall");
    const spool::Header &header = visit.first().header();
    EXPECT_GE(static_cast<double>(header.ticks + header.ticksMissed),
        0.6 * static_cast<double>(header.lastNs - header.startNs) / 1e7);
    EXPECT_TRUE(visit.first().has(spool::FlagEnded));
}

TEST(Guest, PipesReachTheirEnd)
{
    const Visit visit("pipeend");
    EXPECT_NE(visit.outcome.output.find("the pipe's end: 0\n"), std::string::npos);
}

TEST(Guest, QuickExitEndsTheSpool)
{
    const Visit visit("quickexit");
    EXPECT_EQ(WEXITSTATUS(visit.outcome.status), 7);
    EXPECT_TRUE(visit.first().has(spool::FlagEnded));
}

TEST(Guest, ADaemon)
{
    const Visit visit("daemon");
    EXPECT_EQ(visit.outcome.output, "the daemon\n");
    ASSERT_EQ(visit.spools.size(), 1U);
    EXPECT_GE(visit.first().header().ticks, 5U);
}

TEST(Guest, Signals)
{
    const Visit visit("signals");
    EXPECT_EQ(WTERMSIG(visit.outcome.status), SIGTERM);
    EXPECT_FALSE(visit.first().has(spool::FlagEnded));
}

TEST(Guest, Abort)
{
    const Visit visit("abort");
    EXPECT_EQ(WTERMSIG(visit.outcome.status), SIGABRT);
    EXPECT_GE(percent(visit.first().total().mainHits, spool::Compute), 90.0);
}

TEST(Guest, NamespacesAndRightsChangeAsForASingleThread)
{
    const Visit visit("rights");
    const spool::Header &header = visit.first().header();
    EXPECT_GE(static_cast<double>(header.ticks + header.ticksMissed),
        0.6 * static_cast<double>(header.lastNs - header.startNs) / 1e7);
}

TEST(Guest, AProgramThatUnloadsTheLibrary)
{
    const Folder folder;
    const Outcome outcome
        = run({client("guest"), "unload", SAMPLER_LIBRARY}, {{"QUILLON_SAMPLER_SPOOL", folder.path()}});
    EXPECT_EQ(outcome, (Outcome{"unloaded: 0\n", "", 0}));
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    EXPECT_TRUE(spools.front().has(spool::FlagEnded));
}

TEST(Guest, TheEnvironmentIsLeftAlone)
{
    const Folder folder;
    const Environment environment = samplingInto(folder.path());
    std::string expected = run({client("guest"), "environment"}).output;
    for (const auto &[name, value] : environment)
        expected += name + "=" + value + "\n";
    EXPECT_EQ(run({client("guest"), "environment"}, environment).output, expected);
}
