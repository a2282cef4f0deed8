#include "profile/fernfile.h"

#include "profile/ferndatabase.h"
#include "profile/profilerdata.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtEndian>

#include <limits>

namespace {

constexpr int MaxInt = std::numeric_limits<int>::max();
constexpr qint64 MaxInt64 = std::numeric_limits<qint64>::max();

// The first bytes of every SQLite 3 database (https://www.sqlite.org/fileformat2.html, section 1.3).
struct DatabaseHeader {
    static constexpr int Size = 100;

    QByteArray bytes;

    bool isDatabase() const { return bytes.startsWith(QByteArray("SQLite format 3", 16)); }
    int applicationId() const { return qFromBigEndian<qint32>(bytes.constData() + 68); }
    int userVersion() const { return qFromBigEndian<qint32>(bytes.constData() + 60); }
    qint64 fileSize() const
    {
        const quint16 pageSize = qFromBigEndian<quint16>(bytes.constData() + 16);
        const quint32 pages = qFromBigEndian<quint32>(bytes.constData() + 28);
        return qint64(pages) * (pageSize == 1 ? 65536 : pageSize);
    }
};

class Reader {
    Q_DECLARE_TR_FUNCTIONS(FernReader)

public:
    Reader(const QString &path, QString *error)
        : mPath(path)
        , mError(error)
    {
    }

    bool read(ProfilerData *profile);

private:
    bool readHeader(DatabaseHeader *header);
    bool readTables();
    bool checkIntegrity();
    bool checkTables();
    bool readRun();
    bool readSamples();
    bool readHits();
    bool readMetrics();
    bool readRunReadings();
    bool readSampleReadings();
    bool readErrors();
    bool knows(qint64 metric) { return metric < mMetrics.size() || damaged(QStringLiteral("metric")); }

    bool fail(const QString &sentence)
    {
        *mError = sentence;
        return false;
    }
    bool damaged(const QString &where) { return fail(tr("'%1' is damaged (%2)").arg(mPath, where)); }
    // After the last row of a table.
    bool finished(const FernStatement &select, const char *table)
    {
        return select.isGood() || damaged(QString::fromLatin1(table));
    }

