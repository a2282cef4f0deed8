#include "profile/perfevents.h"

#include "sampler/core/spoolformat.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QSet>

#include <linux/perf_event.h>

static_assert(PerfEvents::Max == fern::spool::MaxSiteEvents);

namespace {

const QString Prefix = QStringLiteral("com.brivane.metrics.perf.");

QString tr(const char *text)
{
    return QCoreApplication::translate("PerfEvents", text);
}

struct Named {
    const char *name;
    quint32 type;
    quint64 config;
};

constexpr Named Events[] = {
    {"cpu-cycles", PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES},
    {"cycles", PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES},
    {"instructions", PERF_TYPE_HARDWARE, PERF_COUNT_HW_INSTRUCTIONS},
    {"cache-references", PERF_TYPE_HARDWARE, PERF_COUNT_HW_CACHE_REFERENCES},
    {"cache-misses", PERF_TYPE_HARDWARE, PERF_COUNT_HW_CACHE_MISSES},
    {"branch-instructions", PERF_TYPE_HARDWARE, PERF_COUNT_HW_BRANCH_INSTRUCTIONS},
    {"branches", PERF_TYPE_HARDWARE, PERF_COUNT_HW_BRANCH_INSTRUCTIONS},
    {"branch-misses", PERF_TYPE_HARDWARE, PERF_COUNT_HW_BRANCH_MISSES},
    {"bus-cycles", PERF_TYPE_HARDWARE, PERF_COUNT_HW_BUS_CYCLES},
    {"stalled-cycles-frontend", PERF_TYPE_HARDWARE, PERF_COUNT_HW_STALLED_CYCLES_FRONTEND},
    {"stalled-cycles-backend", PERF_TYPE_HARDWARE, PERF_COUNT_HW_STALLED_CYCLES_BACKEND},
    {"ref-cycles", PERF_TYPE_HARDWARE, PERF_COUNT_HW_REF_CPU_CYCLES},
    {"cpu-clock", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_CPU_CLOCK},
    {"task-clock", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_TASK_CLOCK},
    {"page-faults", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_PAGE_FAULTS},
    {"minor-faults", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_PAGE_FAULTS_MIN},
    {"major-faults", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_PAGE_FAULTS_MAJ},
    {"context-switches", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_CONTEXT_SWITCHES},
    {"cpu-migrations", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_CPU_MIGRATIONS},
    {"alignment-faults", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_ALIGNMENT_FAULTS},
    {"emulation-faults", PERF_TYPE_SOFTWARE, PERF_COUNT_SW_EMULATION_FAULTS},
};

// An event of a cache is one cache, one kind of access and one outcome: "L1-dcache" "-load-misses".
constexpr Named Caches[] = {
    {"L1-dcache", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_L1D},
    {"L1-icache", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_L1I},
    {"LLC", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_LL},
    {"dTLB", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_DTLB},
    {"iTLB", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_ITLB},
    {"branch", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_BPU},
    {"node", PERF_TYPE_HW_CACHE, PERF_COUNT_HW_CACHE_NODE},
};

constexpr quint64 outcome(quint64 operation, quint64 result)
{
    return operation << 8 | result << 16;
}

constexpr Named Accesses[] = {
    {"-loads", PERF_TYPE_HW_CACHE, outcome(PERF_COUNT_HW_CACHE_OP_READ, PERF_COUNT_HW_CACHE_RESULT_ACCESS)},
    {"-load-misses", PERF_TYPE_HW_CACHE,
        outcome(PERF_COUNT_HW_CACHE_OP_READ, PERF_COUNT_HW_CACHE_RESULT_MISS)},
    {"-stores", PERF_TYPE_HW_CACHE, outcome(PERF_COUNT_HW_CACHE_OP_WRITE, PERF_COUNT_HW_CACHE_RESULT_ACCESS)},
    {"-store-misses", PERF_TYPE_HW_CACHE,
        outcome(PERF_COUNT_HW_CACHE_OP_WRITE, PERF_COUNT_HW_CACHE_RESULT_MISS)},
    {"-prefetches", PERF_TYPE_HW_CACHE,
        outcome(PERF_COUNT_HW_CACHE_OP_PREFETCH, PERF_COUNT_HW_CACHE_RESULT_ACCESS)},
    {"-prefetch-misses", PERF_TYPE_HW_CACHE,
        outcome(PERF_COUNT_HW_CACHE_OP_PREFETCH, PERF_COUNT_HW_CACHE_RESULT_MISS)},
};

bool find(const QString &name, PerfEvent *event)
{
    static const QRegularExpression raw(QStringLiteral("\\Ar([0-9a-fA-F]{1,16})\\z"));
    if (const QRegularExpressionMatch match = raw.match(name); match.hasMatch()) {
        *event = {name, PERF_TYPE_RAW, match.captured(1).toULongLong(nullptr, 16)};
        return true;
    }
    for (const Named &each : Events) {
        if (name == QLatin1String(each.name)) {
            *event = {name, each.type, each.config};
            return true;
        }
    }
    for (const Named &cache : Caches) {
        for (const Named &access : Accesses) {
            if (name == QLatin1String(cache.name) + QLatin1String(access.name)) {
                *event = {name, PERF_TYPE_HW_CACHE, cache.config | access.config};
                return true;
            }
        }
    }
    return false;
}

} // namespace

bool PerfEvents::parse(const QStringList &names, QVector<PerfEvent> *events, QString *error)
{
    QVector<PerfEvent> found;
    QSet<QString> seen;
    for (const QString &text : names) {
        const QString name = text.trimmed();
        PerfEvent event;
        if (!find(name, &event)) {
            *error = tr("no such event: '%1'; there are names such as page-faults, cache-misses and "
                        "L1-dcache-load-misses, and the processor's own numbers such as r01c2")
                         .arg(name);
            return false;
        }
        if (seen.contains(name)) {
            *error = tr("the event '%1' is named twice").arg(name);
            return false;
        }
        seen.insert(name);
        found.append(event);
    }
    if (found.size() > Max) {
        *error = tr("%1 events are named, and %2 can be counted").arg(found.size()).arg(Max);
        return false;
    }
    *events = found;
    return true;
}

QStringList PerfEvents::names(const QVector<PerfEvent> &events)
{
    QStringList result;
    for (const PerfEvent &event : events)
        result.append(event.name);
    return result;
}

QByteArray PerfEvents::forSampler(const QVector<PerfEvent> &events)
{
    QStringList texts;
    for (const PerfEvent &event : events)
        texts.append(QStringLiteral("%1:%2:%3").arg(event.name).arg(event.type).arg(event.config));
    return texts.join(QLatin1Char(',')).toLatin1();
}

QString PerfEvents::metricId(const QString &name)
{
    return Prefix + name;
}

bool PerfEvents::isMetricId(const QString &id, PerfEvent *event)
{
    PerfEvent found;
    return id.startsWith(Prefix) && find(id.mid(Prefix.size()), event ? event : &found);
}

Metric PerfEvents::metric(const QString &id)
{
    const QString name = id.mid(Prefix.size());
    // The clocks count nanoseconds.
    const bool isClock = name.endsWith(QLatin1String("-clock"));
    Metric metric;
    metric.id = id;
    metric.displayName = name;
    metric.units = isClock ? QStringLiteral("ns/s") : QStringLiteral("/s");
    metric.kind = Metric::Rate;
    metric.description = tr("How much of the event %1 a process had in a second").arg(name);
    return metric;
}
