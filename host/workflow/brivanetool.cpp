#include "workflow/brivanetool.h"

#include <QtDebug>

namespace {

// The host while no tool has been named. It has a name for messages and nothing else to offer.
class HostItself final : public BrivaneTool {
public:
    bool isNamed(const QString &name) const override { return name == getCanonicalName(); }
    void printCmdLineArgError(const QString &message) override { qCritical("%s", qPrintable(message)); }
    FERNMainGUI *createLogic(MainWindow &, const ArgParser *) override { return nullptr; }
    bool isOfflineOnly() const override { return true; }
    QString getCanonicalName() const override { return QStringLiteral("brivane"); }
    QString getFriendlyName() const override { return QStringLiteral("Brivane"); }
    QString getShortFriendlyName() const override { return getFriendlyName(); }
    QString getLauncherFileName() const override { return getCanonicalName(); }
    QString verboseArgumentDocString() const override { return QString(); }
    ArgParser *createArgParserAndReadCommandLine(const QStringList &, Platform::Enum) override
    {
        return nullptr;
    }
};

BrivaneTool *theTool = nullptr;

} // namespace

BrivaneTool::~BrivaneTool() = default;

BrivaneTool *BrivaneTool::currentTool()
{
    static HostItself host;
    return theTool ? theTool : &host;
}

void BrivaneTool::setCurrentTool(BrivaneTool *tool)
{
    theTool = tool;
}
