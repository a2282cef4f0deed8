#include "workflow/powercommand.h"

#include "profile/profilerdata.h"

#include <QCoreApplication>
#include <QDateTime>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int BetweenMs = 1000;
constexpr std::chrono::seconds Patience(5);
constexpr int StepMs = 50;
constexpr int LongestAnswer = 256;

QString tr(const char *text)
{
    return QCoreApplication::translate("PowerCommand", text);
}

// Starts the command in a process group of its own, its output going to `output`. Gives 0 or an error number.
int startShell(const QByteArray &command, int output, pid_t *pid)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    char *words[] = {
        const_cast<char *>("sh"), const_cast<char *>("-c"), const_cast<char *>(command.constData()), nullptr};
    const int error = posix_spawn(pid, "/bin/sh", &actions, &attributes, words, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

} // namespace

PowerCommand::PowerCommand(const QString &command)
    : mCommand(command)
{
    if (command.isEmpty())
        return;
    mWhyNot = tr("Not enough time passed to ask the site's command for power.");
    // Signals are for the thread that waits for the job.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    mThread = std::thread([this] { run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

PowerCommand::~PowerCommand()
{
    stop();
}

void PowerCommand::stop()
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
    }
    mStopped.notify_all();
    if (mThread.joinable())
        mThread.join();
}

bool PowerCommand::isStoppedAfter(int ms)
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mStopped.wait_for(lock, std::chrono::milliseconds(ms), [this] { return mStop; });
}

void PowerCommand::run()
{
    do {
        QByteArray answer;
        QString complaint;
        if (!ask(&answer, &complaint)) {
            if (!complaint.isNull())
                mWhyNot = complaint;
            return;
        }
        bool isNumber = false;
        const double watts = answer.trimmed().toDouble(&isNumber);
        if (!isNumber || !std::isfinite(watts) || watts < 0) {
            mWhyNot = tr("Requires a command that prints a number of watts: '%1' printed '%2'.")
                          .arg(mCommand, QString::fromUtf8(answer.trimmed().left(40)));
            return;
        }
        mReadings.append({QDateTime::currentMSecsSinceEpoch(), watts});
    } while (!isStoppedAfter(BetweenMs));
}

// False if there is no answer, with the reason in `complaint` unless it is that nobody wants one any more.
bool PowerCommand::ask(QByteArray *answer, QString *complaint)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        *complaint
            = tr("Requires a command that can be run: %1.").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    pid_t pid = 0;
    const int error = startShell(mCommand.toLocal8Bit(), ends[1], &pid);
    ::close(ends[1]);
    if (error != 0) {
        *complaint
            = tr("Requires a command that can be run: %1.").arg(QString::fromLocal8Bit(std::strerror(error)));
        ::close(ends[0]);
        return false;
    }
    bool isComplete = false;
    bool isStopped = false;
    // By the clock: a step may take longer on a busy machine, and less where an answer comes in pieces.
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (std::chrono::steady_clock::now() < end && !isComplete && !isStopped) {
        pollfd output{ends[0], POLLIN, 0};
        if (::poll(&output, 1, StepMs) > 0) {
            char text[LongestAnswer];
            const ssize_t got = ::read(ends[0], text, sizeof(text));
            if (got > 0)
                answer->append(text, static_cast<int>(got));
            isComplete = got <= 0 || answer->size() >= LongestAnswer;
        }
        isStopped = !isComplete && isStoppedAfter(0);
    }
    ::close(ends[0]);
    ::kill(-pid, SIGKILL); // what is left of it
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { }
    if (!isComplete && !isStopped)
        *complaint = tr("Requires a command that answers within five seconds: '%1' did not.").arg(mCommand);
    return isComplete;
}

void PowerCommand::addTo(ProfilerData *profile) const
{
    utsname node{};
    if (!mCommand.isEmpty() && ::uname(&node) == 0)
        setSitePower(mReadings, QString::fromUtf8(node.nodename), mWhyNot, profile);
}
