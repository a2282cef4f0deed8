#include "profile/metricstatistics.h"

#include <cmath>

void StatisticsCollector::add(double mean, double minimum, double maximum)
{
    mMinimum = mCount == 0 || minimum < mMinimum ? minimum : mMinimum;
    mMaximum = mCount == 0 || maximum > mMaximum ? maximum : mMaximum;
    ++mCount;

    addToSum(mean);
    const double deviation = mean - mRunningMean;
    mRunningMean += deviation / static_cast<double>(mCount);
    mSquaredDeviations += deviation * (mean - mRunningMean);
}

void StatisticsCollector::join(
    qint64 count, double minimum, double maximum, double mean, double squaredDeviations)
{
    if (count <= 0) {
        return;
    }
    mMinimum = mCount == 0 || minimum < mMinimum ? minimum : mMinimum;
    mMaximum = mCount == 0 || maximum > mMaximum ? maximum : mMaximum;
    addToSum(mean * static_cast<double>(count));

    // Chan, Golub and LeVeque's.
    const auto own = static_cast<double>(mCount);
    const auto others = static_cast<double>(count);
    const double deviation = mean - mRunningMean;
    mRunningMean += deviation * others / (own + others);
    mSquaredDeviations += squaredDeviations + deviation * deviation * own * others / (own + others);
    mCount += count;
}

void StatisticsCollector::addToSum(double value)
{
    const double sum = mSum + value;
    if (std::isfinite(sum)) {
        const bool sumIsLarger = std::fabs(mSum) >= std::fabs(value);
        mSumCompensation += sumIsLarger ? (mSum - sum) + value : (value - sum) + mSum;
    }
    mSum = sum;
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
