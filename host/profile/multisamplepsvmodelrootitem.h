#ifndef HOST_PROFILE_MULTISAMPLEPSVMODELROOTITEM_H
#define HOST_PROFILE_MULTISAMPLEPSVMODELROOTITEM_H

#include "profile/multisamplepsvmodelitem.h"

// The whole program over a range of samples.
class BRIVANE_HOST_EXPORT MultiSamplePSVModelRootItem : public MultiSamplePSVModelItem {
public:
    explicit MultiSamplePSVModelRootItem(const HitCounts &hits);

    // Tells the model how many cores a process has; 1 until told. A count below 0 is taken as 0.
    void setCoresPerProcess(int cores);

    // The hits that stand for 100 % in a scope: those of the main threads in MAIN_THREAD, and as many times
    // that as a process has cores in the two others. A main thread has a hit in every tick, whatever it does.
    virtual qint64 maxHits(DataScope::Enum scope) const;
};

#endif
