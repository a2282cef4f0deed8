#include "profile/metricdefinitions.h"

#include "profile/metricids.h"

const MetricDefinitions &MetricDefinitions::known()
{
    static const MetricDefinitions definitions = [] {
        MetricDefinitions all;
#define FERN_ADD_METRIC(constant, id, name, units, scope, kind, description)                                 \
    all.add({constant, QStringLiteral(name), QStringLiteral(units), Metric::scope, Metric::kind,             \
        QStringLiteral(description)});
        FERN_METRICS(FERN_ADD_METRIC)
#undef FERN_ADD_METRIC
        return all;
    }();
    return definitions;
}

MetricDefinitions MetricDefinitions::ofSampler()
{
    const QString delivered[] = {METRIC_NUM_CORES_PER_NODE, METRIC_NUM_PHYSICAL_CORES_PER_NODE,
        METRIC_MEMORY_PER_NODE, METRIC_RSS, METRIC_NODE_MEM_USED, METRIC_LOAD_AVG, METRIC_ACTIVE_CORES,
        METRIC_CHARS_READ, METRIC_CHARS_WRITTEN, METRIC_MPI_COLLECTIVE_BYTES_PER_SEC,
        METRIC_MPI_P2P_BYTES_PER_SEC, METRIC_INSTR_VECTOR_FP, METRIC_INSTR_VECTOR_INT, METRIC_INSTR_FP,
        METRIC_INSTR_INT, METRIC_INSTR_MEM, METRIC_RAPL_POWER, METRIC_RAPL_ENERGY, METRIC_SYSTEM_POWER,
        METRIC_SYSTEM_ENERGY, METRIC_SAMPLER_LOOKS, METRIC_SAMPLER_BINS, METRIC_SAMPLER_INTERVAL,
        METRIC_SAMPLER_THREADS, METRIC_SAMPLER_THREADS_MISSED, METRIC_SAMPLER_COUNTERS,
        METRIC_SAMPLER_COUNTERS_LOST, METRIC_SAMPLER_CPU_TIME, METRIC_SAMPLER_CPU_PERCENT};
    MetricDefinitions definitions;
    for (const QString &id : delivered) {
        definitions.add(describe(id));
    }
    return definitions;
}

Metric MetricDefinitions::describe(const QString &id)
{
    if (const Metric *metric = known().getMetricById(id)) {
        return *metric;
    }
    Metric unknown;
    unknown.id = id;
    unknown.displayName = id;
    return unknown;
}

const Metric *MetricDefinitions::getMetricById(const QString &id) const
{
    const auto found = mMetrics.constFind(id);
    return found == mMetrics.constEnd() ? nullptr : &*found;
}
