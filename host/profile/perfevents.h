#ifndef HOST_PROFILE_PERFEVENTS_H
#define HOST_PROFILE_PERFEVENTS_H

#include "core/export.h"
#include "profile/metricdefinitions.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

// An event that the kernel can count, by its name and by the numbers of perf_event_open.
struct PerfEvent {
    QString name;
    quint32 type = 0;
    quint64 config = 0;
};

// The events that a site has counted beside cycles and instructions. Each becomes a metric: how often it
// happened in a second, of each process.
namespace PerfEvents {

// As many as can be counted.
constexpr int Max = 8;

// Reads names of events: those of hardware ("cache-misses"), of its caches ("L1-dcache-load-misses"), of the
// kernel's software ("page-faults"), and the processor's own as "r" and the number in hexadecimal digits.
// False, with a sentence in `error`, if one isn't known or stands twice, or if they are too many.
BRIVANE_HOST_EXPORT bool parse(const QStringList &names, QVector<PerfEvent> *events, QString *error);

BRIVANE_HOST_EXPORT QStringList names(const QVector<PerfEvent> &events);

// What the sampler is told by QUILLON_SAMPLER_EVENTS.
QByteArray forSampler(const QVector<PerfEvent> &events);

// The id of an event's metric, and whether an id can be one; then `event` is that event.
BRIVANE_HOST_EXPORT QString metricId(const QString &name);
BRIVANE_HOST_EXPORT bool isMetricId(const QString &id, PerfEvent *event = nullptr);
// What the metric of such an id is.
Metric metric(const QString &id);

} // namespace PerfEvents

#endif
