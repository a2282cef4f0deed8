#include "workflow/frontend.h"

#include "cli/argparser.h"
#include "cli/fernandquillonreportcommonargs.h"
#include "core/printable.h"
#include "profile/metricdefinitions.h"
#include "profile/metricreasons.h"
#include "profile/metrictable.h"
#include "workflow/argumentapplier.h"
#include "workflow/brivanetool.h"
#include "workflow/configfile.h"
#include "workflow/exitstatus.h"
#include "workflow/fernmaingui.h"
#include "workflow/frontendapplicationproperties.h"
#include "workflow/gpucheck.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"
#include "workflow/offlinesupport.h"
#include "workflow/progressline.h"

#include <QCoreApplication>
#include <QScopedPointer>
#include <QTextCodec>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// Qt's own handler may send messages to a system log instead, where nobody who waits for them looks.
void printMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    const QByteArray line = (printable(message) + QLatin1Char('\n')).toUtf8();
    ProgressLine::giveWay();
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
    std::fflush(stderr);
}

ExitStatus fail(const QString &message)
{
    OfflineSupport::criticalMsg(MainWindow::getWindow(), message);
    return ExitFailure;
}

ExitStatus printOut(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const std::size_t size = static_cast<std::size_t>(bytes.size());
    const bool ok = std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (ok)
        return ExitSuccess;
    return fail(QCoreApplication::translate("Frontend", "cannot write to the standard output: %1")
                    .arg(QString::fromLocal8Bit(std::strerror(errno))));
}

QString metricList(const FERNConfig &config)
{
    QString text;
    const GpuCheck gpus;
    MetricDefinitions definitions = MetricDefinitions::ofSampler(PerfEvents::names(config.getPerfEvents()));
    definitions.add(MetricDefinitions::describe(METRIC_BUDGETED_POWER));
    for (const Metric &metric : definitions.getAllMetrics()) {
        const MetricTable::Source &source = MetricTable::sourceOf(metric.id);
        text += QStringLiteral("%1\n    %2\n").arg(metric.id, metric.description);
        text += QStringLiteral("    %1 of each %2; %3, %4\n")
                    .arg(metric.units.isEmpty() ? QStringLiteral("number") : metric.units,
                        metric.scope == Metric::PerNode ? QStringLiteral("node") : QStringLiteral("process"),
                        source.how, source.often);
        // The site's command is asked when a job runs, not here.
        const bool hasCommand
            = source.id == fern::spool::SourceSystemPower && !config.getPowerCommand().isEmpty();
        QString whyNot = hasCommand ? QString() : MetricReasons::onThisMachine(metric.id);
        if (whyNot.isNull())
            whyNot = gpus.whyNot(metric.id);
        if (!whyNot.isEmpty())
            text += QStringLiteral("    %1\n").arg(whyNot);
    }
    return text;
}

ExitStatus listMetrics()
{
    KELPConfig config;
    QString error;
    return ConfigFile::read(&config, &error) ? printOut(metricList(config.fernConfig())) : fail(error);
}

// Removes the configuration file, or makes a new one, or first the one and then the other.
ExitStatus configure(const ArgParser &parser)
{
    QString error;
    QString text;
    bool removed = false;
    if (parser.isCleanConfig()) {
        if (!ConfigFile::remove(&removed, &error))
            return fail(error);
        text += (removed ? QStringLiteral("removed %1\n") : QStringLiteral("there is no %1\n"))
                    .arg(ConfigFile::path());
    }
    if (parser.isAutomaticConfig()) {
        QStringList found;
        if (!ConfigFile::detect(&found, &error))
            return fail(error);
        for (const QString &line : found)
            text += line + QLatin1Char('\n');
        text += found.isEmpty() ? QStringLiteral("no launcher found in PATH\n")
                                : QStringLiteral("wrote %1\n").arg(ConfigFile::path());
    }
    return printOut(text);
}

// The complaint about a metric that is named on the command line and that nobody knows; null if there is
// none.
QString unknownMetric(const ArgParser &parser)
{
    const auto *common = dynamic_cast<const FERNAndQuillonReportCommonArgs *>(&parser);
    if (!common)
        return QString();
    for (const QString &id : common->getEnabledMetrics() + common->getDisabledMetrics()) {
        if (!MetricDefinitions::known().getMetricById(id) && !PerfEvents::isMetricId(id))
            return QCoreApplication::translate(
                "Frontend", "unknown metric '%1'; --list-metrics names all of them")
                .arg(id);
    }
    return QString();
}

int runWorkflow(BrivaneTool &tool, const ArgParser &parser, FrontendApplicationProperties *properties)
{
    KELPConfig config;
    QString error;
    if (!ConfigFile::read(&config, &error))
        return fail(error);
    KELPConfig::setInstance(&config);
    MainWindow window;
    const QScopedPointer<FERNMainGUI> logic(tool.createLogic(window, &parser));
    const QScopedPointer<ArgumentApplier> applier(logic->createArgumentApplier(
        parser, &config, tool.isOfflineOnly(), !parser.getAutoLoadFile().isEmpty(), properties));
    applier->apply();
    const int exitStatus = logic->exec();
    KELPConfig::setInstance(nullptr);
    return exitStatus;
}

} // namespace

int runTool(BrivaneTool &tool, int argc, char **argv)
{
    qInstallMessageHandler(printMessage);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    int programOnly = argc > 0 ? 1 : 0; // the rest isn't Qt's
    QCoreApplication application(programOnly, argv);
    // Nothing here needs plug-ins, and reading a schema would load those that talk to a network manager.
    QCoreApplication::setLibraryPaths(QStringList());
    BrivaneTool::setCurrentTool(&tool);

    FrontendApplicationProperties properties;
    QStringList args;
    for (int i = 1; i < argc; ++i) {
        properties.arguments.append(QByteArray(argv[i]));
        args.append(QString::fromUtf8(argv[i]));
    }
    const QScopedPointer<ArgParser> parser(tool.createArgParserAndReadCommandLine(args, Platform::current()));
    const QString complaint = parser->hasError() ? parser->getError() : unknownMetric(*parser);
    if (!complaint.isNull()) {
        tool.printCmdLineArgError(complaint);
        return ExitUsage;
    }
    if (parser->isHelp())
        return printOut(parser->helpText());
    if (parser->isPrintVersion())
        return printOut(QStringLiteral("%1 %2\n").arg(tool.getFriendlyName(), sc_version()));
    if (parser->shouldListMetrics())
        return listMetrics();
    if (parser->isCleanConfig() || parser->isAutomaticConfig())
        return configure(*parser);
    return runWorkflow(tool, *parser, &properties);
}
