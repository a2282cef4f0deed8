#ifndef HOST_PROFILE_METRICREASONS_H
#define HOST_PROFILE_METRICREASONS_H

#include "core/export.h"

#include <QString>

// Why the sampler can't read a figure, in words that a user can act on. Reports let sentences that begin
// with "Requires" and "Not" go on in their own.
namespace MetricReasons {

// By what became of the metric's source, a fern::spool::SourceState: a sentence of profile/metrics.def.
BRIVANE_HOST_EXPORT QString ofState(const QString &metric, quint32 state);

// Why this machine can't deliver a metric to this user, as far as that can be told beforehand; the null
// string if it can. `sysfs` is where the kernel shows its sensors.
BRIVANE_HOST_EXPORT QString onThisMachine(
    const QString &metric, const QString &sysfs = QStringLiteral("/sys"));

} // namespace MetricReasons

#endif
