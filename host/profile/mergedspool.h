#ifndef HOST_PROFILE_MERGEDSPOOL_H
#define HOST_PROFILE_MERGEDSPOOL_H

#include "profile/metricstatistics.h"
#include "profile/spoolreader.h"
#include "profile/spooltimeline.h"
#include "sampler/core/mergedformat.h"

#include <QByteArray>
#include <QVector>

// The profile that the ranks of an MPI job merged at its end (sampler/core/mergedformat.h).
class MergedSpool {
public:
    // False, with the reason in `reason`, if the file can't be read, isn't a merged profile of this version,
    // or contradicts itself.
    bool read(const QString &path, QString *reason);

    // Valid as long as the object.
    fern::merged::View view() const;

    // The ranks together: their life, and samples for bins. What is known of one process alone is that of
    // rank 0.
    SpoolProcess whole() const { return mWhole; }
    // Adds a column of the view to figures by sample, and its figure of the whole run; nothing where there is
    // no column. A total goes on being true when its processes have ended.
    void addColumn(const fern::merged::Statistics *column, const fern::merged::Statistics &wholeRun,
        bool isTotal, const SpoolTimeline &timeline, StatisticsCollector *ofWholeRun,
        QVector<StatisticsCollector> *series) const;

    static void join(StatisticsCollector *collector, const fern::merged::Statistics &statistics);

    // What is known of the ranks one by one; of large jobs, of some of them.
    QVector<SpoolProcess> processes() const { return mProcesses; }

private:
    bool check(const fern::merged::Header &header, QString *reason);

    QByteArray mBytes;
    SpoolProcess mWhole;
    QVector<SpoolProcess> mProcesses;
};

#endif
