#include "cli/baseargparser.h"

#include "cli/editdistance.h"
#include "cli/helptext.h"

#include <QFileInfo>

BaseArgParser::BaseArgParser(const QStringList &args, Platform::Enum platform)
    : mArgs(args)
    , mPlatform(platform)
{
}

BaseArgParser::~BaseArgParser() = default;

void BaseArgParser::parseAll()
{
    parseOnly();
    if (!hasError())
        findContradictions();
}

void BaseArgParser::parseOnly()
{
    for (int index = 0; index < mArgs.size() && !hasError();)
        index = parseWord(index);
}

bool BaseArgParser::findContradictions()
{
    return false;
}

bool BaseArgParser::boolArg(const QString &name) const
{
    return mValues.contains(name);
}

QString BaseArgParser::stringArg(const QString &name) const
{
    const QStringList values = listArg(name);
    return values.isEmpty() ? QString() : values.last();
}

QStringList BaseArgParser::listArg(const QString &name) const
{
    return mValues.value(name);
}

QString BaseArgParser::hyphenate(const QString &name)
{
    return QLatin1String(name.size() == 1 ? "-" : "--") + name;
}

QString BaseArgParser::getUsedName(const QString &name) const
{
    return mUsedNames.value(name, hyphenate(name));
}

QString BaseArgParser::helpText() const
{
    return formatHelp(mHelpPrologue, options(), mExamples, mHelpEpilogue);
}

QList<BaseArgParser::Option> BaseArgParser::options() const
{
    QList<Option> result;
    int end = mOptions.size();
    for (int group = mGroupEnds.size() - 1; group >= -1; --group) {
        const int begin = group >= 0 ? mGroupEnds.at(group) : 0;
        result += mOptions.mid(begin, end - begin);
        end = begin;
    }
    return result;
}

void BaseArgParser::arg(bool shown, const QString &name, const QStringList &shortNames,
    const QString &parameter, const QString &documentation)
{
    const Option row{shown, name, shortNames, parameter, documentation};
    for (Option &option : mOptions) {
        if (option.name == name) {
            option = row;
            return;
        }
    }
    mOptions.append(row);
}

bool BaseArgParser::isAutoLoadFile(const QString &word) const
{
    return mAutoLoadExtensions.contains(QFileInfo(word).suffix());
}

void BaseArgParser::setError(const QString &message, bool replace)
{
    if (replace || mError.isNull())
        mError = message;
}

// Reads what begins with the word at `index` and gives the index of the word to go on with.
int BaseArgParser::parseWord(int index)
{
    const QString &word = mArgs.at(index);
    const bool isSeparator = word == QLatin1String("--");
    if (!isSeparator && word.startsWith(QLatin1String("--")))
        return parseLongOption(index);
    if (!isSeparator && word.size() > 1 && word.startsWith(QLatin1Char('-')))
        return parseShortOptions(index);

    if (!isSeparator && isAutoLoadFile(word)) {
        mPositionals.append(word);
        return index + 1;
    }
    const int first = isSeparator ? index + 1 : index;
    if (mPositionals.isEmpty() && first < mArgs.size() && !isAutoLoadFile(mArgs.at(first)))
        mProgramIndex = first;
    mPositionals += mArgs.mid(first);
    return mArgs.size();
}

int BaseArgParser::parseLongOption(int index)
{
    const QString &word = mArgs.at(index);
    const int equals = word.indexOf(QLatin1Char('='));
    const QString usedName = word.left(equals);
    const Option *option = findByName(usedName.mid(2));
    if (!option) {
        unknownOption(usedName);
        return index + 1;
    }
    if (equals < 0)
        return takeValue(*option, usedName, index + 1);
    if (option->parameter.isEmpty())
        setError(tr("option '%1' takes no value").arg(usedName), false);
    else
        store(*option, usedName, word.mid(equals + 1));
    return index + 1;
}

int BaseArgParser::parseShortOptions(int index)
{
    const QString &word = mArgs.at(index);
    if (word.size() > 2 && findByName(word.mid(1).section(QLatin1Char('='), 0, 0))) {
        unknownOption(word); // "-output" is a slip, not "-o utput"
        return index + 1;
    }
    for (int i = 1; i < word.size(); ++i) {
        const QString usedName = hyphenate(word.at(i));
        const Option *option = findByShortName(word.at(i));
        if (!option) {
            unknownOption(usedName);
            return index + 1;
        }
        const bool isLast = i + 1 == word.size();
        if (isLast)
            return takeValue(*option, usedName, index + 1);
        if (!option->parameter.isEmpty()) {
            const QString rest = word.mid(i + 1);
            store(*option, usedName, rest.startsWith(QLatin1Char('=')) ? rest.mid(1) : rest);
            return index + 1;
        }
        store(*option, usedName, QString());
    }
    return index + 1;
}

// Stores an option whose value, if it takes one, is the word at `index`; gives the word to go on with.
int BaseArgParser::takeValue(const Option &option, const QString &usedName, int index)
{
    if (option.parameter.isEmpty()) {
        store(option, usedName, QString());
        return index;
    }
    if (index >= mArgs.size()) {
        setError(tr("option '%1' needs a value: %1 %2").arg(usedName, option.parameter), false);
        return index;
    }
    store(option, usedName, mArgs.at(index));
    return index + 1;
}

void BaseArgParser::store(const Option &option, const QString &usedName, const QString &value)
{
    mValues[option.name].append(value);
    mUsedNames.insert(option.name, usedName);
}

void BaseArgParser::unknownOption(const QString &usedName)
{
    const QString nearest = nearestOption(usedName);
    setError(nearest.isEmpty() ? tr("unknown option '%1'").arg(usedName)
                               : tr("unknown option '%1'; did you mean '%2'?").arg(usedName, nearest),
        false);
}

const BaseArgParser::Option *BaseArgParser::findByName(const QString &name) const
{
    for (const Option &option : mOptions) {
        if (option.name == name)
            return &option;
    }
    return nullptr;
}

const BaseArgParser::Option *BaseArgParser::findByShortName(QChar letter) const
{
    for (const Option &option : mOptions) {
        if (option.shortNames.contains(letter))
            return &option;
    }
    return nullptr;
}

// The shown option that is spelt most like `usedName`, or an empty string if none is near.
QString BaseArgParser::nearestOption(const QString &usedName) const
{
    const QString given = usedName.section(QLatin1Char('='), 0, 0);
    QString nearest;
    int nearestDistance = qMax(2, given.size() / 3) + 1;
    for (const Option &option : mOptions) {
        if (!option.shown)
            continue;
        const QString spelling = hyphenate(option.name);
        const bool isAbbreviation = given.size() > 2 && spelling.startsWith(given);
        const bool isOtherCase
            = given.size() == 2 && option.shortNames.contains(given.at(1), Qt::CaseInsensitive);
        const int distance = isAbbreviation || isOtherCase ? 0 : editDistance(given, spelling);
        if (distance < nearestDistance) {
            nearest = isOtherCase ? hyphenate(option.shortNames.first()) : spelling;
            nearestDistance = distance;
        }
    }
    return nearest;
}
