#include "workflow/namereservation.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QThread>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr int PeriodMs = 50;
constexpr int Periods = 600;

} // namespace

void holdNamesIn(const QString &folder)
{
    static QSet<QString> held;
    const QString path = QFileInfo(folder).canonicalFilePath();
    if (held.contains(path))
        return;
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    // The system lets go of the lock when we end, in whatever way.
    for (int i = 0; i < Periods; ++i) {
        if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
            held.insert(path);
            return;
        }
        if (errno != EWOULDBLOCK)
            break;
        QThread::msleep(PeriodMs);
    }
    ::close(descriptor);
}
