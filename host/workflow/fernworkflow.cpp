#include "workflow/fernworkflow.h"

#include "cli/argparser.h"
#include "cli/launchertable.h"
#include "cli/rankset.h"
#include "core/datetime.h"
#include "profile/fernfile.h"
#include "profile/samplermetrics.h"
#include "profile/spoolmerger.h"
#include "workflow/exitstatus.h"
#include "workflow/gatherfolder.h"
#include "workflow/jobenvironment.h"
#include "workflow/joblauncher.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"
#include "workflow/manuallaunch.h"
#include "workflow/namereservation.h"
#include "workflow/offlinesupport.h"
#include "workflow/outputfolder.h"
#include "workflow/powercommand.h"
#include "workflow/progressline.h"
#include "workflow/workfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace {

void complain(const QString &message)
{
    OfflineSupport::criticalMsg(MainWindow::getWindow(), message);
}

// Reports of one profile are told apart by their extension alone, so that a name is taken when any of them is
// there.
bool isTaken(const QString &stem, const QString &extension)
{
    QStringList extensions{extension};
    const QStringList reports{QStringLiteral("txt"), QStringLiteral("html")};
    if (reports.contains(extension))
        extensions = reports;
    for (const QString &other : extensions) {
        const QFileInfo info(stem + QLatin1Char('.') + other);
        if (info.exists() || info.isSymLink())
            return true;
    }
    return false;
}

// OMP_NUM_THREADS as a number: a job that doesn't set it counts as one thread to a process, and of a list for
// nested regions the outermost decides.
QString threadsPerProcess(const ProfilerData &data)
{
    bool isNumber = false;
    const int threads = data.formatOmpNumThreads().section(QLatin1Char(','), 0, 0).toInt(&isNumber);
    return QString::number(isNumber ? threads : 1);
}

bool makePrivateFolder(const QString &path)
{
    return ::mkdir(QFile::encodeName(path).constData(), 0700) == 0;
}

} // namespace

FERNWorkflow::FERNWorkflow(const ArgParser &parser, const KELPConfig &config)
    : mParser(parser)
    , mConfig(config)
{
}

FERNWorkflow::~FERNWorkflow() = default;

void FERNWorkflow::printSummary(bool ok, const QString &filename) const
{
    if (!ok)
        complain(tr("could not write '%1'").arg(filename));
    else if (!mParser.isQuiet())
        OfflineSupport::infoMsgNonBlock(MainWindow::getWindow(), tr("wrote %1").arg(filename));
}

QString FERNWorkflow::generateDefaultFilename(
    const QString &base, const ProfilerData *data, const QString &extension)
{
    holdNamesIn(QFileInfo(base).path());
    const brivane::DateTime start(data->jobStartTime());
    const QString name
        = QStringLiteral("%1_%2p_%3n_%4t_%5")
              .arg(base, QString::number(data->numTargetProcs()), QString::number(data->numNodes()),
                  threadsPerProcess(*data), start.toString(QStringLiteral("yyyy-MM-dd_hh-mm")));
    QString stem = name;
    for (int number = 2; isTaken(stem, extension); ++number)
        stem = name + QLatin1Char('_') + QString::number(number);
    return stem + QLatin1Char('.') + extension;
}

void FERNWorkflow::run()
{
    const int exitStatus = mParser.getAutoLoadFile().isEmpty() ? launchAndExplore() : loadAndExplore();
    Q_EMIT finished(exitStatus);
}

// Whoever is connected turns the profile into files meanwhile.
void FERNWorkflow::explore(ProgressLine *progress)
{
    progress->show(tr("writing reports"));
    Q_EMIT enteredExplorePhase();
    verbose(mStages.all(
        mParser.getAutoLoadFile().isEmpty() ? tr("from the job's end to the last file") : tr("all of it")));
}

