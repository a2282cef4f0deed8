#ifndef HOST_WORKFLOW_KELPCONFIG_H
#define HOST_WORKFLOW_KELPCONFIG_H

#include "cli/launchertable.h"
#include "core/export.h"
#include "profile/perfevents.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

// What is to be launched and how.
class BRIVANE_HOST_EXPORT PersistentLaunchConfig {
public:
    // The words of the job's command line, byte for byte as the user typed them.
    QList<QByteArray> getCommand() const { return mCommand; }
    void setCommand(const QList<QByteArray> &command) { mCommand = command; }

    // The file that the job reads as its standard input; null: the host's own standard input.
    QString getInputFile() const { return mInputFile; }
    void setInputFile(const QString &inputFile) { mInputFile = inputFile; }

    // Whether the job is handed to a batch queue rather than started here.
    bool isQueueUsed() const { return mQueueUsed; }
    void setQueueUsed(bool used) { mQueueUsed = used; }

    // Nodes that a queue is asked for; 0: as many as the launcher takes.
    int getNumNodes() const { return mNumNodes; }
    void setNumNodes(int numNodes) { mNumNodes = numNodes; }

private:
    QList<QByteArray> mCommand;
    QString mInputFile;
    bool mQueueUsed = false;
    int mNumNodes = 0;
};

// The profiler's section of the configuration.
class BRIVANE_HOST_EXPORT FERNConfig {
public:
    // The ranks to profile as text ("0,2-5"); empty: all.
    QString getSelectedRanks() const { return mSelectedRanks; }
    void setSelectedRanks(const QString &ranks) { mSelectedRanks = ranks; }

    // The most samples that a profile has, and how far the first ones lie apart, in ms; 0: as the sampler
    // likes.
    int getSamples() const { return mSamples; }
    void setSamples(int samples) { mSamples = samples; }
    int getInterval() const { return mInterval; }
    void setInterval(int interval) { mInterval = interval; }

    // Ids of metrics that the profile leaves out.
    QStringList getDisabledMetrics() const { return mDisabledMetrics; }
    void setDisabledMetrics(const QStringList &ids) { mDisabledMetrics = ids; }

    // Events that the site has counted.
    QVector<PerfEvent> getPerfEvents() const { return mPerfEvents; }
    void setPerfEvents(const QVector<PerfEvent> &events) { mPerfEvents = events; }

    // What the shell is to run for the power of this node in watts; empty: nothing.
    QString getPowerCommand() const { return mPowerCommand; }
    void setPowerCommand(const QString &command) { mPowerCommand = command; }

private:
    QString mSelectedRanks;
    int mSamples = 0;
    int mInterval = 0;
    QStringList mDisabledMetrics;
    QVector<PerfEvent> mPerfEvents;
    QString mPowerCommand;
};

// The host's configuration for one run, filled from the command line by an ArgumentApplier.
class BRIVANE_HOST_EXPORT KELPConfig : public PersistentLaunchConfig {
public:
    // The configuration of this process, or null where nothing was configured (the report library
    // without the host's programs). Not owned.
    static KELPConfig *getInstance();
    static void setInstance(KELPConfig *config);

    FERNConfig &fernConfig() { return mFernConfig; }
    const FERNConfig &fernConfig() const { return mFernConfig; }

    // How launchers hand variables on, by their names or paths, where the user says so.
    QMap<QString, Forwarding> getLaunchers() const { return mLaunchers; }
    void setLaunchers(const QMap<QString, Forwarding> &launchers) { mLaunchers = launchers; }

    QStringList getSelectedPlugins() const { return mSelectedPlugins; }
    void setSelectedPlugins(const QStringList &plugins) { mSelectedPlugins = plugins; }

    // Quiet: the host says nothing about what it does, only what went wrong and which files it wrote.
    bool isQuiet() const { return mQuiet; }
    void setQuiet(bool quiet) { mQuiet = quiet; }

private:
    FERNConfig mFernConfig;
    QMap<QString, Forwarding> mLaunchers;
    QStringList mSelectedPlugins;
    bool mQuiet = true;
};

#endif
