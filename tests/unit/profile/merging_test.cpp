// The profile that ranks merge themselves is the one that the host makes of their spools.

#include "spoolfolder.h"

#include "core/figurekinds.h"
#include "merge/mergedprofile.h"
#include "profile/metrictable.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

namespace {

namespace spool = fern::spool;
namespace merged = fern::merged;

constexpr std::uint64_t World = 4711;

// A rank's spool with code, as it would lie in memory.
struct TestRank {
    SpoolWriter writer;
    std::vector<spool::CodeBlock> blocks;
    std::vector<spool::ProgramCounter> counters;

    QByteArray bytes() const
    {
        SpoolWriter whole = writer;
        whole.header.codeBlockCount = std::uint32_t(blocks.size());
        whole.header.programCounterCount = std::uint32_t(counters.size());
        QByteArray all = whole.bytes();
        const auto append = [&all](std::uint64_t offset, const void *data, std::size_t size) {
            all.append(QByteArray(int(offset) - all.size(), '\0'));
            all.append(static_cast<const char *>(data), int(size));
        };
        if (!counters.empty()) {
            append(spool::CodeOffset, blocks.data(), blocks.size() * sizeof(blocks[0]));
            append(spool::CountersOffset, counters.data(), counters.size() * sizeof(counters[0]));
        }
        return all;
    }
};

std::uint64_t sameAddress(std::uint64_t address)
{
    return address;
}

// Ranks on nodes of so many, with different lives, intervals and figures.
std::vector<TestRank> makeRanks(int count, int perNode, std::uint64_t seed)
{
    std::mt19937_64 random(seed);
    const auto number
        = [&random](int least, int most) { return std::uniform_int_distribution<int>(least, most)(random); };
    std::vector<TestRank> ranks;
    for (int rank = 0; rank < count; ++rank) {
        const std::uint64_t interval = std::uint64_t(20) << number(0, 2);
        const int begin = number(0, 300);
        TestRank made{
            SpoolWriter(std::uint64_t(begin), std::uint64_t(begin + number(700, 2000)), interval), {}, {}};
        made.writer.rank(rank, count);
        made.writer.host(("node" + std::to_string(rank / perNode) + ".example").c_str());
        spool::Header &header = made.writer.header;
        header.maxThreads = number(1, 4);
        header.ompNumThreads = number(0, 8);
        header.samplerCpuNs = std::uint64_t(number(1, 1000)) * 1000;
        header.ticks = std::uint64_t(number(10, 100));
        header.nodeMemory = 1000000 + std::uint64_t(rank / perNode);
        header.programCounterStep = 1;
        std::strcpy(header.siteEvents[0].name, "first");
        std::strcpy(header.siteEvents[1].name, "second");
        header.siteEvents[1].state = std::uint32_t(rank % 2);
        header.sourceStates[spool::SourceProgramCounters] = 1;
        for (spool::Bin &bin : made.writer.bins) {
            bin.mainHits[spool::Compute] = std::uint32_t(number(0, 200));
            bin.mainHits[spool::MpiCollective] = std::uint32_t(number(0, 200));
            bin.mainActiveHits[spool::Compute] = std::uint32_t(number(0, 200));
            bin.otherHits[spool::OpenMp] = std::uint32_t(number(0, 200));
            bin.otherActiveHits[spool::OpenMp] = std::uint32_t(number(0, 200));
            bin.mainAloneHits[spool::OpenMp] = std::uint32_t(number(0, 20));
            for (std::uint32_t figure = 0; figure < spool::FigureCount; ++figure) {
                const auto kind = spool::kindOf(spool::FigureId(figure));
                if (kind == spool::FigureKind::MadeByHost || number(0, 9) == 0)
                    continue;
                const double value = number(1, 1000000);
                if (figure == spool::FigureCycles)
                    bin.figures[spool::FigureInstructions] = {value / 3, 0, 0, 1};
                bin.figures[figure] = {2 * value, 0.9 * value, 1.1 * value, 2};
            }
        }
        // A loop of one instruction of each kind that x86-64 and AArch64 both don't have in common: bytes
        // that decode or not, both ways in the same manner.
        for (int i = 0; i < 3; ++i) {
            spool::CodeBlock block{0x400000 + std::uint64_t(i) * spool::CodeBlockSize, {}};
            for (std::uint8_t &byte : block.code)
                byte = std::uint8_t(
                    i == 0 ? 0x90 : std::array<int, 4>{0x58, 0xc0, 0x0f, 0x01}[std::size_t(i)]);
            made.blocks.push_back(block);
        }
        for (int i = 0; i < 150; ++i) {
            made.counters.push_back({0x400000 + std::uint64_t(number(0, 300)), std::uint32_t(number(0, 1500)),
                number(0, 3) == 0 ? spool::MpiCollective : spool::Compute});
        }
        ranks.push_back(made);
    }
    return ranks;
}

fern::Timeline timelineOf(const std::vector<TestRank> &ranks)
{
    merged::Times all = merged::timesOf(ranks.front().writer.header, 0);
    for (const TestRank &rank : ranks) {
        const merged::Times times = merged::timesOf(rank.writer.header, 0);
        all.beginNs = std::min(all.beginNs, times.beginNs);
        all.endNs = std::max(all.endNs, times.endNs);
        all.intervalNs = std::max(all.intervalNs, times.intervalNs);
    }
    return {std::int64_t(SpoolWriter::EpochNs), all.beginNs, all.endNs, all.intervalNs, 1000};
}

using Packed = std::vector<std::uint64_t>; // for its alignment

Packed pack(merged::MergedProfile *profile)
{
    Packed packed((profile->packedSize() + 7) / 8);
    profile->pack(reinterpret_cast<unsigned char *>(packed.data()));
    return packed;
}

bool addPacked(merged::MergedProfile *profile, const Packed &packed)
{
    merged::View view;
    const auto *header = reinterpret_cast<const merged::Header *>(packed.data());
    return view.open(packed.data(), header->size) && profile->add(view);
}

merged::MergedProfile *profileOf(const TestRank &rank, const fern::Timeline &timeline)
{
    merged::MergedProfile *profile = merged::MergedProfile::create();
    profile->begin(timeline, World);
    spool::Header header = rank.writer.header;
    header.codeBlockCount = std::uint32_t(rank.blocks.size());
    header.programCounterCount = std::uint32_t(rank.counters.size());
    profile->addRank(
        {&header, rank.writer.bins.data(), rank.blocks.data(), rank.counters.data(), 0, sameAddress});
    return profile;
}

// As along the tree: nodes by their first ranks, and then these.
Packed mergeRanks(const std::vector<TestRank> &ranks, std::size_t perNode)
{
    const fern::Timeline timeline = timelineOf(ranks);
    merged::MergedProfile *all = nullptr;
    for (std::size_t first = 0; first < ranks.size(); first += perNode) {
        merged::MergedProfile *node = profileOf(ranks[first], timeline);
        for (std::size_t i = first + 1; i < std::min(first + perNode, ranks.size()); ++i) {
            merged::MergedProfile *rank = profileOf(ranks[i], timeline);
            EXPECT_TRUE(addPacked(node, pack(rank)));
            rank->release();
        }
        node->closeNode();
        if (all) {
            EXPECT_TRUE(addPacked(all, pack(node)));
            node->release();
        } else {
            all = node;
        }
    }
    const Packed packed = pack(all);
    all->release();
    return packed;
}

QByteArray bytesOf(const Packed &packed)
{
    const auto *header = reinterpret_cast<const merged::Header *>(packed.data());
    return QByteArray(reinterpret_cast<const char *>(packed.data()), int(header->size));
}

void expectClose(double a, double b, const QString &what)
{
    EXPECT_TRUE((std::isnan(a) && std::isnan(b)) || std::fabs(a - b) <= 1e-9 * std::max(std::fabs(a), 1e-3))
        << what.toStdString() << ": " << a << " and " << b;
}

void expectSame(const MetricStatistics &a, const MetricStatistics &b, const QString &what)
{
    ASSERT_EQ(a.count, b.count) << what.toStdString();
    expectClose(a.minimum, b.minimum, what + " min");
    expectClose(a.maximum, b.maximum, what + " max");
    expectClose(a.mean, b.mean, what + " mean");
    expectClose(a.sum, b.sum, what + " sum");
    // A difference of squares: of values that are alike, nothing but rounding is left.
    if (a.count > 0) {
        EXPECT_NEAR(a.standardDeviation, b.standardDeviation, 1e-6 * (1 + std::fabs(a.mean)))
            << what.toStdString();
    }
}

void expectSame(const ProfilerData &a, const ProfilerData &b)
{
    ASSERT_EQ(a.numSamples(), b.numSamples());
    for (int sample = 0; sample < a.numSamples(); ++sample) {
        EXPECT_EQ(a.timeAt(sample + 1), b.timeAt(sample + 1));
        const HitCounts hitsA = a.hitsOfSample(sample);
        const HitCounts hitsB = b.hitsOfSample(sample);
        EXPECT_EQ(std::memcmp(&hitsA, &hitsB, sizeof(hitsA)), 0) << "sample " << sample;
    }
    EXPECT_EQ(a.target(), b.target());
    EXPECT_EQ(a.getHostname(), b.getHostname());
    EXPECT_EQ(a.numTargetProcs(), b.numTargetProcs());
    EXPECT_EQ(a.numNodes(), b.numNodes());
    EXPECT_EQ(a.getProfiledRanks(), b.getProfiledRanks());
    EXPECT_EQ(a.formatOmpNumThreads(), b.formatOmpNumThreads());
    EXPECT_EQ(a.facts().startTime, b.facts().startTime);
    ASSERT_EQ(a.metricRecords().keys(), b.metricRecords().keys());
    for (const MetricRecord &record : a.metricRecords()) {
        const MetricRecord other = b.metricRecords().value(record.definition.id);
        expectSame(record.wholeRun, other.wholeRun, record.definition.id);
        EXPECT_EQ(record.errors, other.errors);
        ASSERT_EQ(record.series.size(), other.series.size());
        for (int sample = 0; sample < record.series.size(); ++sample)
            expectSame(record.series[sample], other.series[sample],
                QStringLiteral("%1 in sample %2").arg(record.definition.id).arg(sample));
    }
}

QString addMerged(const SpoolFolder &folder, const QByteArray &bytes)
{
    const QString path = folder.path() + "/all.merged";
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    return path;
}

struct Job {
    int ranks;
    int perNode;
};

class Merging : public testing::TestWithParam<Job> { };

} // namespace

