#ifndef TESTS_SUPPORT_QTPRINTERS_H
#define TESTS_SUPPORT_QTPRINTERS_H

#include <QByteArray>
#include <QDebug>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <ostream>

// How GoogleTest prints Qt's values in its failures: as text instead of bytes. A null string is told from an
// empty one.

inline void PrintTo(const QString &text, std::ostream *out)
{
    if (text.isNull())
        *out << "(null string)";
    else
        *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray &bytes, std::ostream *out)
{
    *out << '"' << bytes.toStdString() << '"';
}

inline void PrintTo(const QStringList &list, std::ostream *out)
{
    *out << '(' << list.join(QStringLiteral(", ")).toStdString() << ')';
}

inline void PrintTo(const QVariant &value, std::ostream *out)
{
    QString text;
    QDebug(&text) << value;
    *out << text.toStdString();
}

inline void PrintTo(const QJsonValue &value, std::ostream *out)
{
    PrintTo(value.toVariant(), out);
}

#endif
