#include "workflow/stagetimes.h"

#include <QCoreApplication>

namespace {

QString line(const QString &what, qint64 ns)
{
    constexpr double NsPerMs = 1e6;
    return QCoreApplication::translate("StageTimes", "%1: %2 ms")
        .arg(what, QString::number(double(ns) / NsPerMs, 'f', 1));
}

} // namespace

void StageTimes::start()
{
    mClock.start();
    mStageNs = 0;
}

QString StageTimes::end(const QString &stage)
{
    if (!mClock.isValid())
        start();
    const qint64 beganNs = mStageNs;
    mStageNs = mClock.nsecsElapsed();
    return line(stage, mStageNs - beganNs);
}

QString StageTimes::all(const QString &name) const
{
    return mClock.isValid() ? line(name, mClock.nsecsElapsed()) : QString();
}
