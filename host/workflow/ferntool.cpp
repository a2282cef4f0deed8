#include "workflow/ferntool.h"

#include "cli/fernargparser.h"
#include "workflow/argumentapplier.h"
#include "workflow/kelpconfig.h"

#include <QCoreApplication>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("FernTool", text);
}

class FernArgumentApplier : public ArgumentApplier {
public:
    using ArgumentApplier::ArgumentApplier;

    void apply() override
    {
        ArgumentApplier::apply();
        config().setQuiet(!parser().isVerbose());
        config().fernConfig().setSelectedRanks(
            dynamic_cast<const FernArgParser &>(parser()).getSelectRanks().toString());
    }
};

class FernLogic : public FERNMainGUI {
public:
    using FERNMainGUI::FERNMainGUI;

    ArgumentApplier *createArgumentApplier(const ArgParser &parser, KELPConfig *config, bool offline,
        bool loading, FrontendApplicationProperties *properties) const override
    {
        return new FernArgumentApplier(parser, config, offline, loading, properties);
    }
};

} // namespace

bool FernTool::isNamed(const QString &name) const
{
    return name == getCanonicalName();
}

FERNMainGUI *FernTool::createLogic(MainWindow &window, const ArgParser *parser)
{
    return new FernLogic(window, parser);
}

bool FernTool::isOfflineOnly() const
{
    return true;
}

QString FernTool::getCanonicalName() const
{
    return QStringLiteral("fern");
}

QString FernTool::getFriendlyName() const
{
    return tr("Brivane FERN");
}

QString FernTool::getShortFriendlyName() const
{
    return tr("FERN");
}

QString FernTool::getLauncherFileName() const
{
    return getCanonicalName();
}

QString FernTool::verboseArgumentDocString() const
{
    return tr("print extra information before and after the run");
}

ArgParser *FernTool::createArgParserAndReadCommandLine(const QStringList &args, Platform::Enum platform)
{
    auto *parser = new FernArgParser(args, platform);
    parser->setVerboseDocumentation(verboseArgumentDocString());
    parser->parseAll();
    return parser;
}
