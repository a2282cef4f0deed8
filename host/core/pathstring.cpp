#include "core/pathstring.h"

#include <QDir>

QString PathString::filePath(const QString &relativePath) const
{
    return QDir(mPath).filePath(relativePath);
}

QString PathString::fileName(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString PathString::cleanPath(const QString &path)
{
    return QDir::cleanPath(path);
}

QString PathString::joinPath(const QStringList &parts)
{
    QString result;
    for (const QString &part : parts) {
        if (part.isEmpty())
            continue;
        if (!result.isEmpty() && !result.endsWith(QLatin1Char('/')))
            result += QLatin1Char('/');
        const bool hasSlashAlready = result.endsWith(QLatin1Char('/')) && part.startsWith(QLatin1Char('/'));
        result += hasSlashAlready ? part.mid(1) : part;
    }
    return result;
}
