#ifndef HOST_CLI_ARGPARSER_H
#define HOST_CLI_ARGPARSER_H

#include "cli/baseargparser.h"

// Names of options, without hyphens.
extern BRIVANE_HOST_EXPORT const QString
    kOutput; // where the tool writes; declared by each tool, in its words
extern BRIVANE_HOST_EXPORT const QString kVerbose;
extern BRIVANE_HOST_EXPORT const QString kQuiet;
extern BRIVANE_HOST_EXPORT const QString kInput;
extern BRIVANE_HOST_EXPORT const QString kHelp;
extern BRIVANE_HOST_EXPORT const QString kVersion;
extern BRIVANE_HOST_EXPORT const QString kListMetrics;
extern BRIVANE_HOST_EXPORT const QString kCleanconfig;
extern BRIVANE_HOST_EXPORT const QString kAutoconfig;
extern BRIVANE_HOST_EXPORT const QString kManual;
extern BRIVANE_HOST_EXPORT const QString kSamples;
extern BRIVANE_HOST_EXPORT const QString kInterval;

// Launchers of parallel jobs that the usage text names.
extern BRIVANE_HOST_EXPORT const QStringList exampleMpirunCommands;

// What the command lines of all tools have in common: what is to be run or loaded, and how much the host
// says about it. An option that a build doesn't declare counts as not given.
class BRIVANE_HOST_EXPORT ArgParser : public BaseArgParser {
    Q_OBJECT

public:
    ArgParser(const QStringList &args, Platform::Enum platform);

    // Whether the tool would open a window.
    virtual bool isInteractive() const = 0;

    // How many samples a profile can have, and the longest interval between its first ones in ms.
    static constexpr int MinSamples = 2;
    static constexpr int MaxSamples = 1000;
    static constexpr int MaxInterval = 60000;

    void parseOnly() override;
    bool findContradictions() override;

    // The program to run or the file to load, the first word that isn't an option; empty if that word
    // is a launcher, which finds the program among its own arguments, or if there is none.
    QString getTarget() const;
    // The launcher, if the job is started by one ("mpirun", "/opt/mpi/bin/mpiexec"), or empty.
    QString getMpirunCommand() const;
    // The file to load instead of running a program, or empty.
    QString getAutoLoadFile() const;
    // The value of the output option, or empty.
    QString getOutputFile() const { return stringArg(kOutput); }
    // The file that the job reads as its standard input, or null.
    QString getInputFile() const { return stringArg(kInput); }

    // The most samples that the profile shall have, and the interval between its first ones in ms; 0: as
    // configured.
    int getSamples() const { return mSamples; }
    int getInterval() const { return mInterval; }

    bool isVerbose() const { return boolArg(kVerbose); }
    bool isQuiet() const { return boolArg(kQuiet); }
    bool isHelp() const { return boolArg(kHelp); }
    bool isPrintVersion() const { return boolArg(kVersion); }
    // The user starts the job by hand: there is nothing to launch.
    bool isManualLaunch() const { return boolArg(kManual); }
    bool isCleanConfig() const { return boolArg(kCleanconfig); }
    bool isAutomaticConfig() const { return boolArg(kAutoconfig); }
    bool shouldListMetrics() const { return boolArg(kListMetrics); }

    // Puts the tool's own words into the help of --verbose.
    void setVerboseDocumentation(const QString &documentation);

private:
    int parseNumber(const QString &option, int least, int greatest);

    int mSamples = 0;
    int mInterval = 0;
};

#endif
