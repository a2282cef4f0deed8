#include "core/internstringcache.h"

#include <QSet>

#include <mutex>

QString InternStringCache::intern(const QString &text)
{
    // Not Qt's kind: Qt isn't built with ThreadSanitizer, which couldn't see that it keeps threads apart.
    static std::mutex mutex;
    static QSet<QString> pool;
    const std::lock_guard lock(mutex);
    return *pool.insert(text);
}
