#ifndef HOST_WORKFLOW_FERNMAINGUI_H
#define HOST_WORKFLOW_FERNMAINGUI_H

#include "core/export.h"
#include "workflow/fernworkflow.h"

#include <QObject>
#include <QScopedPointer>

class ArgParser;
class ArgumentApplier;
class KELPConfig;
class MainWindow;
struct FrontendApplicationProperties;

// The logic object of a tool that profiles: has the workflow run on a thread of its own and takes part in it
// on the thread where the object lives.
class BRIVANE_HOST_EXPORT FERNMainGUI : public QObject {
    Q_OBJECT

public:
    // Both must outlive the object.
    FERNMainGUI(MainWindow &window, const ArgParser *parser);
    ~FERNMainGUI() override;

    // Makes the workflow object from the parser and KELPConfig::getInstance(). Tools connect to it.
    virtual void initWorkflow();

    // Makes what carries the command line into `config`; the caller owns it.
    virtual ArgumentApplier *createArgumentApplier(const ArgParser &parser, KELPConfig *config, bool offline,
        bool loading, FrontendApplicationProperties *properties) const = 0;

    // Goes through the workflow from its start to its end, with an event loop meanwhile. The result is the
    // exit status of the program: the job's own, an ExitStatus, or what QShutdownGroup was told.
    int exec();

    // Whether the profile holds figures by kind of instruction, found by disassembling them.
    bool haveDissasembledCpuInstructionMetrics() const;

protected:
    // Notes that the tool could not write what it was asked for; it has said so itself.
    void setOutputFailed() { mOutputFailed = true; }

    MainWindow &window() const { return mWindow; }
    const ArgParser *parser() const { return mParser; }
    FERNWorkflow *workflow() const { return mWorkflow.data(); }

private:
    MainWindow &mWindow;
    const ArgParser *const mParser;
    QScopedPointer<FERNWorkflow> mWorkflow;
    bool mOutputFailed = false;
};

#endif
