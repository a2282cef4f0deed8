// Profiles written down as text.

#include "textprofile.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

namespace {

ProfilerData parsed(const QString &text)
{
    QString error;
    const auto profile = parseTextProfile(text, QStringLiteral("some.profile"), &error);
    EXPECT_TRUE(profile) << error.toStdString();
    return profile.value_or(ProfilerData());
}

TEST(TextProfile, HasTheFactsOfTheRun)
{
    const ProfilerData profile = parsed(QStringLiteral(
        "# a comment\n\nstart 2026-03-06T14:05:09\ntarget /opt/a b\ncommand-line a \\u0022b\\\" \\\\ "
        "\\ud800\\n\n"
        "host-name n1.example\nprofiled-ranks 0-3\nomp-num-threads 2\nnotes x\nprocesses 8\nnodes 2\n"
        "samples 3 500\ncores 32 16\n"));
    EXPECT_EQ(profile.target(), "/opt/a b");
    EXPECT_EQ(profile.getCommandLine(), QStringLiteral("a \"b\" \\ ") + QChar(0xd800) + QLatin1Char('\n'));
    EXPECT_EQ(profile.getHostname(), "n1.example");
    EXPECT_EQ(profile.getProfiledRanks(), "0-3");
    EXPECT_EQ(profile.formatOmpNumThreads(), "2");
    EXPECT_EQ(profile.getNotes(), "x");
    EXPECT_EQ(profile.facts().startTime, QDateTime(QDate(2026, 3, 6), QTime(14, 5, 9)));
    EXPECT_EQ(profile.numTargetProcs(), 8);
    EXPECT_EQ(profile.numNodes(), 2);
    EXPECT_EQ(profile.numSamples(), 3);
    EXPECT_EQ(profile.timeAt(3), 1500);
    EXPECT_EQ(profile.metric(METRIC_NUM_CORES_PER_NODE).exactSum().to_double(), 64);
    EXPECT_EQ(profile.metric(METRIC_NUM_PHYSICAL_CORES_PER_NODE).mean().to_double(), 16);
}

TEST(TextProfile, HasHitsInAllSamplesOrSomeAndAddsThemUp)
{
    const ProfilerData profile = parsed(QStringLiteral(
        "samples 3 100\nmain compute 10 8\nmain compute 5 1-2\nothers omp 7 6 0-0\nalone compute 4\n"));
    const HitCounts first = profile.hitsOfSample(0);
    const HitCounts last = profile.hitsOfSample(2);
    EXPECT_EQ(first.of[Category::COMPUTE].main, 10);
    EXPECT_EQ(first.of[Category::COMPUTE].mainActive, 8);
    EXPECT_EQ(first.of[Category::COMPUTE].mainAlone, 4);
    EXPECT_EQ(first.of[Category::OMP].other, 7);
    EXPECT_EQ(first.of[Category::OMP].otherActive, 6);
    EXPECT_EQ(last.of[Category::COMPUTE].main, 15);
    EXPECT_EQ(last.of[Category::COMPUTE].mainActive, 13);
    EXPECT_EQ(last.of[Category::OMP].other, 0);
}

TEST(TextProfile, HasMetricsInAllTheirForms)
{
    const ProfilerData profile = parsed(QStringLiteral(
        "samples 3 100\nseries rss 1e9 2e9\nreadings load_avg 10,30 - 50\nwhole-run bytes_read 3*2e6 1e6\n"
        "active-cores 1.5 2\nerror rapl_power Not \\u003chere\\u003e.\n"));
    EXPECT_EQ(profile.getMetricAt(METRIC_RSS, 0).mean().to_double(), 1e9);
    EXPECT_EQ(profile.getMetricAt(METRIC_RSS, 2).mean().to_double(), 2e9);
    EXPECT_EQ(profile.getMetricAt(METRIC_LOAD_AVG, 0).mean().to_double(), 20);
    EXPECT_EQ(profile.getMetricAt(METRIC_LOAD_AVG, 2).max().to_double(), 50);
    EXPECT_EQ(profile.metric(METRIC_CHARS_READ).exactSum().to_double(), 7e6);
    EXPECT_EQ(profile.averageActiveCoresPerProcess(), 1.5);
    EXPECT_EQ(profile.maxAvgActiveCoresPerProc(), 2);
    EXPECT_EQ(profile.getFirstMetricError(METRIC_RAPL_POWER), "Not <here>.");
}

class BadLine : public testing::TestWithParam<const char *> { };

TEST_P(BadLine, IsNamedWithItsPlace)
{
    QString error;
    const QString line = QString::fromUtf8(GetParam());
    EXPECT_FALSE(parseTextProfile(
        QStringLiteral("samples 3 100\n\n%1\n").arg(line), QStringLiteral("some.profile"), &error));
    EXPECT_EQ(error, QStringLiteral("some.profile:3: can't make sense of \"%1\"").arg(line));
}

INSTANTIATE_TEST_SUITE_P(Lines, BadLine,
    testing::Values("colour red", "processes", "processes many", "start yesterday", "samples 1001 100",
        "samples -1 100", "samples 10", "cores 8", "main compute", "main cooking 5", "main compute 5 2-3",
        "main compute 5 2-1", "main compute 5 4 3", "alone compute 1 2", "series rss", "series rss much",
        "series unknown_metric 1", "readings rss 1,,2", "whole-run rss 0*5", "whole-run rss 2*3*4",
        "active-cores 1", "error rss", "error unknown_metric x", "notes \\q", "notes \\u12", "notes \\"));

TEST(TextProfile, ThatCantBeReadIsNamed)
{
    QString error;
    EXPECT_FALSE(readTextProfile(QStringLiteral("/nowhere.example/x.profile"), &error));
    EXPECT_EQ(error, "/nowhere.example/x.profile: No such file or directory");
}

} // namespace
