#ifndef HOST_WORKFLOW_SIGNALFORWARDING_H
#define HOST_WORKFLOW_SIGNALFORWARDING_H

#include <csignal>

#include <sys/types.h>

// Keeps us alive through the signals that are meant for the job, for as long as the object lives. SIGINT and
// SIGQUIT come from a terminal, which sends them to the job as well; SIGTERM and SIGHUP are passed on to the
// job, also when they come before it has been named. Signals that were ignored stay ignored. There may be one
// object at a time.
class SignalForwarding {
public:
    SignalForwarding();
    ~SignalForwarding();
    SignalForwarding(const SignalForwarding &) = delete;
    SignalForwarding &operator=(const SignalForwarding &) = delete;

    // Names the process that gets the signals.
    void setJob(pid_t pid);

    // Whether a SIGINT has come.
    bool wasInterrupted() const;

private:
    static constexpr int Count = 5;
    struct sigaction mBefore[Count];
};

#endif