int FERNWorkflow::loadAndExplore()
{
    ProgressLine progress(!mParser.isQuiet());
    mStages.start();
    progress.show(tr("reading '%1'").arg(mParser.getAutoLoadFile()));
    QString error;
    if (!FernFile::read(mParser.getAutoLoadFile(), &mProfile, &error)
        || !isOutputWritable(mParser.getOutputFile(), &error)) {
        complain(error);
        return ExitFailure;
    }
    ProfileFacts facts = mProfile.facts();
    facts.sourceFernFile
        = QFileInfo(facts.sourceFernFile).absoluteFilePath(); // reports name it in an address
    mProfile.setFacts(facts);
    disableMetrics();
    endStage(tr("reading the profile"));

    bool ok = true;
    Q_EMIT loadAndCheckReportDefinitions(mProfile.getMetricDefinitions(), &ok);
    if (!ok)
        return ExitFailure;
    endStage(tr("reading the definitions"));
    explore(&progress);
    return ExitSuccess;
}

int FERNWorkflow::launchAndExplore()
{
    JobLauncher launcher(mConfig);
    QString error;
    ExitStatus prepared = ExitSuccess;
    if (!mParser.isManualLaunch())
        prepared = launcher.prepare(&error);
    else if (!isSamplerThere(samplerPath(), &error))
        prepared = ExitFailure;
    if (prepared == ExitSuccess && !isOutputWritable(mParser.getOutputFile(), &error))
        prepared = ExitFailure;
    const WorkFolder workFolder;
    const QString spoolFolder = workFolder.filePath(QStringLiteral("spool"));
    if (prepared == ExitSuccess && (!workFolder.isValid() || !makePrivateFolder(spoolFolder))) {
        error = tr("cannot make a folder for the profile in '%1'").arg(QDir::tempPath());
        prepared = ExitFailure;
    }
    if (prepared != ExitSuccess) {
        complain(error);
        return prepared;
    }

    bool ok = true;
    mStages.start();
    const QStringList events = PerfEvents::names(mConfig.fernConfig().getPerfEvents());
    Q_EMIT loadAndCheckReportDefinitions(MetricDefinitions::ofSampler(events), &ok);
    if (!ok)
        return ExitFailure;
    endStage(tr("reading the definitions, before the job"));

    GatherFolder gather(workFolder.path());
    workFolder.takeAlong(gather.path());
    const SpoolFolders folders{spoolFolder, gather.path()};
    PowerCommand power(mConfig.fernConfig().getPowerCommand());
    int exitStatus = ExitFailure;
    if (mParser.isManualLaunch())
        exitStatus = waitForJob(workFolder.path(), folders);
    else if (!runJob(&launcher, workFolder.path(), folders, &exitStatus))
        return exitStatus;

    power.stop();
    mStages.start();
    ProgressLine progress(!mParser.isQuiet());
    fetchFromNodes(&gather, spoolFolder);
    if (!collect(spoolFolder, exitStatus, power, &progress) || (mFernFileEnabled && !writeFernFile()))
        return ExitFailure;
    explore(&progress);
    return exitStatus;
}

bool FERNWorkflow::runJob(
    JobLauncher *launcher, const QString &workFolder, const SpoolFolders &folders, int *exitStatus)
{
    verbose(tr("starting %1").arg(shellQuoted(mConfig.getCommand())));
    if (launcher->forwarding() != Forwarding::Inherited)
        verbose(tr("the sampler is handed to the job's processes in the way of %1")
                    .arg(forwardingName(launcher->forwarding())));
    QString error;
    if (!launcher->run(workFolder, folders, exitStatus, &error)) {
        complain(error);
        return false;
    }
    verbose(tr("the program ended with exit status %1").arg(*exitStatus));
    return true;
}

// Lets the user start the job; gives what to exit with.
int FERNWorkflow::waitForJob(const QString &workFolder, const SpoolFolders &folders)
{
    OfflineSupport::infoMsgNonBlock(MainWindow::getWindow(),
        tr("start the job on this machine with the variables below in its environment; press Enter here when "
           "it "
           "has ended"));
    const QByteArray sampler = preloadablePath(samplerPath(), workFolder);
    return waitForManualJob(samplerVariables(sampler, folders, mConfig));
}

void FERNWorkflow::fetchFromNodes(GatherFolder *gather, const QString &spoolFolder)
{
    if (const int nodes = gather->fetchInto(spoolFolder); nodes > 0)
        OfflineSupport::warningMsgNonBlock(MainWindow::getWindow(),
            tr("%1 node(s) of the job did not hand over what their processes left").arg(nodes));
}

