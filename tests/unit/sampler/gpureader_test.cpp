// Figures of GPUs, by a stand-in for their library, from the reader that a job starts to the job's profile.

#include "job.h"

#include "beside/job.h"
#include "profile/metricids.h"
#include "profile/profilerdata.h"
#include "profile/spoolmerger.h"
#include "profile/spoolreader.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

const std::string twoGpus = "count 2\n"
                            "0.usage 80\n0.access 30\n0.used 3000000000\n0.total 8000000000\n0.power 250000\n"
                            "1.usage 20\n1.access 10\n1.used 1000000000\n1.total 8000000000\n1.power 50000\n";

class GpuReader : public testing::Test {
protected:
    void SetUp() override { standIn("nvml", twoGpus); }
    // The reader ends by itself once its job has; a test's folder may not go before.
    void TearDown() override { EXPECT_TRUE(isReaderGone(10s)); }

    void standIn(const std::string &library, const std::string &answers)
    {
        const std::string link = mFolder.path() + "/libnvidia-ml.so";
        std::filesystem::remove(link);
        std::filesystem::create_symlink(std::string(CLIENTS_DIR) + "/" + library + "-standin.so", link);
        answer(answers);
    }
    // In one go: the reader may be reading.
    void answer(const std::string &answers) const
    {
        std::ofstream(mFolder.path() + "/new.txt") << answers;
        std::filesystem::rename(mFolder.path() + "/new.txt", mFolder.path() + "/nvml.txt");
    }
    const std::string &spools() const { return mSpools.path(); }
    Environment environment() const
    {
        Environment variables = samplingInto(spools());
        variables["QUILLON_SAMPLER_GPU_READER"] = GPU_READER;
        variables["QUILLON_SAMPLER_NVML"] = mFolder.path() + "/libnvidia-ml.so";
        return variables;
    }
    ProfilerData profile() const
    {
        ProfilerData profile;
        EXPECT_TRUE(mergeSpools(QString::fromStdString(spools()), &profile, nullptr));
        return profile;
    }
    ProfilerData runFor(const std::string &duration) const
    {
        const Outcome outcome = run({"sleep", duration}, environment());
        EXPECT_EQ(outcome.status, 0) << outcome;
        EXPECT_EQ(outcome.errors, "");
        return profile();
    }
    int claims() const
    {
        int count = 0;
        for (const auto &entry : std::filesystem::directory_iterator(spools()))
            count += entry.path().extension() == ".gpu-reader" ? 1 : 0;
        return count;
    }
    // That there are and were.
    int readers() const
    {
        int count = 0;
        for (const auto &entry : std::filesystem::directory_iterator(spools())) {
            SpoolProcess process;
            QString reason;
            count
                += SpoolReader::readProcess(QString::fromStdString(entry.path().string()), &process, &reason)
                    && process.is(fern::spool::FlagReader)
                ? 1
                : 0;
        }
        return count;
    }
    bool isReaderGone(std::chrono::seconds patience) const
    {
        const auto until = std::chrono::steady_clock::now() + patience;
        while (claims() != 0 && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(20ms);
        return claims() == 0;
    }

private:
    Folder mFolder;
    Folder mSpools;
};

double meanOf(const ProfilerData &profile, const QString &metric)
{
    return profile.getMetricOrEmpty(metric).mean().to_double();
}

const QStringList allMetrics{METRIC_NVIDIA_GPUS_COUNT, METRIC_NVIDIA_GPU_USAGE, METRIC_NVIDIA_POWER,
    METRIC_NVIDIA_TOTAL_MEMORY, METRIC_NVIDIA_MEMORY_USED, METRIC_NVIDIA_MEMORY_SYS_USAGE};

void expectReasonForAll(const ProfilerData &profile, const QString &beginning)
{
    for (const QString &metric : allMetrics) {
        EXPECT_TRUE(profile.hasMetric(metric)) << qPrintable(metric);
        EXPECT_TRUE(profile.getFirstMetricError(metric).startsWith(beginning))
            << qPrintable(metric) << ": " << qPrintable(profile.getFirstMetricError(metric));
    }
}

} // namespace

TEST_F(GpuReader, ReadsTheGpusOfANode)
{
    const ProfilerData profile = runFor("1.5");
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_GPUS_COUNT), 2);
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_GPU_USAGE), 50);
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_MEMORY_SYS_USAGE), 20);
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_MEMORY_USED), 4e9);
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_TOTAL_MEMORY), 16e9);
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_POWER), 300000);
    for (const QString &metric : allMetrics)
        EXPECT_TRUE(profile.hasMetricNoErrors(metric)) << qPrintable(metric);
    EXPECT_EQ(profile.numTargetProcs(), 1);
}

TEST_F(GpuReader, FollowsWhatChanges)
{
    std::thread beside([this] {
        std::this_thread::sleep_for(1500ms);
        answer("count 1\n0.usage 0\n0.total 100\n0.used 10\n0.power 10\n1.total 100\n1.used 0\n");
    });
    const ProfilerData profile = runFor("3");
    beside.join();
    const ScalarMetric usage = profile.metric(METRIC_NVIDIA_GPU_USAGE);
    EXPECT_DOUBLE_EQ(usage.max().to_double(), 50);
    EXPECT_DOUBLE_EQ(usage.min().to_double(), 0);
    EXPECT_GT(usage.mean().to_double(), 10);
    EXPECT_LT(usage.mean().to_double(), 40);
}

