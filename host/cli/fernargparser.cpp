#include "cli/fernargparser.h"

FernArgParser::FernArgParser(const QStringList &args, Platform::Enum platform)
    : ArgParser(args, platform)
    , FERNAndQuillonReportCommonArgs(static_cast<BaseArgParser &>(*this))
{
    setHelpPrologue(
        tr("\nRun and monitor a program; its profile is written to the current directory as a .fern file, "
           "from which quillon-report makes reports at any time.\n\n"
           "Usage: fern [OPTION...] PROGRAM [PROGRAM_ARGS]\n"
           "       fern [OPTION...] (%1) [MPI_ARGS] PROGRAM [PROGRAM_ARGS]\n\n")
            .arg(exampleMpirunCommands.join(QLatin1Char('|')) + QLatin1String("|...")));
    canAutoLoad(QStringLiteral("fern"));
    arg(true, kOutput, {QStringLiteral("o")}, QStringLiteral("FILE"),
        tr("write the profile to FILE, which gets the suffix .fern if it has another, instead of an "
           "auto-generated name. If FILE is a directory, the profile is placed in it under an auto-generated "
           "name."));
    addExample(QStringLiteral("fern ./simulate input.dat"), tr("Profile one process."));
    addExample(QStringLiteral("fern -o run.fern mpirun -n 4 ./simulate"),
        tr("Profile a parallel job into run.fern."));
    addExample(QStringLiteral("quillon-report run.fern"), tr("Make reports of that profile."));
}

bool FernArgParser::isInteractive() const
{
    return false;
}

void FernArgParser::parseOnly()
{
    ArgParser::parseOnly();
    parseSelectRanks();
    parseMetrics();
}

bool FernArgParser::findContradictions()
{
    if (ArgParser::findContradictions() || FERNAndQuillonReportCommonArgs::findContradictions())
        return true;
    if (!getAutoLoadFile().isEmpty()) {
        setError(tr("'%1' is a profile already; quillon-report makes reports of it").arg(getAutoLoadFile()),
            false);
        return true;
    }
    const bool hasProgram = programIndex() >= 0;
    bool needsProgram = !isManualLaunch() && !isHelp() && !isPrintVersion();
    for (const QString &option : {kCleanconfig, kAutoconfig, kListMetrics}) {
        if (boolArg(option) && (hasProgram || isManualLaunch())) {
            setError(tr("both %1 and %2 are given")
                         .arg(getUsedName(option), hasProgram ? tr("a program") : getUsedName(kManual)),
                false);
            return true;
        }
        needsProgram = needsProgram && !boolArg(option);
    }
    if (!hasProgram && needsProgram) {
        setError(tr("no program to run"), false);
        return true;
    }
    return false;
}
