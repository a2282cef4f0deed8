#include "workflow/manuallaunch.h"

#include "workflow/exitstatus.h"
#include "workflow/joblauncher.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr int Signals[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> theSignal{0};

void note(int number)
{
    theSignal = number;
}

// Takes the signals for as long as it lives; they come only while somebody waits for them.
class SignalsTaken {
public:
    SignalsTaken()
    {
        theSignal = 0;
        sigset_t signals;
        sigemptyset(&signals);
        int i = 0;
        for (const int number : Signals) {
            sigaddset(&signals, number);
            struct sigaction action = {};
            action.sa_handler = note;
            sigemptyset(&action.sa_mask);
            ::sigaction(number, &action, &mActions[i++]);
        }
        pthread_sigmask(SIG_BLOCK, &signals, &mMask);
    }
    ~SignalsTaken()
    {
        int i = 0;
        for (const int number : Signals)
            ::sigaction(number, &mActions[i++], nullptr);
        pthread_sigmask(SIG_SETMASK, &mMask, nullptr);
    }
    SignalsTaken(const SignalsTaken &) = delete;
    SignalsTaken &operator=(const SignalsTaken &) = delete;

    // The mask to wait with.
    const sigset_t &whileWaiting() const { return mMask; }

private:
    struct sigaction mActions[3];
    sigset_t mMask;
};

// True at the end of a line or of the input.
bool readWord()
{
    char byte = 0;
    const ssize_t size = ::read(STDIN_FILENO, &byte, 1);
    return size == 0 || (size < 0 && errno != EINTR && errno != EAGAIN) || byte == '\n';
}

} // namespace

int waitForManualJob(const QList<Variable> &variables)
{
    const SignalsTaken signals;
    for (const Variable &variable : variables) {
        const QByteArray line = "export " + variable.name + '='
            + shellQuoted(QList<QByteArray>{variable.value}).toUtf8() + '\n';
        std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    }
    std::fflush(stdout);

    for (;;) {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        const int ready = ::ppoll(&input, 1, nullptr, &signals.whileWaiting());
        if (theSignal != 0)
            return 128 + theSignal;
        if (ready > 0 && readWord())
            return ExitSuccess;
    }
}
