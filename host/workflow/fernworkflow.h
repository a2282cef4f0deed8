#ifndef HOST_WORKFLOW_FERNWORKFLOW_H
#define HOST_WORKFLOW_FERNWORKFLOW_H

#include "core/export.h"
#include "profile/metricdefinitions.h"
#include "profile/profilerdata.h"
#include "workflow/stagetimes.h"

#include <QObject>
#include <QString>

class ArgParser;
class JobLauncher;
class KELPConfig;
class GatherFolder;
class PowerCommand;
class ProgressLine;
struct SpoolFolders;

// The way from a command line to a finished profile: loads a .fern file, or runs the job under the sampler.
//
// It runs on a thread of its own (FERNMainGUI::exec() sees to that). Whoever works on the profile connects to
// its signals with Qt::BlockingQueuedConnection, so that the workflow stands still meanwhile.
class BRIVANE_HOST_EXPORT FERNWorkflow : public QObject {
    Q_OBJECT

public:
    // Both must outlive the object.
    FERNWorkflow(const ArgParser &parser, const KELPConfig &config);
    ~FERNWorkflow() override;

    // Whether the profile of a job is written to a .fern file; it is, unless a tool says otherwise.
    void setFERNFileEnabled(bool enabled) { mFernFileEnabled = enabled; }

    // The profile; complete when enteredExplorePhase() comes.
    const ProfilerData &getProfilerData() const { return mProfile; }

    // Says on the standard error stream that a file was written, unless the user wants quiet, or that it
    // could not be.
    void printSummary(bool ok, const QString &filename) const;

    // Says with --verbose that a stage on the way to the reports has ended, and how long it took.
    void endStage(const QString &stage);

    // An automatic file name: "<base>_<processes>p_<nodes>n_<threads>t_<date>_<time>.<extension>", with the
    // start of the job to the minute. Where a file or a report of that name is there already, "_2", "_3"
    // and so on stands before the extension. Other programs of ours don't give names in that folder until
    // this one has ended.
    static QString generateDefaultFilename(
        const QString &base, const ProfilerData *data, const QString &extension);

Q_SIGNALS:
    // Before the run, with the metrics that the sampler can deliver, or those of the file. A false in `ok`
    // ends the workflow.
    void loadAndCheckReportDefinitions(MetricDefinitions metricDefinitions, bool *ok);
    // The finished profile is there.
    void enteredExplorePhase();
    // The workflow has come to its end; `exitStatus` is the job's, or an ExitStatus.
    void finished(int exitStatus);

public Q_SLOTS:
    // Goes the whole way, once.
    void run();

private:
    int loadAndExplore();
    int launchAndExplore();
    void explore(ProgressLine *progress);
    bool runJob(
        JobLauncher *launcher, const QString &workFolder, const SpoolFolders &folders, int *exitStatus);
    int waitForJob(const QString &workFolder, const SpoolFolders &folders);
    void fetchFromNodes(GatherFolder *gather, const QString &spoolFolder);
    bool collect(
        const QString &spoolFolder, int jobStatus, const PowerCommand &power, ProgressLine *progress);
    QString noProfile(int jobStatus, const QStringList &remarks) const;
    void disableMetrics();
    bool writeFernFile();
    QString fernFilename() const;
    void verbose(const QString &message) const;

    const ArgParser &mParser;
    const KELPConfig &mConfig;
    bool mFernFileEnabled = true;
    ProfilerData mProfile;
    StageTimes mStages;
};

#endif
