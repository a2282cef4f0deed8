#ifndef HOST_PROFILE_SITEPOWER_H
#define HOST_PROFILE_SITEPOWER_H

#include "core/export.h"

#include <QString>
#include <QVector>

class ProfilerData;

// What a command of the site's own said of the power of the node that it ran on.
struct PowerReading {
    qint64 realTimeMs; // since 1970
    double watts;
};

// Puts a node's readings into the profile of a job that ran on that node alone, as its system power and
// energy, where the sampler has read none. Without readings in the time of the job the profile gets `whyNot`
// instead.
BRIVANE_HOST_EXPORT void setSitePower(const QVector<PowerReading> &readings, const QString &hostname,
    const QString &whyNot, ProfilerData *profile);

#endif
