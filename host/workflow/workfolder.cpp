#include "workflow/workfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char LockName[] = "/tool.lock";
const char NoteName[] = "/taken-along";

// The job inherits no descriptor, and so no lock: a program may count its descriptors.
int openAndLock(const QByteArray &path, int flags)
{
    const int file = ::open(path.constData(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) != 0) {
        ::close(file);
        return -1;
    }
    return file;
}

QByteArray contents(const QString &file)
{
    QFile source(file);
    return source.open(QIODevice::ReadOnly) ? source.readAll() : QByteArray();
}

// The kernel's number of this start: containers of a node may have names of their own.
QByteArray thisNode()
{
    return contents(QStringLiteral("/proc/sys/kernel/random/boot_id"));
}

// The lock gets its name once it is locked and says on which node: nobody ever sees a folder of a living tool
// whose lock is free.
int lockNewFolder(const QString &folder)
{
    const QByteArray path = QFile::encodeName(folder) + LockName;
    const QByteArray early = path + ".new";
    const QByteArray node = thisNode();
    const int lock = openAndLock(early, O_CREAT | O_EXCL);
    if (lock >= 0 && ::write(lock, node.constData(), static_cast<std::size_t>(node.size())) == node.size())
        ::rename(early.constData(), path.constData());
    return lock;
}

// Only the user can have put anything into such a folder.
bool isPrivateFolder(const QByteArray &path)
{
    struct stat status { };
    return ::lstat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid()
        && (status.st_mode & 077) == 0;
}

// Whether a process of this node was started with the folder in its environment or command, as all of a job
// are and its launcher is, or writes a spool there.
bool isInUse(const QByteArray &folder)
{
    const QStringList processes
        = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[1-9]*")}, QDir::Dirs);
    for (const QString &process : processes) {
        for (const char *file : {"/environ", "/cmdline", "/maps"}) {
            if (contents(QLatin1String("/proc/") + process + QLatin1String(file)).contains(folder))
                return true;
        }
    }
    return processes.isEmpty();
}

} // namespace

WorkFolder::WorkFolder()
    : mFolder(std::make_unique<QTemporaryDir>(QDir::tempPath() + QLatin1String("/fern-XXXXXX")))
{
    if (!mFolder->isValid())
        mFolder = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/fern-XXXXXX"));
    if (!mFolder->isValid())
        return;
    mLock = lockNewFolder(path());
    removeAbandonedWorkFolders(QFileInfo(path()).path());
}

// The lock goes after the folder.
WorkFolder::~WorkFolder()
{
    mFolder.reset();
    if (mLock >= 0)
        ::close(mLock);
}

void WorkFolder::takeAlong(const QString &folder) const
{
    QFile note(path() + QLatin1String(NoteName));
    if (note.open(QIODevice::WriteOnly))
        note.write(QFile::encodeName(folder));
}

void removeAbandonedWorkFolders(const QString &temporary)
{
    const QStringList folders
        = QDir(temporary).entryList({QStringLiteral("fern-??????")}, QDir::Dirs | QDir::NoSymLinks);
    for (const QString &name : folders) {
        const QString folder = QDir(temporary).filePath(name);
        const QByteArray path = QFile::encodeName(folder);
        const int lock = isPrivateFolder(path) ? openAndLock(path + LockName, 0) : -1;
        if (lock < 0)
            continue;
        // Locks of other nodes may not be seen here.
        if (contents(folder + QLatin1String(LockName)) == thisNode() && !isInUse(path + '/')) {
            // A note that isn't whole may name a folder above.
            const QByteArray along = contents(folder + QLatin1String(NoteName));
            if (along.endsWith("/." + QFile::encodeName(name)) && isPrivateFolder(along))
                QDir(QFile::decodeName(along)).removeRecursively();
            QDir(folder).removeRecursively();
        }
        ::close(lock);
    }
}
