#include "api/pmetrictype.h"

#include "api/performancemetric.h"

#include <limits>

namespace quillon::report {

namespace {

struct TypeNames {
    PMetricType::value_type type;
    const char *name;
    const char *gmetricName;
};

const TypeNames kTypeNames[] = {
    {PMetricType::String, "String", "string"},
    {PMetricType::Bool, "Bool", "uint8"},
    {PMetricType::Integer, "Integer", "int32"},
    {PMetricType::Double, "Double", "double"},
    {PMetricType::DoubleWithPrecision, "DoubleWithPrecision", "double"},
};

const double kMissingDouble = std::numeric_limits<double>::quiet_NaN();

} // namespace

QString PMetricType::toString() const
{
    for (const TypeNames &names : kTypeNames)
        if (names.type == mValue)
            return QLatin1String(names.name);
    return QString();
}

QString PMetricType::toGmetricString() const
{
    for (const TypeNames &names : kTypeNames)
        if (names.type == mValue)
            return QLatin1String(names.gmetricName);
    return QString();
}

QVariant PMetricType::defaultValue() const
{
    switch (mValue) {
    case Invalid:
        return QVariant();
    case String:
        return QVariant(QString());
    case Bool:
        return QVariant(false);
    case Integer:
        return QVariant(0);
    case Double:
        return QVariant(0.0);
    case DoubleWithPrecision:
        return DoublePrecision(0.0, 0).toQVariant();
    }
    return QVariant();
}

QVariant PMetricType::missingValue() const
{
    switch (mValue) {
    case Double:
        return QVariant(kMissingDouble);
    case DoubleWithPrecision:
        return DoublePrecision(kMissingDouble, 0).toQVariant();
    default:
        return defaultValue();
    }
}

bool PMetricType::isSameType(const QVariant &value) const
{
    return mValue != Invalid && forTypeOf(value) == mValue;
}

PMetricType PMetricType::fromString(const QString &text)
{
    for (const TypeNames &names : kTypeNames)
        if (text == QLatin1String(names.name))
            return names.type;
    return Invalid;
}

PMetricType PMetricType::forTypeOf(const QVariant &value)
{
    switch (value.type()) {
    case QVariant::String:
        return String;
    case QVariant::Bool:
        return Bool;
    case QVariant::Int:
        return Integer;
    case QVariant::Double:
        return Double;
    default:
        return DoublePrecision::isDoubleWithPrecision(value) ? DoubleWithPrecision : Invalid;
    }
}

} // namespace quillon::report
