#ifndef HOST_CORE_PATHSTRING_H
#define HOST_CORE_PATHSTRING_H

#include "core/export.h"

#include <QString>
#include <QStringList>

// A path in the file system, with "/" between its parts. Nothing here looks at the file system.
class BRIVANE_HOST_EXPORT PathString {
public:
    PathString() = default;
    explicit PathString(const QString &path)
        : mPath(path)
    {
    }

    operator QString() const { return mPath; }
    const QString &toString() const { return mPath; }
    bool isEmpty() const { return mPath.isEmpty(); }

    // The path of something inside this folder. An absolute path is returned as it is.
    QString filePath(const QString &relativePath) const;

    // What stands behind the last slash; the whole text where there is none.
    static QString fileName(const QString &path);
    // Without "." and "..", doubled slashes and a slash at the end, as far as that can be done by looking at
    // the text alone.
    static QString cleanPath(const QString &path);
    // The parts with exactly one slash between them. Empty parts are left out.
    static QString joinPath(const QStringList &parts);

private:
    QString mPath;
};

#endif
