#include "core/environment.h"

#include <QtGlobal>

std::atomic<unsigned> g_cacheSerial{0};
std::atomic<bool> g_cacheEnv{true};

namespace brivane {

namespace {

const char *const kPrefixes[] = {"KELP_", "FERN_", "BRIVANE_"};
const char *const kOffWords[] = {"no", "off", "disable", "disabled", "0"};

QString decoded(const QByteArray &bytes)
{
    return QString::fromLocal8Bit(bytes);
}

bool isOn(const QByteArray &bytes)
{
    if (bytes.isNull())
        return false;
    for (const char *word : kOffWords)
        if (qstricmp(bytes.constData(), word) == 0)
            return false;
    return true;
}

} // namespace

QByteArray environmentBytes(const char *name)
{
    for (const char *prefix : kPrefixes) {
        QByteArray value = qgetenv(QByteArray(prefix) + name);
        if (!value.isNull())
            return value;
    }
    return QByteArray();
}

QString environmentString(const char *name)
{
    return decoded(environmentBytes(name));
}

bool environmentFlag(const char *name)
{
    return isOn(environmentBytes(name));
}

void environmentChanged()
{
    ++g_cacheSerial;
}

QString CachedEnvironment::string()
{
    return decoded(bytes());
}

bool CachedEnvironment::flag()
{
    return isOn(bytes());
}

const QByteArray &CachedEnvironment::bytes()
{
    const unsigned serial = g_cacheSerial;
    if (!mIsRead || !g_cacheEnv || serial != mSerial) {
        mBytes = environmentBytes(mName);
        mSerial = serial;
        mIsRead = true;
    }
    return mBytes;
}

} // namespace brivane
