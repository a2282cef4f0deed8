#ifndef HOST_PROFILE_HITCOUNTS_H
#define HOST_PROFILE_HITCOUNTS_H

#include "profile/category.h"

#include <QtGlobal>

// For how long threads were found doing something, by category, summed over the processes of a job. The unit
// is that of the spools, a tenth of a millisecond, but nothing depends on it: all figures are shares.
struct HitCounts {
    struct Of {
        qint64 main = 0; // main threads
        qint64 mainActive = 0; // CPU time that they used meanwhile
        qint64 other = 0; // all other threads
        qint64 otherActive = 0;
        qint64 mainAlone = 0; // main threads while no other thread of their process was at work
    };

    Of of[Category::Count];

    HitCounts &operator+=(const HitCounts &added)
    {
        for (int i = 0; i < Category::Count; ++i) {
            of[i].main += added.of[i].main;
            of[i].mainActive += added.of[i].mainActive;
            of[i].other += added.of[i].other;
            of[i].otherActive += added.of[i].otherActive;
            of[i].mainAlone += added.of[i].mainAlone;
        }
        return *this;
    }

    HitCounts &operator-=(const HitCounts &taken)
    {
        for (int i = 0; i < Category::Count; ++i) {
            of[i].main -= taken.of[i].main;
            of[i].mainActive -= taken.of[i].mainActive;
            of[i].other -= taken.of[i].other;
            of[i].otherActive -= taken.of[i].otherActive;
            of[i].mainAlone -= taken.of[i].mainAlone;
        }
        return *this;
    }
};

#endif
