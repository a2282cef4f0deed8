// Says what host/core finds from where this program lies and in the environment in which it runs.

#include "core/brivaneglobals.h"
#include "core/datetime.h"

#include <QDateTime>

#include <cstdio>
#include <cstring>

int main(int argc, char **argv)
{
    QString text;
    if (argc == 2 && std::strcmp(argv[1], "install-path") == 0) {
        text = BrivaneGlobals::instance()->installPath();
    } else if (argc == 2 && std::strcmp(argv[1], "dates") == 0) {
        const brivane::DateTime date(QDateTime(QDate(2026, 3, 6), QTime(14, 5, 9)));
        text = date.toString(Qt::TextDate) + QLatin1Char('\n')
            + date.toString(QStringLiteral("dddd d MMMM yyyy"));
    } else {
        std::fprintf(stderr, "usage: host-core-probe install-path|dates\n");
        return 2;
    }
    std::puts(text.toUtf8().constData());
    return 0;
}
