// Names of events, and what becomes of their counts.

#include "spoolfolder.h"

#include "profile/perfevents.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

namespace spool = fern::spool;

QByteArray told(const QString &names)
{
    QVector<PerfEvent> events;
    QString error;
    return PerfEvents::parse(names.split(','), &events, &error) ? PerfEvents::forSampler(events)
                                                                : "refused: " + error.toUtf8();
}

SpoolWriter counting(int rank, const char *event, double count, quint32 state)
{
    SpoolWriter writer(0, 200, 100);
    std::strcpy(writer.header.siteEvents[0].name, event);
    writer.header.siteEvents[0].state = state;
    if (state == spool::SourceRead)
        writer.figure(spool::FigureSiteEvent, count);
    return writer.rank(rank, 2);
}

} // namespace

// Numbers as linux/perf_event.h has them.
TEST(PerfEvents, HaveTheKernelsNumbers)
{
    EXPECT_EQ(told("cycles"), "cycles:0:0");
    EXPECT_EQ(told("cache-misses, branch-misses"), "cache-misses:0:3,branch-misses:0:5");
    EXPECT_EQ(told("page-faults"), "page-faults:1:2");
    EXPECT_EQ(told("context-switches"), "context-switches:1:3");
    EXPECT_EQ(told("L1-dcache-loads"), "L1-dcache-loads:3:0");
    EXPECT_EQ(told("LLC-store-misses"), "LLC-store-misses:3:65794"); // 2 | 1 << 8 | 1 << 16
    EXPECT_EQ(told("dTLB-prefetches"), "dTLB-prefetches:3:515"); // 3 | 2 << 8
    EXPECT_EQ(told("r01c2"), "r01c2:4:450");
    EXPECT_EQ(told("rffffffffffffffff"), "rffffffffffffffff:4:18446744073709551615");
}

TEST(PerfEvents, ThatNobodyKnowsAreRefused)
{
    for (const char *name :
        {"", "r", "rxyz", "r00000000000000001", "CYCLES", "L1-dcache", "LLC-load", "page-faults:u"}) {
        EXPECT_TRUE(told(QString("cycles,") + name).startsWith("refused: no such event: '")) << name;
    }
    EXPECT_EQ(told("cycles,cycles"), "refused: the event 'cycles' is named twice");
    EXPECT_EQ(told("r1,r2,r3,r4,r5,r6,r7,r8,r9"), "refused: 9 events are named, and 8 can be counted");
}

TEST(PerfEvents, AreRatesOfEachProcess)
{
    SpoolFolder folder;
    folder.add(counting(0, "page-faults", 10, spool::SourceRead));
    folder.add(counting(1, "page-faults", 30, spool::SourceRead));
    const ProfilerData profile = folder.merge();
    const QString id = PerfEvents::metricId("page-faults");
    EXPECT_EQ(id, "com.brivane.metrics.perf.page-faults");
    const MetricStatistics rates = profile.getMetricAt(id, 0).statistics();
    EXPECT_EQ(rates.count, 2);
    EXPECT_DOUBLE_EQ(rates.minimum, 100);
    EXPECT_DOUBLE_EQ(rates.maximum, 300);
    EXPECT_DOUBLE_EQ(profile.metric(id).mean().to_double(), 200);
    EXPECT_EQ(MetricDefinitions::describe(id).kind, Metric::Rate);
}

TEST(PerfEvents, ThatNobodyCouldCountHaveTheirReason)
{
    const QString id = PerfEvents::metricId("cache-misses");
    const auto reasonFor = [&id](quint32 state) {
        SpoolFolder folder;
        folder.add(counting(0, "cache-misses", 0, state));
        folder.add(counting(1, "cache-misses", 0, spool::SourceUnknown));
        return folder.merge().getFirstMetricError(id);
    };
    EXPECT_TRUE(reasonFor(spool::SourceAbsent).contains("not supported on this platform."));
    EXPECT_TRUE(reasonFor(spool::SourceRefused).contains("kernel.perf_event_paranoid"));
    EXPECT_TRUE(reasonFor(spool::SourceLimited).contains("fewer events"));
    EXPECT_TRUE(reasonFor(spool::SourceUnknown).startsWith("Not enough time"));
}

TEST(PerfEvents, GiveCyclesPerInstructionByTheirSums)
{
    SpoolFolder folder;
    SpoolWriter uneven(0, 200, 100);
    uneven.figure(spool::FigureCycles, 100).figure(spool::FigureInstructions, 400);
    uneven.bins[1].figures[spool::FigureCycles].sum = 500;
    uneven.bins[1].figures[spool::FigureInstructions].sum = 200;
    folder.add(uneven);
    const ProfilerData profile = folder.merge();
    EXPECT_DOUBLE_EQ(profile.getMetricAt(METRIC_PERF_CYCLES_PER_INS, 0).statistics().mean, 0.25);
    EXPECT_DOUBLE_EQ(profile.getMetricAt(METRIC_PERF_CYCLES_PER_INS, 1).statistics().mean, 2.5);
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_PERF_CYCLES_PER_INS).mean().to_double(), 1.0);
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_PERF_CYCLES_PER_INS));
}

TEST(PerfEvents, WithoutInstructionsGiveNoRatio)
{
    SpoolFolder folder;
    SpoolWriter idle(0, 200, 100);
    idle.figure(spool::FigureCycles, 0).figure(spool::FigureInstructions, 0);
    idle.header.sourceStates[spool::SourceCycles] = spool::SourceRead;
    folder.add(idle);
    EXPECT_EQ(folder.merge().getFirstMetricError(METRIC_PERF_CYCLES_PER_INS),
        "Not enough time was spent computing to say anything.");
}
