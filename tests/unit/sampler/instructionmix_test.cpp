// The instruction mix that a profile shows is that of the program's listing.

#include "job.h"
#include "spoolfile.h"

#include "profile/profilerdata.h"
#include "profile/spoolmerger.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <linux/perf_event.h>
#include <numeric>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr double Points = 5.0;
constexpr int NotOnThisMachine = 77;

QString firstReason(const ProfilerData &profile)
{
    return profile.getFirstMetricError(METRIC_INSTR_INT);
}

// Why the kernel lets nobody here read program counters; empty if it does. Asked of the kernel, since a
// sampler that gives up for a reason of its own must not pass for one that was refused.
std::string refusalOfTheKernel()
{
    perf_event_attr attributes;
    std::memset(&attributes, 0, sizeof attributes);
    attributes.size = sizeof attributes;
    attributes.type = PERF_TYPE_SOFTWARE;
    attributes.config = PERF_COUNT_SW_TASK_CLOCK;
    attributes.exclude_kernel = 1;
    attributes.disabled = 1;
    const long event = syscall(SYS_perf_event_open, &attributes, 0, -1, -1, 0UL);
    if (event < 0)
        return std::strerror(errno);
    close(static_cast<int>(event));
    return {};
}

ProfilerData profileOf(const Folder &folder)
{
    ProfilerData profile;
    EXPECT_TRUE(mergeSpools(QString::fromStdString(folder.path()), &profile, nullptr));
    return profile;
}

class Listing : public testing::TestWithParam<const char *> { };

TEST_P(Listing, AgreesWithTheSampledMix)
{
    const Folder folder;
    const Outcome outcome = run({client("loops"), GetParam(), "1.5"}, samplingInto(folder.path()));
    if (WEXITSTATUS(outcome.status) == NotOnThisMachine)
        GTEST_SKIP() << "the loops are written for another machine";
    ASSERT_EQ(outcome.status, 0) << outcome;
    std::map<std::string, double> listing = numbersIn(outcome.output);
    const double all = std::accumulate(
        listing.begin(), listing.end(), 0.0, [](double sum, const auto &kind) { return sum + kind.second; });
    if (const std::string refusal = refusalOfTheKernel(); !refusal.empty())
        GTEST_SKIP() << "the kernel refuses program counters: " << refusal;
    const ProfilerData profile = profileOf(folder);
    ASSERT_EQ(firstReason(profile), QString());

    const auto expect = [&](const QString &metric, double count) {
        EXPECT_NEAR(profile.getMetricOrEmpty(metric).mean().to_double(), 100.0 * count / all, Points)
            << qPrintable(metric);
    };
    expect(METRIC_INSTR_VECTOR_FP, listing["vectorFp"]);
    expect(METRIC_INSTR_VECTOR_INT, listing["vectorInt"]);
    expect(METRIC_INSTR_FP, listing["scalarFp"] + listing["vectorFp"]);
    expect(METRIC_INSTR_INT, listing["scalarInt"] + listing["vectorInt"]);
    expect(METRIC_INSTR_MEM, listing["memory"]);
}

INSTANTIATE_TEST_SUITE_P(Loops, Listing,
    testing::Values(
        "scalar-fp", "vector-fp", "scalar-int", "vector-int", "chase", "copy", "branchy", "lengthy"),
    [](const auto &row) {
        std::string name = row.param;
        for (char &c : name)
            c = c == '-' ? '_' : c;
        return name;
    });

TEST(ProgramCounters, ThatAreRefusedLeaveAReason)
{
    const Folder folder;
    const Outcome outcome
        = run({client("sandbox"), "refuse", client("loops"), "copy", "0.5"}, samplingInto(folder.path()));
    if (WEXITSTATUS(outcome.status) == NotOnThisMachine)
        GTEST_SKIP() << "no filters of system calls here";
    ASSERT_EQ(outcome.status, 0) << outcome;
    const ProfilerData profile = profileOf(folder);
    EXPECT_TRUE(firstReason(profile).startsWith("Requires permission")) << qPrintable(firstReason(profile));
    EXPECT_FALSE(profile.getMetricOrEmpty(METRIC_INSTR_INT).isDefined());
}

// Each switch of a thread that is watched costs the program time.
TEST(ProgramCounters, AreFewerWhileThreadsAreSwitchedOften)
{
    if (const std::string refusal = refusalOfTheKernel(); !refusal.empty())
        GTEST_SKIP() << "the kernel refuses program counters: " << refusal;
    constexpr double PerSecond = 250;
    const auto programCounters = [](const char *crowded, const char *calm, const char *part, double *took) {
        const Folder folder;
        const Outcome outcome = run({client("switches"), crowded, calm}, samplingInto(folder.path()));
        EXPECT_EQ(outcome.status, 0) << outcome;
        *took = numbersIn(outcome.output)[part];
        const std::vector<SpoolFile> spools = spoolsOf("client-switches", folder.path());
        EXPECT_EQ(spools.size(), 1U);
        return spools.empty() ? 0U : spools.front().header().programCounterCount;
    };
    double seconds = 0;
    const std::uint32_t crowded = programCounters("2", "0", "computed", &seconds);
    EXPECT_LT(crowded, PerSecond * seconds * 0.5);
    EXPECT_GT(crowded, 0U) << "each thread has a turn now and then";
    const std::uint32_t calmLater = programCounters("1", "1.5", "calm", &seconds);
    EXPECT_GT(calmLater, PerSecond * seconds * 0.5) << "as many as ever afterwards";
}

TEST(ProgramCounters, ArentAskedForInAProgramThatShutItselfIn)
{
    const Folder folder;
    const Outcome outcome = run({client("sandbox"), "shutin"}, samplingInto(folder.path()));
    if (WEXITSTATUS(outcome.status) == NotOnThisMachine)
        GTEST_SKIP() << "no filters of system calls here";
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.output, "alive\n");
}

} // namespace
