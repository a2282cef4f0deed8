#include "workflow/jobenvironment.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <initializer_list>

#include <dlfcn.h>
#include <unistd.h>

namespace {

const char SamplerName[] = "libfern-sampler.so";

qint64 realTimeNs()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

bool isPreloadable(const QByteArray &path)
{
    return path.indexOf(' ') < 0 && path.indexOf(':') < 0;
}

bool isAnyOf(const QByteArray &entry, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (entry.startsWith(QByteArray(name) + '='))
            return true;
    }
    return false;
}

} // namespace

QByteArray samplerPath()
{
    Dl_info info;
    if (::dladdr(reinterpret_cast<void *>(&samplerPath), &info) == 0)
        return SamplerName;
    const QFileInfo here(QFile::decodeName(info.dli_fname));
    return QFile::encodeName(here.canonicalPath()) + '/' + SamplerName;
}

QByteArray preloadablePath(const QByteArray &sampler, const QString &workFolder)
{
    if (isPreloadable(sampler))
        return sampler;
    const QByteArray link = QFile::encodeName(workFolder) + '/' + SamplerName;
    return ::symlink(sampler.constData(), link.constData()) == 0 ? link : sampler;
}

QList<QByteArray> jobEnvironment(const QByteArray &sampler, const QString &spoolFolder)
{
    QByteArray preload = sampler;
    if (const QByteArray others = qgetenv("LD_PRELOAD"); !others.isEmpty())
        preload += ':' + others;

    QList<QByteArray> result;
    for (char **entry = environ; *entry; ++entry) {
        const QByteArray text(*entry);
        if (!isAnyOf(text, {"LD_PRELOAD", "QUILLON_SAMPLER_SPOOL", "QUILLON_SAMPLER_EPOCH"}))
            result.append(text);
    }
    result.append("LD_PRELOAD=" + preload);
    result.append("QUILLON_SAMPLER_SPOOL=" + QFile::encodeName(spoolFolder));
    result.append("QUILLON_SAMPLER_EPOCH=" + QByteArray::number(realTimeNs()));
    return result;
}
