#include "workflow/fernmaingui.h"

#include "workflow/exitstatus.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"

#include <QEventLoop>
#include <QThread>

FERNMainGUI::FERNMainGUI(MainWindow &window, const ArgParser *parser)
    : mWindow(window)
    , mParser(parser)
{
}

FERNMainGUI::~FERNMainGUI() = default;

void FERNMainGUI::initWorkflow()
{
    qRegisterMetaType<MetricDefinitions>("MetricDefinitions");
    qRegisterMetaType<bool *>("bool*");
    mWorkflow.reset(new FERNWorkflow(*mParser, *KELPConfig::getInstance()));
}

int FERNMainGUI::exec()
{
    initWorkflow();

    QThread thread;
    QEventLoop loop;
    mWorkflow->moveToThread(&thread);
    connect(&thread, &QThread::started, mWorkflow.data(), &FERNWorkflow::run);
    connect(mWorkflow.data(), &FERNWorkflow::finished, &loop, &QEventLoop::exit);
    thread.start();
    const int exitStatus = loop.exec();
    thread.quit();
    thread.wait();
    return mOutputFailed ? ExitFailure : exitStatus;
}

bool FERNMainGUI::haveDissasembledCpuInstructionMetrics() const
{
    for (const QString &id : {METRIC_INSTR_VECTOR_FP, METRIC_INSTR_VECTOR_INT, METRIC_INSTR_FP,
             METRIC_INSTR_INT, METRIC_INSTR_MEM}) {
        if (mWorkflow->getProfilerData().hasMetricNoErrors(id))
            return true;
    }
    return false;
}
