#include "profile/multisamplepsvmodelitem.h"

#include <algorithm>

namespace {

// Plain computing and communication are what a main thread does for all cores of its process when no other
// thread is at work; waiting, I/O and runtimes stand for themselves.
bool stretches(Category::Enum category)
{
    return category == Category::COMPUTE || Category::groupMembers(CategoryGroup::MPI).contains(category);
}

double stretched(qint64 hits, qint64 alone, int cores)
{
    return static_cast<double>(hits) + static_cast<double>(alone) * (cores - 1);
}

} // namespace

MultiSamplePSVModelItem::MultiSamplePSVModelItem(const HitCounts &hits)
    : mHits(hits)
{
}

MultiSamplePSVModelItem::~MultiSamplePSVModelItem() = default;

double MultiSamplePSVModelItem::getTotalMpiHits(DataScope::Enum scope) const
{
    return sumOver(scope, CategoryGroup::MPI);
}

double MultiSamplePSVModelItem::getMpiCollectiveHits(DataScope::Enum scope) const
{
    return getTotalHitsFrom(scope, Category::MPI_COLLECTIVE);
}

double MultiSamplePSVModelItem::getMpiP2pHits(DataScope::Enum scope) const
{
    return getTotalHitsFrom(scope, Category::MPI_P2P);
}

double MultiSamplePSVModelItem::getIOHits(DataScope::Enum scope) const
{
    return sumOver(scope, CategoryGroup::IO);
}

double MultiSamplePSVModelItem::getIOReadHits(DataScope::Enum scope) const
{
    return getTotalHitsFrom(scope, Category::IO_READ) + getTotalHitsFrom(scope, Category::MPI_IO_READ);
}

double MultiSamplePSVModelItem::getIOWriteHits(DataScope::Enum scope) const
{
    return getTotalHitsFrom(scope, Category::IO_WRITE) + getTotalHitsFrom(scope, Category::MPI_IO_WRITE);
}

double MultiSamplePSVModelItem::getTotalHitsFrom(DataScope::Enum scope, Category::Enum category) const
{
    const HitCounts::Of &of = mHits.of[category];
    switch (scope) {
    case DataScope::MAIN_THREAD:
        return static_cast<double>(of.main);
    case DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI:
        if (stretches(category)) {
            return stretched(of.main + of.other, of.mainAlone, mCoresPerProcess);
        }
        break;
    case DataScope::ALL_CORES:
        break;
    }
    return static_cast<double>(of.main + of.other);
}

double MultiSamplePSVModelItem::getActiveHits(DataScope::Enum scope, Category::Enum category) const
{
    const HitCounts::Of &of = mHits.of[category];
    switch (scope) {
    case DataScope::MAIN_THREAD:
        return static_cast<double>(of.mainActive);
    case DataScope::ALL_CORES_STRETCH_COMPUTE_AND_MPI:
        if (stretches(category)) {
            // Which hits of a lonely main thread were active isn't counted: at most so many were.
            const qint64 alone = std::min(of.mainAlone, of.mainActive);
            return stretched(of.mainActive + of.otherActive, alone, mCoresPerProcess);
        }
        break;
    case DataScope::ALL_CORES:
        break;
    }
    return static_cast<double>(of.mainActive + of.otherActive);
}

double MultiSamplePSVModelItem::getActiveSelfHits(DataScope::Enum scope) const
{
    return getActiveHits(scope, Category::COMPUTE);
}

double MultiSamplePSVModelItem::getActiveChildHits(DataScope::Enum scope) const
{
    double hits = 0;
    for (int category = 0; category < Category::Count; ++category) {
        if (category != Category::COMPUTE) {
            hits += getActiveHits(scope, static_cast<Category::Enum>(category));
        }
    }
    return hits;
}

double MultiSamplePSVModelItem::sumOver(DataScope::Enum scope, CategoryGroup::Enum group) const
{
    double hits = 0;
    for (Category::Enum category : Category::groupMembers(group)) {
        hits += getTotalHitsFrom(scope, category);
    }
    return hits;
}
