// The JSON documents of the metric store: definitions, values, and both in one.

#include "api/defaultmetrics.h"
#include "api/performancemetric.h"
#include "api/quillon-report.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QObject>
#include <QScopedPointer>
#include <QTextStream>

#include <limits>

namespace quillon::report {

namespace {

const QString kValue = QStringLiteral("value");
const QString kType = QStringLiteral("type");
const QString kUnits = QStringLiteral("units");
const QString kDisplayName = QStringLiteral("displayName");
const QString kVersion = QStringLiteral("version");
const QString kPrecision = QStringLiteral("precision");
const QString kData = QStringLiteral("data");
const QString kMetricData = QStringLiteral("metricData");

const double kNan = std::numeric_limits<double>::quiet_NaN();

void setError(QString *error, const QString &text)
{
    if (error)
        *error = text;
}

// JSON has no number that stands for a NaN.
QJsonValue jsonNumber(double value)
{
    return PMetricValue::isNan(value) ? QJsonValue(QJsonValue::Null) : QJsonValue(value);
}

bool isNumberOrNull(const QJsonValue &json)
{
    return json.isDouble() || json.isNull();
}

double numberOrNan(const QJsonValue &json)
{
    return json.isNull() ? kNan : json.toDouble();
}

// Unlike QJsonValue::toInt(), which gives up on a number with a fraction. Numbers beyond the range of int end
// at its border.
int truncatedToInt(const QJsonValue &json)
{
    const double lowest = std::numeric_limits<int>::min();
    const double highest = std::numeric_limits<int>::max();
    return static_cast<int>(qBound(lowest, json.toDouble(), highest));
}

QStringList pathParts(const QString &path)
{
    return path.split(QLatin1Char('.'), Qt::SkipEmptyParts);
}

// Objects are nested as deeply as a path has parts.
const int kMaxPathParts = 100;

void insertJsonValue(QJsonObject &json, const QStringList &parts, int first, const QJsonValue &value)
{
    const QString &key = parts.at(first);
    if (first + 1 == parts.size()) {
        json[key] = value;
        return;
    }
    QJsonObject object = json.value(key).toObject();
    insertJsonValue(object, parts, first + 1, value);
    json[key] = object;
}

void insertJsonValue(QJsonObject &json, const QString &path, const QJsonValue &value)
{
    const QStringList parts = pathParts(path);
    if (parts.size() > 1)
        insertJsonValue(json, parts, 0, value);
    else
        json[path] = value;
}

// The value at a dotted path; false where the document has none.
bool findJsonValue(const QJsonObject &json, const QString &path, QJsonValue &result)
{
    result = json;
    const QStringList parts = pathParts(path);
    for (const QString &part : parts) {
        if (!result.isObject() || !result.toObject().contains(part)) {
            result = QJsonValue(QJsonValue::Null);
            return false;
        }
        result = result.toObject().value(part);
    }
    return true;
}

QString stringOrNull(const QJsonObject &json, const QString &key)
{
    const QJsonValue value = json.value(key);
    return value.isString() ? value.toString() : QString();
}

// The value that stands in JSON for a metric of that type; invalid where it doesn't fit.
QVariant plainValue(const QJsonValue &json, PMetricType type)
{
    switch (type) {
    case PMetricType::String:
        return json.isString() ? QVariant(json.toString()) : QVariant();
    case PMetricType::Bool:
        return json.isBool() ? QVariant(json.toBool()) : QVariant();
    case PMetricType::Integer:
        return json.isDouble() ? QVariant(truncatedToInt(json)) : QVariant();
    case PMetricType::Double:
        return isNumberOrNull(json) ? QVariant(numberOrNan(json)) : QVariant();
    default:
        return QVariant();
    }
}

QString mismatchText(PMetricType type)
{
    switch (type) {
    case PMetricType::String:
        return QObject::tr("Metric %1 value is not a string");
    case PMetricType::Bool:
        return QObject::tr("Metric %1 value is not a boolean");
    case PMetricType::Integer:
        return QObject::tr("Metric %1 value is not an integer");
    default:
        return QObject::tr("Metric %1 value is not a double");
    }
}

} // namespace

QJsonValue DoublePrecision::toJson() const
{
    return QJsonObject{{kValue, jsonNumber(first)}, {kPrecision, second}};
}

DoublePrecision DoublePrecision::fromJson(const QJsonValue &jsonValue, QString *error)
{
    const QJsonObject json = jsonValue.toObject();
    const QJsonValue value = json.value(kValue);
    const QJsonValue precision = json.value(kPrecision);

    QString problem;
    if (!jsonValue.isObject())
        problem = QObject::tr("Unable to parse double precision");
    else if (!json.contains(kValue))
        problem = QObject::tr("Unable to find double precision value");
    else if (!isNumberOrNull(value))
        problem = QObject::tr("Invalid double precision value");
    else if (!json.contains(kPrecision))
        problem = QObject::tr("Unable to find double precision precision");
    else if (!precision.isDouble())
        problem = QObject::tr("Invalid double precision precision");
    else
        return DoublePrecision(numberOrNan(value), truncatedToInt(precision));

    setError(error, problem);
    return DoublePrecision(0.0, 0);
}

QVariant DoublePrecision::toQVariant() const
{
    return QVariantMap{{kValue, first}, {kPrecision, second}};
}

bool DoublePrecision::isDoubleWithPrecision(const QVariant &value)
{
    if (value.isNull() || value.type() != QVariant::Map)
        return false;
    const QVariantMap map = value.toMap();
    return map.value(kValue).type() == QVariant::Double && map.value(kPrecision).type() == QVariant::Int;
}

DoublePrecision DoublePrecision::fromQVariant(const QVariant &value)
{
    if (!isDoubleWithPrecision(value))
        return DoublePrecision(0.0, 0);
    const QVariantMap map = value.toMap();
    return DoublePrecision(map.value(kValue).toDouble(), map.value(kPrecision).toInt());
}

QJsonObject PMetricDefinition::toJson() const
{
    QJsonObject result{{kValue, mJsonId}, {kType, mType.toString()}};
    if (!mUnits.isNull())
        result[kUnits] = mUnits;
    if (!mDisplayName.isNull())
        result[kDisplayName] = mDisplayName;
    if (mVersion != 0)
        result[kVersion] = mVersion;
    return result;
}

bool PMetricDefinition::fromJson(const QJsonObject &json, QString *error)
{
    const QString notFound = QObject::tr("Field %1 not found for metric %2");
    if (!json.value(kValue).isString()) {
        setError(error, notFound.arg(kValue, mId));
        return false;
    }
    mJsonId = json.value(kValue).toString();
    if (mJsonId.count(QLatin1Char('.')) >= kMaxPathParts) {
        setError(error,
            QObject::tr("Field %1 has more than %2 parts for metric %3")
                .arg(kValue, QString::number(kMaxPathParts), mId));
        return false;
    }
    if (!json.value(kType).isString()) {
        setError(error, notFound.arg(kType, mId));
        return false;
    }
    mType = PMetricType::fromString(json.value(kType).toString());
    mUnits = stringOrNull(json, kUnits);
    mDisplayName = stringOrNull(json, kDisplayName);
    mVersion = static_cast<quint8>(truncatedToInt(json.value(kVersion)));
    return true;
}

QJsonValue PMetricValue::toJson(const PMetricDefinition &definition) const
{
    switch (definition.getType()) {
    case PMetricType::Invalid:
        break;
    case PMetricType::String:
        return toString();
    case PMetricType::Bool:
        return toBool();
    case PMetricType::Integer:
        return toInt();
    case PMetricType::Double:
        return jsonNumber(toDouble());
    case PMetricType::DoubleWithPrecision:
        return DoublePrecision::fromQVariant(*this).toJson();
    }
    return QJsonValue(QJsonValue::Null);
}

bool PMetricValue::fromJson(const QJsonValue &json, const PMetricDefinition &definition, QString *error)
{
    if (definition.getType() == PMetricType::DoubleWithPrecision) {
        QString ownError;
        QString *text = error ? error : &ownError;
        const DoublePrecision value = DoublePrecision::fromJson(json, text);
        if (text->isEmpty())
            *this = value.toQVariant();
        return text->isEmpty();
    }
    const QVariant value = plainValue(json, definition.getType());
    if (value.isValid())
        *this = value;
    else if (definition.getType() != PMetricType::Invalid)
        setError(error, mismatchText(definition.getType()).arg(definition.getJsonId()));
    return value.isValid();
}

QJsonObject PMetricValues::toJsonDefinitions() const
{
    QJsonObject result;
    for (auto definition = mDefinitions.cbegin(); definition != mDefinitions.cend(); ++definition)
        result[definition.key()] = definition->toJson();
    return result;
}

QJsonObject PMetricValues::toJsonValues() const
{
    QJsonObject result;
    for (auto value = mValues.cbegin(); value != mValues.cend(); ++value) {
        const PMetricDefinition definition = getMetricDefinition(value.key());
        insertJsonValue(result, definition.getJsonId(), value->toJson(definition));
    }
    return result;
}

bool PMetricValues::fromJsonDefinitions(const QJsonObject &json, QString *error)
{
    clearDefinitions();
    for (auto member = json.constBegin(); member != json.constEnd(); ++member) {
        if (!member.value().isObject())
            continue;
        PMetricDefinition definition(member.key());
        if (!definition.fromJson(member.value().toObject(), error))
            return false;
        // Readers of such a document have never been given a reason, and tell this case by its silence.
        if (!definition.isValid())
            return false;
        *this << definition;
    }
    return true;
}

DefaultMetricVersion::Enum PMetricValues::fromJsonVersion(const QJsonObject &json)
{
    return DefaultMetricVersion::versionFromInt(truncatedToInt(json.value(kVersion)));
}

bool PMetricValues::fromJsonValues(const QJsonObject &json, QString *error)
{
    QString ownError;
    QString *text = error ? error : &ownError;

    clearValues();
    const DefaultMetricVersion::Enum version = fromJsonVersion(json);
    const PMetricDefinition::List definitions = getDefinitions();
    for (const PMetricDefinition &definition : definitions) {
        if (version < definition.getVersion()) {
            set(definition.getId(), definition.getType().missingValue());
            continue;
        }
        QJsonValue found;
        if (!findJsonValue(json, definition.getJsonId(), found))
            *text = QObject::tr("Unable to access value %1").arg(definition.getJsonId());
        PMetricValue value;
        if (!text->isEmpty() || !value.fromJson(found, definition, text))
            return false;
        set(definition.getId(), value);
    }
    return true;
}

bool PMetricValues::fromJson(const QString &jsonString, QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(jsonString.toUtf8(), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        setError(error, QObject::tr("malformed JSON input"));
        return false;
    }
    if (!document.isObject()) {
        setError(error, QObject::tr("Expected JSON data to be an object"));
        return false;
    }
    const QJsonObject json = document.object();
    if (mDefinitions.isEmpty() && !loadDefinitionsFor(json, error))
        return false;
    const QJsonValue data = json.value(kData);
    return fromJsonValues(data.isObject() ? data.toObject() : json, error)
        && hasValueSetForAllMetrics(nullptr);
}

// Those of the document, or else those of the installed default report.
bool PMetricValues::loadDefinitionsFor(const QJsonObject &json, QString *error)
{
    const QJsonValue definitions = json.value(kMetricData);
    if (definitions.isObject())
        return fromJsonDefinitions(definitions.toObject(), error);

    const QScopedPointer<ReportDefinition> defaultReport(ReportDefinition::createFromFile(
        DefaultMetrics::reportDefinitionFilePath(), ReportDefinition::DefaultSchemaFilename, error,
        ReportDefinition::SilentValidation, ReportDefinition::Config::withoutPrefixesOrReservedIds()));
    if (!defaultReport)
        return false;
    setMetricDefinitions(createMetricValues(*defaultReport));
    return true;
}

bool PMetricValues::fromJson(QFile &file, QString *error)
{
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        setError(error, QObject::tr("Unable to open file %1").arg(file.fileName()));
        return false;
    }
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    const QString text = stream.readAll();
    file.close();
    return fromJson(text, error);
}

} // namespace quillon::report
