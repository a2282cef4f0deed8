#include "profile/fernfile.h"

#include "profile/ferndatabase.h"
#include "profile/profilerdata.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

class Writer {
    Q_DECLARE_TR_FUNCTIONS(FernWriter)

public:
    Writer(const ProfilerData &profile, const QString &path, QString *error)
        : mProfile(profile)
        , mError(error)
    {
        // What a link points to is replaced, not the link.
        const QFileInfo info(path);
        mPath = info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
    }

    bool write();

private:
    bool createTemporary();
    bool fill(FernDatabase &database);
    bool writeRun(FernDatabase &database);
    bool writeSamples(FernDatabase &database);
    bool writeMetrics(FernDatabase &database);

    bool fail(const QString &reason)
    {
        *mError = tr("cannot write '%1': %2").arg(mPath, reason);
        return false;
    }
    bool failBySystem() { return fail(qt_error_string(errno)); }

    const ProfilerData &mProfile;
    QString *mError;
    QString mPath;
    QByteArray mTemporary;
};

bool Writer::write()
{
    const QFileInfo info(mPath);
    if (info.exists() && !info.isFile()) {
        return fail(tr("it is not a file"));
    }
    if (!createTemporary()) {
        return failBySystem();
    }
    FernDatabase database;
    bool good = database.openForWriting(QFile::decodeName(mTemporary)) && fill(database);
    if (!good) {
        fail(database.errorText());
    } else if (!database.close()) {
        good = fail(tr("the database can't be closed"));
    } else if (std::rename(mTemporary.constData(), QFile::encodeName(mPath).constData()) != 0) {
        good = failBySystem();
    }
    if (!good) {
        ::unlink(mTemporary.constData());
    }
    return good;
}

// Created here and not by the database, which would follow a link that somebody else put there.
bool Writer::createTemporary()
{
    const QFileInfo info(mPath);
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString name = QStringLiteral(".%1.%2")
                                 .arg(info.fileName())
                                 .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
        mTemporary = QFile::encodeName(info.dir().filePath(name));
        const int file = ::open(mTemporary.constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file >= 0) {
            ::close(file);
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

bool Writer::fill(FernDatabase &database)
{
    // Nobody else sees the file before it is whole: no journal. Small pages, since most tables are small.
    QByteArray setUp = "PRAGMA page_size = 1024; PRAGMA journal_mode = OFF; PRAGMA application_id = "
        + QByteArray::number(FernFile::ApplicationId)
        + "; PRAGMA user_version = " + QByteArray::number(FernFile::FormatVersion) + "; BEGIN;";
    for (const FernDatabase::Table &table : FernDatabase::tables()) {
        setUp += QByteArray(table.declaration) + ";";
    }
    return database.execute(setUp) && writeRun(database) && writeSamples(database) && writeMetrics(database)
        && database.execute("COMMIT");
}

bool Writer::writeRun(FernDatabase &database)
{
    const ProfileFacts &facts = mProfile.facts();
    const QDateTime start = facts.startTime.toLocalTime();
    FernStatement insert(database, "INSERT INTO run VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
    return insert.add(facts.target)
        .add(facts.commandLine)
        .add(facts.hostname)
        .add(start.isValid() ? start.toString(Qt::ISODateWithMs) : QString())
        .add(qint64(facts.processes))
        .add(qint64(facts.nodes))
        .add(facts.profiledRanks)
        .add(facts.ompNumThreads)
        .add(facts.notes)
        .run();
}

bool Writer::writeSamples(FernDatabase &database)
{
    FernStatement insertSample(database, "INSERT INTO sample VALUES (?, ?, ?)");
    FernStatement insertHits(database, "INSERT INTO hit VALUES (?, ?, ?, ?, ?, ?, ?)");
    bool good = true;
    for (qint64 sample = 0; good && sample < mProfile.numSamples(); ++sample) {
        const int at = static_cast<int>(sample);
        good = insertSample.add(sample)
                   .add(qint64(mProfile.timeAt(at)))
                   .add(qint64(mProfile.timeAt(at + 1)))
                   .run();
        const HitCounts hits = mProfile.hitsOfSample(at);
        for (qint64 category = 0; good && category < Category::Count; ++category) {
            const HitCounts::Of &of = hits.of[category];
            if (of.main > 0 || of.other > 0) {
                insertHits.add(sample).add(category).add(of.main).add(of.mainActive);
                good = insertHits.add(of.other).add(of.otherActive).add(of.mainAlone).run();
            }
        }
    }
    return good && insertSample.isGood() && insertHits.isGood();
}

FernStatement &addStatistics(FernStatement &insert, const MetricStatistics &statistics)
{
    return insert.add(statistics.count)
        .add(statistics.minimum)
        .add(statistics.maximum)
        .add(statistics.mean)
        .add(statistics.sum)
        .add(statistics.standardDeviation);
}

bool Writer::writeMetrics(FernDatabase &database)
{
    FernStatement insertMetric(database, "INSERT INTO metric VALUES (?, ?, ?, ?, ?, ?, ?)");
    FernStatement insertRun(database, "INSERT INTO run_reading VALUES (?, ?, ?, ?, ?, ?, ?)");
    FernStatement insertSample(database, "INSERT INTO sample_reading VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    FernStatement insertError(database, "INSERT INTO metric_error VALUES (?, ?, ?)");
    qint64 number = 0;
    for (const MetricRecord &record : mProfile.metricRecords()) {
        const Metric &metric = record.definition;
        insertMetric.add(number).add(metric.id).add(metric.displayName).add(metric.units);
        insertMetric.add(qint64(metric.scope)).add(qint64(metric.kind)).add(metric.description).run();
        if (record.wholeRun.count > 0) {
            addStatistics(insertRun.add(number), record.wholeRun).run();
        }
        for (int sample = 0; sample < record.series.size(); ++sample) {
            addStatistics(insertSample.add(number).add(qint64(sample)), record.series[sample]).run();
        }
        for (int position = 0; position < record.errors.size(); ++position) {
            insertError.add(number).add(qint64(position)).add(record.errors[position]).run();
        }
        ++number;
    }
    return insertMetric.isGood() && insertRun.isGood() && insertSample.isGood() && insertError.isGood();
}

} // namespace

bool FernFile::write(const ProfilerData &profile, const QString &path, QString *error)
{
    QString ignored;
    return Writer(profile, path, error ? error : &ignored).write();
}