TEST_P(Merging, GivesWhatTheHostMakesOfTheSpools)
{
    const std::vector<TestRank> ranks
        = makeRanks(GetParam().ranks, GetParam().perNode, std::uint64_t(GetParam().ranks));
    SpoolFolder spools;
    for (const TestRank &rank : ranks)
        spools.add(rank.bytes());
    SpoolFolder together;
    addMerged(together, bytesOf(mergeRanks(ranks, std::size_t(GetParam().perNode))));
    const ProfilerData expected = spools.merge();
    ASSERT_TRUE(spools.merged);
    const ProfilerData profile = together.merge();
    ASSERT_TRUE(together.merged);
    EXPECT_TRUE(together.remarks.isEmpty()) << together.remarks.join('\n').toStdString();
    expectSame(expected, profile);
    if (GetParam().ranks < 17) {
        EXPECT_GT(profile.metricRecords().value(METRIC_INSTR_INT).wholeRun.count, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Jobs, Merging,
    testing::Values(Job{1, 1}, Job{2, 2}, Job{2, 1}, Job{3, 2}, Job{4, 4}, Job{5, 2}, Job{8, 3}, Job{16, 4},
        Job{16, 16}, Job{40, 8}));

TEST(MergedFile, SpoolsOfItsRanksAreNotCountedTwice)
{
    const std::vector<TestRank> ranks = makeRanks(4, 2, 1);
    SpoolFolder folder;
    addMerged(folder, bytesOf(mergeRanks(ranks, 2)));
    const ProfilerData expected = folder.merge();
    for (TestRank rank : ranks) {
        rank.writer.header.world = World;
        folder.add(rank.bytes());
    }
    // A rank that went on for less than a second, and its like of another job.
    SpoolWriter tail(3000, 3500, 20);
    tail.rank(0, 4).flag(spool::FlagMerged).main(spool::Compute, 1).header.world = World;
    folder.add(tail);
    expectSame(expected, folder.merge());
}

TEST(MergedFile, WhatARankDoesForLongAfterwardsCounts)
{
    const std::vector<TestRank> ranks = makeRanks(4, 2, 1);
    SpoolFolder folder;
    addMerged(folder, bytesOf(mergeRanks(ranks, 2)));
    const ProfilerData before = folder.merge();
    SpoolWriter tail(3000, 6000, 100);
    tail.rank(0, 4).flag(spool::FlagMerged).main(spool::IoWrite, 5).header.world = World;
    folder.add(tail);
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numTargetProcs(), 4);
    EXPECT_EQ(profile.numNodes(), 2);
    EXPECT_EQ(profile.getProfiledRanks(), "All");
    EXPECT_GE(profile.getSampledRuntimeMs(), 5700U);
    EXPECT_EQ(mainHits(profile, profile.numSamples() - 1, Category::IO_WRITE), 5);
    qint64 hits[2] = {0, 0};
    for (int sample = 0; sample < before.numSamples(); ++sample)
        hits[0] += mainHits(before, sample, Category::COMPUTE);
    for (int sample = 0; sample < profile.numSamples(); ++sample)
        hits[1] += mainHits(profile, sample, Category::COMPUTE);
    EXPECT_EQ(hits[0], hits[1]);
}

TEST(MergedFile, JoinsTheProcessesOfAnotherJob)
{
    const std::vector<TestRank> ranks = makeRanks(4, 2, 1);
    SpoolFolder folder;
    addMerged(folder, bytesOf(mergeRanks(ranks, 2)));
    folder.add(SpoolWriter(0, 8000, 400).rank(0, 1).host("other.example").main(spool::Compute, 3));
    const ProfilerData profile = folder.merge();
    EXPECT_EQ(profile.numTargetProcs(), 5);
    EXPECT_EQ(profile.numNodes(), 3);
    EXPECT_EQ(profile.numSamples(), 20);
    EXPECT_EQ(profile.metricRecords().value(METRIC_RSS).wholeRun.count, 4);
}

TEST(MergedFile, CutsAndFlippedBitsAreSkippedOrRead)
{
    const std::vector<TestRank> ranks = makeRanks(3, 2, 1);
    const QByteArray whole = bytesOf(mergeRanks(ranks, 2));
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) {
        SpoolFolder folder;
        QByteArray bytes = whole;
        if (i % 2 == 0) {
            bytes.truncate(int(random() % unsigned(whole.size())));
        } else {
            const int at = int(random() % unsigned(i < 100 ? int(sizeof(merged::Header)) : whole.size()));
            bytes[at] = char(bytes[at] ^ (1 << random() % 8));
        }
        addMerged(folder, bytes);
        folder.merge();
        if (i % 2 == 0) {
            EXPECT_FALSE(folder.merged);
        }
    }
}