// Makes the job's profile from what its processes left behind.
bool FERNWorkflow::collect(
    const QString &spoolFolder, int jobStatus, const PowerCommand &power, ProgressLine *progress)
{
    QStringList remarks;
    QStringList warnings;
    MergeOptions options;
    options.warnings = &warnings;
    options.progress = [this, progress](int done, int all) {
        if (done == 0)
            endStage(tr("looking at what the processes left"));
        progress->show(tr("merging profiles: %1 of %2").arg(done).arg(all));
    };
    const FERNConfig &fern = mConfig.fernConfig();
    if (fern.getSamples() > 0)
        options.maxSamples = fern.getSamples();
    bool ok = true;
    const RankSet ranks = RankSet::fromString(fern.getSelectedRanks(), &ok);
    if (ok && !ranks.isEmpty())
        options.isSelected = [&ranks](int rank) { return ranks.contains(rank); };

    progress->show(tr("reading profiles"));
    ok = mergeSpools(spoolFolder, &mProfile, &remarks, options);
    endStage(tr("merging it to a profile"));
    for (const QString &remark : remarks)
        verbose(remark);
    for (const QString &line : SamplerMetrics::describe(mProfile))
        verbose(line);
    if (!ok) {
        complain(noProfile(jobStatus, remarks));
        return false;
    }
    for (const QString &warning : warnings)
        OfflineSupport::warningMsgNonBlock(MainWindow::getWindow(), warning);
    ProfileFacts facts = mProfile.facts();
    facts.commandLine
        = mParser.isManualLaunch() ? shellQuoted({facts.target.toUtf8()}) : shellQuoted(mConfig.getCommand());
    mProfile.setFacts(facts);
    power.addTo(&mProfile);
    disableMetrics();
    return true;
}

// Why there is no profile, as far as the job's exit status and the `remarks` on what it left tell.
QString FERNWorkflow::noProfile(int jobStatus, const QStringList &remarks) const
{
    const QString program = QString::fromUtf8(mConfig.getCommand().value(0));
    if (!remarks.isEmpty())
        return tr("the job left no profile that can be read: %1").arg(remarks.first());
    if (mParser.isManualLaunch())
        return tr(
            "no process has left a profile: was the job started with the variables in its environment?");
    if (jobStatus != ExitSuccess && launcherNamed(QFileInfo(program).fileName()))
        return tr("'%1' ended with exit status %2, and no process of a job has left a profile")
            .arg(program)
            .arg(jobStatus);
    return tr("'%1' left no profile: it ended too soon, or is statically linked, or changed its user")
        .arg(program);
}

void FERNWorkflow::disableMetrics()
{
    for (const QString &id : mConfig.fernConfig().getDisabledMetrics()) {
        MetricRecord record;
        record.definition = MetricDefinitions::describe(id);
        record.errors.append(tr("Disabled by the user."));
        mProfile.setMetric(record);
    }
}

bool FERNWorkflow::writeFernFile()
{
    const QString filename = fernFilename();
    QString error;
    if (!FernFile::write(mProfile, filename, &error)) {
        complain(error);
        return false;
    }
    printSummary(true, filename);
    endStage(tr("writing the profile"));
    return true;
}

QString FERNWorkflow::fernFilename() const
{
    const QString extension = QStringLiteral("fern");
    const QString output = mParser.getOutputFile();
    const QFileInfo target(mProfile.target());
    if (output.isEmpty())
        return generateDefaultFilename(target.completeBaseName(), &mProfile, extension);
    if (QFileInfo(output).isDir())
        return generateDefaultFilename(QDir(output).filePath(target.fileName()), &mProfile, extension);
    return QFileInfo(output).suffix() == extension ? output : output + QLatin1Char('.') + extension;
}

void FERNWorkflow::endStage(const QString &stage)
{
    verbose(mStages.end(stage));
}

void FERNWorkflow::verbose(const QString &message) const
{
    if (!mConfig.isQuiet())
        OfflineSupport::infoMsgNonBlock(MainWindow::getWindow(), message);
}
