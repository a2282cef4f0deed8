#ifndef HOST_PROFILE_SPOOLTIMELINE_H
#define HOST_PROFILE_SPOOLTIMELINE_H

#include "profile/spoolreader.h"

#include <QVector>

#include <utility>

// The samples of a job, laid over the bins of its processes. The samples are as wide as the widest bins, or
// wider by a power of two where the job would otherwise have more than there may be; their
// borders are borders of bins, since these are counted from an epoch that the job has in common.
class SpoolTimeline {
public:
    // Takes at least one process, and how many samples there may be, at least 2: one
    // border can always lie within the job.
    SpoolTimeline(const QVector<SpoolProcess> &processes, int maxSamples);

    int numSamples() const { return mNumSamples; }
    qint64 beginNs() const { return mBeginNs; } // when the job's first process was first seen

    // Begin of each sample and end of the last, as ProfilerData::setSamples() takes them. A job is at
    // least a millisecond long, so that figures can be divided by its length.
    QVector<int> timesMs() const;

    // The sample that a bin of a process belongs to.
    int sampleOf(const SpoolProcess &process, int bin) const;

    // The first and the last of the samples that a bin lies in, even if in part; none, as a pair with the
    // second before the first, if it lies outside of the job.
    std::pair<int, int> samplesOf(const SpoolProcess &process, int bin) const;

    // For how long a process lived in a sample.
    qint64 livedNs(const SpoolProcess &process, int sample) const;
    // Whether that is long enough to say how much of something was in a second. Over a sliver of time at
    // either end of a process it says nothing: what was counted late by a tick would make it leap.
    bool isLongEnough(const SpoolProcess &process, int sample) const;

private:
    qint64 borderNs(int sample) const { return mFirstBorderNs + sample * mWidthNs; }
    void setWidth(qint64 widthNs);

    qint64 mEpochNs;
    qint64 mBeginNs;
    qint64 mEndNs;
    qint64 mWidthNs = 0;
    qint64 mFirstBorderNs = 0;
    int mNumSamples = 0;
};

#endif
