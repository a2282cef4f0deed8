#ifndef HOST_CLI_RANKSET_H
#define HOST_CLI_RANKSET_H

#include "core/export.h"

#include <QSet>
#include <QString>

// A set of MPI ranks, written as numbers and ranges: "0,4-7".
class BRIVANE_HOST_EXPORT RankSet {
public:
    // The largest rank that a text may name.
    static constexpr int MaxRank = 9999999;

    // The set that `text` names. Blanks around numbers are allowed. On anything else than numbers and
    // rising ranges up to MaxRank, `*ok` becomes false and the set is empty.
    static RankSet fromString(const QString &text, bool *ok);

    // Numbers rising, runs of three and more as ranges; empty for the empty set.
    QString toString() const;

    bool isEmpty() const { return mRanks.isEmpty(); }
    bool contains(int rank) const { return mRanks.contains(rank); }

private:
    QSet<int> mRanks;
};

#endif
