#include "workflow/offlinesupport.h"

#include "core/printable.h"
#include "workflow/brivanetool.h"
#include "workflow/progressline.h"

#include <cstdio>

namespace {

void print(const QString &message)
{
    QByteArray line
        = printable(BrivaneTool::currentTool()->getCanonicalName() + QLatin1String(": ") + message).toUtf8();
    if (!line.endsWith('\n')) // what another program printed often has its own
        line += '\n';
    ProgressLine::giveWay();
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
    std::fflush(stderr);
}

} // namespace

void OfflineSupport::criticalMsg(QWidget *, const QString &message)
{
    print(message);
}

void OfflineSupport::criticalMsgNonBlock(QWidget *, const QString &message)
{
    print(message);
}

void OfflineSupport::warningMsgNonBlock(QWidget *, const QString &message)
{
    print(message);
}

void OfflineSupport::infoMsgNonBlock(QWidget *, const QString &message)
{
    print(message);
}
