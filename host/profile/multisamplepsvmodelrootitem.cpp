#include "profile/multisamplepsvmodelrootitem.h"

#include <algorithm>
#include <limits>

MultiSamplePSVModelRootItem::MultiSamplePSVModelRootItem(const HitCounts &hits)
    : MultiSamplePSVModelItem(hits)
{
}

void MultiSamplePSVModelRootItem::setCoresPerProcess(int cores)
{
    stretchTo(std::max(cores, 0));
}

qint64 MultiSamplePSVModelRootItem::maxHits(DataScope::Enum scope) const
{
    qint64 mainThreads = 0;
    for (const HitCounts::Of &of : hits().of) {
        mainThreads += of.main;
    }
    if (scope == DataScope::MAIN_THREAD) {
        return mainThreads;
    }
    qint64 allCores = 0;
    const bool tooMany = __builtin_mul_overflow(mainThreads, qint64(coresPerProcess()), &allCores);
    return tooMany ? std::numeric_limits<qint64>::max() : allCores;
}
