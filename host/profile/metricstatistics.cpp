#include "profile/metricstatistics.h"

#include <cmath>

void StatisticsCollector::add(double mean, double minimum, double maximum)
{
    mMinimum = mCount == 0 || minimum < mMinimum ? minimum : mMinimum;
    mMaximum = mCount == 0 || maximum > mMaximum ? maximum : mMaximum;
    ++mCount;

    const double sum = mSum + mean;
    if (std::isfinite(sum)) {
        const bool sumIsLarger = std::fabs(mSum) >= std::fabs(mean);
        mSumCompensation += sumIsLarger ? (mSum - sum) + mean : (mean - sum) + mSum;
    }
    mSum = sum;

    const double deviation = mean - mRunningMean;
    mRunningMean += deviation / static_cast<double>(mCount);
    mSquaredDeviations += deviation * (mean - mRunningMean);
}

MetricStatistics StatisticsCollector::statistics() const
{
    MetricStatistics statistics;
    if (mCount == 0) {
        return statistics;
    }
    statistics.count = mCount;
    statistics.minimum = mMinimum;
    statistics.maximum = mMaximum;
    statistics.sum = mSum + mSumCompensation;
    statistics.mean = statistics.sum / static_cast<double>(mCount);
    statistics.standardDeviation = std::sqrt(mSquaredDeviations / static_cast<double>(mCount));
    return statistics;
}
