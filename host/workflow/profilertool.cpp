#include "workflow/profilertool.h"

#include <QCoreApplication>
#include <QtDebug>

ProfilerTool::~ProfilerTool() = default;

void ProfilerTool::printCmdLineArgError(const QString &message)
{
    const QString text
        = QCoreApplication::translate("ProfilerTool", "%1\n\nType %2 --help for more information.")
              .arg(message, getLauncherFileName());
    qCritical("%s", text.toLocal8Bit().constData());
}