// The file is no longer for a hundred times as many ranks.
TEST(MergedFile, DoesNotGrowWithRanks)
{
    const auto sizeOf = [](int count) {
        std::vector<TestRank> ranks = makeRanks(4, 4, 1);
        std::vector<TestRank> many;
        for (int i = 0; i < count; ++i) {
            many.push_back(ranks[std::size_t(i % 4)]);
            many.back().writer.rank(i, count).host(("node" + std::to_string(i / 16) + ".example").c_str());
        }
        return bytesOf(mergeRanks(many, 16)).size();
    };
    const int few = sizeOf(256);
    EXPECT_LT(sizeOf(2560), few + few / 10);
}

TEST(FigureKinds, AreThoseOfTheMetrics)
{
    static_assert(spool::IntegralCount == merged::MaxIntegrals);
    for (const MetricTable::Row &row : MetricTable::rows()) {
        if (row.figure == MetricTable::NoFigure)
            continue;
        const spool::FigureKind kind = spool::kindOf(spool::FigureId(row.figure));
        if (kind == spool::FigureKind::MadeByHost)
            continue;
        if (kind == spool::FigureKind::Ratio)
            continue;
        const bool isNode = kind == spool::FigureKind::NodeGauge;
        EXPECT_EQ(row.metric.scope == Metric::PerNode, isNode) << row.metric.id.toStdString();
        EXPECT_EQ(row.metric.kind == Metric::Rate, kind == spool::FigureKind::Rate)
            << row.metric.id.toStdString();
        EXPECT_EQ(row.metric.kind == Metric::Total, kind == spool::FigureKind::Total)
            << row.metric.id.toStdString();
    }
}
