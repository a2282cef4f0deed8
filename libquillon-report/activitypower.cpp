#include "activitypower.h"

#include "metricreaders.h"

#include "profile/metricmodel.h"
#include "profile/multisamplepsvmodelrootitem.h"
#include "profile/profilerdata.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace quillon::report {

namespace {

double activeHitsOfGroup(const MultiSamplePSVModelRootItem &model, CategoryGroup::Enum group)
{
    double hits = 0.0;
    for (const Category::Enum category : Category::groupMembers(group))
        hits += model.getActiveHits(DataScope::ALL_CORES, category);
    return hits;
}

double countComputeHitsForEnergy(const MultiSamplePSVModelRootItem &model)
{
    constexpr DataScope::Enum scope = DataScope::ALL_CORES;
    return model.getActiveSelfHits(scope) + model.getActiveChildHits(scope)
        - activeHitsOfGroup(model, CategoryGroup::MPI) - activeHitsOfGroup(model, CategoryGroup::IO)
        - model.getActiveHits(scope, Category::OMP)
        - model.getActiveHits(scope, Category::OMP_RUNTIME_IN_REGION)
        - model.getActiveHits(scope, Category::OMP_RUNTIME_OUT_OF_REGION);
}

// Hits of all cores by what is done outside OpenMP.
struct ActivityHits {
    explicit ActivityHits(const MultiSamplePSVModelRootItem &model)
        : compute(countComputeHitsForEnergy(model))
        , mpi(model.getTotalMpiHits(DataScope::ALL_CORES))
        , io(model.getIOHits(DataScope::ALL_CORES))
        , total(std::max(1.0, compute + mpi + io))
    {
    }

    double compute;
    double mpi;
    double io;
    double total;
};

} // namespace

double openmpWeightForEnergy(const MultiSamplePSVModelRootItem &model)
{
    constexpr DataScope::Enum scope = DataScope::MAIN_THREAD;
    const double hits = model.getTotalHitsFrom(scope, Category::OMP)
        + model.getTotalHitsFrom(scope, Category::OMP_RUNTIME_IN_REGION)
        + model.getTotalHitsFrom(scope, Category::OMP_RUNTIME_OUT_OF_REGION);
    return hits / std::max(1.0, static_cast<double>(model.maxHits(scope)));
}

double mpiWeightForEnergy(const MultiSamplePSVModelRootItem &model)
{
    const ActivityHits hits(model);
    return (1 - openmpWeightForEnergy(model)) * hits.mpi / hits.total;
}

double ioWeightForEnergy(const MultiSamplePSVModelRootItem &model)
{
    const ActivityHits hits(model);
    return (1 - openmpWeightForEnergy(model)) * hits.io / hits.total;
}

double computeWeightForEnergy(const MultiSamplePSVModelRootItem &model)
{
    const ActivityHits hits(model);
    return (1 - openmpWeightForEnergy(model)) * hits.compute / hits.total;
}

double weightedAverage(const ProfilerData &data, const QString &metricId, ActivityWeight weight)
{
    const int numSamples = data.numSamples();
    const std::unique_ptr<MetricModel> metric = metricModelWithData(data, metricId);
    if (!metric)
        return std::numeric_limits<double>::quiet_NaN();

    double totalValue = 0.0;
    double totalWeight = 0.0;
    for (int i = 0; i < numSamples; ++i) {
        SampleValue value;
        metric->dataForRange(i, i, nullptr, nullptr, &value);
        if (value.empty() || std::isnan(value.to_double()))
            continue;
        const std::unique_ptr<MultiSamplePSVModelRootItem> sample(
            data.mergedPSVModelWithoutSourceInfo(DataScope::ALL_CORES, i, i));
        if (!sample)
            continue;
        const double sampleWeight = weight(*sample);
        totalValue += sampleWeight * value.to_double();
        totalWeight += sampleWeight;
    }
    return totalWeight > 0 ? totalValue / totalWeight : 0.0;
}

} // namespace quillon::report
