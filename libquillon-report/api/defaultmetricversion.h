#ifndef QUILLON_REPORT_API_DEFAULTMETRICVERSION_H
#define QUILLON_REPORT_API_DEFAULTMETRICVERSION_H

#include "api/export.h"

namespace quillon::report {
namespace DefaultMetricVersion {

// The release that brought a metric into the catalogue of default metrics. Metric documents carry the
// numbers.
enum Enum {
    NonDefaultMetric = 0, // not in the catalogue: a report's own metric
    OlderThan6_1 = 1,
    DefaultMetrics6_1 = 2,
    DefaultMetrics7_0 = 3,
    DefaultMetrics7_1 = 4
};

// The enumerator for 1 to 4; NonDefaultMetric for any other number, those of later releases included.
QUILLON_REPORT_EXPORT Enum versionFromInt(int number);

} // namespace DefaultMetricVersion
} // namespace quillon::report

#endif
