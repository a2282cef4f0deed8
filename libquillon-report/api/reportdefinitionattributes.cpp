#include "api/reportdefinition.h"

#include "api/defaultmetrics.h"

#include <QRegExp>
#include <QXmlStreamReader>

#include <limits>

namespace quillon::report {

namespace {

const char MissingAttribute[] = QT_TRANSLATE_NOOP("QObject", "Missing attribute '%1' for '%2' element");

// Null only if the attribute is missing; an empty attribute gives an empty text that isn't null.
QString attributeText(const QString &name, const QXmlStreamReader &xml)
{
    return xml.attributes().value(name).toString();
}

// What every reader of a single kind of value does if its attribute is missing: `message` for a mandatory
// one, success for others.
bool acceptMissing(const QString &name, ReportDefinition::XmlNecessityType necessity, const char *message,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    if (necessity != ReportDefinition::Mandatory)
        return true;
    ReportDefinition::writeError(
        error, xml, xmlDocumentUrl, QObject::tr(message).arg(name, xml.name().toString()));
    return false;
}

bool refuseUnconverted(const QString &text, const char *message, const QString &name,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    ReportDefinition::writeError(
        error, xml, xmlDocumentUrl, QObject::tr(message).arg(text, name, xml.name().toString()));
    return false;
}

bool convertToInt(const QString &text, const QString &name, const QXmlStreamReader &xml,
    const QUrl &xmlDocumentUrl, int &out, QString *error)
{
    bool ok = false;
    out = text.toInt(&ok, 10);
    return ok
        || refuseUnconverted(text,
            QT_TRANSLATE_NOOP(
                "QObject", "Could not convert '%1' to an int in attribute '%2' for '%3' element"),
            name, xml, xmlDocumentUrl, error);
}

template <typename Value> struct NamedValue {
    const char *name;
    Value value;
};

// False, with `out` untouched, for a text that is none of the names.
template <typename Value, std::size_t Count>
bool findNamedValue(const NamedValue<Value> (&table)[Count], const QString &text, Value &out)
{
    for (const NamedValue<Value> &row : table) {
        if (text == QLatin1String(row.name)) {
            out = row.value;
            return true;
        }
    }
    return false;
}

// "'a', 'b', 'c'"
template <typename Value, std::size_t Count> QString listNames(const NamedValue<Value> (&table)[Count])
{
    QStringList names;
    for (const NamedValue<Value> &row : table)
        names << QStringLiteral("'%1'").arg(QLatin1String(row.name));
    return names.join(QStringLiteral(", "));
}

template <typename Value, std::size_t Count>
bool findNamedValueOrComplain(const NamedValue<Value> (&table)[Count], const QString &text, Value &out,
    const QString &name, const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
{
    if (findNamedValue(table, text, out))
        return true;
    ReportDefinition::writeError(error, xml, xmlDocumentUrl,
        QObject::tr("Unrecognised value for attribute '%1' for '%2' element: '%3'. Expected one of: %4.")
            .arg(name, xml.name().toString(), text, listNames(table)));
    return false;
}

const NamedValue<PMetricType::value_type> MetricTypes[] = {
    {"string", PMetricType::String},
    {"boolean", PMetricType::Bool},
    {"integer", PMetricType::Integer},
    {"double", PMetricType::Double},
};

const NamedValue<ReportDefinition::UnitPrefixType> UnitPrefixes[] = {
    {"si", ReportDefinition::PrefixSI},
    {"iec", ReportDefinition::PrefixIEC},
};

const NamedValue<ReportDefinition::SampleValueType> SampleValues[] = {
    {"min", ReportDefinition::SampleValueMin},
    {"max", ReportDefinition::SampleValueMax},
    {"mean", ReportDefinition::SampleValueMean},
    {"sum", ReportDefinition::SampleValueSum},
};

const NamedValue<ReportDefinition::AggregationType> Aggregations[] = {
    {"min", ReportDefinition::AggregationMin},
    {"max", ReportDefinition::AggregationMax},
    {"mean", ReportDefinition::AggregationMean},
};

// The forms of a colour that are written as a function of three numbers.
struct ColourComponent {
    const char *name;
    unsigned int max;
};

struct ColourModel {
    const char *prefix;
    ColourComponent components[3];
    QColor (*make)(int, int, int);
};

int fromPercentage(int percentage)
{
    return percentage * 255 / 100;
}

const ColourModel ColourModels[] = {
    {"hsl", {{"hue", 359}, {"saturation", 100}, {"lightness", 100}},
        [](int h, int s, int l) { return QColor::fromHsl(h, fromPercentage(s), fromPercentage(l), 255); }},
    {"hsv", {{"hue", 359}, {"saturation", 100}, {"value", 100}},
        [](int h, int s, int v) { return QColor::fromHsv(h, fromPercentage(s), fromPercentage(v), 255); }},
    {"rgb", {{"red", 255}, {"green", 255}, {"blue", 255}},
        [](int r, int g, int b) { return QColor::fromRgb(r, g, b, 255); }},
};

const ColourModel *findColourModel(const QString &prefix)
{
    for (const ColourModel &model : ColourModels) {
        if (prefix == QLatin1String(model.prefix))
            return &model;
    }
    return nullptr;
}

// Sets `out` and returns true, or returns false with what is wrong in `message`.
bool colourFromComponents(
    const QString &prefix, const int (&values)[3], const QString &text, QColor &out, QString &message)
{
    const ColourModel *model = findColourModel(prefix);
    if (!model) {
        message = QObject::tr("Invalid format prefix '%1' in the colour string '%2'. Expected a prefix of "
                              "'rgb', 'hsv', or 'hsl'.")
                      .arg(prefix, text);
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        const ColourComponent &component = model->components[i];
        // A negative component counts as too large.
        if (static_cast<unsigned int>(values[i]) <= component.max)
            continue;
        message = QObject::tr("Invalid %1 component '%2' in the colour string '%3'. Expected a value in the "
                              "range 0-%4.")
                      .arg(QLatin1String(component.name), QString::number(values[i]), text,
                          QString::number(component.max));
        return false;
    }
    out = model->make(values[0], values[1], values[2]);
    return out.isValid();
}

bool colourFromName(const QString &text, QColor &out, QString &message)
{
    out.setNamedColor(text);
    if (out.isValid())
        return true;
    message
        = QObject::tr("Invalid colour string '%1'. Expected a hex code in the form #RGB, #RRGGBB, "
                      "#RRRGGGBBB, #RRRRGGGGBBBB, a SVG colour name, or a string of the form hsv(H,S,V) "
                      "or hsl(H,S,L) where H is in the range 0-359 and S, V and L are in the range 0-100.")
              .arg(text);
    return false;
}

} // namespace

bool ReportDefinition::readStringAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString &out, QString *error)
{
    out = attributeText(name, xml);
    if (out.isNull()) {
        return acceptMissing(name, necessity,
            QT_TRANSLATE_NOOP("QObject", "Missing string attribute '%1' for '%2' element"), xml,
            xmlDocumentUrl, error);
    }
    return necessity == Optional || !out.isEmpty();
}

bool ReportDefinition::readIntAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, int &out, QString *error)
{
    const QString text = attributeText(name, xml);
    if (!text.isNull())
        return convertToInt(text, name, xml, xmlDocumentUrl, out, error);
    out = 0;
    return acceptMissing(name, necessity,
        QT_TRANSLATE_NOOP("QObject", "Missing int attribute '%1' for '%2' element"), xml, xmlDocumentUrl,
        error);
}

