// OpenMP: what two threads measured of themselves, with GCC's runtime and with one that has the interface for
// tools.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

// Room for what a busy machine does between a look at the clock and the next line of the program.
constexpr double Points = 5.0;

class OpenMp : public testing::TestWithParam<const char *> {
protected:
    static std::string program() { return client(std::string("openmp-") + GetParam()); }
};

// Seconds as percent of their sum.
using Shares = std::map<spool::Category, double>;

void check(const Hits &hits, const Shares &seconds)
{
    double whole = 0.0;
    for (const auto &share : seconds)
        whole += share.second;
    for (const auto &[category, share] : seconds)
        EXPECT_NEAR(percent(hits, category), 100.0 * share / whole, Points) << "category " << category;
}

} // namespace

TEST_P(OpenMp, ComputingWaitingAndIdlingAreToldApart)
{
    if (access(program().c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires an OpenMP runtime, " << GetParam();
    const Folder folder;
    Environment environment = samplingInto(folder.path());
    environment["OMP_NUM_THREADS"] = "7";
    const Outcome outcome = run({program()}, environment);
    ASSERT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.errors, "");
    std::map<std::string, double> seconds = numbersIn(outcome.output);
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    const SpoolFile &spool = spools.front();
    const spool::Bin total = spool.total();
    EXPECT_EQ(spool.header().ompNumThreads, 7);
    EXPECT_EQ(percent(total.otherHits, spool::OpenMpMonitor), 0.0) << "no thread is for the runtime itself";
    {
        SCOPED_TRACE("main thread");
        check(total.mainHits,
            {{spool::OpenMp, seconds["main.compute"]},
                {spool::OpenMpRuntimeInRegion, seconds["main.runtime"]},
                {spool::Compute, seconds["main.serial"]}});
    }
    {
        SCOPED_TRACE("other thread");
        check(total.otherHits,
            {{spool::OpenMp, seconds["other.compute"]},
                {spool::OpenMpRuntimeInRegion, seconds["other.runtime"]},
                {spool::OpenMpRuntimeOutOfRegion, seconds["other.idle"]}});
    }
    // Nobody else works while the main thread computes alone; a look may find one thread before and the other
    // one after a region's end.
    EXPECT_GE(total.mainAloneHits[spool::Compute], 0.9 * total.mainHits[spool::Compute]);
}

// Whether it works or sleeps: what it used of a processor is told apart.
TEST(OpenMpMonitor, IsAThreadThatTheRuntimeHasForItself)
{
    const Folder folder;
    const Outcome outcome = run({client("ompthreads")}, samplingInto(folder.path()));
    ASSERT_EQ(outcome.status, 0) << outcome;
    std::map<std::string, double> seconds = numbersIn(outcome.output);
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    const spool::Bin total = spools.front().total();
    EXPECT_GT(percent(total.otherActiveHits, spool::OpenMpMonitor), 100.0 - Points);
    EXPECT_EQ(percent(total.otherHits, spool::PthreadCompute), 0.0);
    EXPECT_EQ(percent(total.mainHits, spool::OpenMpMonitor), 0.0);
    double hits = 0.0;
    for (const auto count : total.otherActiveHits)
        hits += double(count);
    EXPECT_NEAR(hits * 1e-9 * spool::HitUnitNs, seconds["monitor"], 0.2 * seconds["monitor"]);
}

INSTANTIATE_TEST_SUITE_P(Sampler, OpenMp, testing::Values("gcc", "llvm"),
    [](const testing::TestParamInfo<const char *> &row) { return std::string(row.param); });
