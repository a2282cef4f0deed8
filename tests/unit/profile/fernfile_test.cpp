// .fern files: what is written comes back bit for bit, and what isn't one is refused in one sentence.

#include "profile/fernfile.h"
#include "profilebuilder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "qtprinters.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstring>
#include <limits>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

bool sameStatistics(const MetricStatistics &a, const MetricStatistics &b)
{
    return a.count == b.count && sameBits(a.minimum, b.minimum) && sameBits(a.maximum, b.maximum)
        && sameBits(a.mean, b.mean) && sameBits(a.sum, b.sum)
        && sameBits(a.standardDeviation, b.standardDeviation);
}

void expectSameMetric(const MetricRecord &read, const MetricRecord &written)
{
    const Metric &a = read.definition;
    const Metric &b = written.definition;
    EXPECT_EQ(a.id, b.id);
    EXPECT_EQ(a.displayName, b.displayName);
    EXPECT_EQ(a.units, b.units);
    EXPECT_EQ(a.scope, b.scope);
    EXPECT_EQ(a.kind, b.kind);
    EXPECT_EQ(a.description, b.description);
    EXPECT_EQ(read.errors, written.errors);
    EXPECT_TRUE(sameStatistics(read.wholeRun, written.wholeRun)) << qPrintable(b.id);
    ASSERT_EQ(read.series.size(), written.series.size());
    for (int sample = 0; sample < written.series.size(); ++sample) {
        EXPECT_TRUE(sameStatistics(read.series[sample], written.series[sample]))
            << qPrintable(b.id) << " in sample " << sample;
    }
}

void expectSameProfile(const ProfilerData &read, const ProfilerData &written)
{
    EXPECT_EQ(read.target(), written.target());
    EXPECT_EQ(read.getCommandLine(), written.getCommandLine());
    EXPECT_EQ(read.getHostname(), written.getHostname());
    EXPECT_EQ(read.jobStartTime(), written.jobStartTime());
    EXPECT_EQ(read.jobStartTime().toString(Qt::TextDate), written.jobStartTime().toString(Qt::TextDate));
    EXPECT_EQ(read.numTargetProcs(), written.numTargetProcs());
    EXPECT_EQ(read.numNodes(), written.numNodes());
    EXPECT_EQ(read.getProfiledRanks(), written.getProfiledRanks());
    EXPECT_EQ(read.formatOmpNumThreads(), written.formatOmpNumThreads());
    EXPECT_EQ(read.getNotes(), written.getNotes());
    EXPECT_EQ(read.getNotes().isNull(), written.getNotes().isNull());
    ASSERT_EQ(read.numSamples(), written.numSamples());
    for (int sample = 0; sample <= written.numSamples(); ++sample) {
        EXPECT_EQ(read.timeAt(sample), written.timeAt(sample));
        const HitCounts a = read.hitsOfSample(sample);
        const HitCounts b = written.hitsOfSample(sample);
        EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0) << "hits of sample " << sample;
    }
    ASSERT_EQ(read.metricRecords().keys(), written.metricRecords().keys());
    for (const MetricRecord &record : written.metricRecords()) {
        expectSameMetric(read.metricRecords()[record.definition.id], record);
    }
}

// One of everything.
ProfilerData fullProfile(int samples = 10)
{
    ProfileBuilder builder(samples, 100);
    builder.processes(4).nodes(2).cores(8, 4).endMs(samples * 100 - 37);
    builder.main(Category::COMPUTE, 60, 59).main(Category::MPI_P2P, 40, 12).alone(Category::COMPUTE, 33);
    builder.others(Category::PTHREAD_COMPUTE, 100, 90).others(Category::OMP_MONITOR, 3, 0);
    builder.mainAt(samples - 1, Category::IO_READ, qint64(1) << 40);
    builder.readingsBySample(METRIC_RSS, {{0.1, 1e300}, {}, {1.0 / 3, 5}});
    builder.wholeRun(METRIC_CHARS_READ, {1, 2, 3, 1e17});
    builder.error(METRIC_RAPL_POWER, "Not supported on this system.").error(METRIC_RAPL_POWER, "");
    return builder.build();
}

class FernFileTest : public ::testing::Test {
protected:
    QString path(const QString &name = "run.fern") const { return mFolder.filePath(name); }

    QString written(const ProfilerData &profile = fullProfile())
    {
        QString error;
        EXPECT_TRUE(FernFile::write(profile, path(), &error)) << qPrintable(error);
        return path();
    }

