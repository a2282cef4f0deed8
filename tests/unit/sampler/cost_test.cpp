// What the sampler costs: printed, for docs/sampler.md, since absolute times aren't for assertions.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace {

// Milliseconds from a process's start to its end.
double timeOf(const Command &command, const Environment &environment)
{
    const auto begin = std::chrono::steady_clock::now();
    run(command, environment);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

std::map<std::string, double> nanosecondsOfCalls(const Folder &folder, const Environment &environment)
{
    return numbersIn(run({client("calls"), folder.path() + "/data"}, environment).output);
}

} // namespace

TEST(Cost, OfLooking)
{
    const Folder folder;
    run({client("shares"), "2", "0", "0", "0", folder.path() + "/data"}, samplingInto(folder.path()));
    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    ASSERT_EQ(spools.size(), 1U);
    const spool::Header &header = spools.front().header();
    const double share = 100.0 * static_cast<double>(header.samplerCpuNs)
        / static_cast<double>(header.lastNs - header.startNs);
    std::printf("sampling thread: %.1f us of CPU time a look, figures included; %.2f %% of a core\n",
        static_cast<double>(header.samplerCpuNs) / 1e3 / static_cast<double>(header.ticks), share);
    EXPECT_LE(share, 3.0);
}

// By the difference to the same without them, of ten readings in a second.
TEST(Cost, OfCountingEvents)
{
    const auto cpuOf = [](const std::string &events) {
        const Folder folder;
        Environment environment = samplingInto(folder.path());
        environment["QUILLON_SAMPLER_EVENTS"] = events;
        run({client("shares"), "3", "0", "0", "0", folder.path() + "/data"}, environment);
        const std::vector<SpoolFile> spools = spoolsIn(folder.path());
        EXPECT_EQ(spools.size(), 1U);
        return spools.empty() ? 0.0 : static_cast<double>(spools.front().header().samplerCpuNs) / 1e3;
    };
    constexpr double Readings = 30;
    const double without = cpuOf("");
    const double with = cpuOf("a:1:0,b:1:1,c:1:2,d:1:4,e:1:5,f:1:6,g:1:7,h:1:8");
    std::printf("eight events of one thread: %.1f us a reading\n", (with - without) / Readings);
    EXPECT_LE((with - without) / Readings, 1000.0);
}

TEST(Cost, OfAWrappedCall)
{
    const Folder folder;
    std::map<std::string, double> alone = nanosecondsOfCalls(folder, {});
    std::map<std::string, double> sampled = nanosecondsOfCalls(folder, samplingInto(folder.path()));
    std::printf(
        "fputc_unlocked: %.1f ns alone, %.1f ns sampled\n", alone["nanoseconds"], sampled["nanoseconds"]);
    std::printf("a free mutex, taken and given back: %.1f ns alone, %.1f ns sampled\n", alone["lock"],
        sampled["lock"]);
    for (const char *what : {"nanoseconds", "lock"}) {
        EXPECT_GT(alone[what], 0.0);
        EXPECT_GT(sampled[what], 0.0);
    }
}

TEST(Cost, OfAProcess)
{
    const Folder folder;
    std::vector<double> alone;
    std::vector<double> asleep;
    std::vector<double> sampled;
    for (int i = 0; i < 100; ++i) {
        alone.push_back(timeOf({"true"}, {}));
        asleep.push_back(timeOf({"true"}, {{"LD_PRELOAD", SAMPLER_LIBRARY}}));
        sampled.push_back(timeOf({"true"}, samplingInto(folder.path())));
    }
    std::printf("true: %.2f ms alone, %.2f ms with the library asleep, %.2f ms sampled\n", median(alone),
        median(asleep), median(sampled));
    EXPECT_EQ(spoolsIn(folder.path()).size(), sampled.size());
}
