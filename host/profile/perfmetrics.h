#ifndef HOST_PROFILE_PERFMETRICS_H
#define HOST_PROFILE_PERFMETRICS_H

#include "profile/metricstatistics.h"
#include "profile/spoolreader.h"
#include "profile/spooltimeline.h"

#include <QMap>
#include <QString>
#include <QVector>

class MergedSpool;
class ProfilerData;

// Makes metrics of what the processor counted: cycles per instruction, and the rates of the events that the
// site has chosen.
class PerfMetrics {
public:
    explicit PerfMetrics(const SpoolTimeline &timeline);

    void addProcess(const SpoolProcess &process, const QVector<fern::spool::Bin> &bins);

    // Those of ranks that merged their profiles.
    void addMerged(const MergedSpool &merged);

    // Puts the metrics into a profile, with the reasons for those that couldn't be counted.
    void store(ProfilerData *profile) const;

private:
    struct Collected {
        StatisticsCollector wholeRun;
        QVector<StatisticsCollector> series;
        quint32 state = fern::spool::SourceUnknown; // the greatest of any process
    };
    void noteStates(const SpoolProcess &process);
    // What a process counted, by sample; empty if it counted nothing.
    QVector<double> counts(
        const SpoolProcess &process, const QVector<fern::spool::Bin> &bins, int figure) const;
    void addRatio(const QVector<double> &cycles, const QVector<double> &instructions);
    void addRate(Collected &event, const QVector<double> &counts, const SpoolProcess &process) const;

    SpoolTimeline mTimeline;
    Collected mCyclesPerInstruction;
    QMap<QString, Collected> mEvents; // by the event's name
};

#endif
