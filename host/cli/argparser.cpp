#include "cli/argparser.h"

#include "cli/launchertable.h"
#include "core/version.h"

#include <QFileInfo>

const QString kOutput = QStringLiteral("output");
const QString kVerbose = QStringLiteral("verbose");
const QString kQuiet = QStringLiteral("quiet");
const QString kInput = QStringLiteral("input");
const QString kHelp = QStringLiteral("help");
const QString kVersion = QStringLiteral("version");
const QString kListMetrics = QStringLiteral("list-metrics");
const QString kCleanconfig = QStringLiteral("cleanconfig");
const QString kAutoconfig = QStringLiteral("autoconfig");
const QString kManual = QStringLiteral("manual");
const QString kSamples = QStringLiteral("samples");
const QString kInterval = QStringLiteral("interval");

const QStringList exampleMpirunCommands{
    QStringLiteral("mpirun"), QStringLiteral("mpiexec"), QStringLiteral("srun"), QStringLiteral("aprun")};

QString sc_version()
{
    return QString::fromUtf8(Version::KELP_VERSION);
}

ArgParser::ArgParser(const QStringList &args, Platform::Enum platform)
    : BaseArgParser(args, platform)
{
    arg(true, kInput, {QStringLiteral("i")}, QStringLiteral("FILE"),
        tr("let the program read its standard input from FILE"));
    arg(true, kSamples, {}, QStringLiteral("N"),
        tr("keep at most N samples of the job's course, %1 to %2; without it %2")
            .arg(MinSamples)
            .arg(MaxSamples));
    arg(true, kInterval, {}, QStringLiteral("MS"),
        tr("begin with samples of MS milliseconds, 1 to %1; without it 20. They get wider as the job lasts")
            .arg(MaxInterval));
    arg(true, kManual, {}, QString(),
        tr("start no program: print what to set in the environment of a job that is started by hand, and "
           "wait "
           "for its end"));
    arg(true, kAutoconfig, {}, QString(),
        tr("look for the launchers of parallel jobs on this machine, write down in the configuration file "
           "how "
           "each is served, and exit"));
    arg(true, kCleanconfig, {}, QString(), tr("remove the configuration file and exit"));
    arg(true, kVerbose, {QStringLiteral("v")}, QString(), tr("print extra information"));
    arg(true, kQuiet, {QStringLiteral("q")}, QString(), tr("print nothing but errors"));
    arg(true, kListMetrics, {}, QString(), tr("list the metrics that can be recorded and exit"));
    arg(true, kVersion, {}, QString(), tr("print the version and exit"));
    arg(true, kHelp, {QStringLiteral("h")}, QString(), tr("print this help and exit"));
    endGroup();
}

void ArgParser::parseOnly()
{
    BaseArgParser::parseOnly();
    mSamples = parseNumber(kSamples, MinSamples, MaxSamples);
    mInterval = parseNumber(kInterval, 1, MaxInterval);
}

// The value of an option that takes a number from `least` to `greatest`; 0 where it wasn't given.
int ArgParser::parseNumber(const QString &option, int least, int greatest)
{
    if (!boolArg(option))
        return 0;
    bool isNumber = false;
    const int number = stringArg(option).toInt(&isNumber);
    if (isNumber && number >= least && number <= greatest)
        return number;
    setError(
        tr("value '%1' for %2 is no number from %3 to %4")
            .arg(stringArg(option), getUsedName(option), QString::number(least), QString::number(greatest)),
        false);
    return 0;
}

bool ArgParser::findContradictions()
{
    if (BaseArgParser::findContradictions())
        return true;
    if (isVerbose() && isQuiet()) {
        setError(tr("both %1 and %2 are given").arg(getUsedName(kVerbose), getUsedName(kQuiet)), false);
        return true;
    }
    if (!getAutoLoadFile().isEmpty() && positionals().size() > 1) {
        setError(tr("'%1' is loaded, so that '%2' is one argument too many")
                     .arg(getAutoLoadFile(), positionals().at(1)),
            false);
        return true;
    }
    for (const QString &option : {kInput, kSamples, kInterval, kManual}) {
        if (!getAutoLoadFile().isEmpty() && boolArg(option)) {
            setError(tr("'%1' is loaded and no program run, so that %2 has no meaning")
                         .arg(getAutoLoadFile(), getUsedName(option)),
                false);
            return true;
        }
    }
    if (isManualLaunch() && !positionals().isEmpty()) {
        setError(tr("both %1 and a program are given").arg(getUsedName(kManual)), false);
        return true;
    }
    if (isManualLaunch() && boolArg(kInput)) {
        setError(tr("no program is run, so that %1 has no meaning").arg(getUsedName(kInput)), false);
        return true;
    }
    return false;
}

QString ArgParser::getTarget() const
{
    return positionals().isEmpty() || !getMpirunCommand().isEmpty() ? QString() : positionals().first();
}

QString ArgParser::getMpirunCommand() const
{
    if (positionals().isEmpty())
        return QString();
    const QString first = positionals().first();
    return launcherNamed(QFileInfo(first).fileName()) ? first : QString();
}

QString ArgParser::getAutoLoadFile() const
{
    return !positionals().isEmpty() && isAutoLoadFile(positionals().first()) ? positionals().first()
                                                                             : QString();
}

void ArgParser::setVerboseDocumentation(const QString &documentation)
{
    arg(true, kVerbose, {QStringLiteral("v")}, QString(), documentation);
}
