// Events that the kernel and the processor count. Those of the kernel's software exist on every machine and
// go the way of all others; they stand in for the processor's where it has no counters.

#include "job.h"
#include "spoolfile.h"

#include "profile/perfevents.h"
#include "profile/profilerdata.h"
#include "profile/spoolmerger.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool canCount(std::uint32_t type, std::uint64_t config)
{
    perf_event_attr attributes{};
    attributes.size = sizeof(attributes);
    attributes.type = type;
    attributes.config = config;
    attributes.exclude_kernel = 1;
    attributes.exclude_hv = 1;
    const long event = ::syscall(SYS_perf_event_open, &attributes, 0, -1, -1, 0);
    if (event >= 0)
        ::close(static_cast<int>(event));
    return event >= 0;
}

class Events : public testing::Test {
protected:
    void SetUp() override
    {
        if (!canCount(PERF_TYPE_SOFTWARE, PERF_COUNT_SW_PAGE_FAULTS))
            GTEST_SKIP() << "the kernel refuses to count: see kernel.perf_event_paranoid";
    }
    Outcome runWith(const QStringList &events, const Command &command) const
    {
        QVector<PerfEvent> parsed;
        QString error;
        EXPECT_TRUE(PerfEvents::parse(events, &parsed, &error)) << qPrintable(error);
        Environment environment = samplingInto(folder.path());
        environment["QUILLON_SAMPLER_EVENTS"] = PerfEvents::forSampler(parsed).toStdString();
        const Outcome outcome = run(command, environment);
        EXPECT_EQ(outcome.status, 0) << outcome;
        return outcome;
    }
    spool::Bin total() const
    {
        const std::vector<SpoolFile> spools = spoolsOf("client-events", folder.path());
        EXPECT_EQ(spools.size(), 1U);
        return spools.empty() ? spool::Bin{} : spools.front().total();
    }
    ProfilerData profile() const
    {
        ProfilerData result;
        EXPECT_TRUE(mergeSpools(QString::fromStdString(folder.path()), &result, nullptr));
        return result;
    }

    Folder folder;
};

double counted(const spool::Bin &bin, std::uint32_t event)
{
    return bin.figures[spool::FigureSiteEvent + event].sum;
}

} // namespace

TEST_F(Events, AreCountedToTheEndOfTheirThreads)
{
    const auto said = numbersIn(runWith({"page-faults"}, {client("events"), "3", "20000"}).output);
    ASSERT_GE(said.at("faults"), 60000.0);
    // A thread's first faults were before it was noticed, and what it does at its end counts, too.
    EXPECT_NEAR(counted(total(), 0), said.at("faults"), 0.01 * said.at("faults"));
}

TEST_F(Events, GoOnAfterTheSamplerWasStoppedForAWhile)
{
    const auto said = numbersIn(runWith({"page-faults"}, {client("events"), "1", "20000", "setuid"}).output);
    EXPECT_NEAR(counted(total(), 0), said.at("faults"), 0.02 * said.at("faults"));
}

TEST_F(Events, OfOneGroupAreToldApart)
{
    const auto said = numbersIn(runWith(
        {"task-clock", "major-faults", "page-faults", "minor-faults", "alignment-faults", "cpu-clock"},
        {client("events"), "2", "20000"})
                                    .output);
    const spool::Bin bin = total();
    EXPECT_NEAR(counted(bin, 0) / 1e9, said.at("cpu"), 0.3 * said.at("cpu"));
    EXPECT_LT(counted(bin, 1), 100.0);
    EXPECT_NEAR(counted(bin, 2), said.at("faults"), 0.01 * said.at("faults"));
    EXPECT_NEAR(counted(bin, 3), said.at("faults"), 0.01 * said.at("faults"));
    EXPECT_EQ(counted(bin, 4), 0.0);
    // A group of its own: on a busy machine the sampling thread may be kept waiting between opening the two.
    EXPECT_NEAR(counted(bin, 5), counted(bin, 0), 0.3 * counted(bin, 0));
}

TEST_F(Events, BecomeRatesOfTheProfile)
{
    const auto said = numbersIn(runWith({"page-faults"}, {client("events"), "1", "50000"}).output);
    const ProfilerData data = profile();
    const QString id = "com.brivane.metrics.perf.page-faults";
    ASSERT_TRUE(data.hasMetricNoErrors(id));
    const double seconds = data.getSampledRuntimeMs() / 1e3;
    EXPECT_NEAR(data.metric(id).mean().to_double() * seconds, said.at("faults"), 0.2 * said.at("faults"));
    EXPECT_EQ(MetricDefinitions::describe(id).units, "/s");
}

TEST_F(Events, ThatTheProcessorLacksSayWhatItTakes)
{
    runWith({"r0", "page-faults"}, {client("events"), "1", "1000"});
    const ProfilerData data = profile();
    EXPECT_TRUE(data.hasMetricNoErrors("com.brivane.metrics.perf.page-faults"));
    if (canCount(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES)) {
        const double cycles = data.metric(METRIC_PERF_CYCLES_PER_INS).mean().to_double();
        EXPECT_GT(cycles, 0.1);
        EXPECT_LT(cycles, 20.0);
        return;
    }
    for (const QString &id : {METRIC_PERF_CYCLES_PER_INS, QString("com.brivane.metrics.perf.r0")}) {
        const QString error = data.getFirstMetricError(id);
        EXPECT_TRUE(error.startsWith("Requires ")) << qPrintable(error);
        EXPECT_TRUE(error.contains("not supported on this platform.")) << qPrintable(error);
    }
}

TEST_F(Events, LeaveHalfOfTheDescriptorsToProgramCounters)
{
    // Of 12 descriptors six are for events, and there are seven of these.
    const std::string command = "ulimit -n 12; exec '" + client("events") + "' 4 1000";
    runWith({"task-clock", "page-faults", "major-faults", "minor-faults", "cpu-clock", "alignment-faults",
                "emulation-faults"},
        {"sh", "-c", command});
    const std::vector<SpoolFile> spools = spoolsOf("client-events", folder.path());
    ASSERT_EQ(spools.size(), 1U);
    EXPECT_GT(spools.front().header().threadsUncounted, 0U);
    EXPECT_GT(profile().metric(METRIC_SAMPLER_THREADS_UNCOUNTED).max().to_double(), 0.0);
    EXPECT_TRUE(profile()
                    .getFirstMetricError("com.brivane.metrics.perf.task-clock")
                    .startsWith("Requires a higher limit of open files"));
}
