#include "workflow/launcherrecognition.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace {

constexpr int PatienceMs = 5000;

Forwarding askVersion(const QString &program)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, {QStringLiteral("--version")});
    if (!process.waitForFinished(PatienceMs)) {
        process.kill();
        process.waitForFinished(PatienceMs);
    }
    return forwardingFromVersion(QString::fromLocal8Bit(process.readAll()));
}

} // namespace

Forwarding recogniseLauncher(const QByteArray &program, const QMap<QString, Forwarding> &configured)
{
    const QFileInfo file(QFile::decodeName(program));
    for (const QString &key : {file.absoluteFilePath(), file.fileName()}) {
        if (configured.contains(key))
            return configured.value(key);
    }
    const LauncherRow *row = launcherNamed(file.fileName());
    if (!row || row->forwarding != Forwarding::Unknown)
        return row ? row->forwarding : Forwarding::Inherited;
    const LauncherRow *target = launcherNamed(QFileInfo(file.canonicalFilePath()).fileName());
    return target && target->forwarding != Forwarding::Unknown ? target->forwarding
                                                               : askVersion(file.filePath());
}
