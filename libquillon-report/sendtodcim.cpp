#include "sendtodcim.h"

#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "core/brivaneglobals.h"
#include "core/environment.h"
#include "core/internstringcache.h"
#include "quillonreport.h"
#include "workflow/mainwindow.h"
#include "workflow/offlinesupport.h"
#include "workflow/qshutdowngroup.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QScopedPointer>
#include <QSet>

#include <csignal>

using quillon::report::convertToReport;
using quillon::report::DcimValue;
using quillon::report::DefaultMetrics;

namespace {

// Inside the install directory.
const QString kDefaultDcimScriptPath = QStringLiteral("quillon-reports/ganglia-connector/qr-dcim");
const int kCannotExecute = -1;

// A child that can be killed. The tool holds back the signals that a terminal sends, for the sake of the job,
// and a child would inherit that: it would outlive the tool when the user interrupts both.
class ConnectorProcess : public QProcess {
protected:
    void setupChildProcess() override
    {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
    }
};

// The connector script, for one run of it.
class DcimScript : public QObject {
    Q_OBJECT

public:
    DcimScript(const QString &program, const QStringList &arguments, bool verbose);
    ~DcimScript() override;

    // Runs the script and waits for its end, however long that takes. Says what went wrong. The script's exit
    // code, the number of the signal that ended it, or -1 for a script that can't be run.
    int run();

private:
    Q_SLOT void readStandardError();
    Q_SLOT void readStandardOutput();

    bool isExecutable() const;
    // One word of a command line as QProcess reads it.
    static QString escape(const QString &str);

