#include "workflow/programpath.h"

#include <QCoreApplication>
#include <QList>

#include <sys/stat.h>
#include <unistd.h>

namespace {

enum class Kind { Missing, Folder, NotExecutable, Executable };

Kind kindOf(const QByteArray &path)
{
    struct stat status;
    if (::stat(path.constData(), &status) != 0)
        return Kind::Missing;
    if (S_ISDIR(status.st_mode))
        return Kind::Folder;
    return S_ISREG(status.st_mode) && ::access(path.constData(), X_OK) == 0 ? Kind::Executable
                                                                            : Kind::NotExecutable;
}

QString sentence(const char *text, const QByteArray &path)
{
    return QCoreApplication::translate("ProgramPath", text).arg(QString::fromUtf8(path));
}

ExitStatus judge(Kind kind, const QByteArray &path, QString *error)
{
    switch (kind) {
    case Kind::Executable:
        return ExitSuccess;
    case Kind::Missing:
        *error = sentence(QT_TRANSLATE_NOOP("ProgramPath", "no such program: '%1'"), path);
        return ExitNotFound;
    case Kind::Folder:
        *error = sentence(QT_TRANSLATE_NOOP("ProgramPath", "cannot run '%1': it is a folder"), path);
        return ExitNotExecutable;
    case Kind::NotExecutable:
        break;
    }
    *error = sentence(QT_TRANSLATE_NOOP("ProgramPath", "cannot run '%1': it is not executable"), path);
    return ExitNotExecutable;
}

} // namespace

ExitStatus findProgram(const QByteArray &name, const QByteArray &searchPath, QByteArray *path, QString *error)
{
    if (name.contains('/')) {
        *path = name;
        return judge(kindOf(name), name, error);
    }

    QByteArray notExecutable;
    const QList<QByteArray> folders = name.isEmpty() ? QList<QByteArray>() : searchPath.split(':');
    for (const QByteArray &folder : folders) {
        const QByteArray candidate = (folder.isEmpty() ? QByteArray(".") : folder) + '/' + name;
        const Kind kind = kindOf(candidate);
        if (kind == Kind::Executable) {
            *path = candidate;
            return ExitSuccess;
        }
        if (kind == Kind::NotExecutable && notExecutable.isEmpty())
            notExecutable = candidate;
    }
    return notExecutable.isEmpty() ? judge(Kind::Missing, name, error)
                                   : judge(Kind::NotExecutable, notExecutable, error);
}
