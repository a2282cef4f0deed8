#include "quillonreportmaingui.h"

#include "api/defaultmetrics.h"
#include "core/brivaneglobals.h"
#include "core/environment.h"
#include "core/pathstring.h"
#include "profile/profilerdata.h"
#include "quillonreport.h"
#include "quillonreportargparser.h"
#include "quillonreporttool.h"
#include "sendtodcim.h"
#include "workflow/mainwindow.h"
#include "workflow/offlinesupport.h"
#include "workflow/portal.h"

#include <QDir>
#include <QFileInfo>
#include <QtDebug>

using quillon::report::convertToReport;
using quillon::report::DefaultMetrics;
using quillon::report::QuillonReportSummary;
using quillon::report::ReportDefinition;

namespace {

QString templateFile(const QString &name)
{
    return PathString::joinPath({DefaultMetrics::reportDefinitionTemplateDir(), name});
}

// A percentage as it stands in the name of the extra report: "07".
QString twoDigits(double percent)
{
    return QStringLiteral("%1").arg(percent, 2, 'f', 0, QLatin1Char('0'));
}

QByteArray friendlyName()
{
    return BrivaneTool::currentTool()->getFriendlyName().toLocal8Bit();
}

// Prints what stands in the report besides its figures. False if that is an error.
bool isUsable(const quillon_report &report)
{
    if (report.hasErrorMessage()) {
        quillon::report::printError(report);
        return false;
    }
    if (report.hasWarningMessage())
        quillon::report::printWarning(report);
    return true;
}

} // namespace

QuillonReportMainGUI::QuillonReportMainGUI(MainWindow &window, const ArgParser *parser)
    : FERNMainGUI(window, parser)
{
}

QuillonReportMainGUI::~QuillonReportMainGUI() = default;

void QuillonReportMainGUI::initWorkflow()
{
    FERNMainGUI::initWorkflow();
    workflow()->setFERNFileEnabled(false);
    connect(workflow(), SIGNAL(loadAndCheckReportDefinitions(MetricDefinitions, bool *)), this,
        SLOT(loadAndCheckReportDefinitions(MetricDefinitions, bool *)), Qt::BlockingQueuedConnection);
    connect(workflow(), SIGNAL(enteredExplorePhase()), this, SLOT(writeQuillonReports()),
        Qt::BlockingQueuedConnection);
}

ArgumentApplier *QuillonReportMainGUI::createArgumentApplier(const ArgParser &parser, KELPConfig *config,
    bool offline, bool loading, FrontendApplicationProperties *properties) const
{
    return QuillonReportTool::createArgumentApplier(parser, config, offline, loading, properties);
}

void QuillonReportMainGUI::loadAndCheckReportDefinitions(const MetricDefinitions &metricDefinitions, bool *ok)
{
    QString error;
    loadReportDefinitions(metricDefinitions, error);
    // A file has what it has: metrics that are missing in it are no obstacle.
    if (error.isEmpty() && args().getAutoLoadFile().isEmpty())
        checkReportDefinitions(metricDefinitions, error);
    if (error.isEmpty())
        return;
    qCritical() << tr("%1: failed to generate report: ").arg(BrivaneTool::currentTool()->getFriendlyName())
                << error;
    *ok = false;
}

void QuillonReportMainGUI::loadReportDefinitions(const MetricDefinitions &metricDefinitions, QString &error)
{
    const QStringList partialFiles = partialReportFiles(metricDefinitions, error);
    if (!error.isEmpty())
        return;

    QString text;
    reportDefinition.reset(ReportDefinition::createFromFile(DefaultMetrics::reportDefinitionFilePath(),
        ReportDefinition::DefaultSchemaFilename, &text, ReportDefinition::SilentValidation,
        ReportDefinition::Config::withoutPrefixesOrReservedIds()));
    if (!reportDefinition || !text.isEmpty()) {
        error = tr("error when loading report definition; error=%1").arg(text);
        return;
    }
    for (const QString &file : partialFiles) {
        reportDefinition->appendPartialReportFromFile(
            file, ReportDefinition::DefaultSchemaFilename, &text, ReportDefinition::SilentValidation);
        if (!text.isEmpty()) {
            error = tr("error when appending partial report definition; error=%1").arg(text);
            return;
        }
    }
}

