#ifndef QUILLON_REPORT_COMPUTEPERFORMANCEDATA_H
#define QUILLON_REPORT_COMPUTEPERFORMANCEDATA_H

#include "performancedata.h"

class ProfilerData;

namespace quillon::report {

// The figures of a finished profile, which stays as it is.
//
// Always returns: a figure that the profile has no data for is a NaN, or 0 where a field of PerformanceData
// says so, and a profile without any samples to merge gives a record whose isValid is false and that holds
// nothing else. What the host throws passes through.
//
// Costs time in the number of samples: CPU power by activity needs one merged model for each sample.
PerformanceData computePerformanceData(const ProfilerData &data);

} // namespace quillon::report

#endif
