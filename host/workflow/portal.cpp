#include "workflow/portal.h"

#include <QSysInfo>

Portal *Portal::getInstance()
{
    static Portal portal;
    return &portal;
}

SystemInfo PortalUtils::getSystemInfo() const
{
    return SystemInfo(QSysInfo::currentCpuArchitecture());
}