    QScopedPointer<QProcess> mProcess;
    QString mProgram;
    QStringList mArguments;
    bool mVerbose;
};

DcimScript::DcimScript(const QString &program, const QStringList &arguments, bool verbose)
    : mProcess(new ConnectorProcess)
    , mProgram(program)
    , mArguments(arguments)
    , mVerbose(verbose)
{
    connect(mProcess.data(), &QProcess::readyReadStandardError, this, &DcimScript::readStandardError);
    if (verbose)
        connect(mProcess.data(), &QProcess::readyReadStandardOutput, this, &DcimScript::readStandardOutput);
}

DcimScript::~DcimScript()
{
    QObject::disconnect(mProcess.data(), nullptr, this, nullptr);
}

int DcimScript::run()
{
    if (!isExecutable())
        return kCannotExecute;

    // A name without a slash would be looked for in PATH: that isn't the file that was looked at.
    QString commandLine
        = escape(mProgram.contains(QLatin1Char('/')) ? mProgram : QLatin1String("./") + mProgram);
    for (const QString &argument : qAsConst(mArguments))
        commandLine += QLatin1Char(' ') + escape(argument);
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    mProcess->start(commandLine, QIODevice::ReadWrite);
    QT_WARNING_POP
    mProcess->closeWriteChannel(); // nothing comes: a script that reads its standard input mustn't wait
    mProcess->waitForFinished(-1);

    QWidget *const window = MainWindow::getWindow();
    const int err = mProcess->exitCode();
    if (mProcess->error() == QProcess::FailedToStart) {
        // The exit code says that it failed, not why.
        OfflineSupport::warningMsgNonBlock(
            window, tr("cannot start DCIM script %1: %2").arg(mProgram, mProcess->errorString()));
    }
    if (err != 0) {
        OfflineSupport::criticalMsgNonBlock(
            window, tr("%1 exited with error code %2. Abort.").arg(mProgram, QString::number(err)));
    } else if (mVerbose) {
        OfflineSupport::infoMsgNonBlock(
            window, tr("metrics sent to DCIM script %1 successfully").arg(mProgram));
    }
    return err;
}

bool DcimScript::isExecutable() const
{
    const QFileInfo info(mProgram);
    QString message;
    if (!info.exists())
        message = tr("Cannot execute %1. File not found. Abort.");
    else if (!info.isFile())
        message = tr("Cannot execute %1. Is not a file. Abort.");
    else if (!info.isExecutable())
        message = tr("Cannot execute %1. Permission denied. Abort.");
    else
        return true;
    OfflineSupport::criticalMsgNonBlock(MainWindow::getWindow(), message.arg(mProgram));
    return false;
}

QString DcimScript::escape(const QString &str)
{
    const QChar quote = QLatin1Char('"');
    return quote + QString(str).replace(quote, QLatin1String("\"\"\"")) + quote;
}

void DcimScript::readStandardError()
{
    OfflineSupport::warningMsgNonBlock(
        MainWindow::getWindow(), QString::fromLatin1(mProcess->readAllStandardError().constData()));
}

void DcimScript::readStandardOutput()
{
    OfflineSupport::infoMsgNonBlock(
        MainWindow::getWindow(), QString::fromLatin1(mProcess->readAllStandardOutput().constData()));
}

// Metrics that only mean something when another metric, a flag, is true; by that flag.
const QMap<QString, QSet<QString>> &getMetricAssociations()
{
    static const QMap<QString, QSet<QString>> associations{
        {DefaultMetrics::HasGpu, DefaultMetrics::GpuMetrics},
        {DefaultMetrics::IsOpenMp, DefaultMetrics::OmpMetrics},
        {DefaultMetrics::CpuShowWaitingAcc, DefaultMetrics::WaitAccMetrics},
        {DefaultMetrics::HasAcceleratorMetricsEnabled, DefaultMetrics::AccMetrics},
        {DefaultMetrics::HasEnergyMetricsEnabled, DefaultMetrics::EnergyMetrics},
        {DefaultMetrics::EnergyHasCpuPower, DefaultMetrics::CpuPowerMetrics},
        {DefaultMetrics::EnergyHasAccPower, DefaultMetrics::AccPowerMetrics},
    };
    return associations;
}

// The metrics that are worth sending. Texts aren't, and neither are figures of what this job doesn't have.
QStringList getVisibleMetricNames(const quillon_report &report)
{
    QSet<QString> visibleMetrics;
    for (const QSet<QString> *group :
        {&DefaultMetrics::ApplicationMetrics, &DefaultMetrics::SummaryMetrics, &DefaultMetrics::CpuMetrics,
            &DefaultMetrics::MpiMetrics, &DefaultMetrics::IoMetrics, &DefaultMetrics::OmpMetrics,
            &DefaultMetrics::ThreadMetrics, &DefaultMetrics::MemoryMetrics, &DefaultMetrics::AccMetrics,
            &DefaultMetrics::EnergyMetrics, &DefaultMetrics::GpuMetrics, &DefaultMetrics::WaitAccMetrics,
            &DefaultMetrics::CpuPowerMetrics, &DefaultMetrics::AccPowerMetrics})
        visibleMetrics |= *group;

    const QMap<QString, QSet<QString>> &associations = getMetricAssociations();
    for (auto it = associations.cbegin(); it != associations.cend(); ++it) {
        if (!report.getMetricValue(it.key()).toBool())
            visibleMetrics -= it.value();
    }

    QStringList names;
    for (const QString &name : qAsConst(visibleMetrics)) {
        if (report.getMetricValue(name).type() != QVariant::String)
            names.append(name);
    }
    return names;
}

QStringList argumentsOf(const QList<DcimValue> &values)
{
    const QString group = QStringLiteral("brivane");
    QStringList arguments;
    for (const DcimValue &value : values) {
        // All at once, as a value may hold what looks like a place marker.
        arguments.append(QStringLiteral("-V%1=%2").arg(value.id, value.value));
        if (!value.units.isEmpty())
            arguments.append(QStringLiteral("-U%1=%2").arg(value.id, value.units));
        if (!value.title.isEmpty())
            arguments.append(QStringLiteral("-T%1=%2").arg(value.id, value.title));
        if (!value.type.isEmpty())
            arguments.append(QStringLiteral("-t%1=%2").arg(value.id, value.type));
        arguments.append(QStringLiteral("-g%1=%2").arg(value.id, group));
    }
    return arguments;
}

QString dcimScriptPath()
{
    const QByteArray configured = brivane::environmentBytes("DCIM_SCRIPT");
    if (!configured.isNull())
        return QFile::decodeName(configured);
    const QString relative = InternStringCache::intern(kDefaultDcimScriptPath);
    return InternStringCache::intern(BrivaneGlobals::instance()->installPath().filePath(relative));
}

} // namespace

void sendToDcim(
    const ProfilerData &data, bool isVerbose, const quillon::report::ReportDefinition &reportDefinition)
{
    const QString dcimScript = dcimScriptPath();
    const QScopedPointer<quillon_report> report(
        convertToReport(data, reportDefinition, DefaultMetrics::templateName(), nullptr));
    if (report->hasErrorMessage()) {
        quillon::report::printError(*report);
        return;
    }
    if (report->hasWarningMessage())
        quillon::report::printWarning(*report);

    const QList<DcimValue> dcimValues = report->toDcimValues(getVisibleMetricNames(*report));
    const int err = DcimScript(dcimScript, argumentsOf(dcimValues), isVerbose).run();
    if (err != 0)
        QShutdownGroup::globalInstance()->errorShutdown(err);
}

#include "sendtodcim.moc"