// The files to append to the default definition, in this order: the type's report, the CPU counter report,
// the user's and then the site's partial reports.
QStringList QuillonReportMainGUI::partialReportFiles(
    const MetricDefinitions &metricDefinitions, QString &error) const
{
    QStringList files;
    if (args().type() != DefaultMetrics::templateName())
        files.append(templateFile(QStringLiteral("report-%1.xml").arg(args().type())));
    if (!args().isTypeExplicit() && cpuCounterReportApplies(metricDefinitions))
        files.append(templateFile(QStringLiteral("report-perfcpumetrics.xml")));

    const QString source = brivane::environmentString("PARTIAL_REPORT_SOURCE");
    if (!source.isEmpty() && !QFileInfo::exists(source)) {
        error = tr("Partial report source location specified by %1 does not exist; location=%2")
                    .arg(QStringLiteral("BRIVANE_PARTIAL_REPORT_SOURCE"), source);
        return files;
    }
    const QString userFolder = PathString::joinPath({BrivaneGlobals::instance()->localConfigDir(),
        QStringLiteral("quillon-report"), QStringLiteral("reports")});
    addPartialReportsFromPath(files, source.isEmpty() ? userFolder : source);
    addPartialReportsFromPath(files, DefaultMetrics::reportDefinitionPartialsDir());
    removeDuplicatePartialReportFileNames(files);
    return files;
}

bool QuillonReportMainGUI::cpuCounterReportApplies(const MetricDefinitions &metricDefinitions) const
{
    if (args().getAutoLoadFile().isEmpty())
        return Portal::getInstance()->utils()->getSystemInfo().isAarch64();
    // A profile that says why there are no counters has nothing to show of them.
    const QString cycles = DefaultMetrics::PerfCyclesPerIns;
    return !haveDissasembledCpuInstructionMetrics() && metricDefinitions.getMetricById(cycles)
        && workflow()->getProfilerData().getFirstMetricError(cycles).isEmpty();
}

void QuillonReportMainGUI::checkReportDefinitions(
    const MetricDefinitions &metricDefinitions, QString &error) const
{
    const auto &known = metricDefinitions.getAllMetrics();
    for (const ReportDefinition::MetricDef &metric : reportDefinition->getMetricDefinitionList()) {
        const QString &reference = metric.sourceDetails.metricRef;
        if (metric.source == QLatin1String("metric") && !known.contains(reference))
            error += tr("\nMetric %1 (referenced by report metric %2) is not defined.")
                         .arg(reference, metric.id);
    }
}

void QuillonReportMainGUI::addPartialReportsFromPath(QStringList &files, const QString &path) const
{
    if (QFileInfo(path).isFile()) {
        files.append(path);
        return;
    }
    for (const QFileInfo &info : QDir(path).entryInfoList(QDir::Files)) {
        if (info.suffix() == QLatin1String("xml"))
            files.append(info.absoluteFilePath());
    }
}

void QuillonReportMainGUI::removeDuplicatePartialReportFileNames(QStringList &files) const
{
    QStringList names;
    const QStringList all = files;
    for (const QString &file : all) {
        const QString name = QFileInfo(file).fileName();
        if (names.contains(name))
            files.removeOne(file);
        else
            names.append(name);
    }
}

void QuillonReportMainGUI::writeQuillonReports()
{
    const ProfilerData &data = workflow()->getProfilerData();
    const QString type = args().type();

    const QString extra = brivane::environmentString("EXTRA_REPORT");
    if (!extra.isEmpty() && !writeExtraReport(data, type, extra))
        setOutputFailed();
    if (args().isDcimOutput()) {
        sendToDcim(data, args().isVerbose(), *reportDefinition);
        workflow()->endStage(tr("sending the figures to monitoring"));
    }
    if (args().getOutputFile() == QLatin1String("/dev/null"))
        return;
    const int version = data.getFernFileVersion();
    if (version <= 1 && version != -1) {
        OfflineSupport::criticalMsg(MainWindow::getWindow(),
            tr("Only FERN files created by version 5.0 or later can be converted into a Quillon Report."));
        setOutputFailed();
        return;
    }
    if (!writeQuillonReports(data, type, reportFiles(data)))
        setOutputFailed();
}

