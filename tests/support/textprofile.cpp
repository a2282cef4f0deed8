#include "textprofile.h"

#include "profilebuilder.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

namespace {

// Replaces \n, \t, \\, \" and \uXXXX, so that a text can hold line ends and halves of surrogate pairs.
// Nothing for any other escape.
std::optional<QString> unescaped(const QString &text)
{
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('\\')) {
            result += text[i];
            continue;
        }
        ++i;
        const QChar escape = i < text.size() ? text[i] : QChar();
        bool ok = true;
        if (escape == QLatin1Char('n'))
            result += QLatin1Char('\n');
        else if (escape == QLatin1Char('t'))
            result += QLatin1Char('\t');
        else if (escape == QLatin1Char('\\') || escape == QLatin1Char('"'))
            result += escape;
        else if (escape == QLatin1Char('u')) {
            const QString digits = text.mid(i + 1, 4);
            result += QChar(digits.toUShort(&ok, 16));
            ok = ok && digits.size() == 4;
            i += 4;
        } else
            ok = false;
        if (!ok)
            return std::nullopt;
    }
    return result;
}

std::optional<Category::Enum> categoryNamed(const QString &name)
{
    for (int i = 0; i < Category::Count; ++i) {
        const auto category = static_cast<Category::Enum>(i);
        if (!name.isEmpty() && Category::name(category) == name)
            return category;
    }
    return std::nullopt;
}

// "1e9", or "64*1e9" for 64 readings that are the same.
bool appendReadings(QVector<double> &readings, const QString &word)
{
    const QStringList parts = word.split(QLatin1Char('*'));
    bool countIsOk = true;
    bool valueIsOk = false;
    const int count = parts.size() == 2 ? parts[0].toInt(&countIsOk) : 1;
    const double value = parts.last().toDouble(&valueIsOk);
    if (!countIsOk || !valueIsOk || count < 1 || parts.size() > 2)
        return false;
    for (int i = 0; i < count; ++i)
        readings.append(value);
    return true;
}

