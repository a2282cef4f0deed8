// Waits for accelerators: programs of each library's stand-in, with a known share of waiting.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

namespace {

constexpr double Points = 5.0;

// A program, and how it waits.
using Case = std::tuple<const char *, const char *>;

class Accelerator : public testing::TestWithParam<Case> { };

void checkShares(const Command &command)
{
    const Folder folder;
    const Outcome outcome = run(command, samplingInto(folder.path()));
    EXPECT_EQ(outcome.status, 0) << outcome;
    std::map<std::string, double> measured = numbersIn(outcome.output);
    EXPECT_GE(measured["calls"], 30);
    EXPECT_EQ(measured["wrong"], 0);
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    EXPECT_EQ(spools.front().complaint(), "");
    const spool::Bin total = spools.front().total();
    const double points = Points + percentMissed(spools.front().header());
    const auto check = [&](spool::Category category, const char *name) {
        EXPECT_NEAR(percent(total.mainHits, category), 100.0 * measured[name] / measured["whole"], points)
            << name;
    };
    check(spool::Compute, "compute");
    check(spool::Accelerator, "wait");
    EXPECT_EQ(sum(total.otherHits), 0U);
}

std::string module(const std::string &name)
{
    return std::string(CLIENTS_DIR) + "/accelerator-" + name + ".so";
}

} // namespace

TEST_P(Accelerator, WaitsAreToldFromComputing)
{
    const auto [library, manner] = GetParam();
    checkShares({client(std::string("accelerator-") + library), "0.7", "0.9", manner});
}

INSTANTIATE_TEST_SUITE_P(Sampler, Accelerator,
    testing::Values(Case{"CudaRuntime", "sleeps"}, Case{"CudaRuntime", "burns"}, Case{"CudaDriver", "burns"},
        Case{"Hip", "sleeps"}),
    [](const testing::TestParamInfo<Case> &row) {
        return std::string(std::get<0>(row.param)) + "_" + std::get<1>(row.param);
    });

TEST(AcceleratorModule, WaitsInAModuleThatIsLoadedForItselfAlone)
{
    checkShares({client("loader"), module("CudaRuntime-1"), "0.7", "0.9", "burns"});
}

TEST(AcceleratorModule, EachModuleKeepsTheLibraryThatItWasLinkedTo)
{
    const Command command{client("acceleratorguest"), "load", module("CudaRuntime-1"),
        module("CudaRuntime-2"), module("Hip-1")};
    const Folder folder;
    const Outcome outcome = run(command, samplingInto(folder.path()));
    EXPECT_EQ(outcome.status, 0) << outcome;
    std::size_t answers = 0;
    for (std::size_t at = 0; (at = outcome.output.find("wrong ", at)) != std::string::npos; ++at) {
        EXPECT_EQ(outcome.output.substr(at, 8), "wrong 0\n");
        ++answers;
    }
    EXPECT_EQ(answers, 6U) << outcome;
}

TEST(AcceleratorModule, CallsWithoutALibrarySayThatThereIsNone)
{
    EXPECT_EQ(run({client("acceleratorguest"), "ask"}).output, "");
    const Folder folder;
    EXPECT_EQ(run({client("acceleratorguest"), "ask"}, samplingInto(folder.path())).output,
        "cudaDeviceSynchronize 35\ncuStreamSynchronize 3\nhipFree 3\n");
}
