#include "core/brivaneglobals.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

namespace {

// How far above its libraries and programs the prefix of an installation may lie; "lib/<architecture>" is
// two.
const int kMaxDepth = 3;

// Its address lies in the library or program that this code has been linked into.
const char kAnchor = 0;

// The folder of that library or program.
QString moduleFolder()
{
    Dl_info info;
    QString file;
    if (dladdr(&kAnchor, &info) != 0 && info.dli_fname)
        file = QFile::decodeName(info.dli_fname);
    // The name of the program itself is whatever it was started as.
    if (!QDir::isAbsolutePath(file))
        file = QStringLiteral("/proc/self/exe");
    return QFileInfo(QFileInfo(file).canonicalFilePath()).path();
}

PathString findInstallPath()
{
    QDir folder(moduleFolder());
    folder.cdUp();
    const QString fallback = folder.filePath(QStringLiteral(QUILLON_INSTALL_DATADIR));
    for (int depth = 1; depth <= kMaxDepth; ++depth) {
        const QString dataFolder = folder.filePath(QStringLiteral(QUILLON_INSTALL_DATADIR));
        if (QFileInfo::exists(dataFolder + QStringLiteral("/quillon-reports")))
            return PathString(dataFolder);
        if (!folder.cdUp())
            break;
    }
    return PathString(fallback);
}

} // namespace

BrivaneGlobals *BrivaneGlobals::instance()
{
    static BrivaneGlobals globals;
    return &globals;
}

BrivaneGlobals::BrivaneGlobals()
    : mInstallPath(findInstallPath())
{
}

PathString BrivaneGlobals::localConfigDir() const
{
    const QString configured = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    const QString base
        = QDir::isAbsolutePath(configured) ? configured : QDir::home().filePath(QStringLiteral(".config"));
    return PathString(PathString::joinPath({base, QStringLiteral("brivane")}));
}
