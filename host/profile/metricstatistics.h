#ifndef HOST_PROFILE_METRICSTATISTICS_H
#define HOST_PROFILE_METRICSTATISTICS_H

#include "core/export.h"

#include <QtGlobal>

#include <limits>

// The readings of a metric over the processes or nodes of a job, summed up. The readings themselves
// aren't kept, so that a profile doesn't grow with the number of processes.
struct MetricStatistics {
    qint64 count = 0; // readings; where it is 0 the other fields mean nothing
    double minimum = std::numeric_limits<double>::quiet_NaN();
    double maximum = std::numeric_limits<double>::quiet_NaN();
    double mean = std::numeric_limits<double>::quiet_NaN();
    double sum = std::numeric_limits<double>::quiet_NaN();
    double standardDeviation = std::numeric_limits<double>::quiet_NaN(); // of the population

    // The statistics of one reading.
    static MetricStatistics of(double value) { return {1, value, value, value, value, 0.0}; }
};

// Sums readings up one at a time, in constant memory.
class BRIVANE_HOST_EXPORT StatisticsCollector {
public:
    void add(double value) { add(value, value, value); }

    // Adds a reading that is itself a mean over time, with the least and the greatest value seen.
    void add(double mean, double minimum, double maximum);

    // Adds readings that were summed up elsewhere: how many, their bounds and mean, and the sum of the
    // squares of their deviations from it.
    void join(qint64 count, double minimum, double maximum, double mean, double squaredDeviations);

    MetricStatistics statistics() const;

private:
    void addToSum(double value);

    qint64 mCount = 0;
    double mMinimum = 0.0;
    double mMaximum = 0.0;
    double mSum = 0.0;
    double mSumCompensation = 0.0; // Neumaier's: what rounding took from the sum
    double mRunningMean = 0.0; // Welford's: sums of squares lose all digits where values are large and close
    double mSquaredDeviations = 0.0;
};

#endif
