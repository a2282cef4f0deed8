#ifndef HOST_PROFILE_SAMPLEVALUE_H
#define HOST_PROFILE_SAMPLEVALUE_H

#include "core/export.h"

#include <cstdint>
#include <limits>

// One figure of a metric, or its absence. A reading that is there can still be a NaN.
class BRIVANE_HOST_EXPORT SampleValue {
public:
    SampleValue() = default; // empty
    explicit SampleValue(double value)
        : mValue(value)
        , mEmpty(false)
    {
    }

    // Whether nothing was read.
    bool empty() const { return mEmpty; }

    // The figure; a NaN if empty.
    double to_double() const { return mValue; }

    // The figure without its fraction, held to the range of the type; 0 if empty or not a number.
    int to_int() const;
    std::int64_t to_int64_t() const;
    std::uint64_t to_uint64_t() const;

    // Whether there is a figure and it is above `other`; false for a NaN on either side.
    bool operator>(double other) const { return mValue > other; }

private:
    double mValue = std::numeric_limits<double>::quiet_NaN();
    bool mEmpty = true;
};

#endif
