#ifndef HOST_PROFILE_PROFILERDATA_H
#define HOST_PROFILE_PROFILERDATA_H

#include "core/datetime.h"
#include "core/export.h"
#include "profile/datascope.h"
#include "profile/hitcounts.h"
#include "profile/metricdefinitions.h"
#include "profile/metricids.h"
#include "profile/metricmodel.h"
#include "profile/multisamplepsvmodelrootitem.h"
#include "profile/scalarmetric.h"

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

// The facts of a run.
struct ProfileFacts {
    QString target; // path of the profiled program
    QString commandLine; // as the user typed it
    QString hostname; // of the first node
    QDateTime startTime; // local time of the first node
    int processes = 0; // of the job, launchers and helpers left out
    int nodes = 0;
    QString profiledRanks; // as text, such as "All" or "0-3,7"
    QString ompNumThreads; // OMP_NUM_THREADS of the job as text
    QString notes; // the user's own
    QString sourceFernFile; // path; empty for a live run
    int fernFileVersion = -1; // format of that file; -1 for a live run
};

// One metric of a profile. Which parts there are depends on the metric; all of them can be missing.
struct MetricRecord {
    Metric definition;
    MetricStatistics wholeRun; // over the processes or nodes; a count of 0 if there is no such figure
    QVector<MetricStatistics> series; // one for each sample, or none at all
    QStringList errors; // why figures are missing, in words that a user can act on
};

// The profile of one job: a row of at most MaxSamples samples with hits by category, metrics and the facts
// of the run. Hits are sums and metrics are statistics over all processes: the profile of a large job is as
// small as that of a small one.
//
// Filled by whoever makes it (mergeSpools(), readFernFile(), tests) and read only afterwards. Operations
// that hand out models are virtual so that a profile can refuse them.
class BRIVANE_HOST_EXPORT ProfilerData {
public:
    static constexpr int MaxSamples = 1000;

    ProfilerData();
    ProfilerData(const ProfilerData &other);
    ProfilerData &operator=(const ProfilerData &other);
    virtual ~ProfilerData();

    // Filling

    void setFacts(const ProfileFacts &facts) { mFacts = facts; }
    const ProfileFacts &facts() const { return mFacts; }

    // The samples: their hits, and the times in milliseconds from the start of sampling at which each of
    // them begins, followed by the time at which the last one ends. False, and nothing changed, if there
    // are more than MaxSamples, if `times` doesn't have one entry more than `hits`, or if `times` doesn't
    // begin at 0 or goes backwards. No samples at all are given by two empty lists.
    bool setSamples(const QVector<HitCounts> &hits, const QVector<int> &times);

    // Adds a metric, in place of one of the same id.
    void setMetric(const MetricRecord &record);
    void addMetricError(const QString &id, const QString &error); // makes the metric if it isn't there

    // All metrics by id, and the hits of one sample; for those who write a profile down.
    const QMap<QString, MetricRecord> &metricRecords() const { return mMetrics; }
    HitCounts hitsOfSample(int sample) const;

    // Hits

    int numSamples() const;

    // When a sample begins, in milliseconds from the start of sampling; with numSamples() the end of
    // sampling. 0 for any other index. Samples are of equal width but for the first and the last, which
    // begin and end with the job.
    int timeAt(int sample) const;
    unsigned int getSampledRuntimeMs() const;

    // The hits of the samples `first` to `last`, or of all with -1 and -1, in time that doesn't depend on
    // how many there are. The caller owns the model. Null if there are no samples or the range isn't one.
    // The model answers for every scope; `scope` is the one that the caller means to begin with.
    virtual MultiSamplePSVModelRootItem *mergedPSVModelWithoutSourceInfo(
        DataScope::Enum scope, int first, int last) const;

    // Metrics

    bool hasMetric(const QString &id) const;
    bool hasMetricNoErrors(const QString &id) const;
    QString getFirstMetricError(const QString &id) const; // the null string if there is none
    const MetricDefinitions &getMetricDefinitions() const { return mDefinitions; }

    // The samples `first` to `last` of a metric, or all with -1 and -1. The caller owns the model, unless
    // it has a parent. Null if the metric has no figures by sample or the range isn't one.
    virtual MetricModel *metricModel(const QString &id, QObject *parent, int first, int last) const;

    // A metric's figures for the whole run; undefined if it isn't there or has none.
    virtual ScalarMetric getMetricOrEmpty(const QString &id) const;
    // Likewise, of a metric that exists.
    virtual ScalarMetric metric(const QString &id) const;

    // A metric's figures in one sample; those for the whole run where the metric has no others and doesn't
    // change while the job runs. Undefined if nothing was read.
    virtual ScalarMetric getMetricAt(const QString &id, int sample) const;

    // Cores that a process kept busy, by CPU time: the mean over the processes of each one's CPU time by
    // its own run time, and the highest mean over the processes in any sample. NaN if CPU time is unknown.
    double averageActiveCoresPerProcess() const;
    double maxAvgActiveCoresPerProc() const;

    // Facts

    QString target() const { return mFacts.target; }
    QString getCommandLine() const { return mFacts.commandLine; }
    QString getHostname() const { return mFacts.hostname; }
    brivane::DateTime jobStartTime() const { return brivane::DateTime(mFacts.startTime); }
    QString formatOmpNumThreads() const { return mFacts.ompNumThreads; }
    QString getProfiledRanks() const { return mFacts.profiledRanks; }
    bool isNotesEmpty() const { return mFacts.notes.isEmpty(); }
    QString getNotes() const { return mFacts.notes; }
    int numTargetProcs() const { return mFacts.processes; }
    int numNodes() const { return mFacts.nodes; }
    QString sourceFernFile() const { return mFacts.sourceFernFile; }
    int getFernFileVersion() const { return mFacts.fernFileVersion; }

    // Writes a file where the profile is handled: under a temporary name in its folder, then renamed, so
    // that a failure leaves an older file as it was. A pipe or a device is written to directly. False if
    // that failed.
    static bool writeViaPortal(const QString &filename, const QByteArray &bytes);

private:
    const MetricRecord *find(const QString &id) const;

    ProfileFacts mFacts;
    QVector<HitCounts> mHitsBefore; // entry i: all hits of the samples before i; empty without samples
    QVector<int> mTimes;
    QMap<QString, MetricRecord> mMetrics;
    MetricDefinitions mDefinitions; // of mMetrics
};

#endif
