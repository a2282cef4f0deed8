#ifndef HOST_PROFILE_SCALARMETRIC_H
#define HOST_PROFILE_SCALARMETRIC_H

#include "core/export.h"
#include "profile/metricstatistics.h"
#include "profile/samplevalue.h"

// A metric over the processes or nodes of the job: for the whole run, or for one sample.
class BRIVANE_HOST_EXPORT ScalarMetric {
public:
    ScalarMetric() = default; // undefined
    explicit ScalarMetric(const MetricStatistics &statistics)
        : mStatistics(statistics)
    {
    }

    // Whether anything was read. If not, all figures are empty.
    bool isDefined() const { return mStatistics.count > 0; }

    SampleValue min() const { return value(mStatistics.minimum); }
    SampleValue max() const { return value(mStatistics.maximum); }
    SampleValue mean() const { return value(mStatistics.mean); }
    SampleValue exactSum() const { return value(mStatistics.sum); } // over the processes or nodes
    SampleValue standardDeviation() const
    {
        return value(mStatistics.standardDeviation);
    } // of the population

    const MetricStatistics &statistics() const { return mStatistics; }

private:
    SampleValue value(double figure) const { return isDefined() ? SampleValue(figure) : SampleValue(); }

    MetricStatistics mStatistics;
};

#endif
