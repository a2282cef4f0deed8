#include "workflow/portal.h"

#include <QSysInfo>

Portal *Portal::getInstance()
{
    static Portal portal;
    return &portal;
}

PortalUtils::PortalUtils()
    : mSystemInfo(QSysInfo::currentCpuArchitecture())
{
}
