#include "workflow/signalforwarding.h"

#include <atomic>
#include <cerrno>

namespace {

struct Row {
    int number;
    bool isPassedOn;
};

constexpr Row Signals[] = {{SIGINT, false}, {SIGQUIT, false}, {SIGTERM, true}, {SIGHUP, true}};

// What the handlers work on. Lock-free, as only that may be touched in a handler.
std::atomic<pid_t> theJob{0};
std::atomic<int> thePending{0};
std::atomic<int> theInterrupts{0};
static_assert(std::atomic<pid_t>::is_always_lock_free);
static_assert(std::atomic<int>::is_always_lock_free);

void noteOnly(int number)
{
    if (number == SIGINT)
        theInterrupts = 1;
    // A handler rather than SIG_IGN: the job would inherit that.
}

void passOn(int number)
{
    const int savedErrno = errno;
    thePending = number;
    const pid_t job = theJob;
    if (job > 0)
        ::kill(job, number);
    errno = savedErrno;
}

void install(int number, void (*handler)(int), struct sigaction *before)
{
    ::sigaction(number, nullptr, before);
    if (!(before->sa_flags & SA_SIGINFO) && before->sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(number, &action, nullptr);
}

} // namespace

SignalForwarding::SignalForwarding()
{
    thePending = 0;
    theInterrupts = 0;
    int i = 0;
    for (const Row &row : Signals)
        install(row.number, row.isPassedOn ? passOn : noteOnly, &mBefore[i++]);
    // Whoever started us may ignore the end of children, and then nobody learns how a child ended.
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigemptyset(&standard.sa_mask);
    ::sigaction(SIGCHLD, &standard, &mBefore[i]);
}

SignalForwarding::~SignalForwarding()
{
    theJob = 0;
    int i = 0;
    for (const Row &row : Signals)
        ::sigaction(row.number, &mBefore[i++], nullptr);
    ::sigaction(SIGCHLD, &mBefore[i], nullptr);
}

bool SignalForwarding::wasInterrupted() const
{
    return theInterrupts != 0;
}

void SignalForwarding::setJob(pid_t pid)
{
    theJob = pid;
    const int pending = thePending;
    if (pid > 0 && pending != 0)
        ::kill(pid, pending);
}
