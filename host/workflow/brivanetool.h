#ifndef HOST_WORKFLOW_BRIVANETOOL_H
#define HOST_WORKFLOW_BRIVANETOOL_H

#include "cli/platform.h"
#include "core/export.h"

#include <QString>
#include <QStringList>

class ArgParser;
class FERNMainGUI;
class MainWindow;

// One of the tools that the host serves. A tool says what it is called, makes the parser of its command
// line, and makes its logic object; everything between is the host's (see runTool() in frontend.h).
class BRIVANE_HOST_EXPORT BrivaneTool {
public:
    virtual ~BrivaneTool();

    // The tool of this process. Never null: until a program has said which tool it is, the host itself
    // stands in, under the name "brivane".
    static BrivaneTool *currentTool();
    // Names the tool of this process; null goes back to the host itself. The tool isn't owned.
    static void setCurrentTool(BrivaneTool *tool);

    virtual bool isNamed(const QString &name) const = 0;
    // Shows a complaint about the command line, and where help is to be had, on the standard error stream.
    virtual void printCmdLineArgError(const QString &message) = 0;
    // The object that does the tool's work in the workflow; the caller owns it.
    virtual FERNMainGUI *createLogic(MainWindow &window, const ArgParser *parser) = 0;
    virtual bool isOfflineOnly() const = 0;
    // The name as a file name or key: "quillon-report".
    virtual QString getCanonicalName() const = 0;
    // The name as users read it, in full and short.
    virtual QString getFriendlyName() const = 0;
    virtual QString getShortFriendlyName() const = 0;
    // The name of the program that starts the tool.
    virtual QString getLauncherFileName() const = 0;
    // What the help says about --verbose.
    virtual QString verboseArgumentDocString() const = 0;
    // A parser that has read the command line `args` (without the program's name); the caller owns it
    // and asks it whether there were errors.
    virtual ArgParser *createArgParserAndReadCommandLine(const QStringList &args, Platform::Enum platform)
        = 0;
};

#endif
