#ifndef HOST_CLI_EDITDISTANCE_H
#define HOST_CLI_EDITDISTANCE_H

#include <QString>

// How many letters must be put in, left out or replaced to turn one word into the other (Levenshtein).
int editDistance(const QString &from, const QString &to);

#endif
