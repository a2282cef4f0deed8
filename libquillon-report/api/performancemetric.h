#ifndef QUILLON_REPORT_API_PERFORMANCEMETRIC_H
#define QUILLON_REPORT_API_PERFORMANCEMETRIC_H

#include "api/defaultmetricversion.h"
#include "api/export.h"
#include "api/pmetrictype.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

class QFile;

namespace quillon::report {

// In all operations below that take `QString *error` the pointer may be null, which only silences the text.

// A number and the count of significant digits that it is worth, as QString::number takes it for the format
// 'g'. In a variant it is no type of its own but a map with the keys "value" (double) and "precision" (int).
class QUILLON_REPORT_EXPORT DoublePrecision : public QPair<double, int> {
public:
    DoublePrecision(double value, int precision)
        : QPair<double, int>(value, precision)
    {
    }

    QString toString() const;
    QVariant toQVariant() const;
    // An object with "value", null for a NaN, and "precision".
    QJsonValue toJson() const;

    // Further keys in the map are ignored; the types of the two must be exact.
    static bool isDoubleWithPrecision(const QVariant &value);
    // (0.0, 0) for a variant that fails isDoubleWithPrecision().
    static DoublePrecision fromQVariant(const QVariant &value);
    // (0.0, 0), with a text in *error, for a value that isn't what toJson() makes.
    static DoublePrecision fromJson(const QJsonValue &jsonValue, QString *error);
};

// The declaration of one metric of a store.
class QUILLON_REPORT_EXPORT PMetricDefinition {
public:
    typedef QMap<QString, PMetricDefinition> Map;
    typedef QList<PMetricDefinition> List;

    explicit PMetricDefinition(const QString &id = QString());

    PMetricDefinition &setId(const QString &id);
    PMetricDefinition &setJsonId(const QString &jsonId);
    PMetricDefinition &setType(PMetricType type);
    PMetricDefinition &setUnits(QString units);
    PMetricDefinition &setDisplayName(const QString &displayName);
    PMetricDefinition &setVersion(quint8 version);

    // Key of the metric in its store.
    const QString &getId() const { return mId; }
    // Dotted path of the metric in a values document.
    const QString &getJsonId() const { return mJsonId; }
    PMetricType getType() const { return mType; }
    // Null and empty differ: only a null string is left out of the definitions document. So for the name.
    QString getUnits() const { return mUnits; }
    const QString &getDisplayName() const { return mDisplayName; }
    // Number of the catalogue version that introduced the metric; 0 for a metric outside the catalogue.
    quint8 getVersion() const { return mVersion; }

    // Whether the metric has an id, a path and a type.
    bool isValid() const;
    bool operator==(const PMetricDefinition &other) const;
    bool operator!=(const PMetricDefinition &other) const { return !(*this == other); }

    // A member of the definitions document.
    QJsonObject toJson() const;
    // Fills everything but the id. False, with a text, without a path or a type name; an unknown type name
    // only gives a definition that isn't valid.
    bool fromJson(const QJsonObject &json, QString *error);

private:
    QString mId;
    QString mJsonId;
    PMetricType mType;
    QString mUnits;
    QString mDisplayName;
    quint8 mVersion = 0;
};

// One metric as the connector script of a data centre takes it on its command line.
struct QUILLON_REPORT_EXPORT DcimValue {
    QString id;
    QString value;
    QString type;
    QString units;
    QString title;

    bool operator==(const DcimValue &other) const;
    bool operator!=(const DcimValue &other) const { return !(*this == other); }
};

// The value of one metric. Which of the variant's types counts is for the definition to say.
class QUILLON_REPORT_EXPORT PMetricValue : public QVariant {
public:
    typedef QMap<QString, PMetricValue> Map;

    PMetricValue() = default;
    explicit PMetricValue(const QVariant &value)
        : QVariant(value)
    {
    }
    PMetricValue &operator=(const QVariant &value);

    static bool isNan(double d) { return d != d; }

    DcimValue toDcim(const PMetricDefinition &definition) const;
    QJsonValue toJson(const PMetricDefinition &definition) const;
    // False, with the value unchanged, when the JSON value doesn't fit the definition's type. For the type
    // DoubleWithPrecision a text that stands in *error before the call counts as a failure.
    bool fromJson(const QJsonValue &json, const PMetricDefinition &definition, QString *error);
};

// The metrics of a report: which there are, and which of them have a value. It refuses a value for a metric
// that it has no definition of, and nothing else; in particular it doesn't compare types.
class QUILLON_REPORT_EXPORT PMetricValues {
public:
    explicit PMetricValues(const PMetricDefinition::Map &definitions = PMetricDefinition::Map(),
        const PMetricValue::Map &values = PMetricValue::Map());

    // Values outlive their definitions: whoever clears only these has to load the values anew.
    void clearDefinitions();
    void clearValues();

    // Replaces a definition of the same id; the metric's value stays. Of two in a list the later wins.
    void setMetricDefinition(const PMetricDefinition &metricDefinition);
    void setMetricDefinitions(const PMetricDefinition::List &metricDefinitions);
    PMetricValues &operator<<(const PMetricDefinition &metricDefinition);
    PMetricValues &operator<<(const PMetricDefinition::List &metricDefinitions);

    // These change nothing and return false when there is no such definition.
    bool setUnits(const QString &metricId, const QString &unitsString);
    bool set(const QString &metricId, const PMetricValue &value);
    bool set(const QString &metricId, const QVariant &value);
    bool setDefaultValue(const QString &metricId);

    bool hasMetricDefinition(const QString &metricId) const;
    // A stored null or invalid variant counts as a value.
    bool hasMetricValue(const QString &metricId) const;
    // Appends every id without value, in key order, when the pointer isn't null.
    bool hasValueSetForAllMetrics(QStringList *missingMetricValues) const;

    // In key order.
    const PMetricDefinition::List getDefinitions() const;
    // A definition with a null id, which isn't valid, for an unknown id.
    const PMetricDefinition getMetricDefinition(const QString &metricId) const;
    // An invalid variant for an unknown id or a metric without value.
    const PMetricValue get(const QString &metricId) const;

    // One member for each metric, by id.
    QJsonObject toJsonDefinitions() const;
    // Every value at the path that its metric's JSON id gives when split at dots. Of two metrics one of which
    // lies on the other's path, the later in key order wins.
    QJsonObject toJsonValues() const;
    // Records for those of the requested metrics that have a value, in key order.
    QList<DcimValue> toDcimValues(const QStringList &requestedMetrics) const;

    // Reading stops at the first bad metric; what was read before stays in the store.
    // Without text for a definition of an unknown type, or without a path.
    bool fromJsonDefinitions(const QJsonObject &json, QString *error);
    // A metric that came into the catalogue after the document's version gets its type's missing value.
    // A text that stands in *error before the call counts as a failure.
    bool fromJsonValues(const QJsonObject &json, QString *error);
    // NonDefaultMetric, the oldest of all, for a document without version or of an unknown one.
    static DefaultMetricVersion::Enum fromJsonVersion(const QJsonObject &json);

    // Reads a JSON report, or a bare values document. A store that has definitions keeps them; else those of
    // the document are taken, and without any there those of the installed default report. False without a
    // text when a metric is left without value.
    bool fromJson(const QString &jsonString, QString *error);
    // The file must not be open; its text is UTF-8.
    bool fromJson(QFile &file, QString *error);

private:
    bool loadDefinitionsFor(const QJsonObject &json, QString *error);

    PMetricDefinition::Map mDefinitions;
    PMetricValue::Map mValues;
};

} // namespace quillon::report

#endif