bool ReportDefinition::readDoubleAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, double &out, QString *error)
{
    // The three names give their value and are refused all the same: only finite numbers are meant to pass.
    static const NamedValue<double> refusedNames[] = {
        {"nan", std::numeric_limits<double>::quiet_NaN()},
        {"-inf", -std::numeric_limits<double>::infinity()},
        {"inf", std::numeric_limits<double>::infinity()},
    };
    const QString text = attributeText(name, xml);
    if (text.isNull()) {
        out = std::numeric_limits<double>::quiet_NaN();
        return acceptMissing(name, necessity,
            QT_TRANSLATE_NOOP("QObject", "Missing double attribute '%1' for '%2' element"), xml,
            xmlDocumentUrl, error);
    }
    const QString lowerCaseText = text.toLower();
    bool ok = false;
    if (!findNamedValue(refusedNames, lowerCaseText, out))
        out = lowerCaseText.toDouble(&ok);
    return ok
        || refuseUnconverted(text,
            QT_TRANSLATE_NOOP(
                "QObject", "Could not convert '%1' to an double in attribute '%2' for '%3' element"),
            name, xml, xmlDocumentUrl, error);
}

bool ReportDefinition::readMetricTypeAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, PMetricType::value_type &out,
    QString &typeString, QString *error)
{
    typeString = attributeText(name, xml);
    if (!typeString.isNull())
        return findNamedValueOrComplain(MetricTypes, typeString, out, name, xml, xmlDocumentUrl, error);
    out = PMetricType::Double;
    typeString = QStringLiteral("double");
    return acceptMissing(name, necessity, MissingAttribute, xml, xmlDocumentUrl, error);
}

