#include "workflow/fernworkflow.h"

#include "cli/argparser.h"
#include "core/datetime.h"
#include "profile/fernfile.h"
#include "profile/spoolmerger.h"
#include "workflow/joblauncher.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"
#include "workflow/offlinesupport.h"
#include "workflow/outputfolder.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <memory>

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

// A private folder, removed with all that is in it at the end; in /tmp where the usual place can't be used.
QTemporaryDir *makeWorkFolder()
{
    auto folder = std::make_unique<QTemporaryDir>(QDir::tempPath() + QLatin1String("/fern-XXXXXX"));
    if (!folder->isValid())
        folder = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/fern-XXXXXX"));
    return folder.release();
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

int FERNWorkflow::loadAndExplore()
{
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

    bool ok = true;
    Q_EMIT loadAndCheckReportDefinitions(mProfile.getMetricDefinitions(), &ok);
    if (!ok)
        return ExitFailure;
    Q_EMIT enteredExplorePhase();
    return ExitSuccess;
}

int FERNWorkflow::launchAndExplore()
{
    JobLauncher launcher(mConfig.getCommand(), mConfig.getInputFile());
    QString error;
    ExitStatus prepared = launcher.prepare(&error);
    if (prepared == ExitSuccess && !isOutputWritable(mParser.getOutputFile(), &error))
        prepared = ExitFailure;
    const QScopedPointer<QTemporaryDir> workFolder(makeWorkFolder());
    const QString spoolFolder = workFolder->filePath(QStringLiteral("spool"));
    if (prepared == ExitSuccess && (!workFolder->isValid() || !QDir().mkdir(spoolFolder))) {
        error = tr("cannot make a folder for the profile in '%1'").arg(QDir::tempPath());
        prepared = ExitFailure;
    }
    if (prepared != ExitSuccess) {
        complain(error);
        return prepared;
    }

    bool ok = true;
    Q_EMIT loadAndCheckReportDefinitions(MetricDefinitions::ofSampler(), &ok);
    if (!ok)
        return ExitFailure;

    verbose(tr("starting %1").arg(shellQuoted(mConfig.getCommand())));
    int exitStatus = ExitFailure;
    if (!launcher.run(workFolder->path(), spoolFolder, &exitStatus, &error)) {
        complain(error);
        return exitStatus;
    }
    verbose(tr("the program ended with exit status %1").arg(exitStatus));
    if (!collect(spoolFolder) || (mFernFileEnabled && !writeFernFile()))
        return ExitFailure;
    Q_EMIT enteredExplorePhase();
    return exitStatus;
}

// Makes the job's profile from what its processes left behind.
bool FERNWorkflow::collect(const QString &spoolFolder)
{
    QStringList remarks;
    const bool ok = mergeSpools(spoolFolder, &mProfile, &remarks);
    for (const QString &remark : remarks)
        verbose(remark);
    if (!ok) {
        complain(tr("'%1' left no profile: it ended too soon, or is statically linked, or changed its user")
                     .arg(QString::fromUtf8(mConfig.getCommand().first())));
        return false;
    }
    ProfileFacts facts = mProfile.facts();
    facts.commandLine = shellQuoted(mConfig.getCommand());
    mProfile.setFacts(facts);
    return true;
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

void FERNWorkflow::verbose(const QString &message) const
{
    if (!mConfig.isQuiet())
        OfflineSupport::infoMsgNonBlock(MainWindow::getWindow(), message);
}
