#ifndef HOST_PROFILE_SAMPLERMETRICS_H
#define HOST_PROFILE_SAMPLERMETRICS_H

#include "core/export.h"
#include "profile/metricstatistics.h"

#include <QStringList>
#include <QVector>

class ProfilerData;
struct SpoolProcess;

// The measurement about itself, as metrics of the profile: how often the sampler looked, what it missed,
// what it cost.
class BRIVANE_HOST_EXPORT SamplerMetrics {
public:
    SamplerMetrics();

    void addProcess(const SpoolProcess &process);
    void store(ProfilerData *profile) const;

    // A line for each of these metrics that a profile has, for people.
    static QStringList describe(const ProfilerData &profile);

    // What the measurement took of the job's CPU time, as a sentence; empty where a profile doesn't say.
    static QString costSentence(const ProfilerData &profile);

private:
    QVector<StatisticsCollector> mCollected; // by row of the table
    double mOwnNs = 0; // CPU time of sampling threads and wrappers
    double mJobNs = 0; // of the job
};

#endif
