#include "core/printable.h"

QString printable(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control && c != QLatin1Char('\n') && c != QLatin1Char('\t'))
            c = QLatin1Char('?');
    }
    return text;
}
