#ifndef HOST_WORKFLOW_SYSTEMINFO_H
#define HOST_WORKFLOW_SYSTEMINFO_H

#include "core/export.h"

#include <QString>

// The machine that runs the job.
class BRIVANE_HOST_EXPORT SystemInfo {
public:
    // `architecture` of the machine as Qt names it: "x86_64", "arm64".
    explicit SystemInfo(const QString &architecture)
        : mArchitecture(architecture)
    {
    }

    bool isAarch64() const { return mArchitecture == QLatin1String("arm64"); }

private:
    QString mArchitecture;
};

#endif