    QString file(const QByteArray &bytes)
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return path();
    }

    QByteArray bytesOf(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // Runs statements on a file with all the database's own power.
    static void tamper(const QString &path, const char *statements)
    {
        sqlite3 *database = nullptr;
        ASSERT_EQ(sqlite3_open(qPrintable(path), &database), SQLITE_OK);
        char *message = nullptr;
        EXPECT_EQ(sqlite3_exec(database, statements, nullptr, nullptr, &message), SQLITE_OK)
            << (message ? message : "");
        sqlite3_free(message);
        sqlite3_close(database);
    }

    // The sentence with which a file is refused, its path taken out.
    QString refusal(const QString &path)
    {
        ProfilerData profile = ProfileBuilder(3).build();
        QString error;
        EXPECT_FALSE(FernFile::read(path, &profile, &error));
        EXPECT_EQ(profile.numSamples(), 3) << "a failure leaves the profile as it was";
        EXPECT_FALSE(error.isEmpty());
        EXPECT_FALSE(error.contains('\n'));
        return error.replace("'" + path + "'", "F");
    }

    ProfilerData readBack(const QString &path)
    {
        ProfilerData profile;
        QString error;
        EXPECT_TRUE(FernFile::read(path, &profile, &error)) << qPrintable(error);
        return profile;
    }

    QTemporaryDir mFolder;
};

TEST_F(FernFileTest, GivesBackAWholeProfile)
{
    const ProfilerData profile = fullProfile();
    const ProfilerData read = readBack(written(profile));
    expectSameProfile(read, profile);
    EXPECT_EQ(read.sourceFernFile(), path());
    EXPECT_EQ(read.getFernFileVersion(), 2);
}

TEST_F(FernFileTest, GivesBackAThousandSamples)
{
    const ProfilerData profile = fullProfile(1000);
    expectSameProfile(readBack(written(profile)), profile);
}

TEST_F(FernFileTest, GivesBackAProfileWithoutAnything)
{
    const ProfilerData profile;
    const ProfilerData read = readBack(written(profile));
    expectSameProfile(read, profile);
    EXPECT_TRUE(read.target().isNull());
    EXPECT_FALSE(read.jobStartTime().isValid());
}

TEST_F(FernFileTest, KeepsNumbersThatAreNone)
{
    ProfileBuilder builder(2);
    MetricRecord record;
    record.definition = MetricDefinitions::describe("odd");
    record.wholeRun = {1, NaN, Infinity, -Infinity, -0.0, std::numeric_limits<double>::denorm_min()};
    record.series = {{3, -Infinity, NaN, NaN, 0.1 + 0.2, std::numeric_limits<double>::max()}, {}};
    ProfilerData profile = builder.build();
    profile.setMetric(record);
    expectSameProfile(readBack(written(profile)), profile);
}

TEST_F(FernFileTest, KeepsTextOfAllKinds)
{
    ProfileFacts facts;
    facts.target = QString::fromUtf8("/home/j\xC3\xB6rg/\xE8\xA8\x88\xE7\xAE\x97/prog \"x\"");
    facts.commandLine = QString::fromUtf8("prog '; DROP TABLE run; --' \n\t\xF0\x9F\x8C\xB1");
    facts.notes = QStringLiteral("");
    facts.startTime = QDateTime(QDate(2026, 2, 28), QTime(23, 59, 59, 999));
    const ProfilerData profile = ProfileBuilder().facts(facts).build();
    const ProfilerData read = readBack(written(profile));
    expectSameProfile(read, profile);
    EXPECT_FALSE(read.getNotes().isNull()) << "empty isn't missing";
    EXPECT_TRUE(read.getHostname().isNull());
}

TEST_F(FernFileTest, PathsMayHoldAnyCharacter)
{
    const QString odd = mFolder.filePath(QString::fromUtf8("100% ?mode=rw&x#\xC3\xA4 'q'.fern"));
    QString error;
    ASSERT_TRUE(FernFile::write(fullProfile(), odd, &error)) << qPrintable(error);
    EXPECT_EQ(readBack(odd).numSamples(), 10);
}

TEST_F(FernFileTest, IsSmall)
{
    EXPECT_LT(QFileInfo(written()).size(), 20 * 1024);
}

TEST_F(FernFileTest, ReplacesAnOlderFileAndLeavesNothingElse)
{
    written(fullProfile(5));
    written(fullProfile(7));
    EXPECT_EQ(readBack(path()).numSamples(), 7);
    EXPECT_EQ(QDir(mFolder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList{"run.fern"});
}

TEST_F(FernFileTest, IsReadableByWhomTheUserAllows)
{
    const mode_t before = umask(027);
    written();
    umask(before);
    EXPECT_EQ(QFileInfo(path()).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::ReadGroup);
}

TEST_F(FernFileTest, ReplacesWhatALinkPointsTo)
{
    file("old");
    ASSERT_TRUE(QFile::link(path(), path("link.fern")));
    QString error;
    ASSERT_TRUE(FernFile::write(fullProfile(), path("link.fern"), &error));
    EXPECT_FALSE(QFile(path("link.fern")).symLinkTarget().isEmpty());
    EXPECT_EQ(readBack(path()).numSamples(), 10);
}

TEST_F(FernFileTest, ReadsAFileThatNobodyMayWrite)
{
    const QString path = written();
    ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner));
    ASSERT_EQ(chmod(qPrintable(mFolder.path()), 0500), 0);
    EXPECT_EQ(readBack(path).numSamples(), 10);
    ASSERT_EQ(chmod(qPrintable(mFolder.path()), 0700), 0);
}

