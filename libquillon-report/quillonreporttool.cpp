#include "quillonreporttool.h"

#include "quillonreportargparser.h"
#include "quillonreportmaingui.h"
#include "workflow/kelpconfig.h"

#include <QCoreApplication>
#include <QtDebug>

namespace {

const char CanonicalName[] = "quillon-report";

QString tr(const char *text)
{
    return QCoreApplication::translate("QuillonReportTool", text);
}

} // namespace

QuillonReportTool *QuillonReportTool::mInstance = nullptr;

QuillonReportTool *QuillonReportTool::instance()
{
    if (!mInstance)
        mInstance = new QuillonReportTool;
    return mInstance;
}

ArgumentApplier *QuillonReportTool::createArgumentApplier(const ArgParser &parser, KELPConfig *config,
    bool offline, bool loading, FrontendApplicationProperties *properties)
{
    const RankSet ranks = dynamic_cast<const QuillonReportArgParser &>(parser).getSelectRanks();
    if (!ranks.isEmpty())
        config->fernConfig().setSelectedRanks(ranks.toString());
    return new QuillonReportArgumentApplier(parser, config, offline, loading, properties);
}

bool QuillonReportTool::isNamed(const QString &name) const
{
    return name == QLatin1String(CanonicalName);
}

void QuillonReportTool::printCmdLineArgError(const QString &message)
{
    const QString text = tr("%1\n\nType quillon-report --help for more information.").arg(message);
    qCritical("%s", text.toLocal8Bit().constData());
}

FERNMainGUI *QuillonReportTool::createLogic(MainWindow &window, const ArgParser *parser)
{
    return new QuillonReportMainGUI(window, parser);
}

bool QuillonReportTool::isOfflineOnly() const
{
    return true;
}

QString QuillonReportTool::getCanonicalName() const
{
    return QLatin1String(CanonicalName);
}

QString QuillonReportTool::getFriendlyName() const
{
    return tr("Brivane Quillon Reports");
}

QString QuillonReportTool::getShortFriendlyName() const
{
    return tr("Quillon Reports");
}

QString QuillonReportTool::getLauncherFileName() const
{
    return QLatin1String(CanonicalName);
}

QString QuillonReportTool::verboseArgumentDocString() const
{
    return tr("print extra information before and after report generation");
}

ArgParser *QuillonReportTool::createArgParserAndReadCommandLine(
    const QStringList &args, Platform::Enum platform)
{
    auto *parser = new QuillonReportArgParser(args, platform);
    parser->setVerboseDocumentation(verboseArgumentDocString());
    parser->parseAll();
    return parser;
}

void QuillonReportArgumentApplier::apply()
{
    ArgumentApplier::apply();
    config().setQueueUsed(false);
    config().setSelectedPlugins(QStringList());
    config().setQuiet(!parser().isVerbose());
    checkNumNodes();
}
