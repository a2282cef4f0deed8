// The sampler of AArch64, run by qemu's emulation of a process: its system calls, the entry of its thread and
// its wrappers. What qemu doesn't have, perf events above all, needs a real machine.

#include "job.h"

#include "profile/profilerdata.h"
#include "profile/spoolmerger.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

const std::string Built = AARCH64_BUILD;

Command emulated(const std::string &folder, const Command &command)
{
    Command result{"qemu-aarch64", "-L", "/usr/aarch64-linux-gnu"};
    for (const auto &[name, value] : samplingInto(folder)) {
        const bool isLibrary = name == "LD_PRELOAD";
        result.push_back("-E");
        result.push_back(name + "=" + (isLibrary ? Built + "/stage/lib/libfern-sampler.so" : value));
    }
    result.insert(result.end(), command.begin(), command.end());
    return result;
}

} // namespace

TEST(AArch64, ProgramsRunAndTheirTimeIsTold)
{
    if (!std::filesystem::exists(Built + "/client-shares"))
        GTEST_SKIP() << "it wasn't built: the cross compiler or qemu-user is missing";
    const Folder folder;
    const Outcome outcome = run(
        emulated(folder.path(), {Built + "/client-shares", "1.5", "0", "0", "1.5", folder.path() + "/data"}));
    ASSERT_EQ(outcome.status, 0) << outcome;
    auto seconds = numbersIn(outcome.output);
    ASSERT_GT(seconds["whole"], 0.0);

    std::filesystem::remove(folder.path() + "/data");
    ProfilerData profile;
    ASSERT_TRUE(mergeSpools(QString::fromStdString(folder.path()), &profile, nullptr));
    double compute = 0;
    double sleep = 0;
    double all = 0;
    for (int sample = 0; sample < profile.numSamples(); ++sample) {
        const HitCounts hits = profile.hitsOfSample(sample);
        for (int category = 0; category < Category::Count; ++category)
            all += hits.of[category].main;
        compute += hits.of[Category::COMPUTE].main;
        sleep += hits.of[Category::SLEEP].main;
    }
    // Wide bounds: the emulator's own start is the program's.
    EXPECT_NEAR(compute / all, seconds["compute"] / seconds["whole"], 0.15);
    EXPECT_NEAR(sleep / all, seconds["sleep"] / seconds["whole"], 0.15);
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_RSS));
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_ACTIVE_CORES));
}
