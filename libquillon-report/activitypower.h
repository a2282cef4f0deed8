#ifndef QUILLON_REPORT_ACTIVITYPOWER_H
#define QUILLON_REPORT_ACTIVITYPOWER_H

#include <QString>

class MultiSamplePSVModelRootItem;
class ProfilerData;

namespace quillon::report {

// The share of time that an activity takes in a model, from 0 to 1. OpenMP is told by the main threads, the
// rest is divided between computing, MPI and I/O by the hits of all cores.
using ActivityWeight = double (*)(const MultiSamplePSVModelRootItem &model);

double openmpWeightForEnergy(const MultiSamplePSVModelRootItem &model);
double mpiWeightForEnergy(const MultiSamplePSVModelRootItem &model);
double ioWeightForEnergy(const MultiSamplePSVModelRootItem &model);
double computeWeightForEnergy(const MultiSamplePSVModelRootItem &model);

// The mean over the samples of a metric's mean, each sample counting by the weight that an activity has in
// it. NaN if the profile has no data of the metric; 0 if it has no samples or the activity has no weight in
// any. Needs a merged model for each sample that has a value, one at a time.
double weightedAverage(const ProfilerData &data, const QString &metricId, ActivityWeight weight);

} // namespace quillon::report

#endif
