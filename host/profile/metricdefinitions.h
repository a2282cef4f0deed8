#ifndef HOST_PROFILE_METRICDEFINITIONS_H
#define HOST_PROFILE_METRICDEFINITIONS_H

#include "core/export.h"

#include <QMap>
#include <QMetaType>
#include <QString>
#include <QStringList>

// What a metric is, without its figures.
struct Metric {
    enum Scope { PerProcess = 0, PerNode = 1 }; // what a reading belongs to
    enum Kind { Gauge = 0, Rate = 1, Total = 2, Static = 3 }; // how readings behave: profile/metrics.def

    QString id;
    QString displayName;
    QString units;
    Scope scope = PerProcess;
    Kind kind = Gauge;
    QString description;
};

// A set of metrics, such as those of a profile.
class BRIVANE_HOST_EXPORT MetricDefinitions {
public:
    // Every metric that this host knows: the table of profile/metrics.def.
    static const MetricDefinitions &known();

    // Those of them that the sampler can deliver on a suitable machine, and those of events that the site has
    // chosen, by their names (profile/perfevents.h).
    static MetricDefinitions ofSampler(const QStringList &siteEvents = {});

    // The known metric of this id, or that of an event; for an id that nobody knows, a gauge per process
    // named after the id.
    static Metric describe(const QString &id);

    // By id. By value, so that it outlives the set.
    QMap<QString, Metric> getAllMetrics() const { return mMetrics; }

    // Null if there is no such metric; valid as long as the set isn't changed.
    const Metric *getMetricById(const QString &id) const;

    // Adds a metric, in place of one of the same id.
    void add(const Metric &metric) { mMetrics.insert(metric.id, metric); }

private:
    QMap<QString, Metric> mMetrics;
};

Q_DECLARE_METATYPE(MetricDefinitions)

#endif
