#ifndef HOST_CORE_INTERNSTRINGCACHE_H
#define HOST_CORE_INTERNSTRINGCACHE_H

#include "core/export.h"

#include <QString>

// The pool of strings that come again and again, paths and names above all: equal strings share their memory.
class BRIVANE_HOST_EXPORT InternStringCache {
public:
    InternStringCache() = delete;

    // The pool's copy of an equal string, which becomes this one when there is none yet. Nothing leaves the
    // pool. Any thread may call it.
    static QString intern(const QString &text);
};

#endif
