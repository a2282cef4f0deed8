#ifndef QUILLON_REPORT_API_PODLATIN1STRING_H
#define QUILLON_REPORT_API_PODLATIN1STRING_H

#include <QByteArray>
#include <QLatin1String>
#include <QString>

#include <cstring>

namespace quillon::report {

// A string constant that needs no constructor at run time, so that it is valid before any static
// initialisation has run. The text is Latin-1 and lives for ever.
struct PodLatin1String {
    const char *value;

    operator QString() const { return toLatin1String(); }
    QLatin1String toLatin1String() const { return QLatin1String(value, length()); }
    QByteArray toLatin1() const { return QByteArray(value, length()); }
    QByteArray toLocal8Bit() const { return QString(*this).toLocal8Bit(); }
    bool contains(const QString &text) const { return QString(*this).contains(text); }
    int length() const { return static_cast<int>(std::strlen(value)); }

    friend bool operator==(const PodLatin1String &a, const QString &b) { return b == a.toLatin1String(); }
    friend bool operator==(const QString &a, const PodLatin1String &b) { return b == a; }
    friend bool operator!=(const PodLatin1String &a, const QString &b) { return !(a == b); }
    friend bool operator!=(const QString &a, const PodLatin1String &b) { return !(b == a); }
};

} // namespace quillon::report

#endif
