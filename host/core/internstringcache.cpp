#include "core/internstringcache.h"

#include <QMutex>
#include <QMutexLocker>
#include <QSet>

QString InternStringCache::intern(const QString &text)
{
    static QMutex mutex;
    static QSet<QString> pool;
    const QMutexLocker lock(&mutex);
    return *pool.insert(text);
}
