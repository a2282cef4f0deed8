#ifndef HOST_PROFILE_FERNDATABASE_H
#define HOST_PROFILE_FERNDATABASE_H

#include <QByteArray>
#include <QString>
#include <QVector>

struct sqlite3;
struct sqlite3_stmt;

// The database inside a .fern file: what its reader and its writer share. Nothing here touches another
// database, and nothing is shared between objects.
class FernDatabase {
public:
    // Tables in the order of their creation. A file whose tables were declared otherwise isn't ours.
    struct Table {
        const char *name;
        const char *declaration; // as the database keeps it
    };
    static const QVector<Table> &tables();

    // Longest text and the greatest numbers of rows that are written or read.
    static constexpr int MaxTextBytes = 8 * 1024 * 1024;
    static constexpr int MaxMetrics = 10000;
    static constexpr int MaxErrorsOfMetric = 1000;
    // Hits of a category in a sample. So few that a profile's sums can't overflow 64 bits, and yet those
    // of a million threads looked at a hundred times a second for two weeks.
    static constexpr qint64 MaxHits = qint64(1) << 47;

    FernDatabase() = default;
    ~FernDatabase();
    FernDatabase(const FernDatabase &) = delete;
    FernDatabase &operator=(const FernDatabase &) = delete;

    // Opens an existing file, for reading in the most careful way: nothing that the file says can run code
    // of its own or touch another file, and no file beside it is looked at. False if that failed.
    bool openForReading(const QString &path);
    bool openForWriting(const QString &path);
    // False if what was written couldn't be completed.
    bool close();

    bool execute(const QByteArray &statements);
    QString errorText() const; // of the last failure

    sqlite3 *handle() { return mHandle; }

private:
    bool open(const QByteArray &name, int flags);

    sqlite3 *mHandle = nullptr;
};

// One prepared statement. Failures stick: a loop over rows or parameters needs to ask only once.
class FernStatement {
public:
    FernStatement(FernDatabase &database, const QByteArray &sql);
    ~FernStatement();
    FernStatement(const FernStatement &) = delete;
    FernStatement &operator=(const FernStatement &) = delete;

    // Writing: parameters in order, then run(). A NaN and the null string become NULL.
    FernStatement &add(qint64 value);
    FernStatement &add(double value);
    FernStatement &add(const QString &text);
    bool run();

    // Reading: next() until it is false, the columns in order.
    bool next();
    qint64 integer(qint64 least, qint64 most); // `least` if it isn't an integer of that range
    double real(); // a NaN for NULL
    QString text(); // the null string for NULL

    // Whether all went well; while reading, whether all columns held what was asked for, too.
    bool isGood() const { return mGood; }

private:
    int columnType(int *column);
    FernStatement &bound(int result);

    sqlite3_stmt *mStatement = nullptr;
    int mPosition = 0; // of the next parameter, or of the next column
    bool mGood = false;
};

#endif
