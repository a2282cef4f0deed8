#include "metricreaders.h"

#include "profile/metricmodel.h"
#include "profile/profilerdata.h"

#include <limits>

namespace quillon::report {

namespace {

constexpr double notAvailable = std::numeric_limits<double>::quiet_NaN();

} // namespace

std::unique_ptr<MetricModel> metricModelWithData(const ProfilerData &data, const QString &metricId)
{
    std::unique_ptr<MetricModel> model(data.metricModel(metricId, nullptr, -1, -1));
    if (model && model->rowCount() == 0)
        model.reset();
    return model;
}

double getSingleValueMetric(const ProfilerData &data, const QString &metricId)
{
    const ScalarMetric metric = data.getMetricOrEmpty(metricId);
    return metric.isDefined() ? metric.mean().to_double() : notAvailable;
}

double meanOrNan(const ProfilerData &data, const QString &metricId)
{
    const auto model = metricModelWithData(data, metricId);
    return model ? model->mean().to_double() : notAvailable;
}

double meanOfTheSumOrNan(const ProfilerData &data, const QString &metricId)
{
    const auto model = metricModelWithData(data, metricId);
    return model ? model->exactSumMean().to_double() : notAvailable;
}

double maxOfTheSumOrNan(const ProfilerData &data, const QString &metricId)
{
    const auto model = metricModelWithData(data, metricId);
    return model ? model->maxOfTheSum().to_double() : notAvailable;
}

qint64 maxOrNan(const ProfilerData &data, const QString &metricId)
{
    const auto model = metricModelWithData(data, metricId);
    return model ? model->overallMax().to_int64_t() : 0;
}

} // namespace quillon::report
