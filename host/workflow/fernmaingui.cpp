#include "workflow/fernmaingui.h"

#include "workflow/exitstatus.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"
#include "workflow/qshutdowngroup.h"

#include <QEventLoop>
#include <QThread>

#include <csignal>

#include <pthread.h>

namespace {

// Signals are for the thread that waits for the job. When both we and the job get one, that thread handles it
// before it learns that the job has ended; another might still have it before it when nobody expects it any
// more.
class SignalsHeldBack {
public:
    SignalsHeldBack()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
            sigaddset(&signals, number);
        pthread_sigmask(SIG_BLOCK, &signals, &mBefore);
    }
    ~SignalsHeldBack() { letThrough(); }
    SignalsHeldBack(const SignalsHeldBack &) = delete;
    SignalsHeldBack &operator=(const SignalsHeldBack &) = delete;

    // Lets the calling thread have its signals again; the job inherits what it lets through.
    void letThrough() const { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }

private:
    sigset_t mBefore;
};

} // namespace

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
    const SignalsHeldBack signalsHeldBack;
    connect(&thread, &QThread::started, mWorkflow.data(), [this, &signalsHeldBack] {
        signalsHeldBack.letThrough();
        mWorkflow->run();
    });
    connect(mWorkflow.data(), &FERNWorkflow::finished, &loop, &QEventLoop::exit);
    thread.start();
    const int exitStatus = loop.exec();
    thread.quit();
    thread.wait();
    if (const std::optional<int> shutdown = QShutdownGroup::globalInstance()->takeExitStatus())
        return *shutdown;
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
