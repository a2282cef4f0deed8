#ifndef HOST_CLI_BASEARGPARSER_H
#define HOST_CLI_BASEARGPARSER_H

#include "cli/platform.h"
#include "core/export.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

// The version text of the build: "7.1.0".
BRIVANE_HOST_EXPORT QString sc_version();

// Parsing by a table of options. A derived class declares its options in its constructor, and from that
// table come the reading of the command line and the help.
//
// Options are written "--name", "--name value", "--name=value", and by their short names "-n", "-n value",
// "-nvalue"; short names without a parameter can be bundled ("-vq"). Options end at the first positional
// argument or behind "--": what follows belongs to the program that is named there. A positional argument
// that is a file to load has nothing of its own behind it, so options may follow it.
class BRIVANE_HOST_EXPORT BaseArgParser : public QObject {
    Q_OBJECT

public:
    // A row of the table.
    struct Option {
        bool shown; // in the help
        QString name; // without hyphens
        QStringList shortNames; // one letter each, without hyphens
        QString parameter; // how the help calls the value; empty: the option takes none
        QString documentation;
    };
    struct Example {
        QString command;
        QString meaning;
    };

    // `args` is the command line without the program's name. Nothing is read before parseAll().
    BaseArgParser(const QStringList &args, Platform::Enum platform);
    ~BaseArgParser() override;

    Platform::Enum platform() const { return mPlatform; }

    // Reads the command line: parseOnly(), then findContradictions() unless there was an error.
    void parseAll();
    // Reads the words into the table's values. Derived classes call it first, then look at the values.
    virtual void parseOnly();
    // True if the options contradict each other; the error is set then.
    virtual bool findContradictions();

    // Whether option `name` was given; false as well for a name that isn't in the table.
    bool boolArg(const QString &name) const;
    // The value given last for option `name`, or the null string.
    QString stringArg(const QString &name) const;
    // All values given for option `name`, in order.
    QStringList listArg(const QString &name) const;

    // `name` as it is written on a command line: "--name", or "-n" for a single letter.
    static QString hyphenate(const QString &name);
    // How the user wrote option `name` ("-o" or "--output"); hyphenate(name) if it wasn't given.
    QString getUsedName(const QString &name) const;

    bool hasError() const { return !mError.isNull(); }
    QString getError() const { return mError; }
    // Records an error. The first one stays unless `replace` is true.
    void setError(const QString &message, bool replace);

    // The words that aren't options: a file to load, or the program and all that follows it.
    QStringList positionals() const { return mPositionals; }
    // Where the program stands in the arguments that the parser was made from; -1 if there is none.
    int programIndex() const { return mProgramIndex; }

    // What --help prints: prologue, options, examples, epilogue, in lines of at most 80 columns.
    QString helpText() const;
    // The table in the order of the help: a tool's own options, then those that several tools have, then
    // those of all tools.
    QList<Option> options() const;
    // Commands that show how the tool is used.
    QList<Example> examples() const { return mExamples; }
    // The text around the options.
    QString helpPrologue() const { return mHelpPrologue; }
    QString helpEpilogue() const { return mHelpEpilogue; }

protected:
    void setHelpPrologue(const QString &text) { mHelpPrologue = text; }
    void setHelpEpilogue(const QString &text) { mHelpEpilogue = text; }
    void addExample(const QString &command, const QString &meaning) { mExamples.append({command, meaning}); }

    // Declares an option. A second declaration of a name replaces the first.
    void arg(bool shown, const QString &name, const QStringList &shortNames, const QString &parameter,
        const QString &documentation);
    // The rows declared since the last call belong together; the help shows groups in reverse order.
    void endGroup() { mGroupEnds.append(mOptions.size()); }
    // A positional argument with this file extension is a file to load instead of a program to run.
    void canAutoLoad(const QString &extension) { mAutoLoadExtensions.append(extension); }
    bool isAutoLoadFile(const QString &word) const;

private:
    friend class FERNAndQuillonReportCommonArgs; // a part of parsers, which declares options, too

    int parseWord(int index);
    int parseLongOption(int index);
    int parseShortOptions(int index);
    int takeValue(const Option &option, const QString &usedName, int index);
    void store(const Option &option, const QString &usedName, const QString &value);
    void unknownOption(const QString &usedName);
    const Option *findByName(const QString &name) const;
    const Option *findByShortName(QChar letter) const;
    QString nearestOption(const QString &usedName) const;

    const QStringList mArgs;
    const Platform::Enum mPlatform;
    QList<Option> mOptions;
    QList<int> mGroupEnds;
    QStringList mAutoLoadExtensions;
    QString mHelpPrologue;
    QString mHelpEpilogue;
    QList<Example> mExamples;

    QHash<QString, QStringList> mValues;
    QHash<QString, QString> mUsedNames;
    QStringList mPositionals;
    int mProgramIndex = -1;
    QString mError;
};

#endif
