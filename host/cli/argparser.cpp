#include "cli/argparser.h"

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
    arg(true, kVerbose, {QStringLiteral("v")}, QString(), tr("print extra information"));
    arg(true, kQuiet, {QStringLiteral("q")}, QString(), tr("print nothing but errors"));
    arg(true, kListMetrics, {}, QString(), tr("list the metrics that can be recorded and exit"));
    arg(true, kVersion, {}, QString(), tr("print the version and exit"));
    arg(true, kHelp, {QStringLiteral("h")}, QString(), tr("print this help and exit"));
    endCommonOptions();
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
    if (!getAutoLoadFile().isEmpty() && boolArg(kInput)) {
        setError(tr("'%1' is loaded and no program run, so that %2 has no meaning")
                     .arg(getAutoLoadFile(), getUsedName(kInput)),
            false);
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
    return exampleMpirunCommands.contains(QFileInfo(first).fileName()) ? first : QString();
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