TEST_F(FernFileTest, WritingFailsWithOneSentence)
{
    QString error;
    EXPECT_FALSE(FernFile::write(fullProfile(), path("missing/run.fern"), &error));
    EXPECT_EQ(error, "cannot write '" + path("missing/run.fern") + "': No such file or directory");
    EXPECT_FALSE(FernFile::write(fullProfile(), mFolder.path(), &error));
    EXPECT_EQ(
        error, "cannot write '" + QFileInfo(mFolder.path()).canonicalFilePath() + "': it is not a file");
}

TEST_F(FernFileTest, OldVersionsGiveTheirVersionAndNothingElse)
{
    for (int version : {0, 1}) {
        const QString path = written();
        tamper(path, qPrintable(QStringLiteral("PRAGMA user_version = %1").arg(version)));
        const ProfilerData read = readBack(path);
        EXPECT_EQ(read.getFernFileVersion(), version);
        EXPECT_EQ(read.sourceFernFile(), path);
        EXPECT_EQ(read.numSamples(), 0);
        EXPECT_TRUE(read.target().isEmpty());
    }
}

TEST_F(FernFileTest, NewerVersionIsRefused)
{
    const QString path = written();
    tamper(path, "PRAGMA user_version = 99");
    EXPECT_EQ(refusal(path),
        "F was written by a newer release: its format version is 99, and this release reads up to 2");
}

TEST_F(FernFileTest, WhatIsNoFernFileIsRefused)
{
    EXPECT_EQ(refusal(path("missing.fern")), "cannot read F: No such file or directory");
    EXPECT_EQ(refusal(mFolder.path()), "F is not a file");
    EXPECT_EQ(refusal("/dev/null"), "F is not a file");
    EXPECT_EQ(refusal(file("")), "F is empty");
    EXPECT_EQ(refusal(file("Just a text.\n")), "F is not a FERN file");
    EXPECT_EQ(refusal(file("SQLite format 3")), "F is not a FERN file");
    QFile::remove(path());
    tamper(path(), "CREATE TABLE run (target TEXT)");
    EXPECT_EQ(refusal(path()), "F is not a FERN file, but a database of another kind");
}

TEST_F(FernFileTest, PipeIsRefusedWithoutWaiting)
{
    ASSERT_EQ(mkfifo(qPrintable(path("pipe.fern")), 0600), 0);
    EXPECT_EQ(refusal(path("pipe.fern")), "F is not a file");
}

TEST_F(FernFileTest, TruncatedFileIsRefusedWhereverItEnds)
{
    const QByteArray whole = bytesOf(written());
    for (int size : {16, 99, 100, 512, 1023, 1024, 4096, whole.size() / 2, whole.size() - 1}) {
        EXPECT_EQ(refusal(file(whole.left(size))), "F is truncated") << size << " bytes";
    }
    std::mt19937 random(5);
    for (int round = 0; round < 1000; ++round) {
        const int size = 16 + static_cast<int>(random() % static_cast<unsigned>(whole.size() - 16));
        ASSERT_EQ(refusal(file(whole.left(size))), "F is truncated") << size << " bytes";
    }
}

// What is done to a sound file, and where the reader finds the damage.
struct Damage {
    const char *name;
    const char *statements;
    const char *where;
};

