#include "profile/powerbudget.h"

#include "core/environment.h"

#include <cmath>
#include <limits>

namespace {

QString text()
{
    return brivane::environmentString("POWER_BUDGET");
}

} // namespace

bool PowerBudget::isSet()
{
    return !text().isEmpty();
}

double PowerBudget::watts()
{
    bool isNumber = false;
    const double number = text().toDouble(&isNumber);
    return isNumber && number > 0 && std::isfinite(number) ? number
                                                           : std::numeric_limits<double>::quiet_NaN();
}
