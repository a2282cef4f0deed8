#ifndef HOST_WORKFLOW_FERNTOOL_H
#define HOST_WORKFLOW_FERNTOOL_H

#include "workflow/fernmaingui.h"
#include "workflow/profilertool.h"

// fern, the tool that keeps a job's profile as a .fern file and does no more with it.
class BRIVANE_HOST_EXPORT FernTool : public ProfilerTool {
public:
    bool isNamed(const QString &name) const override;
    FERNMainGUI *createLogic(MainWindow &window, const ArgParser *parser) override;
    bool isOfflineOnly() const override;
    QString getCanonicalName() const override;
    QString getFriendlyName() const override;
    QString getShortFriendlyName() const override;
    QString getLauncherFileName() const override;
    QString verboseArgumentDocString() const override;
    ArgParser *createArgParserAndReadCommandLine(const QStringList &args, Platform::Enum platform) override;
};

#endif
