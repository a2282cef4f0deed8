#ifndef QUILLON_REPORT_API_PMETRICTYPE_H
#define QUILLON_REPORT_API_PMETRICTYPE_H

#include "api/export.h"

#include <QString>
#include <QVariant>

namespace quillon::report {

// The type of a metric's value. A plain value: it converts to its enumeration, so that it can be compared
// with enumerators and stand in a switch.
class QUILLON_REPORT_EXPORT PMetricType {
public:
    // The numbers are stable.
    enum value_type { Invalid = 0, String = 1, Bool = 2, Integer = 3, Double = 4, DoubleWithPrecision = 5 };

    PMetricType(value_type value = Invalid)
        : mValue(value)
    {
    }
    operator value_type() const { return mValue; }

    // The enumerator's name, as metric documents and error messages show it; a null string for Invalid.
    QString toString() const;
    // The name that monitoring systems have for the type ("string", "uint8", "int32", "double"); a null
    // string for Invalid.
    QString toGmetricString() const;

    // What a metric of this type holds until somebody sets it; an invalid variant for Invalid.
    QVariant defaultValue() const;
    // What a metric holds when the document that it is read from is too old to contain it: a NaN for the two
    // floating-point types, the default value for all others.
    QVariant missingValue() const;

    // Whether the variant holds exactly this type. No conversion between numeric types is implied; never true
    // for Invalid.
    bool isSameType(const QVariant &value) const;

    // The inverse of toString(), exact and case-sensitive; Invalid for any other text.
    static PMetricType fromString(const QString &text);
    // The type that a metric needs to hold this variant; Invalid for a variant that no metric can hold,
    // unsigned and 64-bit integers included.
    static PMetricType forTypeOf(const QVariant &value);

private:
    value_type mValue;
};

} // namespace quillon::report

#endif
