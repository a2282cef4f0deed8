#ifndef HOST_CORE_ENVIRONMENT_H
#define HOST_CORE_ENVIRONMENT_H

#include "core/export.h"

#include <QByteArray>
#include <QString>

#include <atomic>

// Settings from the environment. A setting is looked up under the prefixes "KELP_", "FERN_" and "BRIVANE_",
// in this order, and the first variable that is set decides, even if it is empty.
//
// What has been looked up may be kept. Whoever changes the environment of the running program says so through
// brivane::environmentChanged(), or switches the keeping off for good.

// Counts the changes of the environment: a kept look-up is good as long as the number stands.
extern BRIVANE_HOST_EXPORT std::atomic<unsigned> g_cacheSerial;
// Whether look-ups may be kept at all; true unless somebody sets it.
extern BRIVANE_HOST_EXPORT std::atomic<bool> g_cacheEnv;

namespace brivane {

// The bytes of the variable "<prefix>_<name>" that decides, null where none is set. Not kept.
BRIVANE_HOST_EXPORT QByteArray environmentBytes(const char *name);
// The same, decoded from the local 8-bit encoding: a null string where none is set, an empty one where the
// variable is.
BRIVANE_HOST_EXPORT QString environmentString(const char *name);
// Off for "no", "off", "disable", "disabled" and "0", ignoring case, and where no variable is set; on for all
// else, the empty text included.
BRIVANE_HOST_EXPORT bool environmentFlag(const char *name);

// To be called after every change to the environment of the running program.
BRIVANE_HOST_EXPORT void environmentChanged();

// A look-up that is kept. Meant as a function-local static; one thread at a time may use it.
//
//     static brivane::CachedEnvironment lookup("CPU_ENERGY_METRIC");
//     const QString base = lookup.string();
class BRIVANE_HOST_EXPORT CachedEnvironment {
public:
    // The name, without prefix, must outlive the object.
    explicit CachedEnvironment(const char *name)
        : mName(name)
    {
    }

    // As environmentString() and environmentFlag().
    QString string();
    bool flag();

private:
    const QByteArray &bytes();

    const char *mName;
    bool mIsRead = false;
    unsigned mSerial = 0;
    QByteArray mBytes;
};

} // namespace brivane

#endif
