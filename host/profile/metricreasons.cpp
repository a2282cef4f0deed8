#include "profile/metricreasons.h"

#include "profile/metrictable.h"
#include "profile/perfevents.h"
#include "profile/powerbudget.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cerrno>
#include <cmath>

#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace fern::spool;

namespace {

// Asks for something of the calling thread.
quint32 perfState(perf_event_attr attributes)
{
    attributes.size = sizeof(attributes);
    attributes.disabled = 1;
    attributes.exclude_hv = 1;
    const long event = ::syscall(SYS_perf_event_open, &attributes, 0, -1, -1, PERF_FLAG_FD_CLOEXEC);
    if (event < 0)
        return errno == EPERM || errno == EACCES ? SourceRefused : SourceAbsent;
    ::close(static_cast<int>(event));
    return SourceRead;
}

quint32 programCounterState(const QString &)
{
    perf_event_attr attributes = {};
    attributes.type = PERF_TYPE_SOFTWARE;
    attributes.config = PERF_COUNT_SW_TASK_CLOCK;
    attributes.sample_period = 1000000;
    attributes.sample_type = PERF_SAMPLE_IP;
    attributes.exclude_kernel = 1;
    return perfState(attributes);
}

quint32 eventState(quint32 type, quint64 config)
{
    perf_event_attr attributes = {};
    attributes.type = type;
    attributes.config = config;
    // What happens in the kernel can't be counted outside of it.
    const bool isOfKernel = type == PERF_TYPE_SOFTWARE
        && (config == PERF_COUNT_SW_CONTEXT_SWITCHES || config == PERF_COUNT_SW_CPU_MIGRATIONS);
    attributes.exclude_kernel = isOfKernel ? 0 : 1;
    return perfState(attributes);
}

quint32 cyclesState(const QString &)
{
    return eventState(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES);
}

bool startsWith(const QString &path, const char *word)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readLine().startsWith(word);
}

quint32 stateOf(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        return SourceRead;
    return file.exists() ? SourceRefused : SourceAbsent;
}

// A sum that lacks a package would be wrong: one that is refused is enough.
quint32 cpuPowerState(const QString &sysfs)
{
    quint32 state = SourceAbsent;
    const QDir zones(sysfs + QLatin1String("/class/powercap"));
    for (const QString &zone : zones.entryList({QStringLiteral("intel-rapl:*")}, QDir::Dirs)) {
        const QString folder = zones.filePath(zone) + QLatin1Char('/');
        if (state != SourceRefused && startsWith(folder + QLatin1String("name"), "package"))
            state = stateOf(folder + QLatin1String("energy_uj"));
    }
    return state;
}

quint32 systemPowerState(const QString &sysfs)
{
    quint32 state = stateOf(sysfs + QLatin1String("/cray/pm_counters/power"));
    const QDir meters(sysfs + QLatin1String("/class/hwmon"));
    for (const QString &meter : meters.entryList({QStringLiteral("hwmon*")}, QDir::Dirs)) {
        const QString folder = meters.filePath(meter) + QLatin1Char('/');
        const QString name = folder + QLatin1String("name");
        if (state == SourceRead || !(startsWith(name, "power_meter") || startsWith(name, "ipmi")))
            continue;
        const bool hasMean = QFile::exists(folder + QLatin1String("power1_average"));
        state = stateOf(folder + QLatin1String(hasMean ? "power1_average" : "power1_input"));
    }
    return state;
}

bool hasStats(const QString &folder)
{
    const QDir mounts(folder);
    for (const QString &mount : mounts.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (QFile(mounts.filePath(mount) + QLatin1String("/stats")).open(QIODevice::ReadOnly))
            return true;
    }
    return false;
}

quint32 lustreState(const QString &sysfs)
{
    if (hasStats(QStringLiteral("/proc/fs/lustre/llite"))
        || hasStats(sysfs + QLatin1String("/kernel/debug/lustre/llite")))
        return SourceRead;
    return QDir(sysfs + QLatin1String("/fs/lustre")).exists() ? SourceRefused : SourceAbsent;
}

quint32 budgetState(const QString &)
{
    return std::isnan(PowerBudget::watts()) ? SourceUnknown : SourceRead;
}

// Sources that not every machine has.
struct Probe {
    SourceId source;
    quint32 (*state)(const QString &sysfs);
};
constexpr Probe Probes[] = {
    {SourceProgramCounters, programCounterState},
    {SourceCycles, cyclesState},
    {SourceLustre, lustreState},
    {SourceCpuPower, cpuPowerState},
    {SourceSystemPower, systemPowerState},
    {SourceBudget, budgetState},
};

} // namespace

QString MetricReasons::ofState(const QString &metric, quint32 state)
{
    const MetricTable::Source &source = MetricTable::sourceOf(metric);
    const bool isKnown = state < SourceStateCount && !source.whyNot[state].isEmpty();
    const QString &sentence = source.whyNot[isKnown ? state : quint32(SourceUnknown)];
    return QCoreApplication::translate("MetricReasons", sentence.toUtf8().constData());
}

QString MetricReasons::onThisMachine(const QString &metric, const QString &sysfs)
{
    PerfEvent event;
    if (PerfEvents::isMetricId(metric, &event)) {
        const quint32 state = eventState(event.type, event.config);
        return state != SourceRead ? ofState(metric, state) : QString();
    }
    for (const Probe &probe : Probes) {
        if (probe.source != MetricTable::sourceOf(metric).id)
            continue;
        const quint32 state = probe.state(sysfs);
        return state != SourceRead ? ofState(metric, state) : QString();
    }
    return QString();
}
