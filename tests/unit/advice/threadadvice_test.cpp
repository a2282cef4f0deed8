// What is said of OpenMP and of other threads.

#include "advicetest.h"

#include "performanceadvice.h"

namespace {

// System loads and core utilizations (percent) on the two sides of their thresholds, for no overhead.
constexpr double normalLoad = 125;
constexpr double highLoad = 125.1;
constexpr double enoughCores = 90;
constexpr double fewCores = 89.9;

const std::string loadIsBackground
    = "The system load is high. Ensure background system processes are not running.";
const std::string loadIsOtherJobs
    = "The system load is high. Check that other jobs or system processes are not running on the same nodes.";
const std::string loadIsThreads = "The system load is high - multiple threads may be sharing one core. Check "
                                  "your thread affinity settings.";

const std::string openmpSynchronizing
    = "Significant time is spent <span class=\"openmp.overheadPercent\">synchronizing</span> threads in "
      "parallel "
      "regions. Check the affected regions with a profiler.";
const std::string openmpUnusedCores
    = "<span class=\"openmp.physicalCoreUtilizationPercent\">Physical core utilization</span> is low and "
      "some "
      "cores may be unused. Try increasing OMP_NUM_THREADS to improve performance.";
const std::string openmpGood = "OpenMP thread performance looks good. Check the CPU breakdown for advice on "
                               "improving code efficiency.";
const std::string openmpOversubscribed
    = "Multiple <span class=\"openmp.physicalCoreUtilizationPercent\">OpenMP threads per physical "
      "core</span> can "
      "cause this. Reducing OMP_NUM_THREADS may improve performance.";
const std::string openmpFineGrained
    = "This may be a sign of overly fine-grained parallelism (OpenMP regions in tight loops) or workload "
      "imbalance.";

const std::string threadsIdle = "No measurable time is spent in multithreaded code.";
const std::string threadsSynchronizing
    = "Significant time is spent <span class=\"threads.syncPercent\">synchronizing</span> threads. Check "
      "which "
      "locks cause the most overhead with a profiler.";
const std::string threadsUnusedCores
    = "<span class=\"threads.physicalCoreUtilizationPercent\">Physical core utilization</span> is low. Try "
      "increasing the number of threads or processes to improve performance.";
const std::string threadsGood
    = "Thread usage appears to be well-optimized. Check the CPU breakdown for advice on "
      "further improving performance.";
const std::string threadsFineGrained
    = "This may be a sign of overly fine-grained parallelism or of workload imbalance between threads.";

Sentences ofOpenmp(double overhead, double utilization, double load)
{
    return said(openmpAdvice(50, 50 - overhead, overhead, utilization, load));
}

Sentences ofThreads(double overhead, double utilization, double load)
{
    return said(threadsAdvice(50, overhead, utilization, load));
}

TEST(OpenmpAdvice, SaysNothingWithoutASystemLoad)
{
    EXPECT_EQ(said(openmpAdvice(90, 10, 80, 20, 0)), Sentences(Nothing, Nothing));
    EXPECT_EQ(said(openmpAdvice(0, 0, 0, 0, 0)), Sentences(Nothing, Nothing));
}

TEST(OpenmpAdvice, NoMeasurableTimeIsAllThereIsToSay)
{
    const Sentences idle("No measurable time is spent in OpenMP regions.", Nothing);
    EXPECT_EQ(said(openmpAdvice(0.04, 0, 80, 20, highLoad)), idle);
    EXPECT_EQ(said(openmpAdvice(0.05, 0, 0, enoughCores, normalLoad)), Sentences(openmpGood, Nothing));
}

TEST(OpenmpAdvice, OverheadWithMoreThreadsThanCores)
{
    EXPECT_EQ(ofOpenmp(26, 100.1, normalLoad), Sentences(openmpSynchronizing, openmpOversubscribed));
    EXPECT_EQ(ofOpenmp(26, 100.1, highLoad), Sentences(openmpSynchronizing, openmpOversubscribed));
    EXPECT_EQ(ofOpenmp(26, 100, normalLoad), Sentences(openmpSynchronizing, openmpFineGrained));
}

TEST(OpenmpAdvice, OverheadWithThreadsThatShareCores)
{
    const std::string sharing
        = "<span class=\"openmp.physicalCoreUtilizationPercent\">Physical core utilization</span> is low and "
          "multiple threads may be sharing one core. Check your thread affinity settings.";
    EXPECT_EQ(ofOpenmp(26, 63.9, highLoad), Sentences(openmpSynchronizing, sharing));
    EXPECT_EQ(ofOpenmp(26, 64, highLoad), Sentences(openmpSynchronizing, loadIsBackground));
    EXPECT_EQ(ofOpenmp(26, 63.9, normalLoad), Sentences(openmpSynchronizing, openmpFineGrained));
}

TEST(OpenmpAdvice, OverheadCountsFromMoreThanAQuarter)
{
    EXPECT_EQ(ofOpenmp(25, 80, normalLoad), Sentences(openmpGood, Nothing));
    EXPECT_EQ(ofOpenmp(25.1, 80, normalLoad), Sentences(openmpSynchronizing, openmpFineGrained));
}

TEST(OpenmpAdvice, UnusedCores)
{
    EXPECT_EQ(ofOpenmp(0, fewCores, normalLoad), Sentences(openmpUnusedCores, Nothing));
    EXPECT_EQ(ofOpenmp(0, fewCores, highLoad), Sentences(openmpUnusedCores, loadIsThreads));
}

TEST(OpenmpAdvice, OverheadExplainsThatMuchOfTheUnusedCores)
{
    EXPECT_EQ(ofOpenmp(20, 70, normalLoad), Sentences(openmpGood, Nothing));
    EXPECT_EQ(ofOpenmp(20, 69.9, normalLoad), Sentences(openmpUnusedCores, Nothing));
}

TEST(OpenmpAdvice, HighLoadOnBusyCores)
{
    EXPECT_EQ(ofOpenmp(0, enoughCores, highLoad), Sentences(loadIsOtherJobs, Nothing));
    EXPECT_EQ(ofOpenmp(0, enoughCores, normalLoad), Sentences(openmpGood, Nothing));
}

TEST(OpenmpAdvice, IgnoresTheComputeShare)
{
    EXPECT_EQ(openmpAdvice(50, 0, 10, 95, 100), openmpAdvice(50, NotAvailable, 10, 95, 100));
}

TEST(OpenmpAdvice, UnmeasuredFiguresLookGood)
{
    EXPECT_EQ(said(openmpAdvice(NotAvailable, NotAvailable, NotAvailable, NotAvailable, NotAvailable)),
        Sentences(openmpGood, Nothing));
}

TEST(ThreadsAdvice, SaysNothingWithoutASystemLoad)
{
    EXPECT_EQ(said(threadsAdvice(10, 80, 20, 0)), Sentences(Nothing, Nothing));
    EXPECT_EQ(said(threadsAdvice(0, 0, 20, 0)), Sentences(Nothing, Nothing));
}

TEST(ThreadsAdvice, WithoutThreadsOtherProcessesAreStillLookedAt)
{
    EXPECT_EQ(said(threadsAdvice(0, 0, fewCores, highLoad)),
        Sentences(threadsIdle, "The system load is high - multiple processes may be sharing one core."));
    EXPECT_EQ(said(threadsAdvice(0, 0, fewCores, normalLoad)),
        Sentences(threadsIdle,
            "<span class=\"threads.physicalCoreUtilizationPercent\">Physical core utilization</span> is low. "
            "Try "
            "increasing the number of processes to improve performance."));
    EXPECT_EQ(said(threadsAdvice(0, 0, enoughCores, highLoad)), Sentences(threadsIdle, loadIsOtherJobs));
    EXPECT_EQ(said(threadsAdvice(0, 0, enoughCores, normalLoad)), Sentences(threadsIdle, Nothing));
}

TEST(ThreadsAdvice, ComputationAndSynchronizationTogetherAreTheTimeInThreads)
{
    EXPECT_EQ(said(threadsAdvice(0.02, 0.02, enoughCores, normalLoad)), Sentences(threadsIdle, Nothing));
    EXPECT_EQ(said(threadsAdvice(0.025, 0.025, enoughCores, normalLoad)), Sentences(threadsGood, Nothing));
}

TEST(ThreadsAdvice, OverheadWithMoreThreadsThanCoresNeedsAHighLoad)
{
    EXPECT_EQ(ofThreads(26, 100.1, highLoad),
        Sentences(threadsSynchronizing,
            "Multiple <span class=\"threads.physicalCoreUtilizationPercent\">threads per physical "
            "core</span> may "
            "be causing contention. Using fewer threads may improve performance for some codes."));
    EXPECT_EQ(ofThreads(26, 100.1, normalLoad), Sentences(threadsSynchronizing, threadsFineGrained));
    EXPECT_EQ(ofThreads(26, 100, highLoad), Sentences(threadsSynchronizing, loadIsBackground));
}

TEST(ThreadsAdvice, OverheadWithThreadsThatShareCores)
{
    const std::string sharing
        = "<span class=\"threads.physicalCoreUtilizationPercent\">Physical core utilization</span> is low "
          "and "
          "multiple threads may be sharing one core. Check your thread affinity settings.";
    EXPECT_EQ(ofThreads(26, 63.9, highLoad), Sentences(threadsSynchronizing, sharing));
    EXPECT_EQ(ofThreads(26, 64, highLoad), Sentences(threadsSynchronizing, loadIsBackground));
    EXPECT_EQ(ofThreads(26, 63.9, normalLoad), Sentences(threadsSynchronizing, threadsFineGrained));
}

TEST(ThreadsAdvice, OverheadCountsFromMoreThanAQuarter)
{
    EXPECT_EQ(ofThreads(25, 80, normalLoad), Sentences(threadsGood, Nothing));
    EXPECT_EQ(ofThreads(25.1, 80, normalLoad), Sentences(threadsSynchronizing, threadsFineGrained));
}

TEST(ThreadsAdvice, UnusedCores)
{
    EXPECT_EQ(ofThreads(0, fewCores, normalLoad), Sentences(threadsUnusedCores, Nothing));
    EXPECT_EQ(ofThreads(0, fewCores, highLoad), Sentences(threadsUnusedCores, loadIsThreads));
    EXPECT_EQ(ofThreads(20, 70, normalLoad), Sentences(threadsGood, Nothing));
    EXPECT_EQ(ofThreads(20, 69.9, normalLoad), Sentences(threadsUnusedCores, Nothing));
}

TEST(ThreadsAdvice, HighLoadOnBusyCores)
{
    EXPECT_EQ(ofThreads(0, enoughCores, highLoad), Sentences(loadIsOtherJobs, Nothing));
    EXPECT_EQ(ofThreads(0, enoughCores, normalLoad), Sentences(threadsGood, Nothing));
}

TEST(ThreadsAdvice, UnmeasuredFiguresLookGood)
{
    EXPECT_EQ(said(threadsAdvice(NotAvailable, NotAvailable, NotAvailable, NotAvailable)),
        Sentences(threadsGood, Nothing));
}

} // namespace
