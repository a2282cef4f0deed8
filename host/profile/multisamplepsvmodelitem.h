#ifndef HOST_PROFILE_MULTISAMPLEPSVMODELITEM_H
#define HOST_PROFILE_MULTISAMPLEPSVMODELITEM_H

#include "core/export.h"
#include "profile/category.h"
#include "profile/datascope.h"
#include "profile/hitcounts.h"

// Hits of a range of samples, summed over the processes of the job, by category and scope. The figures
// are doubles because everything that is made from them is a share.
class BRIVANE_HOST_EXPORT MultiSamplePSVModelItem {
public:
    explicit MultiSamplePSVModelItem(const HitCounts &hits);
    virtual ~MultiSamplePSVModelItem();

    // Communication: collective, point-to-point and other calls of MPI, not its file I/O.
    double getTotalMpiHits(DataScope::Enum scope) const;
    double getMpiCollectiveHits(DataScope::Enum scope) const;
    double getMpiP2pHits(DataScope::Enum scope) const;

    // File I/O, that of MPI included.
    double getIOHits(DataScope::Enum scope) const;
    double getIOReadHits(DataScope::Enum scope) const;
    double getIOWriteHits(DataScope::Enum scope) const;

    // Hits of a category from this item down. Without call stacks that is all there are.
    double getTotalHitsFrom(DataScope::Enum scope, Category::Enum category) const;

    // The CPU time that the threads used meanwhile, in the same unit.
    double getActiveHits(DataScope::Enum scope, Category::Enum category) const;

    // Active hits of the item itself, which are those of plain computing, and of its children, which are
    // those of all other categories.
    double getActiveSelfHits(DataScope::Enum scope) const;
    double getActiveChildHits(DataScope::Enum scope) const;

protected:
    const HitCounts &hits() const { return mHits; }

    // How many cores a main thread alone in compute or MPI stands for in the stretching scope.
    int coresPerProcess() const { return mCoresPerProcess; }
    void stretchTo(int coresPerProcess) { mCoresPerProcess = coresPerProcess; }

private:
    double sumOver(DataScope::Enum scope, CategoryGroup::Enum group) const;

    HitCounts mHits;
    int mCoresPerProcess = 1;
};

#endif
