#ifndef HOST_PROFILE_METRICIDS_H
#define HOST_PROFILE_METRICIDS_H

#include <QString>

// The ids of the metrics that a profile can hold, METRIC_RSS and so on: the table is profile/metrics.def.
// Inline, so that tables in other files can be made from them before main() begins.
#define FERN_METRIC(constant, id, name, units, scope, kind, source, figure, description)                     \
    inline const QString constant = QStringLiteral(id);
#include "profile/metrics.def"

#endif
