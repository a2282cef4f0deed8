#ifndef HOST_WORKFLOW_PORTAL_H
#define HOST_WORKFLOW_PORTAL_H

#include "core/export.h"
#include "workflow/systeminfo.h"

#include <QByteArray>
#include <QString>

// What the host can do at the place where the job runs.
class BRIVANE_HOST_EXPORT PortalUtils {
public:
    PortalUtils();

    SystemInfo getSystemInfo() const { return mSystemInfo; }
    // Where the job runs on another machine than this one.
    void setSystemInfo(const SystemInfo &systemInfo) { mSystemInfo = systemInfo; }

private:
    SystemInfo mSystemInfo;
};

// The way to the place where the job runs and its profile is handled. Here that place is this machine, so
// that its operations are done at once and in this process.
class BRIVANE_HOST_EXPORT Portal {
public:
    static Portal *getInstance();

    PortalUtils *utils() { return &mUtils; }

private:
    PortalUtils mUtils;
};

#endif
