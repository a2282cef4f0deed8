// The shares that the sampler finds are those that a program measures itself with a clock. Bounds are
// points of the same run's time, so that a busy machine changes nothing.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

namespace {

constexpr double Points = 5.0;

struct MeasuredRun {
    Folder folder;
    std::map<std::string, double> measured; // by the client
    SpoolFile spool;

    explicit MeasuredRun(const Command &times)
    {
        Command command{client("shares")};
        command.insert(command.end(), times.begin(), times.end());
        command.push_back(folder.path() + "/data");
        const Outcome outcome = run(command, samplingInto(folder.path()));
        EXPECT_EQ(outcome.status, 0) << outcome;
        measured = numbersIn(outcome.output);
        const std::vector<SpoolFile> spools = spoolsIn(folder.path());
        EXPECT_EQ(spools.size(), 1U);
        if (!spools.empty())
            spool = spools.front();
        EXPECT_EQ(spool.complaint(), "");
    }
    double measuredPercent(const std::string &name) { return 100.0 * measured[name] / measured["whole"]; }
};

} // namespace

TEST(Shares, ComputingWritingReadingAndSleepingAreToldApart)
{
    MeasuredRun run({"0.8", "0.6", "0.6", "1"});
    const spool::Bin total = run.spool.total();
    EXPECT_NEAR(percent(total.mainHits, spool::Compute), run.measuredPercent("compute"), Points);
    EXPECT_NEAR(percent(total.mainHits, spool::IoWrite), run.measuredPercent("write"), Points);
    EXPECT_NEAR(percent(total.mainHits, spool::IoRead), run.measuredPercent("read"), Points);
    EXPECT_NEAR(percent(total.mainHits, spool::Sleep), run.measuredPercent("sleep"), Points);
    EXPECT_EQ(sum(total.otherHits), 0U);
    // What the sampler knows of itself: calls of the smallest possible number, and a plausible time for one.
    const spool::Header &header = run.spool.header();
    EXPECT_GE(header.wrappedCalls, 20U);
    EXPECT_GE(header.wrapperPs, 100U);
    EXPECT_LE(header.wrapperPs, 1'000'000U);
    EXPECT_NEAR(
        static_cast<double>(header.processCpuNs) / 1e9, run.measured["cpu"], 0.1 * run.measured["cpu"]);
}

TEST(Shares, ASleeperIsNotActive)
{
    MeasuredRun run({"0", "0", "0", "1"});
    const spool::Bin total = run.spool.total();
    EXPECT_GE(percent(total.mainHits, spool::Sleep), 90.0);
    EXPECT_LE(total.mainActiveHits[spool::Sleep], total.mainHits[spool::Sleep] / 5);
}

TEST(Shares, AMainThreadWithoutOthersIsAlone)
{
    MeasuredRun run({"0.5", "0", "0", "0.2"});
    const spool::Bin total = run.spool.total();
    EXPECT_EQ(sum(total.mainAloneHits), sum(total.mainHits));
}

// Of a main thread that goes on without a call there is less to see than of one that makes many.
TEST(Shares, AThreadThatMakesCallsIsLookedAtMoreOften)
{
    const auto looksPerSecond = [](MeasuredRun &&run) {
        const spool::Header &header = run.spool.header();
        return static_cast<double>(header.ticks + header.ticksMissed) * 1e9
            / static_cast<double>(header.lastNs - header.startNs);
    };
    const double computing = looksPerSecond(MeasuredRun({"1.5", "0", "0", "0"}));
    EXPECT_GE(computing, 90.0);
    EXPECT_LE(computing, 180.0); // it makes its file first
    const double writing = looksPerSecond(MeasuredRun({"0", "1.5", "0", "0"}));
    EXPECT_GE(writing, 200.0);
    EXPECT_LE(writing, 270.0);
}

TEST(Shares, BytesAndCpuTimeAreThoseOfTheProgramAlone)
{
    MeasuredRun run({"0.5", "0.4", "0.4", "0.3"});
    const spool::Bin total = run.spool.total();
    const double written = total.figures[spool::FigureBytesWritten].sum;
    const double read = total.figures[spool::FigureBytesRead].sum;
    EXPECT_NEAR(written, run.measured["bytesWritten"], 0.01 * run.measured["bytesWritten"]);
    EXPECT_NEAR(read, run.measured["bytesRead"], 0.01 * run.measured["bytesRead"]);
    EXPECT_NEAR(
        total.figures[spool::FigureCpuTime].sum / 1e9, run.measured["cpu"], 0.1 * run.measured["cpu"]);
}

TEST(Shares, PipesArentFiles)
{
    const Folder folder;
    const Outcome outcome = run({"sh", "-c", "sleep 0.5 | cat"}, samplingInto(folder.path()));
    EXPECT_EQ(outcome.status, 0);
    const std::vector<SpoolFile> spools = spoolsOf("cat", folder.path());
    ASSERT_EQ(spools.size(), 1U);
    EXPECT_LE(percent(spools.front().total().mainHits, spool::IoRead), 5.0);
}

TEST(Shares, AJumpOutOfASleepEndsTheSleep)
{
    const Folder folder;
    const Outcome outcome = run({client("guest"), "jump"}, samplingInto(folder.path()));
    EXPECT_EQ(outcome.output, "jumped out of sleep\n");
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    // A second in sleep and pause, a moment in the next sleep, and then 0.6 seconds of computing.
    EXPECT_NEAR(percent(spools.front().total().mainActiveHits, spool::Compute), 100.0, 10.0);
}
