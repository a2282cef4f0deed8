#include "workflow/jobenvironment.h"

#include "profile/profilerdata.h"
#include "workflow/kelpconfig.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <initializer_list>

#include <dlfcn.h>
#include <unistd.h>

namespace {

const char SamplerName[] = "libfern-sampler.so";
const char SpoolVariable[] = "QUILLON_SAMPLER_SPOOL";
const char EpochVariable[] = "QUILLON_SAMPLER_EPOCH";
const char GatherVariable[] = "QUILLON_SAMPLER_GATHER";
const char KeeperVariable[] = "QUILLON_SAMPLER_KEEPER";
const char GpuReaderVariable[] = "QUILLON_SAMPLER_GPU_READER";
const char IntervalVariable[] = "QUILLON_SAMPLER_INTERVAL";
const char EventsVariable[] = "QUILLON_SAMPLER_EVENTS";
const char MergeVariable[] = "QUILLON_SAMPLER_MERGE";
const char PatienceVariable[] = "QUILLON_SAMPLER_PATIENCE"; // in ms

// Bins are counted from here, and none comes before: a node whose clock is behind ours has some for all its
// time, too.
qint64 epochNs()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>((system_clock::now() - hours(24)).time_since_epoch()).count();
}

bool isPreloadable(const QByteArray &path)
{
    return path.indexOf(' ') < 0 && path.indexOf(':') < 0;
}

// The path of a program that the sampler starts beside the job; empty if it isn't installed.
QByteArray pathBeside(const QString &program)
{
    const QByteArray path = samplerPath();
    const QFileInfo file(QFile::decodeName(path.left(path.lastIndexOf('/') + 1))
        + QLatin1String(QUILLON_PROGRAMS_BESIDE) + QLatin1Char('/') + program);
    return file.isExecutable() ? QFile::encodeName(file.canonicalFilePath()) : QByteArray();
}

bool isAnyOf(const QByteArray &entry, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (entry.startsWith(QByteArray(name) + '='))
            return true;
    }
    return false;
}

// The ways of launchers to give ranks different programs.
bool hasSeveralPrograms(const QList<QByteArray> &command)
{
    for (const char *word : {":", "--app", "-configfile", "--configfile", "--multi-prog"}) {
        if (command.contains(word))
            return true;
    }
    return false;
}

} // namespace

QByteArray samplerPath()
{
    Dl_info info;
    if (::dladdr(reinterpret_cast<void *>(&samplerPath), &info) == 0)
        return SamplerName;
    const QFileInfo here(QFile::decodeName(info.dli_fname));
    return QFile::encodeName(here.canonicalPath()) + '/' + SamplerName;
}

QByteArray gpuReaderPath()
{
    return pathBeside(QStringLiteral("fern-gpu-reader"));
}

bool isSamplerThere(const QByteArray &sampler, QString *error)
{
    if (::access(sampler.constData(), R_OK) == 0)
        return true;
    *error = QCoreApplication::translate(
        "JobLauncher", "the sampler '%1' is missing: the installation is damaged")
                 .arg(QString::fromUtf8(sampler));
    return false;
}

QByteArray preloadablePath(const QByteArray &sampler, const QString &workFolder)
{
    if (isPreloadable(sampler))
        return sampler;
    const QByteArray link = QFile::encodeName(workFolder) + '/' + SamplerName;
    return ::symlink(sampler.constData(), link.constData()) == 0 ? link : sampler;
}

QList<QByteArray> plainEnvironment()
{
    QList<QByteArray> result;
    for (char **entry = environ; *entry; ++entry) {
        const QByteArray text(*entry);
        if (!isAnyOf(text,
                {SpoolVariable, GatherVariable, KeeperVariable, EpochVariable, GpuReaderVariable,
                    IntervalVariable, EventsVariable, MergeVariable, PatienceVariable}))
            result.append(text);
    }
    return result;
}

QList<Variable> samplerVariables(
    const QByteArray &sampler, const SpoolFolders &folders, const KELPConfig &launch)
{
    const FERNConfig &config = launch.fernConfig();
    QByteArray preload = sampler;
    if (const QByteArray others = qgetenv("LD_PRELOAD"); !others.isEmpty())
        preload += ':' + others;
    QList<Variable> result{{"LD_PRELOAD", preload}, {SpoolVariable, QFile::encodeName(folders.spool)},
        {EpochVariable, QByteArray::number(epochNs())}};
    if (!folders.gather.isEmpty())
        result.append({GatherVariable, QFile::encodeName(folders.gather)});
    if (const QByteArray keeper = pathBeside(QStringLiteral("fern-spool-keeper"));
        !folders.gather.isEmpty() && !keeper.isEmpty())
        result.append({KeeperVariable, keeper});
    if (const QByteArray reader = gpuReaderPath(); !reader.isEmpty())
        result.append({GpuReaderVariable, reader});
    if (config.getInterval() > 0)
        result.append({IntervalVariable, QByteArray::number(config.getInterval())});
    if (!config.getPerfEvents().isEmpty())
        result.append({EventsVariable, PerfEvents::forSampler(config.getPerfEvents())});
    if (config.getSelectedRanks().isEmpty()) {
        const int samples = config.getSamples() > 0 ? config.getSamples() : ProfilerData::MaxSamples;
        result.append({MergeVariable, QByteArray::number(samples)});
        if (hasSeveralPrograms(launch.getCommand()))
            result.append({PatienceVariable, QByteArray("10000")});
    }
    return result;
}
