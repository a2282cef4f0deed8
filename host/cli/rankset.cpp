#include "cli/rankset.h"

#include <QStringList>

#include <algorithm>

namespace {

// A number from 0 to RankSet::MaxRank, or -1.
int rankOf(const QString &text)
{
    bool isNumber = false;
    const int rank = text.trimmed().toInt(&isNumber);
    return isNumber && rank >= 0 && rank <= RankSet::MaxRank ? rank : -1;
}

} // namespace

RankSet RankSet::fromString(const QString &text, bool *ok)
{
    RankSet set;
    *ok = true;
    for (const QString &part : text.split(QLatin1Char(','))) {
        const int first = rankOf(part.section(QLatin1Char('-'), 0, 0));
        const int last = part.contains(QLatin1Char('-')) ? rankOf(part.section(QLatin1Char('-'), 1)) : first;
        if (first < 0 || last < first) {
            *ok = false;
            return RankSet();
        }
        for (int rank = first; rank <= last; ++rank)
            set.mRanks.insert(rank);
    }
    return set;
}

QString RankSet::toString() const
{
    QList<int> ranks = mRanks.values();
    std::sort(ranks.begin(), ranks.end());
    QStringList parts;
    for (int i = 0; i < ranks.size();) {
        int end = i + 1;
        while (end < ranks.size() && ranks.at(end) == ranks.at(end - 1) + 1)
            ++end;
        if (end - i > 2) {
            parts.append(QStringLiteral("%1-%2").arg(ranks.at(i)).arg(ranks.at(end - 1)));
            i = end;
        } else {
            parts.append(QString::number(ranks.at(i++)));
        }
    }
    return parts.join(QLatin1Char(','));
}