// The files to write, by the suffix of what the user asked for.
QMap<QString, QuillonReportType> QuillonReportMainGUI::reportFiles(const ProfilerData &data) const
{
    const QFileInfo target(data.target());
    const QString output = args().getOutputFile();
    QString base = output;
    if (output.isEmpty())
        base = target.completeBaseName();
    else if (QFileInfo(output).isDir())
        base = QDir(output).filePath(target.fileName());

    static const QMap<QString, QuillonReportType> types{{QStringLiteral("txt"), TxtReport},
        {QStringLiteral("html"), HtmlReport}, {QStringLiteral("htm"), HtmlReport},
        {QStringLiteral("csv"), CsvReport}, {QStringLiteral("json"), JsonReport}};
    const QString suffix = QFileInfo(base).suffix();
    if (types.contains(suffix))
        return {{base, types.value(suffix)}};
    if (suffix == QLatin1String("all") && brivane::environmentFlag("ENABLE_ALL_REPORTS_GENERATION")) {
        const QString stem = base.left(base.size() - 3);
        return {{stem + QLatin1String("txt"), TxtReport}, {stem + QLatin1String("html"), HtmlReport},
            {stem + QLatin1String("csv"), CsvReport}, {stem + QLatin1String("json"), JsonReport}};
    }
    const auto automatic = [&base, &data](const char *extension) {
        return FERNWorkflow::generateDefaultFilename(base, &data, QLatin1String(extension));
    };
    return {{automatic("txt"), TxtReport}, {automatic("html"), HtmlReport}};
}

bool QuillonReportMainGUI::writeQuillonReports(
    const ProfilerData &data, const QString &type, const QMap<QString, QuillonReportType> &reports)
{
    const QScopedPointer<quillon_report> report(convertToReport(data, *reportDefinition, type, nullptr));
    workflow()->endStage(tr("figures and sentences"));
    if (!isUsable(*report))
        return false;
    for (auto it = reports.cbegin(); it != reports.cend(); ++it) {
        QByteArray bytes;
        if (report->generateAndWrite(bytes, it.value()) != 0) {
            quillon::report::printError(*report);
            return false;
        }
        workflow()->endStage(tr("making '%1'").arg(it.key()));
        if (!writeQuillonReport(it.key(), bytes))
            return false;
        workflow()->endStage(tr("writing it"));
    }
    return true;
}

bool QuillonReportMainGUI::writeQuillonReport(const QString &filename, const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return false;
    const bool ok = ProfilerData::writeViaPortal(filename, bytes);
    workflow()->printSummary(ok, filename);
    return ok;
}

// A page of its own whose name carries the three main percentages behind `prefix`.
bool QuillonReportMainGUI::writeExtraReport(
    const ProfilerData &data, const QString &type, const QString &prefix)
{
    QuillonReportSummary summary;
    const QScopedPointer<quillon_report> report(convertToReport(data, *reportDefinition, type, &summary));
    if (!isUsable(*report))
        return false;
    const QString filename = prefix
        + QStringLiteral("_QR:%1-%2-%3.html")
              .arg(
                  twoDigits(summary.cpuPercent), twoDigits(summary.mpiPercent), twoDigits(summary.ioPercent));
    QByteArray bytes;
    if (report->generateAndWrite(bytes, HtmlReport) != 0) {
        qWarning("%s: failed to generate report: %s", friendlyName().constData(), report->getErrorMessage());
        return false;
    }
    if (!writeQuillonReport(filename, bytes)) {
        qWarning("%s: could not save a report to %s", friendlyName().constData(), qPrintable(filename));
        return false;
    }
    return true;
}

const QuillonReportArgParser &QuillonReportMainGUI::args() const
{
    return dynamic_cast<const QuillonReportArgParser &>(*parser());
}
