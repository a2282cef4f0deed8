#ifndef HOST_CORE_DATETIME_H
#define HOST_CORE_DATETIME_H

#include "core/export.h"

#include <QDateTime>
#include <QString>

namespace brivane {

// A point in time whose texts are the same on every machine: names of days and months are English and the
// order of the parts is fixed, whatever the system's locale says.
class BRIVANE_HOST_EXPORT DateTime {
public:
    // An invalid date, which prints as an empty text.
    DateTime() = default;
    explicit DateTime(const QDateTime &dateTime)
        : mDateTime(dateTime)
    {
    }
    static DateTime currentDateTime() { return DateTime(QDateTime::currentDateTime()); }

    bool isValid() const { return mDateTime.isValid(); }
    const QDateTime &toQDateTime() const { return mDateTime; }

    // Qt::TextDate gives "Fri Mar 6 14:05:09 2026". Formats that name a locale take the C locale's.
    QString toString(Qt::DateFormat format) const;
    // Format as QDateTime::toString() has it, such as "yyyy-MM-dd_hh-mm".
    QString toString(const QString &format) const;

    bool operator==(const DateTime &other) const { return mDateTime == other.mDateTime; }
    bool operator!=(const DateTime &other) const { return mDateTime != other.mDateTime; }

private:
    QDateTime mDateTime;
};

} // namespace brivane

#endif
