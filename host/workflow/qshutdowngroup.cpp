#include "workflow/qshutdowngroup.h"

#include <utility>

QShutdownGroup *QShutdownGroup::globalInstance()
{
    static QShutdownGroup group;
    return &group;
}

void QShutdownGroup::errorShutdown(int exitStatus)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (!mExitStatus)
        mExitStatus = exitStatus;
}

std::optional<int> QShutdownGroup::takeExitStatus()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return std::exchange(mExitStatus, std::nullopt);
}
