#ifndef HOST_PROFILE_SPOOLTIMELINE_H
#define HOST_PROFILE_SPOOLTIMELINE_H

#include "profile/spoolreader.h"
#include "sampler/core/timeline.h"

#include <QVector>

#include <utility>

// The samples of a job, laid over the bins of its processes: their borders are borders of bins, since these
// are counted from an epoch that the job has in common.
class SpoolTimeline : public fern::Timeline {
public:
    // Takes at least one process, and how many samples there may be, at least 2.
    SpoolTimeline(const QVector<SpoolProcess> &processes, int maxSamples);

    // Begin of each sample and end of the last, as ProfilerData::setSamples() takes them. A job is at
    // least a millisecond long, so that figures can be divided by its length.
    QVector<int> timesMs() const;

    // The first and the last of the samples that a bin lies in, even if in part; none, as a pair with the
    // second before the first, if it lies outside of the job.
    std::pair<int, int> samplesOf(const SpoolProcess &process, int bin) const;
};

#endif
