#ifndef HOST_PROFILE_SPOOLMETRICS_H
#define HOST_PROFILE_SPOOLMETRICS_H

#include "profile/metricstatistics.h"
#include "profile/perfmetrics.h"
#include "profile/samplermetrics.h"
#include "profile/spoolreader.h"
#include "profile/spooltimeline.h"
#include "sampler/core/mergedformat.h"

#include <QString>
#include <QVector>

#include <array>

class MergedSpool;
class ProfilerData;

// Makes the metrics of a job from the figures in its spools, one process at a time. The processes of a node
// have to come one after another: what belongs to a node, such as its load, is read by each of them and
// counts once.
class SpoolMetrics {
public:
    explicit SpoolMetrics(const SpoolTimeline &timeline);

    void addProcess(const SpoolProcess &process, const QVector<fern::spool::Bin> &bins);
    // Around the readers of a node whose ranks have merged their profiles.
    void beginReaders(const QString &hostname);
    void endReaders();
    // The ranks of a job that merged their profiles; between nodes.
    void addMerged(const MergedSpool &merged);

    // What a reader found of the node whose process was added last.
    void addReader(const SpoolProcess &reader, const QVector<fern::spool::Bin> &bins);

    // Puts all metrics into a profile, with the reasons for those that couldn't be read.
    void store(ProfilerData *profile);

private:
    struct Collected {
        StatisticsCollector wholeRun;
        QVector<StatisticsCollector> series;
    };
    // A figure by sample, and over all samples.
    struct Figures {
        QVector<fern::spool::Figure> bySample;
        fern::spool::Figure total = {};
    };
    struct Node {
        QString hostname;
        int logicalCores = 0;
        int physicalCores = 0;
        quint64 memory = 0;
        int processes = 0;
        int gpus = -1; // unknown
        quint64 gpuMemory = 0;
        QVector<Figures> figures; // by row of the table of figures
        QVector<Figures> integrands; // by row of the table of integrals
    };

    static int figureOf(int row);
    static int figureOfIntegral(int integral);
    static bool isTotal(int row);
    static bool isInstructions(int row);
    static void add(fern::spool::Figure *total, const fern::spool::Figure &figure);
    void noteProcess(const SpoolProcess &process);
    void addMergedInstructions(const MergedSpool &merged);
    Figures figuresOf(const SpoolProcess &process, const QVector<fern::spool::Bin> &bins, int figure) const;
    QString whyNot(const QString &metric) const;
    void addIntegral(Collected &integral, const Figures &perSecond, int processes) const;
    static void addToNode(Figures &node, const Figures &process);
    void addGauge(Collected &metric, const Figures &figures) const;
    void addRate(Collected &metric, const Figures &figures, const SpoolProcess &process, int row) const;
    void addTotal(Collected &metric, const Figures &figures, const SpoolProcess &process) const;
    void storeBudget(ProfilerData *profile) const;
    void noteSources(const SpoolProcess &process);
    void beginNode(const SpoolProcess &process);
    void endNode();

    SpoolTimeline mTimeline;
    QVector<Collected> mCollected; // by row of the table of figures
    QVector<Collected> mIntegrals; // by row of the table of integrals
    StatisticsCollector mLogicalCores;
    StatisticsCollector mPhysicalCores;
    StatisticsCollector mMemory;
    StatisticsCollector mGpus;
    StatisticsCollector mGpuMemory;
    bool mHasGpus = false;
    Node mNode;
    bool mInNode = false;
    int mNodes = 0;
    SamplerMetrics mSampler;
    PerfMetrics mPerf;
    quint64 mTicks = 0;
    std::array<quint32, fern::spool::SourceCount> mSourceStates = {}; // the greatest of any process
};

#endif