    QString mPath;
    QString *mError;
    FernDatabase mDatabase;
    ProfileFacts mFacts;
    QVector<int> mTimes;
    QVector<HitCounts> mHits;
    QVector<MetricRecord> mMetrics;
};

bool Reader::read(ProfilerData *profile)
{
    DatabaseHeader header;
    if (!readHeader(&header)) {
        return false;
    }
    mFacts.sourceFernFile = mPath;
    mFacts.fernFileVersion = header.userVersion();
    if (mFacts.fernFileVersion == FernFile::FormatVersion && !readTables()) {
        return false;
    }
    ProfilerData result;
    result.setFacts(mFacts);
    if (!result.setSamples(mHits, mTimes)) {
        return damaged(QStringLiteral("sample"));
    }
    for (const MetricRecord &record : qAsConst(mMetrics)) {
        result.setMetric(record);
    }
    *profile = result;
    return true;
}

bool Reader::readHeader(DatabaseHeader *header)
{
    QFile file(mPath);
    if (QFileInfo(mPath).isDir() || (QFileInfo::exists(mPath) && !QFileInfo(mPath).isFile())) {
        return fail(tr("'%1' is not a file").arg(mPath));
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return fail(tr("cannot read '%1': %2").arg(mPath, file.errorString()));
    }
    if (file.size() == 0) {
        return fail(tr("'%1' is empty").arg(mPath));
    }
    header->bytes = file.read(DatabaseHeader::Size);
    if (!header->isDatabase()) {
        return fail(tr("'%1' is not a FERN file").arg(mPath));
    }
    if (header->bytes.size() < DatabaseHeader::Size) {
        return fail(tr("'%1' is truncated").arg(mPath));
    }
    if (header->applicationId() != FernFile::ApplicationId) {
        return fail(tr("'%1' is not a FERN file, but a database of another kind").arg(mPath));
    }
    if (header->userVersion() < 0) {
        return damaged(QStringLiteral("format version"));
    }
    if (header->userVersion() > FernFile::FormatVersion) {
        return fail(
            tr("'%1' was written by a newer release: its format version is %2, and this release reads up "
               "to %3")
                .arg(mPath)
                .arg(header->userVersion())
                .arg(FernFile::FormatVersion));
    }
    if (file.size() < header->fileSize()) {
        return fail(tr("'%1' is truncated").arg(mPath));
    }
    return true;
}

bool Reader::readTables()
{
    if (!mDatabase.openForReading(mPath)) {
        return damaged(mDatabase.errorText());
    }
    return checkTables() && checkIntegrity() && readRun() && readSamples() && readHits() && readMetrics()
        && readRunReadings() && readSampleReadings() && readErrors();
}

// A table that is declared otherwise could be anything: a view, a virtual table, computed columns.
bool Reader::checkTables()
{
    FernStatement select(mDatabase, "SELECT type, name, sql FROM sqlite_master ORDER BY rowid");
    int found = 0;
    while (select.next()) {
        const QString type = select.text();
        const QString name = select.text();
        const QString declaration = select.text();
        const auto &tables = FernDatabase::tables();
        if (found == tables.size() || type != QLatin1String("table")
            || name != QLatin1String(tables[found].name)
            || declaration != QLatin1String(tables[found].declaration)) {
            return damaged(tr("unknown tables"));
        }
        ++found;
    }
    return finished(select, "tables")
        && (found == FernDatabase::tables().size() || damaged(tr("missing tables")));
}

bool Reader::checkIntegrity()
{
    FernStatement check(mDatabase, "PRAGMA integrity_check(1)");
    const bool isSound = check.next() && check.text() == QLatin1String("ok");
    return isSound || damaged(tr("integrity"));
}

// The wall clock of the job's first node, wherever the file is read. In the hour that another time zone
// skips in spring it isn't a local time; UTC has every hour.
QDateTime wallClock(const QString &text)
{
    const QDateTime utc = QDateTime::fromString(text + QLatin1Char('Z'), Qt::ISODateWithMs);
    const QDateTime local(utc.date(), utc.time(), Qt::LocalTime);
    return local.isValid() && local.time() == utc.time() ? local : utc;
}

bool Reader::readRun()
{
    FernStatement select(mDatabase,
        "SELECT target, command_line, hostname, start_time, processes, nodes, profiled_ranks, "
        "omp_num_threads, notes FROM run");
    int rows = 0;
    while (select.next()) {
        ++rows;
        mFacts.target = select.text();
        mFacts.commandLine = select.text();
        mFacts.hostname = select.text();
        const QString startTime = select.text();
        mFacts.startTime = wallClock(startTime);
        mFacts.processes = static_cast<int>(select.integer(0, MaxInt));
        mFacts.nodes = static_cast<int>(select.integer(0, MaxInt));
        mFacts.profiledRanks = select.text();
        mFacts.ompNumThreads = select.text();
        mFacts.notes = select.text();
        if (rows > 1 || (!startTime.isNull() && !mFacts.startTime.isValid())) {
            return damaged(QStringLiteral("run"));
        }
    }
    return finished(select, "run") && (rows == 1 || damaged(QStringLiteral("run")));
}

bool Reader::readSamples()
{
    FernStatement select(mDatabase, "SELECT sample, begin_ms, end_ms FROM sample ORDER BY sample");
    while (select.next()) {
        const qint64 sample = select.integer(0, ProfilerData::MaxSamples - 1);
        const int beginMs = static_cast<int>(select.integer(0, MaxInt));
        const int endMs = static_cast<int>(select.integer(beginMs, MaxInt));
        if (sample != mHits.size() || (!mTimes.isEmpty() && beginMs != mTimes.last())) {
            return damaged(QStringLiteral("sample"));
        }
        if (mTimes.isEmpty()) {
            mTimes.append(beginMs);
        }
        mTimes.append(endMs);
        mHits.append(HitCounts());
    }
    return finished(select, "sample");
}

bool Reader::readHits()
{
    if (mHits.isEmpty()) {
        return true;
    }
    FernStatement select(
        mDatabase, "SELECT sample, category, main, main_active, other, other_active, main_alone FROM hit");
    while (select.next()) {
        const qint64 sample = select.integer(0, mHits.size() - 1);
        const qint64 category = select.integer(0, Category::Count - 1);
        HitCounts::Of &of = mHits[static_cast<int>(sample)].of[category];
        of.main = select.integer(0, FernDatabase::MaxHits);
        of.mainActive = select.integer(0, of.main);
        of.other = select.integer(0, FernDatabase::MaxHits);
        of.otherActive = select.integer(0, of.other);
        of.mainAlone = select.integer(0, of.main);
        if (!select.isGood()) {
            break;
        }
    }
    return finished(select, "hit");
}

bool Reader::readMetrics()
{
    FernStatement select(
        mDatabase, "SELECT metric, id, name, units, scope, kind, description FROM metric ORDER BY metric");
    QSet<QString> ids;
    while (select.next()) {
        const qint64 number = select.integer(0, FernDatabase::MaxMetrics - 1);
        Metric metric;
        metric.id = select.text();
        metric.displayName = select.text();
        metric.units = select.text();
        metric.scope = static_cast<Metric::Scope>(select.integer(Metric::PerProcess, Metric::PerNode));
        metric.kind = static_cast<Metric::Kind>(select.integer(Metric::Gauge, Metric::Static));
        metric.description = select.text();
        if (number != mMetrics.size() || metric.id.isEmpty() || ids.contains(metric.id)) {
            return damaged(QStringLiteral("metric"));
        }
        ids.insert(metric.id);
        MetricRecord record;
        record.definition = metric;
        mMetrics.append(record);
    }
    return finished(select, "metric");
}

MetricStatistics readStatistics(FernStatement &select)
{
    MetricStatistics statistics;
    statistics.count = select.integer(0, MaxInt64);
    statistics.minimum = select.real();
    statistics.maximum = select.real();
    statistics.mean = select.real();
    statistics.sum = select.real();
    statistics.standardDeviation = select.real();
    return statistics;
}

bool Reader::readRunReadings()
{
    FernStatement select(
        mDatabase, "SELECT metric, count, minimum, maximum, mean, sum, standard_deviation FROM run_reading");
    while (select.next()) {
        const qint64 metric = select.integer(0, MaxInt64);
        if (!knows(metric)) {
            return false;
        }
        mMetrics[static_cast<int>(metric)].wholeRun = readStatistics(select);
    }
    return finished(select, "run_reading");
}

// A metric has a figure for each sample, or for none.
bool Reader::readSampleReadings()
{
    FernStatement select(mDatabase,
        "SELECT metric, sample, count, minimum, maximum, mean, sum, standard_deviation FROM sample_reading "
        "ORDER BY metric, sample");
    while (select.next()) {
        const qint64 metric = select.integer(0, MaxInt64);
        const qint64 sample = select.integer(0, ProfilerData::MaxSamples - 1);
        if (!knows(metric)) {
            return false;
        }
        QVector<MetricStatistics> &series = mMetrics[static_cast<int>(metric)].series;
        if (sample != series.size() || sample >= mHits.size()) {
            return damaged(QStringLiteral("sample_reading"));
        }
        series.append(readStatistics(select));
    }
    for (const MetricRecord &record : qAsConst(mMetrics)) {
        if (!record.series.isEmpty() && record.series.size() != mHits.size()) {
            return damaged(QStringLiteral("sample_reading"));
        }
    }
    return finished(select, "sample_reading");
}

bool Reader::readErrors()
{
    FernStatement select(
        mDatabase, "SELECT metric, position, text FROM metric_error ORDER BY metric, position");
    while (select.next()) {
        const qint64 metric = select.integer(0, MaxInt64);
        const qint64 position = select.integer(0, FernDatabase::MaxErrorsOfMetric - 1);
        if (!knows(metric)) {
            return false;
        }
        QStringList &errors = mMetrics[static_cast<int>(metric)].errors;
        if (position != errors.size()) {
            return damaged(QStringLiteral("metric_error"));
        }
        errors.append(select.text());
    }
    return finished(select, "metric_error");
}

} // namespace

bool FernFile::read(const QString &path, ProfilerData *profile, QString *error)
{
    QString ignored;
    return Reader(path, error ? error : &ignored).read(profile);
}