const Damage Damages[] = {
    {"MissingTable", "DROP TABLE hit", "unknown tables"},
    {"LastTableMissing", "DROP TABLE metric_error", "missing tables"},
    {"OneMoreTable", "CREATE TABLE extra (x)", "unknown tables"},
    {"ViewInPlaceOfATable", "DROP TABLE metric_error; CREATE VIEW metric_error AS SELECT 1, 2, 3",
        "unknown tables"},
    {"TableWithAnotherColumn", "ALTER TABLE run ADD COLUMN more TEXT", "unknown tables"},
    {"Trigger", "CREATE TRIGGER t AFTER INSERT ON run BEGIN SELECT 1; END", "unknown tables"},
    {"NoRun", "DELETE FROM run", "run"},
    {"TwoRuns", "INSERT INTO run SELECT * FROM run", "run"},
    {"NegativeProcesses", "UPDATE run SET processes = -1", "run"},
    {"ProcessesBeyondAnInteger", "UPDATE run SET processes = 3000000000", "run"},
    {"ProcessesAsText", "UPDATE run SET processes = 'many'", "run"},
    {"TargetAsBlob", "UPDATE run SET target = x'00ff'", "run"},
    {"ImpossibleStartTime", "UPDATE run SET start_time = '2026-02-30T12:00:00.000'", "run"},
    {"GapInTheSamples", "DELETE FROM sample WHERE sample = 4", "sample"},
    {"NegativeSample", "UPDATE sample SET sample = -1 WHERE sample = 0", "sample"},
    {"SampleThatEndsBeforeItBegins", "UPDATE sample SET end_ms = 0 WHERE sample = 9", "sample"},
    {"GapBetweenTwoSamples", "UPDATE sample SET begin_ms = 450 WHERE sample = 4", "sample"},
    {"SamplingThatBeginsLate", "UPDATE sample SET begin_ms = 5 WHERE sample = 0", "sample"},
    {"TooManySamples",
        "WITH RECURSIVE n(i) AS (SELECT 10 UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
        "INSERT INTO sample SELECT i, 963, 963 FROM n",
        "sample"},
    {"HitsOfNoSample", "UPDATE hit SET sample = 10 WHERE sample = 9", "hit"},
    {"HitsOfNoCategory", "UPDATE hit SET category = 24 WHERE sample = 0 AND category = 0", "hit"},
    {"NegativeHits", "UPDATE hit SET main = -1 WHERE sample = 0 AND category = 0", "hit"},
    {"HitsWhoseSumWouldOverflow", "UPDATE hit SET main = 1 << 62", "hit"},
    {"MoreActiveHitsThanHits", "UPDATE hit SET main_active = main + 1", "hit"},
    {"MoreLonelyHitsThanHits", "UPDATE hit SET main_alone = main + 1", "hit"},
    {"HitsThatAreMissing", "UPDATE hit SET other = NULL", "hit"},
    {"TwoMetricsOfOneId", "UPDATE metric SET id = 'rss'", "metric"},
    {"MetricWithoutId", "UPDATE metric SET id = NULL WHERE metric = 0", "metric"},
    {"MetricOfAnUnknownScope", "UPDATE metric SET scope = 7 WHERE metric = 0", "metric"},
    {"MetricOfAnUnknownKind", "UPDATE metric SET kind = -1 WHERE metric = 0", "metric"},
    {"ReadingOfNoMetric", "UPDATE run_reading SET metric = 77 WHERE metric = 0", "metric"},
    {"ReadingAsText", "UPDATE run_reading SET mean = 'high'", "run_reading"},
    {"NegativeCount", "UPDATE run_reading SET count = -1", "run_reading"},
    {"SeriesWithAGap", "DELETE FROM sample_reading WHERE sample = 3", "sample_reading"},
    {"SeriesWithoutItsEnd", "DELETE FROM sample_reading WHERE sample = 9", "sample_reading"},
    {"SeriesBeyondTheSamples",
        "INSERT INTO sample_reading SELECT metric, 10, 1, 1, 1, 1, 1, 1 FROM sample_reading WHERE sample = 9",
        "sample_reading"},
    {"ErrorOfNoMetric", "UPDATE metric_error SET metric = 77", "metric"},
    {"ErrorsOutOfOrder", "UPDATE metric_error SET position = position + 10", "metric_error"},
};

class FernFileDamage : public FernFileTest, public ::testing::WithParamInterface<Damage> { };

TEST_P(FernFileDamage, IsFoundAndLocated)
{
    const QString path = written();
    tamper(path, GetParam().statements);
    EXPECT_EQ(refusal(path).toStdString(), std::string("F is damaged (") + GetParam().where + ")");
}

INSTANTIATE_TEST_SUITE_P(Damages, FernFileDamage, ::testing::ValuesIn(Damages),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(FernFileTest, FlippedBytesAreRefusedOrGiveAProfileThatHoldsTogether)
{
    const QByteArray whole = bytesOf(written());
    std::mt19937 random(11);
    for (int round = 0; round < 1000; ++round) {
        QByteArray bytes = whole;
        for (int flips = 0; flips < 1 + round % 8; ++flips) {
            const int at = static_cast<int>(random() % static_cast<unsigned>(bytes.size()));
            bytes[at] = static_cast<char>(random());
        }
        ProfilerData profile;
        QString error;
        if (!FernFile::read(file(bytes), &profile, &error)) {
            EXPECT_FALSE(error.isEmpty());
            continue;
        }
        EXPECT_LE(profile.numSamples(), ProfilerData::MaxSamples);
        for (const MetricRecord &record : profile.metricRecords()) {
            EXPECT_TRUE(record.series.isEmpty() || record.series.size() == profile.numSamples());
        }
    }
}

} // namespace
