#include "profile/samplevalue.h"

#include <cmath>

namespace {

// The limits of 64-bit integers aren't doubles; the next double above them is 2^63 or 2^64.
template <typename Integer> Integer cut(double value, double above)
{
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= above) {
        return std::numeric_limits<Integer>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<Integer>::min())) {
        return std::numeric_limits<Integer>::min();
    }
    return static_cast<Integer>(value);
}

} // namespace

int SampleValue::to_int() const
{
    return cut<int>(mValue, 0x1p31);
}

std::int64_t SampleValue::to_int64_t() const
{
    return cut<std::int64_t>(mValue, 0x1p63);
}

std::uint64_t SampleValue::to_uint64_t() const
{
    return cut<std::uint64_t>(mValue, 0x1p64);
}