bool ReportDefinition::readMetricVersionAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, DefaultMetricVersion::Enum &out, QString *error)
{
    const QString text = attributeText(name, xml);
    if (text.isNull()) {
        out = DefaultMetricVersion::NonDefaultMetric;
        return acceptMissing(name, necessity, MissingAttribute, xml, xmlDocumentUrl, error);
    }
    int number = 0;
    if (!convertToInt(text, name, xml, xmlDocumentUrl, number, error))
        return false;
    out = DefaultMetricVersion::versionFromInt(number);
    return true;
}

bool ReportDefinition::readUnitPrefixAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, UnitPrefixType &out, QString *error)
{
    const QString text = attributeText(name, xml);
    if (!text.isNull())
        return findNamedValueOrComplain(UnitPrefixes, text, out, name, xml, xmlDocumentUrl, error);
    out = PrefixSI;
    return acceptMissing(name, necessity, MissingAttribute, xml, xmlDocumentUrl, error);
}

// The next two say nothing about a value that they don't know: the schema stops it before they see it.

bool ReportDefinition::readSampleValueAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, SampleValueType &out, QString *error)
{
    const QString text = attributeText(name, xml);
    if (!text.isNull())
        return findNamedValue(SampleValues, text, out);
    out = SampleValueUnset;
    return acceptMissing(name, necessity, MissingAttribute, xml, xmlDocumentUrl, error);
}

bool ReportDefinition::readAggregationAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, AggregationType &out, QString *error)
{
    const QString text = attributeText(name, xml);
    if (!text.isNull())
        return findNamedValue(Aggregations, text, out);
    out = AggregationUnset;
    return acceptMissing(name, necessity, MissingAttribute, xml, xmlDocumentUrl, error);
}

bool ReportDefinition::readRequiresAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString &out, QSet<QString> metricIdSet,
    QString *error)
{
    if (!readStringAttribute(name, necessity, xml, xmlDocumentUrl, out, error))
        return false;
    if (out.isEmpty())
        return true;
    const QString metricName = out.startsWith(QLatin1Char('!')) ? out.mid(1) : out;
    if (metricIdSet.contains(metricName) || DefaultMetrics::containsImplicitMetric(metricName))
        return true;
    writeError(error, xml, xmlDocumentUrl,
        QObject::tr("There is no metric with id=\"%1\" in this report").arg(metricName));
    return false;
}

bool ReportDefinition::readColourAttribute(const QString &name, XmlNecessityType necessity,
    const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QColor &out, QString *error)
{
    static const QRegExp compiledParser(
        QStringLiteral("^([a-zA-Z]{3})\\(\\s*(-?\\d+)\\s*,\\s*(-?\\d+)\\s*,\\s*(-?\\d+)\\s*\\)$"));
    // It keeps what it matched, and several threads may read definitions.
    const QRegExp codeParser = compiledParser;
    out = QColor();
    QString colourString;
    if (!readStringAttribute(name, necessity, xml, xmlDocumentUrl, colourString, error))
        return false;
    if (colourString.isEmpty())
        return true;

    QString message;
    if (codeParser.indexIn(colourString) < 0) {
        if (colourFromName(colourString, out, message))
            return true;
    } else {
        const int values[]
            = {codeParser.cap(2).toInt(), codeParser.cap(3).toInt(), codeParser.cap(4).toInt()};
        if (colourFromComponents(codeParser.cap(1), values, colourString, out, message))
            return true;
    }
    writeError(error, xml, xmlDocumentUrl, message);
    return false;
}

bool ReportDefinition::readBoolAttribute(const QString &name, bool defaultValue, const QXmlStreamReader &xml,
    const QUrl &xmlDocumentUrl, bool &out, QString *error)
{
    static const NamedValue<bool> names[] = {{"0", false}, {"false", false}, {"1", true}, {"true", true}};
    const QString text = attributeText(name, xml);
    if (text.isNull()) {
        out = defaultValue;
        return true;
    }
    const QString trimmedText = text.trimmed();
    if (findNamedValue(names, trimmedText, out))
        return true;
    writeError(error, xml, xmlDocumentUrl,
        QObject::tr(
            "Invalid boolean value '%1' for '%2' attribute in '%3' element. Expected 'true', 'false', "
            "'0' or '1'.")
            .arg(trimmedText, name, xml.name().toString()));
    return false;
}

} // namespace quillon::report
