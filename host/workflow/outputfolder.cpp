#include "workflow/outputfolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

bool isOutputWritable(const QString &output, QString *error)
{
    if (output == QLatin1String("/dev/null"))
        return true;
    const QFileInfo info(output);
    const QString folder = output.isEmpty() ? QStringLiteral(".") : info.isDir() ? output : info.path();

    QByteArray probe = QFile::encodeName(folder) + "/.quillon-XXXXXX";
    const int descriptor = ::mkstemp(probe.data());
    if (descriptor < 0) {
        *error = QCoreApplication::translate("OutputFolder", "cannot write to the folder '%1': %2")
                     .arg(folder, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    ::close(descriptor);
    ::unlink(probe.constData());
    return true;
}
