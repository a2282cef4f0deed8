#include "workflow/gatherfolder.h"

#include "sampler/core/gathering.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <csignal>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Launchers take variables in lists, each in its own way.
bool isPlain(const QString &path)
{
    return std::none_of(path.begin(), path.end(),
        [](QChar c) { return c < QLatin1Char(' ') || QStringLiteral(";,'\"\\").contains(c); });
}

} // namespace

GatherFolder::GatherFolder(const QString &workFolder)
    : mPath(QDir::current().absoluteFilePath(QLatin1Char('.') + QFileInfo(workFolder).fileName()))
{
    const QFileInfo info(mPath);
    if (info.exists() || info.isSymLink() || !isPlain(mPath))
        mPath.clear();
    if (mPath.isEmpty())
        return;
    // Signals are for the thread that waits for the job.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    mThread = std::thread([this] { watch(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

GatherFolder::~GatherFolder()
{
    endWatching();
    if (isOurs())
        QDir(mPath).removeRecursively();
}

void GatherFolder::watch()
{
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mIsOver && !isOurs())
        mOver.wait_for(lock, std::chrono::seconds(1));
    if (!mIsOver)
        markAsSeen();
}

void GatherFolder::endWatching()
{
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mIsOver = true;
    }
    mOver.notify_all();
    if (mThread.joinable())
        mThread.join();
}

int GatherFolder::fetchInto(const QString &spoolFolder, int patienceMs)
{
    constexpr unsigned long LookIntervalMs = 20;
    endWatching();
    if (!isOurs())
        return 0;
    markAsSeen();
    QElapsedTimer timer;
    timer.start();
    while (countClaims() > 0 && !timer.hasExpired(patienceMs))
        QThread::msleep(LookIntervalMs);
    const QDir folder(mPath);
    const QDir spools(spoolFolder);
    const QStringList files = folder.entryList(
        {QStringLiteral("*.spool"), QStringLiteral("*.merged")}, QDir::Files | QDir::NoSymLinks);
    for (const QString &file : files)
        QFile::rename(folder.filePath(file), spools.filePath(file));
    return countClaims();
}

// It is made while the job runs, by whoever can write there.
bool GatherFolder::isOurs() const
{
    struct stat status;
    return !mPath.isEmpty() && ::lstat(QFile::encodeName(mPath).constData(), &status) == 0
        && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

void GatherFolder::markAsSeen() const
{
    QDir(mPath).mkdir(QLatin1String(fern::gathering::SeenMark));
}

int GatherFolder::countClaims() const
{
    return QDir(mPath)
        .entryList({QLatin1Char('*') + QLatin1String(fern::gathering::ClaimSuffix)}, QDir::Dirs)
        .size();
}