TEST_F(GpuReader, ServesAllProcessesOfANode)
{
    const Outcome outcome = run({"sh", "-c", "sleep 1.5 & sleep 1.5 & sleep 1.5; wait"}, environment());
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_TRUE(isReaderGone(10s));
    const ProfilerData merged = profile();
    EXPECT_EQ(readers(), 1);
    EXPECT_EQ(merged.numTargetProcs(), 3);
    EXPECT_DOUBLE_EQ(meanOf(merged, METRIC_NVIDIA_POWER), 300000);
}

TEST_F(GpuReader, CountsEachNodeOnce)
{
    const std::string onOther = "hostname other.example && exec sleep 1.5";
    if (run({"unshare", "--uts", "true"}).status != 0)
        GTEST_SKIP() << "Requires permission to give a process a host name of its own (unshare --uts)";
    std::thread other([&] {
        EXPECT_EQ(run({"unshare", "--uts", "sh", "-c", onOther}, environment()).status, 0);
    });
    EXPECT_EQ(run({"sh", "-c", "sleep 1.5 & sleep 1.5; wait"}, environment()).status, 0);
    other.join();
    const ProfilerData merged = profile();
    EXPECT_EQ(merged.numNodes(), 2);
    EXPECT_DOUBLE_EQ(meanOf(merged, METRIC_NVIDIA_GPUS_COUNT), 2);
    EXPECT_DOUBLE_EQ(merged.metric(METRIC_NVIDIA_TOTAL_MEMORY).exactSum().to_double(), 32e9);
    EXPECT_DOUBLE_EQ(merged.metric(METRIC_NVIDIA_POWER).exactSum().to_double(), 600000);
}

TEST_F(GpuReader, IsNotSeenByTheProgram)
{
    // The shell waits for all children that it has, and shows them.
    const Command command{"sh", "-c",
        "sleep 0.6; ls -l /proc/self/fd | wc -l; ps --no-headers --ppid $$ -o comm=; wait; echo $?"};
    const Outcome alone = run(command);
    const Outcome sampled = run(command, environment());
    EXPECT_EQ(sampled, alone);
    EXPECT_EQ(readers(), 1) << "one was there";
}

TEST_F(GpuReader, IsNoChildOfTheProgram)
{
    const Command command{"python3", "-c",
        "import os, resource, signal, time\n"
        "signals = []\n"
        "signal.signal(signal.SIGCHLD, lambda number, frame: signals.append(number))\n"
        "end = time.monotonic() + 0.7\n"
        "while time.monotonic() < end: time.sleep(0.01)\n"
        "print(signals, os.listdir('/proc/self/fd'))\n"
        "try: print(os.waitpid(-1, os.WNOHANG))\n"
        "except ChildProcessError: print('no child')\n"
        "print(open('/proc/self/task/%d/children' % os.getpid()).read())\n"};
    if (run({"python3", "-c", ""}).status != 0)
        GTEST_SKIP() << "Requires python3";
    const Outcome alone = run(command);
    EXPECT_NE(alone.output.find("no child"), std::string::npos) << alone;
    EXPECT_EQ(run(command, environment()), alone);
    EXPECT_EQ(readers(), 1) << "one was there";
}

TEST_F(GpuReader, HoldsNoPipeAndNoTerminal)
{
    const auto begin = std::chrono::steady_clock::now();
    standIn("nvml", twoGpus + "hang 2\n");
    run({"sleep", "0.5"}, environment()); // returns when nobody can write any more
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
}

TEST_F(GpuReader, EndsWithItsJob)
{
    EXPECT_EQ(run({"sleep", "0.6"}, environment()).status, 0);
    EXPECT_TRUE(isReaderGone(3s));
    const Folder outputs;
    const pid_t job = start({"sleep", "60"}, environment(), outputs.path());
    while (claims() == 0)
        std::this_thread::sleep_for(10ms);
    kill(job, SIGKILL);
    waitpid(job, nullptr, 0);
    EXPECT_TRUE(isReaderGone(3s));
}

TEST_F(GpuReader, ThatNeverGetsAnAnswerEndsWithItsJob)
{
    standIn("nvml", "hang 1\n");
    expectReasonForAll(runFor("0.6"), "Not read while the job ran");
    EXPECT_TRUE(isReaderGone(4s));
}

TEST_F(GpuReader, KeepsWhatItReadBeforeADeviceHangs)
{
    std::thread beside([this] {
        std::this_thread::sleep_for(1200ms);
        answer(twoGpus + "hang 2\n");
    });
    EXPECT_DOUBLE_EQ(meanOf(runFor("2"), METRIC_NVIDIA_GPU_USAGE), 50);
    beside.join();
}

