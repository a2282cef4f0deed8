#include "profile/metricreasons.h"

#include "profile/metricids.h"
#include "sampler/core/spoolformat.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cerrno>

#include <linux/perf_event.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace fern::spool;

namespace {

class Sentences {
    Q_DECLARE_TR_FUNCTIONS(MetricReasons)
};

// The error number of asking for the caller's own program counters; 0 if that works.
int tryProgramCounters()
{
    perf_event_attr attributes = {};
    attributes.size = sizeof(attributes);
    attributes.type = PERF_TYPE_SOFTWARE;
    attributes.config = PERF_COUNT_SW_TASK_CLOCK;
    attributes.sample_period = 1000000;
    attributes.sample_type = PERF_SAMPLE_IP;
    attributes.disabled = 1;
    attributes.exclude_kernel = 1;
    attributes.exclude_hv = 1;
    const long event = ::syscall(SYS_perf_event_open, &attributes, 0, -1, -1, PERF_FLAG_FD_CLOEXEC);
    if (event < 0)
        return errno;
    ::close(static_cast<int>(event));
    return 0;
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
        return SensorRead;
    return file.exists() ? SensorRefused : SensorAbsent;
}

// A sum that lacks a package would be wrong: one that is refused is enough.
quint32 cpuPowerState(const QString &sysfs)
{
    quint32 state = SensorAbsent;
    const QDir zones(sysfs + QLatin1String("/class/powercap"));
    for (const QString &zone : zones.entryList({QStringLiteral("intel-rapl:*")}, QDir::Dirs)) {
        const QString folder = zones.filePath(zone) + QLatin1Char('/');
        if (state != SensorRefused && startsWith(folder + QLatin1String("name"), "package"))
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
        if (state != SensorRead && startsWith(folder + QLatin1String("name"), "power_meter"))
            state = stateOf(folder + QLatin1String("power1_average"));
    }
    return state;
}

} // namespace

QString MetricReasons::programCounters(int error)
{
    switch (error) {
    case 0:
        return Sentences::tr("Not enough time was spent computing to say anything.");
    case EPERM:
    case EACCES:
        return Sentences::tr(
            "Requires permission to sample program counters: kernel.perf_event_paranoid at 2 or "
            "below, and a container that doesn't forbid perf_event_open.");
    case EMFILE:
    case ENOMEM:
        return Sentences::tr("Requires a higher limit of open files or kernel.perf_event_mlock_kb.");
    default:
        return Sentences::tr("Not supported on this system, which has no perf events.");
    }
}

QString MetricReasons::cpuPower(quint32 state)
{
    switch (state) {
    case SensorAbsent:
        return Sentences::tr(
            "Not supported on this system, which has no energy counters in /sys/class/powercap.");
    case SensorRefused:
        return Sentences::tr(
            "Requires permission to read energy_uj in /sys/class/powercap/intel-rapl:*, which an "
            "administrator can give.");
    default:
        return Sentences::tr("Not enough time passed to read the sensors.");
    }
}

QString MetricReasons::systemPower(quint32 state)
{
    switch (state) {
    case SensorAbsent:
        return Sentences::tr(
            "Not supported on this system, which has no power meter in /sys/cray/pm_counters or "
            "/sys/class/hwmon.");
    case SensorRefused:
        return Sentences::tr("Requires permission to read the node's power meter.");
    default:
        return Sentences::tr("Not enough time passed to read the sensors.");
    }
}

QString MetricReasons::onThisMachine(const QString &metric, const QString &sysfs)
{
    if (metric.startsWith(QLatin1String("instr_"))) {
        const int error = tryProgramCounters();
        return error != 0 ? programCounters(error) : QString();
    }
    if (metric == METRIC_RAPL_POWER || metric == METRIC_RAPL_ENERGY) {
        const quint32 state = cpuPowerState(sysfs);
        return state != SensorRead ? cpuPower(state) : QString();
    }
    if (metric == METRIC_SYSTEM_POWER || metric == METRIC_SYSTEM_ENERGY) {
        const quint32 state = systemPowerState(sysfs);
        return state != SensorRead ? systemPower(state) : QString();
    }
    return QString();
}
