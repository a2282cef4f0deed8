// Power of a node as a command of the site's own tells it.

#include "spoolfolder.h"

#include "profile/sitepower.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

namespace {

namespace spool = fern::spool;

constexpr qint64 EpochMs = qint64(SpoolWriter::EpochNs / SpoolWriter::NsPerMs);

// A job of four seconds on one node.
ProfilerData job(SpoolFolder *folder)
{
    folder->add(SpoolWriter(0, 4000, 1000).host("node1.example"));
    return folder->merge();
}

} // namespace

TEST(SitePower, OfAReadingIsThatOfTheTimeBeforeIt)
{
    SpoolFolder folder;
    ProfilerData profile = job(&folder);
    // The last second has none of its own.
    setSitePower({{EpochMs + 1000, 100}, {EpochMs + 2000, 300}, {EpochMs + 3000, 200}}, "node1.example",
        "why", &profile);
    ASSERT_TRUE(profile.hasMetricNoErrors(METRIC_SYSTEM_POWER));
    const ScalarMetric power = profile.metric(METRIC_SYSTEM_POWER);
    EXPECT_DOUBLE_EQ(power.mean().to_double(), 200);
    EXPECT_DOUBLE_EQ(power.min().to_double(), 100);
    EXPECT_DOUBLE_EQ(power.max().to_double(), 300);
    EXPECT_DOUBLE_EQ(profile.getMetricAt(METRIC_SYSTEM_POWER, 1).statistics().mean, 300);
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_SYSTEM_ENERGY).max().to_double(), 800);
    EXPECT_DOUBLE_EQ(profile.getMetricAt(METRIC_SYSTEM_ENERGY, 1).statistics().mean, 400);
}

TEST(SitePower, WithoutReadingsOfTheJobHasItsReason)
{
    SpoolFolder folder;
    ProfilerData profile = job(&folder);
    setSitePower({{EpochMs - 5000, 100}}, "node1.example", "Requires a command.", &profile);
    EXPECT_EQ(profile.getFirstMetricError(METRIC_SYSTEM_POWER), "Requires a command.");
    EXPECT_EQ(profile.getFirstMetricError(METRIC_SYSTEM_ENERGY), "Requires a command.");
}

TEST(SitePower, IsNotForJobsElsewhereNorInPlaceOfASensor)
{
    SpoolFolder elsewhere;
    ProfilerData profile = job(&elsewhere);
    setSitePower({{EpochMs + 1000, 100}}, "login.example", "why", &profile);
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_SYSTEM_POWER).startsWith("Not "));

    SpoolFolder several;
    several.add(SpoolWriter(0, 100, 100).rank(0, 2).host("node1.example"));
    several.add(SpoolWriter(0, 100, 100).rank(1, 2).host("node2.example"));
    profile = several.merge();
    setSitePower({{EpochMs + 1000, 100}}, "node1.example", "why", &profile);
    EXPECT_FALSE(profile.hasMetricNoErrors(METRIC_SYSTEM_POWER));

    SpoolFolder sensor;
    sensor.add(SpoolWriter(0, 100, 100).host("node1.example").figure(spool::FigureSystemPower, 55));
    profile = sensor.merge();
    setSitePower({{EpochMs + 1000, 100}}, "node1.example", "why", &profile);
    EXPECT_DOUBLE_EQ(profile.metric(METRIC_SYSTEM_POWER).mean().to_double(), 55);
}
