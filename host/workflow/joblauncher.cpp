#include "workflow/joblauncher.h"

#include "workflow/jobenvironment.h"
#include "workflow/kelpconfig.h"
#include "workflow/launcherrecognition.h"
#include "workflow/programpath.h"
#include "workflow/signalforwarding.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("JobLauncher", text);
}

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

std::vector<char *> pointers(const QList<QByteArray> &words)
{
    std::vector<char *> result;
    for (const QByteArray &word : words)
        result.push_back(const_cast<char *>(word.constData()));
    result.push_back(nullptr);
    return result;
}

// Starts `program`; the result is 0 or an error number. `input` becomes its standard input if it isn't -1.
int spawn(pid_t *pid, const QByteArray &program, const QList<QByteArray> &command, int input,
    const QList<QByteArray> &environment)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0)
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    int error = posix_spawn(
        pid, program.constData(), &actions, nullptr, pointers(command).data(), pointers(environment).data());
    if (error == ENOEXEC) { // a script that doesn't name its interpreter is one for the shell
        const QList<QByteArray> script = QList<QByteArray>{"/bin/sh", program} + command.mid(1);
        error = posix_spawn(
            pid, "/bin/sh", &actions, nullptr, pointers(script).data(), pointers(environment).data());
    }
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

// Waits for the end of the job and gives its exit status as a shell does.
int waitForEnd(pid_t pid, SignalForwarding *signals)
{
    siginfo_t info;
    while (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) { }
    signals->setJob(0); // the number may belong to another process from the next line on
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) { }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

QByteArray shellQuoted(const QByteArray &word)
{
    static const QByteArray plain
        = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
    bool isPlain = !word.isEmpty();
    for (const char byte : word)
        isPlain = isPlain && (plain.contains(byte) || static_cast<unsigned char>(byte) >= 0x80);
    return isPlain ? word : '\'' + QByteArray(word).replace('\'', "'\\''") + '\'';
}

} // namespace

JobLauncher::JobLauncher(const KELPConfig &config)
    : mConfig(config)
{
}

JobLauncher::~JobLauncher()
{
    if (mInput >= 0)
        ::close(mInput);
}

ExitStatus JobLauncher::prepare(QString *error)
{
    const QByteArray searchPath = qEnvironmentVariableIsSet("PATH") ? qgetenv("PATH") : "/bin:/usr/bin";
    const ExitStatus found = findProgram(mConfig.getCommand().first(), searchPath, &mProgram, error);
    if (found != ExitSuccess)
        return found;
    if (!openInput(error))
        return ExitFailure;
    mSampler = samplerPath();
    if (!isSamplerThere(mSampler, error))
        return ExitFailure;
    mForwarding = recogniseLauncher(mProgram, mConfig.getLaunchers());
    return ExitSuccess;
}

bool JobLauncher::openInput(QString *error)
{
    const QString file = mConfig.getInputFile();
    if (file.isNull())
        return true;
    mInput = ::open(file.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    int reason = 0;
    if (mInput < 0 || ::fstat(mInput, &status) != 0)
        reason = errno;
    else if (S_ISDIR(status.st_mode))
        reason = EISDIR;
    if (reason != 0)
        *error = tr("cannot read the input file '%1': %2").arg(file, systemError(reason));
    return reason == 0;
}

bool JobLauncher::run(const QString &workFolder, const SpoolFolders &folders, int *exitStatus, QString *error)
{
    const QByteArray sampler = preloadablePath(mSampler, workFolder);
    const Launch launch = withVariables(
        {mConfig.getCommand(), plainEnvironment()}, mForwarding, samplerVariables(sampler, folders, mConfig));

    SignalForwarding signals;
    pid_t pid = 0;
    const int reason = spawn(&pid, mProgram, launch.command, mInput, launch.environment);
    if (reason != 0) {
        *error = tr("cannot run '%1': %2").arg(QString::fromUtf8(mProgram), systemError(reason));
        *exitStatus = reason == ENOENT ? ExitNotFound : ExitNotExecutable;
        return false;
    }
    signals.setJob(pid);
    *exitStatus = waitForEnd(pid, &signals);
    // Launchers of parallel jobs end as they like after Ctrl-C, with 0 even.
    if (mForwarding != Forwarding::Inherited && signals.wasInterrupted())
        *exitStatus = 128 + SIGINT;
    return true;
}

QString shellQuoted(const QList<QByteArray> &command)
{
    QByteArray line;
    for (const QByteArray &word : command)
        line += (line.isEmpty() ? QByteArray() : QByteArray(" ")) + shellQuoted(word);
    return QString::fromUtf8(line);
}