// Walks the lines of one profile. Every reader of a line gives false if the line makes no sense.
class Reader {
public:
    // Line by line; the first line that fails ends it.
    bool readLine(const QString &line)
    {
        const int end = line.indexOf(QLatin1Char(' '));
        const QString key = line.left(end);
        const QString rest = end < 0 ? QString() : line.mid(end + 1).trimmed();
        return readText(key, rest) || readLists(key, rest.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }

    ProfilerData profile() const { return mBuilder.build(); }

private:
    bool readText(const QString &key, const QString &value)
    {
        const struct {
            const char *key;
            QString &fact;
        } texts[] = {
            {"target", mFacts.target},
            {"command-line", mFacts.commandLine},
            {"host-name", mFacts.hostname},
            {"notes", mFacts.notes},
            {"profiled-ranks", mFacts.profiledRanks},
            {"omp-num-threads", mFacts.ompNumThreads},
        };
        for (const auto &text : texts) {
            if (key != QLatin1String(text.key))
                continue;
            const std::optional<QString> plain = unescaped(value);
            if (plain)
                text.fact = *plain;
            mBuilder.facts(mFacts);
            return plain.has_value();
        }
        return false;
    }

    bool readLists(const QString &key, const QStringList &words)
    {
        const struct {
            const char *key;
            bool (Reader::*read)(const QStringList &);
        } readers[] = {
            {"start", &Reader::readStart},
            {"samples", &Reader::readSamples},
            {"processes", &Reader::readProcesses},
            {"nodes", &Reader::readNodes},
            {"cores", &Reader::readCores},
            {"main", &Reader::readMain},
            {"others", &Reader::readOthers},
            {"alone", &Reader::readAlone},
            {"series", &Reader::readSeries},
            {"readings", &Reader::readReadings},
            {"whole-run", &Reader::readWholeRun},
            {"active-cores", &Reader::readActiveCores},
            {"error", &Reader::readError},
        };
        for (const auto &reader : readers) {
            if (key == QLatin1String(reader.key))
                return !words.isEmpty() && (this->*reader.read)(words);
        }
        return false;
    }

    bool readStart(const QStringList &words)
    {
        mFacts.startTime = QDateTime::fromString(words.join(QLatin1Char(' ')), Qt::ISODate);
        mBuilder.facts(mFacts);
        return mFacts.startTime.isValid();
    }

    // The first line of a profile: it begins anew.
    bool readSamples(const QStringList &words)
    {
        const QVector<double> numbers = numbersOf(words);
        if (numbers.size() != 2 || numbers[0] < 0 || numbers[0] > ProfilerData::MaxSamples)
            return false;
        mSamples = static_cast<int>(numbers[0]);
        mBuilder = ProfileBuilder(mSamples, static_cast<int>(numbers[1]));
        mBuilder.facts(mFacts);
        return true;
    }

    bool readProcesses(const QStringList &words) { return readCount(words, mFacts.processes); }
    bool readNodes(const QStringList &words) { return readCount(words, mFacts.nodes); }

    bool readCount(const QStringList &words, int &fact)
    {
        bool ok = false;
        fact = words[0].toInt(&ok);
        mBuilder.facts(mFacts);
        return ok && words.size() == 1;
    }

    bool readCores(const QStringList &words)
    {
        const QVector<double> numbers = numbersOf(words);
        if (numbers.size() != 2)
            return false;
        mBuilder.cores(static_cast<int>(numbers[0]), static_cast<int>(numbers[1]));
        return true;
    }

    bool readMain(const QStringList &words) { return readHits(words, &ProfileBuilder::mainAt); }
    bool readOthers(const QStringList &words) { return readHits(words, &ProfileBuilder::othersAt); }

    typedef ProfileBuilder &(ProfileBuilder::*HitsSetter)(int, Category::Enum, qint64, qint64);

    // CATEGORY HITS [ACTIVE] [FIRST-LAST]
    bool readHits(QStringList words, HitsSetter set)
    {
        int first = 0;
        int last = mSamples - 1;
        const QRegularExpressionMatch range
            = QRegularExpression(QStringLiteral("^(\\d+)-(\\d+)$")).match(words.last());
        if (range.hasMatch()) {
            first = range.captured(1).toInt();
            last = range.captured(2).toInt();
            words.removeLast();
        }
        const std::optional<Category::Enum> category = categoryNamed(words.value(0));
        const QVector<double> numbers = numbersOf(words.mid(1));
        if (!category || numbers.isEmpty() || numbers.size() > 2 || first > last || last >= mSamples)
            return false;
        for (int sample = first; sample <= last; ++sample)
            (mBuilder.*set)(
                sample, *category, static_cast<qint64>(numbers[0]), static_cast<qint64>(numbers.last()));
        return true;
    }

    bool readAlone(const QStringList &words)
    {
        const std::optional<Category::Enum> category = categoryNamed(words[0]);
        const QVector<double> numbers = numbersOf(words.mid(1));
        if (!category || numbers.size() != 1)
            return false;
        mBuilder.alone(*category, static_cast<qint64>(numbers[0]));
        return true;
    }

    // METRIC VALUE..., one for each sample
    bool readSeries(const QStringList &words)
    {
        const QVector<double> numbers = numbersOf(words.mid(1));
        mBuilder.series(words[0], numbers);
        return isKnown(words[0]) && !numbers.isEmpty();
    }

    // METRIC LIST..., one for each sample: the readings of processes or nodes, separated by commas; a dash
    // for a sample without any
    bool readReadings(const QStringList &words)
    {
        QVector<QVector<double>> readings;
        for (const QString &word : words.mid(1)) {
            const bool none = word == QLatin1String("-");
            readings.append(numbersOf(none ? QStringList() : word.split(QLatin1Char(','))));
            if (readings.last().isEmpty() != none)
                return false;
        }
        mBuilder.readingsBySample(words[0], readings);
        return isKnown(words[0]) && !readings.isEmpty();
    }

    bool readWholeRun(const QStringList &words)
    {
        const QVector<double> numbers = numbersOf(words.mid(1));
        mBuilder.wholeRun(words[0], numbers);
        return isKnown(words[0]) && !numbers.isEmpty();
    }

    bool readActiveCores(const QStringList &words)
    {
        const QVector<double> numbers = numbersOf(words);
        if (numbers.size() != 2)
            return false;
        mBuilder.activeCores(numbers[0], numbers[1]);
        return true;
    }

    bool readError(const QStringList &words)
    {
        const std::optional<QString> text = unescaped(words.mid(1).join(QLatin1Char(' ')));
        if (!text || text->isEmpty() || !isKnown(words[0]))
            return false;
        mBuilder.error(words[0], *text);
        return true;
    }

    static bool isKnown(const QString &metricId)
    {
        return MetricDefinitions::known().getMetricById(metricId) != nullptr;
    }

    // Empty if a word isn't one.
    static QVector<double> numbersOf(const QStringList &words)
    {
        QVector<double> numbers;
        for (const QString &word : words) {
            if (!appendReadings(numbers, word))
                return {};
        }
        return numbers;
    }

    ProfileFacts mFacts;
    int mSamples = 0;
    ProfileBuilder mBuilder = ProfileBuilder(0);
};

void setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
}

} // namespace

std::optional<ProfilerData> parseTextProfile(const QString &text, const QString &name, QString *error)
{
    Reader reader;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines[i].trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (!reader.readLine(line)) {
            setError(
                error, QStringLiteral("%1:%2: can't make sense of \"%3\"").arg(name).arg(i + 1).arg(line));
            return std::nullopt;
        }
    }
    return reader.profile();
}

std::optional<ProfilerData> readTextProfile(const QString &filename, QString *error)
{
    QFile file(filename);
    if (!file.open(QIODevice::ReadOnly)) {
        setError(error, QStringLiteral("%1: %2").arg(filename, file.errorString()));
        return std::nullopt;
    }
    return parseTextProfile(QString::fromUtf8(file.readAll()), filename, error);
}
