#include "profile/ferndatabase.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

#include <cmath>
#include <limits>

// Columns of real numbers have no type: with one, the database would keep whole numbers as integers and
// lose the sign of a negative zero.
const QVector<FernDatabase::Table> &FernDatabase::tables()
{
    static const QVector<Table> all = {
        {"run",
            "CREATE TABLE run (target TEXT, command_line TEXT, hostname TEXT, start_time TEXT, "
            "processes INTEGER, nodes INTEGER, profiled_ranks TEXT, omp_num_threads TEXT, notes TEXT)"},
        {"sample", "CREATE TABLE sample (sample INTEGER PRIMARY KEY, begin_ms INTEGER, end_ms INTEGER)"},
        {"hit",
            "CREATE TABLE hit (sample INTEGER, category INTEGER, main INTEGER, main_active INTEGER, "
            "other INTEGER, other_active INTEGER, main_alone INTEGER, "
            "PRIMARY KEY (sample, category)) WITHOUT ROWID"},
        {"metric",
            "CREATE TABLE metric (metric INTEGER PRIMARY KEY, id TEXT, name TEXT, units TEXT, "
            "scope INTEGER, kind INTEGER, description TEXT)"},
        {"run_reading",
            "CREATE TABLE run_reading (metric INTEGER PRIMARY KEY, count INTEGER, minimum, maximum, "
            "mean, sum, standard_deviation)"},
        {"sample_reading",
            "CREATE TABLE sample_reading (metric INTEGER, sample INTEGER, count INTEGER, minimum, "
            "maximum, mean, sum, standard_deviation, PRIMARY KEY (metric, sample)) WITHOUT ROWID"},
        {"metric_error",
            "CREATE TABLE metric_error (metric INTEGER, position INTEGER, text TEXT, "
            "PRIMARY KEY (metric, position)) WITHOUT ROWID"},
    };
    return all;
}

FernDatabase::~FernDatabase()
{
    close();
}

bool FernDatabase::openForReading(const QString &path)
{
    // Immutable: neither locks nor journals, which another file beside this one could bring in.
    const QByteArray absolute = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    const QByteArray uri = "file:" + absolute.toPercentEncoding("/") + "?mode=ro&immutable=1";
    if (!open(uri, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI)) {
        return false;
    }
    sqlite3_db_config(mHandle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(mHandle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(mHandle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(mHandle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_limit(mHandle, SQLITE_LIMIT_ATTACHED, 0);
    return execute("PRAGMA cell_size_check = ON; PRAGMA mmap_size = 0; PRAGMA query_only = ON");
}

bool FernDatabase::openForWriting(const QString &path)
{
    const QByteArray absolute = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    return open(absolute, SQLITE_OPEN_READWRITE);
}

bool FernDatabase::open(const QByteArray &name, int flags)
{
    close();
    if (sqlite3_open_v2(name.constData(), &mHandle, flags | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
        return false;
    }
    sqlite3_limit(mHandle, SQLITE_LIMIT_LENGTH, MaxTextBytes);
    return true;
}

bool FernDatabase::close()
{
    const bool good = sqlite3_close(mHandle) == SQLITE_OK;
    mHandle = nullptr;
    return good;
}

bool FernDatabase::execute(const QByteArray &statements)
{
    return sqlite3_exec(mHandle, statements.constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

QString FernDatabase::errorText() const
{
    return QString::fromUtf8(mHandle ? sqlite3_errmsg(mHandle) : "out of memory");
}

FernStatement::FernStatement(FernDatabase &database, const QByteArray &sql)
{
    mGood = sqlite3_prepare_v2(database.handle(), sql.constData(), sql.size(), &mStatement, nullptr)
        == SQLITE_OK;
}

FernStatement::~FernStatement()
{
    sqlite3_finalize(mStatement);
}

FernStatement &FernStatement::bound(int result)
{
    mGood = mGood && result == SQLITE_OK;
    return *this;
}

FernStatement &FernStatement::add(qint64 value)
{
    return bound(sqlite3_bind_int64(mStatement, ++mPosition, value));
}

FernStatement &FernStatement::add(double value)
{
    return bound(sqlite3_bind_double(mStatement, ++mPosition, value)); // takes a NaN as NULL
}

FernStatement &FernStatement::add(const QString &text)
{
    ++mPosition;
    if (text.isNull()) {
        return bound(sqlite3_bind_null(mStatement, mPosition));
    }
    const QByteArray utf8 = text.toUtf8();
    return bound(sqlite3_bind_text(mStatement, mPosition, utf8.constData(), utf8.size(), SQLITE_TRANSIENT));
}

bool FernStatement::run()
{
    mGood = mGood && sqlite3_step(mStatement) == SQLITE_DONE;
    sqlite3_reset(mStatement);
    mPosition = 0;
    return mGood;
}

bool FernStatement::next()
{
    if (!mGood) {
        return false;
    }
    mPosition = 0;
    const int result = sqlite3_step(mStatement);
    mGood = result == SQLITE_ROW || result == SQLITE_DONE;
    return result == SQLITE_ROW;
}

int FernStatement::columnType(int *column)
{
    *column = mPosition++;
    return sqlite3_column_type(mStatement, *column);
}

qint64 FernStatement::integer(qint64 least, qint64 most)
{
    int column = 0;
    if (columnType(&column) == SQLITE_INTEGER) {
        const qint64 value = sqlite3_column_int64(mStatement, column);
        if (value >= least && value <= most) {
            return value;
        }
    }
    mGood = false;
    return least;
}

double FernStatement::real()
{
    int column = 0;
    switch (columnType(&column)) {
    case SQLITE_FLOAT:
        return sqlite3_column_double(mStatement, column);
    case SQLITE_NULL:
        break;
    default:
        mGood = false;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

QString FernStatement::text()
{
    int column = 0;
    switch (columnType(&column)) {
    case SQLITE_TEXT: {
        const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(mStatement, column));
        const int size = sqlite3_column_bytes(mStatement, column);
        return size > 0 ? QString::fromUtf8(bytes, size) : QStringLiteral("");
    }
    case SQLITE_NULL:
        break;
    default:
        mGood = false;
    }
    return QString();
}
