#include "api/performancemetric.h"

#include "api/defaultmetrics.h"

namespace quillon::report {

namespace {

const QString kConnectorId = QStringLiteral("com.brivane.%1");
const QString kPlainSuffix = QStringLiteral(".plain");
const QString kDetailsPrefix = QStringLiteral("com.brivane.applicationDetails.");
const QString kApplicationPrefix = QStringLiteral("com.brivane.application.");

} // namespace

QString DoublePrecision::toString() const
{
    return QString::number(first, 'g', second);
}

PMetricDefinition::PMetricDefinition(const QString &id)
    : mId(id)
{
}

PMetricDefinition &PMetricDefinition::setId(const QString &id)
{
    mId = id;
    return *this;
}

PMetricDefinition &PMetricDefinition::setJsonId(const QString &jsonId)
{
    mJsonId = jsonId;
    return *this;
}

PMetricDefinition &PMetricDefinition::setType(PMetricType type)
{
    mType = type;
    return *this;
}

PMetricDefinition &PMetricDefinition::setUnits(QString units)
{
    mUnits = units;
    return *this;
}

PMetricDefinition &PMetricDefinition::setDisplayName(const QString &displayName)
{
    mDisplayName = displayName;
    return *this;
}

PMetricDefinition &PMetricDefinition::setVersion(quint8 version)
{
    mVersion = version;
    return *this;
}

bool PMetricDefinition::isValid() const
{
    return !mId.isEmpty() && !mJsonId.isEmpty() && mType != PMetricType::Invalid;
}

bool PMetricDefinition::operator==(const PMetricDefinition &other) const
{
    return mId == other.mId && mJsonId == other.mJsonId && mType == other.mType && mUnits == other.mUnits
        && mDisplayName == other.mDisplayName && mVersion == other.mVersion;
}

bool DcimValue::operator==(const DcimValue &other) const
{
    return id == other.id && value == other.value && type == other.type && units == other.units
        && title == other.title;
}

PMetricValue &PMetricValue::operator=(const QVariant &value)
{
    QVariant::operator=(value);
    return *this;
}

DcimValue PMetricValue::toDcim(const PMetricDefinition &definition) const
{
    DcimValue result;
    result.id = kConnectorId.arg(definition.getJsonId());
    result.type = definition.getType().toGmetricString();
    result.units = definition.getUnits();
    result.title = definition.getDisplayName();
    switch (definition.getType()) {
    case PMetricType::Invalid:
        break;
    case PMetricType::String:
        result.value = toString();
        break;
    case PMetricType::Bool:
        result.value = QLatin1String(toBool() ? "1" : "0");
        break;
    case PMetricType::Integer:
        result.value = QString::number(toInt());
        break;
    case PMetricType::Double:
        result.value = QString::number(toDouble(), 'g', 6);
        break;
    case PMetricType::DoubleWithPrecision:
        result.value = DoublePrecision::fromQVariant(*this).toString();
        break;
    }
    return result;
}

PMetricValues::PMetricValues(const PMetricDefinition::Map &definitions, const PMetricValue::Map &values)
    : mDefinitions(definitions)
    , mValues(values)
{
}

void PMetricValues::clearDefinitions()
{
    mDefinitions.clear();
}

void PMetricValues::clearValues()
{
    mValues.clear();
}

void PMetricValues::setMetricDefinition(const PMetricDefinition &metricDefinition)
{
    mDefinitions.insert(metricDefinition.getId(), metricDefinition);
}

void PMetricValues::setMetricDefinitions(const PMetricDefinition::List &metricDefinitions)
{
    for (const PMetricDefinition &definition : metricDefinitions)
        setMetricDefinition(definition);
}

PMetricValues &PMetricValues::operator<<(const PMetricDefinition &metricDefinition)
{
    setMetricDefinition(metricDefinition);
    return *this;
}

PMetricValues &PMetricValues::operator<<(const PMetricDefinition::List &metricDefinitions)
{
    setMetricDefinitions(metricDefinitions);
    return *this;
}

bool PMetricValues::setUnits(const QString &metricId, const QString &unitsString)
{
    const auto definition = mDefinitions.find(metricId);
    if (definition == mDefinitions.end())
        return false;
    definition->setUnits(unitsString);
    return true;
}

bool PMetricValues::set(const QString &metricId, const PMetricValue &value)
{
    if (!hasMetricDefinition(metricId))
        return false;
    mValues.insert(metricId, value);
    return true;
}

bool PMetricValues::set(const QString &metricId, const QVariant &value)
{
    return set(metricId, PMetricValue(value));
}

bool PMetricValues::setDefaultValue(const QString &metricId)
{
    return set(metricId, getMetricDefinition(metricId).getType().defaultValue());
}

bool PMetricValues::hasMetricDefinition(const QString &metricId) const
{
    return mDefinitions.contains(metricId);
}

bool PMetricValues::hasMetricValue(const QString &metricId) const
{
    return mValues.contains(metricId);
}

bool PMetricValues::hasValueSetForAllMetrics(QStringList *missingMetricValues) const
{
    bool isComplete = true;
    for (auto definition = mDefinitions.cbegin(); definition != mDefinitions.cend(); ++definition) {
        if (hasMetricValue(definition.key()))
            continue;
        isComplete = false;
        if (missingMetricValues)
            missingMetricValues->append(definition.key());
    }
    return isComplete;
}

const PMetricDefinition::List PMetricValues::getDefinitions() const
{
    return mDefinitions.values();
}

const PMetricDefinition PMetricValues::getMetricDefinition(const QString &metricId) const
{
    return mDefinitions.value(metricId);
}

const PMetricValue PMetricValues::get(const QString &metricId) const
{
    return mValues.value(metricId);
}

QList<DcimValue> PMetricValues::toDcimValues(const QStringList &requestedMetrics) const
{
    QList<DcimValue> result;
    for (auto value = mValues.cbegin(); value != mValues.cend(); ++value) {
        if (!requestedMetrics.contains(value.key()))
            continue;
        DcimValue record = value->toDcim(getMetricDefinition(value.key()));
        if (DefaultMetrics::metricIdsEndingInPlain().contains(value.key()))
            record.id.chop(kPlainSuffix.length());
        if (record.id.startsWith(kDetailsPrefix))
            record.id.replace(0, kDetailsPrefix.length(), kApplicationPrefix);
        result.append(record);
    }
    return result;
}

} // namespace quillon::report
