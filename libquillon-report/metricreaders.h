#ifndef QUILLON_REPORT_METRICREADERS_H
#define QUILLON_REPORT_METRICREADERS_H

#include <QString>

#include <memory>

class MetricModel;
class ProfilerData;

namespace quillon::report {

// The model of a metric over the whole run; null if the profile has none, or none with data in it.
std::unique_ptr<MetricModel> metricModelWithData(const ProfilerData &data, const QString &metricId);

// The mean of a metric that has one value for each node or process of the run, NaN if the profile lacks it.
double getSingleValueMetric(const ProfilerData &data, const QString &metricId);

// The mean over ranks and samples of a sampled metric, NaN without data.
double meanOrNan(const ProfilerData &data, const QString &metricId);

// The mean over the samples of the sum over the ranks, NaN without data.
double meanOfTheSumOrNan(const ProfilerData &data, const QString &metricId);

// The highest over the samples of the sum over the ranks, NaN without data.
double maxOfTheSumOrNan(const ProfilerData &data, const QString &metricId);

// The highest value of any rank in any sample, its fraction cut off.
// Without data it is 0 and, whatever the name says, not NaN: a peak of 0 is how a missing peak is told.
qint64 maxOrNan(const ProfilerData &data, const QString &metricId);

} // namespace quillon::report

#endif
