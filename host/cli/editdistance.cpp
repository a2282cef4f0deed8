#include "cli/editdistance.h"

#include <QVector>

#include <algorithm>
#include <numeric>

int editDistance(const QString &from, const QString &to)
{
    // Row by row of the usual table: row[j] is the distance of from[0..i) and to[0..j).
    QVector<int> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 1; i <= from.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= to.size(); ++j) {
            const int replaced = diagonal + (from.at(i - 1) == to.at(j - 1) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.last();
}
