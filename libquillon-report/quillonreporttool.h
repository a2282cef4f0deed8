#ifndef QUILLONREPORTTOOL_H
#define QUILLONREPORTTOOL_H

#include "api/export.h"
#include "workflow/argumentapplier.h"
#include "workflow/profilertool.h"

// quillon-report as the host knows it: its names, and the objects that it makes for the host.
class QUILLON_REPORT_EXPORT QuillonReportTool : public ProfilerTool {
public:
    // The one tool of this process, made at the first call, which one thread at a time may make.
    static QuillonReportTool *instance();

    // The applier of this tool's command line, which `parser` has to be; the caller owns it. The ranks that
    // were selected go into `config` at once.
    static ArgumentApplier *createArgumentApplier(const ArgParser &parser, KELPConfig *config, bool offline,
        bool loading, FrontendApplicationProperties *properties);

    bool isNamed(const QString &name) const override;
    void printCmdLineArgError(const QString &message) override;
    FERNMainGUI *createLogic(MainWindow &window, const ArgParser *parser) override;
    bool isOfflineOnly() const override;
    QString getCanonicalName() const override;
    QString getFriendlyName() const override;
    QString getShortFriendlyName() const override;
    QString getLauncherFileName() const override;
    QString verboseArgumentDocString() const override;
    ArgParser *createArgParserAndReadCommandLine(const QStringList &args, Platform::Enum platform) override;

private:
    QuillonReportTool() = default;

    static QuillonReportTool *mInstance;
};

// Carries the command line of quillon-report over into the configuration.
class QUILLON_REPORT_EXPORT QuillonReportArgumentApplier : public ArgumentApplier {
public:
    using ArgumentApplier::ArgumentApplier;

    // No queue, no plug-ins, and quiet unless the user wants to know more.
    void apply() override;
};

#endif
