// Calls that work on files, other than reading and writing through descriptors and streams.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

namespace {

// How far off shares may be.
double pointsOf(const SpoolFile &spool)
{
    return 6.0 + percentMissed(spool.header());
}

} // namespace

TEST(Files, RarerCallsGiveTheSame)
{
    const Folder first;
    const Folder second;
    const Folder spools;
    const Outcome alone = run({client("files"), "results", first.path()});
    EXPECT_EQ(run({client("files"), "results", second.path()}, samplingInto(spools.path())), alone);
    EXPECT_EQ(alone.status, 0);
    EXPECT_NE(alone.output.find("msync 0\n"), std::string::npos) << alone;
}

TEST(Files, CopyingAskingAndWaitingAreFileIo)
{
    const Folder folder;
    const Folder spools;
    const Outcome outcome = run({client("files"), "shares", folder.path()}, samplingInto(spools.path()));
    ASSERT_EQ(outcome.status, 0) << outcome;
    std::map<std::string, double> seconds = numbersIn(outcome.output);
    double whole = 0.0;
    for (const auto &part : seconds)
        whole += part.second;
    const std::vector<SpoolFile> found = spoolsIn(spools.path());
    ASSERT_EQ(found.size(), 1U);
    const spool::Bin total = found.front().total();
    const double points = pointsOf(found.front());
    EXPECT_NEAR(
        percent(total.mainHits, spool::IoWrite), 100.0 * (seconds["copy"] + seconds["wide"]) / whole, points);
    EXPECT_NEAR(percent(total.mainHits, spool::IoOther),
        100.0 * (seconds["names"] + seconds["asynchronous"]) / whole, points);
    EXPECT_NEAR(percent(total.mainHits, spool::Compute), 100.0 * seconds["compute"] / whole, points);
}

// Libraries for io_uring are often linked statically, and most of their calls are inline: the kernel says
// where a thread waits.
TEST(Files, WaitingForIoUringIsFileIo)
{
    constexpr int NoIoUring = 3;
    const Folder spools;
    const Outcome outcome = run({client("uring")}, samplingInto(spools.path()));
    if (WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == NoIoUring)
        GTEST_SKIP() << "the kernel has no io_uring, or refuses it: see kernel.io_uring_disabled";
    ASSERT_EQ(outcome.status, 0) << outcome;
    std::map<std::string, double> seconds = numbersIn(outcome.output);
    const double whole = seconds["wait"] + seconds["compute"];
    const std::vector<SpoolFile> found = spoolsIn(spools.path());
    ASSERT_EQ(found.size(), 1U);
    const spool::Bin total = found.front().total();
    const double points = pointsOf(found.front());
    EXPECT_NEAR(percent(total.mainHits, spool::IoOther), 100.0 * seconds["wait"] / whole, points);
    EXPECT_NEAR(percent(total.mainHits, spool::Compute), 100.0 * seconds["compute"] / whole, points);
}
