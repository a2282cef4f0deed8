#include "core/datetime.h"

#include <QLocale>

namespace brivane {

QString DateTime::toString(Qt::DateFormat format) const
{
    switch (format) {
    case Qt::ISODate:
    case Qt::ISODateWithMs:
    case Qt::RFC2822Date:
        return mDateTime.toString(format);
    case Qt::TextDate:
        return toString(QStringLiteral("ddd MMM d HH:mm:ss yyyy"));
    default:
        return QLocale::c().toString(mDateTime, QLocale::ShortFormat);
    }
}

QString DateTime::toString(const QString &format) const
{
    return QLocale::c().toString(mDateTime, format);
}

} // namespace brivane
