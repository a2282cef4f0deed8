// Locks and events: POSIX's, C11's and C++'s.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

TEST(Locks, GiveTheSameResults)
{
    const Folder folder;
    const Outcome alone = run({client("locks"), "results"});
    EXPECT_EQ(run({client("locks"), "results"}, samplingInto(folder.path())), alone);
    EXPECT_EQ(alone.status, 0);
    EXPECT_NE(alone.output.find("C11 thread: 7\n"), std::string::npos) << alone;
}

TEST(Locks, WaitingForEachKindIsSynchronisation)
{
    constexpr double Points = 8.0; // a waiter that is woken may have to wait for a processor, too
    const Folder folder;
    const Outcome outcome = run({client("locks"), "shares"}, samplingInto(folder.path()));
    ASSERT_EQ(outcome.status, 0) << outcome;
    std::map<std::string, double> seconds = numbersIn(outcome.output);
    EXPECT_EQ(seconds["result"], 5.0);
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    EXPECT_EQ(spools.front().header().maxThreads, 2);
    const spool::Bin total = spools.front().total();
    EXPECT_NEAR(percent(total.mainHits, spool::PthreadSync),
        100.0 * seconds["main.sync"] / (seconds["main.sync"] + seconds["main.compute"]), Points);
    EXPECT_NEAR(percent(total.otherHits, spool::PthreadSync),
        100.0 * seconds["other.sync"] / (seconds["other.sync"] + seconds["other.compute"]), Points);
    EXPECT_GT(seconds["other.sync"], 0.4);
}
