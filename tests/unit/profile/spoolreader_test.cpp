// Spools that can't be used are skipped with a reason; nothing that they say can do harm.

#include "spoolfolder.h"

#include "profile/spoolreader.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

namespace {

SpoolWriter soundSpool()
{
    return SpoolWriter(0, 500, 100).main(fern::spool::Compute, 10).figure(fern::spool::FigureRss, 4096);
}

struct BadSpool {
    const char *name;
    std::function<QByteArray()> bytes;
    const char *reason;
};

QByteArray changed(const std::function<void(fern::spool::Header &)> &change)
{
    SpoolWriter spool = soundSpool();
    change(spool.header);
    return spool.bytes();
}

using fern::spool::Header;

const BadSpool BadSpools[] = {
    {"Empty", [] { return QByteArray(); }, "the process ended before it was looked at"},
    {"RoomForASpool", [] { return QByteArray(20000, '\0'); }, "the process ended before it was looked at"},
    {"Text", [] { return QByteArray(10000, 'x'); }, "not a spool"},
    {"PartOfTheHeader", [] { return soundSpool().bytes().left(200); }, "too short to be a spool"},
    {"HeaderWithoutBins", [] { return soundSpool().bytes().left(sizeof(Header)); }, "truncated"},
    {"PartOfTheLastBin", [] { return soundSpool().bytes().chopped(1); }, "truncated"},
    {"OtherFormatVersion", [] { return changed([](Header &h) { ++h.formatVersion; }); },
        "written by a sampler of another version"},
    {"OtherSizeOfBins", [] { return changed([](Header &h) { h.binSize -= 8; }); },
        "written by a sampler of another version"},
    {"NoBins", [] { return changed([](Header &h) { h.binCount = 0; }); },
        "the process ended before it was looked at"},
    {"MoreBinsThanRoom", [] { return changed([](Header &h) { h.binCapacity = 3; }); },
        "damaged: more bins than there is room for"},
    {"EndlessBins",
        [] { return changed([](Header &h) { h.binCount = std::numeric_limits<std::uint64_t>::max(); }); },
        "damaged: more bins than there is room for"},
    {"HugeRoom",
        [] {
            return changed([](Header &h) {
                h.binCapacity = std::numeric_limits<std::uint32_t>::max();
                h.binCount = h.binCapacity;
            });
        },
        "damaged: more bins than there is room for"},
    {"MoreCodeThanRoom",
        [] { return changed([](Header &h) { h.codeBlockCount = fern::spool::MaxCodeBlocks + 1; }); },
        "damaged: more program counters than there is room for"},
    {"MoreProgramCountersThanRoom",
        [] {
            return changed([](Header &h) { h.programCounterCount = fern::spool::MaxProgramCounters + 1; });
        },
        "damaged: more program counters than there is room for"},
    {"ProgramCountersBehindTheEndOfTheFile",
        [] { return changed([](Header &h) { h.programCounterCount = 1; }); }, "truncated"},
    {"NoInterval", [] { return changed([](Header &h) { h.intervalNs = 0; }); }, "damaged: impossible times"},
    {"EndlessInterval",
        [] { return changed([](Header &h) { h.intervalNs = std::numeric_limits<std::uint64_t>::max(); }); },
        "damaged: impossible times"},
    {"FirstBinBehindTheEndOfTime",
        [] { return changed([](Header &h) { h.firstBin = std::numeric_limits<std::uint64_t>::max() / 3; }); },
        "damaged: impossible times"},
    {"FirstBinYearsLater", [] { return changed([](Header &h) { h.firstBin = 1000000000; }); },
        "damaged: the process started far from its bins"},
};

class SpoolReaderFailure : public ::testing::TestWithParam<BadSpool> { };

TEST_P(SpoolReaderFailure, SaysWhyAndTheMergeSkipsTheFile)
{
    SpoolFolder folder;
    const QString path = folder.add(GetParam().bytes());
    SpoolProcess process;
    QString reason;
    EXPECT_FALSE(SpoolReader::readProcess(path, &process, &reason));
    EXPECT_EQ(reason.toStdString(), GetParam().reason);

    folder.add(soundSpool());
    const ProfilerData profile = folder.merge();
    EXPECT_TRUE(folder.merged);
    EXPECT_EQ(profile.numTargetProcs(), 1);
    ASSERT_EQ(folder.remarks.size(), 1);
    EXPECT_EQ(folder.remarks[0].toStdString(), std::string("skipped '0001.spool': ") + GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(BadSpools, SpoolReaderFailure, ::testing::ValuesIn(BadSpools),
    [](const auto &row) { return std::string(row.param.name); });

TEST(SpoolReader, MissingFileIsSaidToBeNone)
{
    SpoolProcess process;
    QString reason;
    EXPECT_FALSE(SpoolReader::readProcess("/nowhere/x.spool", &process, &reason));
    EXPECT_EQ(reason, "not a file");
}

TEST(SpoolReader, GivesWhatTheHeaderSays)
{
    SpoolFolder folder;
    SpoolWriter spool = soundSpool();
    spool.rank(3, 8).host("knoten-\xC3\xA4.example");
    spool.header.ompNumThreads = 6;
    spool.header.threadsMissed = 2;
    SpoolProcess process;
    QString reason;
    ASSERT_TRUE(SpoolReader::readProcess(folder.add(spool), &process, &reason)) << qPrintable(reason);
    EXPECT_EQ(process.mpiRank, 3);
    EXPECT_EQ(process.mpiSize, 8);
    EXPECT_EQ(process.logicalCores, 8);
    EXPECT_EQ(process.physicalCores, 4);
    EXPECT_EQ(process.nodeMemory, 1000000u);
    EXPECT_EQ(process.ompNumThreads, 6);
    EXPECT_EQ(process.threadsMissed, 2u);
    EXPECT_EQ(process.hostname, QString::fromUtf8("knoten-\xC3\xA4.example"));
    EXPECT_EQ(process.executable, "/opt/code.example/bin/prog");
    EXPECT_EQ(process.binCount, 5);
    EXPECT_EQ(process.endNs - process.beginNs, qint64(500 * SpoolWriter::NsPerMs));
    QVector<fern::spool::Bin> bins;
    ASSERT_TRUE(SpoolReader::readBins(process, &bins, &reason));
    EXPECT_EQ(bins.size(), 5);
    EXPECT_EQ(bins[4].mainHits[fern::spool::Compute], 10u);
}

TEST(SpoolReader, TextsThatFillTheirFieldsNeedNoEnd)
{
    SpoolFolder folder;
    SpoolWriter spool = soundSpool();
    std::memset(spool.header.hostname, 'h', sizeof(spool.header.hostname));
    std::memset(spool.header.executable, 'e', sizeof(spool.header.executable));
    SpoolProcess process;
    QString reason;
    ASSERT_TRUE(SpoolReader::readProcess(folder.add(spool), &process, &reason));
    EXPECT_EQ(process.hostname.size(), 256);
    EXPECT_EQ(process.executable.size(), 4096);
}

TEST(SpoolReader, BinsOfASpoolThatChangedMeanwhileAreRefused)
{
    SpoolFolder folder;
    SpoolWriter spool = soundSpool();
    const QString path = folder.add(spool);
    SpoolProcess process;
    QString reason;
    ASSERT_TRUE(SpoolReader::readProcess(path, &process, &reason));
    spool.header.intervalNs *= 2;
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(spool.bytes());
    file.close();
    QVector<fern::spool::Bin> bins;
    EXPECT_FALSE(SpoolReader::readBins(process, &bins, &reason));
    EXPECT_EQ(reason, "changed while it was read");
}

TEST(SpoolReader, SpoolsThatEndAnywhereAreRefusedAndTheOthersMerged)
{
    std::mt19937 random(3);
    const QByteArray sound = soundSpool().bytes();
    for (int round = 0; round < 1000; ++round) {
        // Some at each byte of the first and last hundred.
        const int size = round < 100 ? round
            : round < 200            ? sound.size() - (round - 99)
                                     : static_cast<int>(random() % static_cast<unsigned>(sound.size()));
        SpoolFolder folder;
        folder.add(sound.left(size));
        folder.add(sound);
        const ProfilerData profile = folder.merge();
        EXPECT_TRUE(folder.merged) << size;
        EXPECT_EQ(profile.numTargetProcs(), 1) << size;
        ASSERT_EQ(folder.remarks.size(), 1) << size;
    }
}

TEST(SpoolReader, FlippedBytesNeverDoHarm)
{
    std::mt19937 random(7);
    const QByteArray sound = soundSpool().bytes();
    for (int round = 0; round < 1000; ++round) {
        QByteArray bytes = sound;
        for (int flips = 0; flips < 4; ++flips) {
            // Most of them in the numbers of the header.
            const int range = flips == 0 ? bytes.size() : 200;
            const int at = static_cast<int>(random() % static_cast<unsigned>(range));
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << (random() % 8)));
        }
        SpoolFolder folder;
        folder.add(bytes);
        folder.add(soundSpool());
        const ProfilerData profile = folder.merge();
        EXPECT_TRUE(folder.merged);
        EXPECT_GT(profile.numSamples(), 0);
        EXPECT_LE(profile.numSamples(), ProfilerData::MaxSamples);
        EXPECT_GT(profile.getSampledRuntimeMs(), 0u);
    }
}

} // namespace
