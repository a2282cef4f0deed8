#include "api/defaultmetrics.h"

#include <gtest/gtest.h>

using quillon::report::DefaultMetrics;
namespace Version = quillon::report::DefaultMetricVersion;

// The list is built once. Nothing else may run in this process before these calls, so they stand in one test.
TEST(InternalMetrics, keepTheVersionOfTheFirstCall)
{
    const auto first = DefaultMetrics::getInternalMetrics(Version::DefaultMetrics6_1);
    ASSERT_EQ(first.size(), 8);
    for (const auto &metric : first)
        EXPECT_EQ(metric.defaultMetricVersion, Version::OlderThan6_1) << metric.id.toStdString();

    for (const auto version :
        {Version::NonDefaultMetric, Version::DefaultMetrics7_0, DefaultMetrics::getCurrentVersion()})
        EXPECT_EQ(DefaultMetrics::getInternalMetrics(version).size(), 8);
}