TEST_F(GpuReader, WithoutALibrarySaysWhatItTakes)
{
    Environment variables = environment();
    variables["QUILLON_SAMPLER_NVML"] = "/missing/libnvidia-ml.so.1";
    EXPECT_EQ(run({"sleep", "0.6"}, variables).status, 0);
    expectReasonForAll(profile(), "Requires a working NVIDIA driver");
}

TEST_F(GpuReader, WithoutADriverSaysWhatItTakes)
{
    answer("init 9\n");
    expectReasonForAll(runFor("0.6"), "Requires a working NVIDIA driver");
}

TEST_F(GpuReader, WithoutPermissionSaysWhatItTakes)
{
    answer("init 4\n");
    const ProfilerData profile = runFor("0.6");
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_NVIDIA_GPUS_COUNT).startsWith("Requires permission"));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_NVIDIA_GPU_USAGE).startsWith("Requires GPUs that tell"));
}

TEST_F(GpuReader, WithoutGpusSaysSo)
{
    answer("count 0\n");
    expectReasonForAll(runFor("0.6"), "Not supported on this system, which has no NVIDIA GPUs.");
}

TEST_F(GpuReader, FiguresThatTheGpusDontTellHaveTheirReason)
{
    answer(twoGpus + "usage.code 3\n1.power.code 4\n");
    const ProfilerData profile = runFor("0.8");
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_GPUS_COUNT), 2);
    EXPECT_TRUE(std::isnan(meanOf(profile, METRIC_NVIDIA_GPU_USAGE)));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_NVIDIA_GPU_USAGE).startsWith("Requires GPUs that tell"));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_NVIDIA_MEMORY_SYS_USAGE).startsWith("Requires GPUs"));
    // The power of one GPU isn't that of the node.
    EXPECT_TRUE(std::isnan(meanOf(profile, METRIC_NVIDIA_POWER)));
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_MEMORY_USED), 4e9);
}

TEST_F(GpuReader, OneGpuThatTellsItsUsageIsEnough)
{
    answer(twoGpus + "1.usage.code 3\n");
    EXPECT_DOUBLE_EQ(meanOf(runFor("0.8"), METRIC_NVIDIA_GPU_USAGE), 80);
}

TEST_F(GpuReader, AGpuThatIsLostLeavesWhatWasReadBefore)
{
    std::thread beside([this] {
        std::this_thread::sleep_for(1200ms);
        answer(twoGpus + "1.usage.code 15\n1.memory.code 15\n1.power.code 15\n");
    });
    const ProfilerData profile = runFor("2.5");
    beside.join();
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_POWER), 300000);
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_NVIDIA_POWER));
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_NVIDIA_GPU_USAGE).max().to_double(), 80);
}

TEST_F(GpuReader, AnOlderLibraryGivesWhatItHas)
{
    standIn("nvml-without-power", twoGpus);
    const ProfilerData profile = runFor("0.8");
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_NVIDIA_GPU_USAGE), 50);
    EXPECT_TRUE(
        profile.getFirstMetricError(METRIC_NVIDIA_POWER).startsWith("Requires a working NVIDIA driver"));
}

TEST_F(GpuReader, ThatCantBeStartedChangesNothing)
{
    Environment variables = environment();
    variables["QUILLON_SAMPLER_GPU_READER"] = "/missing/reader";
    const Outcome outcome = run({"sleep", "0.4"}, variables);
    EXPECT_EQ(outcome.status, 0) << outcome;
    expectReasonForAll(profile(), "Not read while the job ran");
}

TEST_F(GpuReader, ChecksAMachineByItself)
{
    const Environment variables{{"QUILLON_SAMPLER_NVML", environment()["QUILLON_SAMPLER_NVML"]}};
    EXPECT_EQ(run({GPU_READER, "--check"}, variables).output, "1 1 1 1\n");
    answer(twoGpus + "power.code 4\n");
    EXPECT_EQ(run({GPU_READER, "--check"}, variables).output, "1 1 1 4\n");
    EXPECT_EQ(run({GPU_READER, "--check"}, {{"QUILLON_SAMPLER_NVML", "/missing"}}).output, "3 3 3 3\n");
    EXPECT_EQ(WEXITSTATUS(run({GPU_READER, "--wrong"}).status), 2);
}

TEST(GpuReaderJob, KnowsProcessesByTheNamesOfTheirSpools)
{
    using fern::beside::processOfSpool;
    EXPECT_EQ(processOfSpool("node-123-456.spool", "node"), 123);
    EXPECT_EQ(processOfSpool("node-1-123-456.spool", "node-1"), 123);
    EXPECT_EQ(processOfSpool("node-1-123-456.spool", "node"), 0);
    EXPECT_EQ(processOfSpool("node2-123-456.spool", "node"), 0);
    EXPECT_EQ(processOfSpool("node-123-456.spool.part", "node"), 0);
    EXPECT_EQ(processOfSpool("node-123.spool", "node"), 0);
    EXPECT_EQ(processOfSpool("node-99999999999-4.spool", "node"), 0);
    EXPECT_EQ(processOfSpool("node.gpu-reader", "node"), 0);
}
