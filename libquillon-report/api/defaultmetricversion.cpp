#include "api/defaultmetricversion.h"

namespace quillon::report {

DefaultMetricVersion::Enum DefaultMetricVersion::versionFromInt(int number)
{
    if (number < OlderThan6_1 || number > DefaultMetrics7_1)
        return NonDefaultMetric;
    return static_cast<Enum>(number);
}

} // namespace quillon::report
