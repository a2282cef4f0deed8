#ifndef QUILLON_REPORT_API_REPORTDEFINITIONELEMENT_H
#define QUILLON_REPORT_API_REPORTDEFINITIONELEMENT_H

#include "api/reportdefinition.h"
#include "xmlutils/xmlutils.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace quillon::report {

// Whatever element a definition's stream stands at, seen by its reader: name, attributes, and complaints that
// say where they belong. Lives no longer than the stream and the URL that it is given.
class DefinitionElement {
public:
    DefinitionElement(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error)
        : mXml(xml)
        , mUrl(xmlDocumentUrl)
        , mError(error)
    {
    }

    QString name() const { return mXml.name().toString(); }
    bool isNamed(const char *name) const { return mXml.name() == QLatin1String(name); }
    bool hasAttribute(const char *name) const { return mXml.attributes().hasAttribute(QLatin1String(name)); }

    // False, so that a reader can return it.
    bool error(const QString &message) const
    {
        ReportDefinition::writeError(mError, mXml, mUrl, message);
        return false;
    }

    // Whether the element has this name; `message` is filled with the name that it has.
    bool expectName(const char *expected, const QString &message) const
    {
        return isNamed(expected) || error(message.arg(name()));
    }

    void skipWithWarning(const QString &message) const
    {
        ReportDefinition::writeWarning(mError, mXml, mUrl, message.arg(name()));
        xmlutils::readNextEndElement(mXml);
    }

    bool readString(const char *name, ReportDefinition::XmlNecessityType necessity, QString &out) const
    {
        return ReportDefinition::readStringAttribute(QLatin1String(name), necessity, mXml, mUrl, out, mError);
    }

    bool readInt(const char *name, int &out) const
    {
        return ReportDefinition::readIntAttribute(
            QLatin1String(name), ReportDefinition::Optional, mXml, mUrl, out, mError);
    }

    bool readDouble(const char *name, double &out) const
    {
        return ReportDefinition::readDoubleAttribute(
            QLatin1String(name), ReportDefinition::Optional, mXml, mUrl, out, mError);
    }

    bool readBool(const char *name, bool &out) const
    {
        return ReportDefinition::readBoolAttribute(QLatin1String(name), false, mXml, mUrl, out, mError);
    }

    bool readColour(const char *name, QColor &out) const
    {
        return ReportDefinition::readColourAttribute(
            QLatin1String(name), ReportDefinition::Optional, mXml, mUrl, out, mError);
    }

    bool readRequires(QString &out, const QSet<QString> &metricIdSet) const
    {
        return ReportDefinition::readRequiresAttribute(
            QStringLiteral("requires"), ReportDefinition::Optional, mXml, mUrl, out, metricIdSet, mError);
    }

    bool readMetricType(PMetricType::value_type &out, QString &typeString) const
    {
        return ReportDefinition::readMetricTypeAttribute(
            QStringLiteral("type"), ReportDefinition::Optional, mXml, mUrl, out, typeString, mError);
    }

    bool readMetricVersion(DefaultMetricVersion::Enum &out) const
    {
        return ReportDefinition::readMetricVersionAttribute(
            QStringLiteral("brivaneMetricVersion"), ReportDefinition::Optional, mXml, mUrl, out, mError);
    }

    bool readUnitPrefix(ReportDefinition::UnitPrefixType &out) const
    {
        return ReportDefinition::readUnitPrefixAttribute(
            QStringLiteral("unitPrefix"), ReportDefinition::Optional, mXml, mUrl, out, mError);
    }

    bool readSampleValue(ReportDefinition::SampleValueType &out) const
    {
        return ReportDefinition::readSampleValueAttribute(
            QStringLiteral("sampleValue"), ReportDefinition::Mandatory, mXml, mUrl, out, mError);
    }

    bool readAggregation(ReportDefinition::AggregationType &out) const
    {
        return ReportDefinition::readAggregationAttribute(
            QStringLiteral("aggregation"), ReportDefinition::Mandatory, mXml, mUrl, out, mError);
    }

private:
    QXmlStreamReader &mXml;
    const QUrl &mUrl;
    QString *mError;
};

// The ids of a list of metrics, summary entries or subsections.
template <typename Definition> QSet<QString> idsOf(const QList<Definition> &definitions)
{
    QSet<QString> ids;
    for (const Definition &definition : definitions)
        ids.insert(definition.id);
    return ids;
}

// An iterator of the list, its end if there is none of that id.
template <typename Definitions> auto findId(Definitions &definitions, const QString &id)
{
    return std::find_if(definitions.begin(), definitions.end(),
        [&id](const auto &definition) { return definition.id == id; });
}

} // namespace quillon::report

#endif
