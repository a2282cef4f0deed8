#include "workflow/configfile.h"

#include "cli/argparser.h"
#include "core/brivaneglobals.h"
#include "core/environment.h"
#include "workflow/kelpconfig.h"
#include "workflow/launcherrecognition.h"
#include "workflow/programpath.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <cerrno>
#include <cstring>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("ConfigFile", text);
}

bool readNumber(
    const QSettings &settings, const QString &key, int least, int greatest, int *number, QString *error)
{
    if (!settings.contains(key))
        return true;
    bool isNumber = false;
    *number = settings.value(key).toInt(&isNumber);
    if (isNumber && *number >= least && *number <= greatest)
        return true;
    *error = tr("%1: value '%2' of %3 is no number from %4 to %5")
                 .arg(ConfigFile::path(), settings.value(key).toString(), key, QString::number(least),
                     QString::number(greatest));
    return false;
}

bool readLaunchers(QSettings *settings, QMap<QString, Forwarding> *launchers, QString *error)
{
    settings->beginGroup(QStringLiteral("launchers"));
    for (const QString &key : settings->childKeys()) {
        const Forwarding forwarding = forwardingFromName(key);
        if (forwarding == Forwarding::Unknown) {
            *error = tr("%1: nothing is known of launchers of the kind '%2'").arg(ConfigFile::path(), key);
            return false;
        }
        for (const QString &launcher : settings->value(key).toStringList())
            launchers->insert(launcher, forwarding);
    }
    settings->endGroup();
    return true;
}

// The environment prevails over the file.
bool readEvents(const QStringList &inFile, FERNConfig *fern, QString *error)
{
    const QString variable = brivane::environmentString("PERF_EVENTS");
    const QStringList names
        = variable.isNull() ? inFile : variable.split(QLatin1Char(','), Qt::SkipEmptyParts);
    QVector<PerfEvent> events;
    if (!PerfEvents::parse(names, &events, error)) {
        *error = QStringLiteral("%1: %2").arg(
            variable.isNull() ? ConfigFile::path() : QStringLiteral("FERN_PERF_EVENTS"), *error);
        return false;
    }
    fern->setPerfEvents(events);
    return true;
}

bool checkStatus(const QSettings &settings, QString *error)
{
    if (settings.status() == QSettings::NoError)
        return true;
    const bool isDamaged = settings.status() == QSettings::FormatError;
    *error = (isDamaged ? tr("%1: not a configuration file") : tr("%1: cannot be read or written"))
                 .arg(ConfigFile::path());
    return false;
}

} // namespace

QString ConfigFile::path()
{
    return PathString::joinPath({BrivaneGlobals::instance()->localConfigDir(), QStringLiteral("fern.conf")});
}

bool ConfigFile::read(KELPConfig *config, QString *error)
{
    if (!QFileInfo::exists(path()))
        return readEvents({}, &config->fernConfig(), error);
    QSettings settings(path(), QSettings::IniFormat);
    int samples = 0;
    int interval = 0;
    QMap<QString, Forwarding> launchers;
    if (!checkStatus(settings, error)
        || !readNumber(settings, QStringLiteral("profile/samples"), ArgParser::MinSamples,
            ArgParser::MaxSamples, &samples, error)
        || !readNumber(
            settings, QStringLiteral("profile/interval"), 1, ArgParser::MaxInterval, &interval, error)
        || !readLaunchers(&settings, &launchers, error))
        return false;
    FERNConfig &fern = config->fernConfig();
    fern.setSamples(samples);
    fern.setInterval(interval);
    fern.setDisabledMetrics(settings.value(QStringLiteral("profile/disabled-metrics")).toStringList());
    // A command may hold commas, which part lists here.
    fern.setPowerCommand(
        settings.value(QStringLiteral("power/command")).toStringList().join(QLatin1String(", ")));
    config->setLaunchers(launchers);
    return readEvents(
        settings.value(QStringLiteral("profile/perf-events")).toStringList(), &config->fernConfig(), error);
}

bool ConfigFile::remove(bool *removed, QString *error)
{
    *removed = ::remove(QFile::encodeName(path()).constData()) == 0;
    if (*removed || errno == ENOENT || errno == ENOTDIR)
        return true;
    *error = tr("cannot remove '%1': %2").arg(path(), QString::fromLocal8Bit(std::strerror(errno)));
    return false;
}

bool ConfigFile::detect(QStringList *found, QString *error)
{
    QMap<QString, QStringList> launchers;
    for (const LauncherRow &row : launcherTable()) {
        QByteArray program;
        QString missing;
        if (findProgram(row.name, qgetenv("PATH"), &program, &missing) != ExitSuccess)
            continue;
        const QString file = QFileInfo(QFile::decodeName(program)).absoluteFilePath();
        const QString kind = forwardingName(recogniseLauncher(program, {}));
        launchers[kind].append(file);
        found->append(QStringLiteral("%1: %2").arg(file, kind));
    }

    QDir().mkpath(QFileInfo(path()).path());
    QSettings settings(path(), QSettings::IniFormat);
    settings.remove(QStringLiteral("launchers"));
    for (auto it = launchers.cbegin(); it != launchers.cend(); ++it)
        settings.setValue(QStringLiteral("launchers/") + it.key(), it.value());
    settings.sync();
    return checkStatus(settings, error);
}
