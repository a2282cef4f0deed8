#include "definitiontest.h"
#include "xmlutils/xmlutils.h"

#include <QXmlStreamReader>

#include <cmath>
#include <limits>

using namespace quillon::report;
using namespace definitiontest;

namespace {

const auto Mandatory = ReportDefinition::Mandatory;
const auto Optional = ReportDefinition::Optional;
const auto NotEmpty = ReportDefinition::OptionalNotEmptyIfExists;
const QString Name = QStringLiteral("at");

// A stream that stands at <el>, with the attribute "at" as given, or without one.
class Element {
public:
    Element()
        : mXml(QStringLiteral("<el/>"))
    {
        xmlutils::readNextStartElement(mXml);
    }

    explicit Element(const char *value)
        : mXml(QStringLiteral("<el at=\"%1\"/>").arg(QString::fromUtf8(value)))
    {
        xmlutils::readNextStartElement(mXml);
    }

    bool readString(ReportDefinition::XmlNecessityType necessity, QString &out)
    {
        return ReportDefinition::readStringAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readInt(ReportDefinition::XmlNecessityType necessity, int &out)
    {
        return ReportDefinition::readIntAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readDouble(ReportDefinition::XmlNecessityType necessity, double &out)
    {
        return ReportDefinition::readDoubleAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readType(
        ReportDefinition::XmlNecessityType necessity, PMetricType::value_type &out, QString &typeString)
    {
        return ReportDefinition::readMetricTypeAttribute(
            Name, necessity, mXml, DocumentUrl, out, typeString, &error);
    }
    bool readVersion(ReportDefinition::XmlNecessityType necessity, DefaultMetricVersion::Enum &out)
    {
        return ReportDefinition::readMetricVersionAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readUnitPrefix(ReportDefinition::XmlNecessityType necessity, ReportDefinition::UnitPrefixType &out)
    {
        return ReportDefinition::readUnitPrefixAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readSampleValue(ReportDefinition::XmlNecessityType necessity, ReportDefinition::SampleValueType &out)
    {
        return ReportDefinition::readSampleValueAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readAggregation(ReportDefinition::XmlNecessityType necessity, ReportDefinition::AggregationType &out)
    {
        return ReportDefinition::readAggregationAttribute(Name, necessity, mXml, DocumentUrl, out, &error);
    }
    bool readRequires(
        ReportDefinition::XmlNecessityType necessity, QString &out, const QSet<QString> &metrics)
    {
        return ReportDefinition::readRequiresAttribute(
            Name, necessity, mXml, DocumentUrl, out, metrics, &error);
    }
    bool readBool(bool defaultValue, bool &out)
    {
        return ReportDefinition::readBoolAttribute(Name, defaultValue, mXml, DocumentUrl, out, &error);
    }

    ::testing::AssertionResult complains(const char *message) const
    {
        return isLocated(error, QStringLiteral("Error"), DocumentUrl, QString::fromUtf8(message));
    }

    QString error = QStringLiteral("untouched");

private:
    QXmlStreamReader mXml;
};

} // namespace

TEST(StringAttribute, TakesWhatIsThere)
{
    QString out;
    EXPECT_TRUE(Element(" a b ").readString(Mandatory, out));
    EXPECT_EQ(" a b ", out);
}

TEST(StringAttribute, MissingIsAnErrorOnlyIfItIsMandatory)
{
    QString out = QStringLiteral("old");
    Element mandatory;
    EXPECT_FALSE(mandatory.readString(Mandatory, out));
    EXPECT_TRUE(mandatory.complains("Missing string attribute 'at' for 'el' element"));
    for (const auto necessity : {Optional, NotEmpty}) {
        out = QStringLiteral("old");
        Element element;
        EXPECT_TRUE(element.readString(necessity, out));
        EXPECT_TRUE(out.isNull());
        EXPECT_EQ("untouched", element.error);
    }
}

TEST(StringAttribute, EmptyFailsWithoutAWordUnlessItIsOptional)
{
    for (const auto necessity : {Mandatory, NotEmpty}) {
        QString out = QStringLiteral("old");
        Element element("");
        EXPECT_FALSE(element.readString(necessity, out));
        EXPECT_EQ("untouched", element.error);
        EXPECT_EQ("", out);
    }
    QString out;
    EXPECT_TRUE(Element("").readString(Optional, out));
    EXPECT_FALSE(out.isNull()) << "an attribute that is there and empty isn't a missing one";
}

TEST(IntAttribute, ReadsWholeNumbersInBaseTen)
{
    int out = 0;
    EXPECT_TRUE(Element("-12").readInt(Mandatory, out));
    EXPECT_EQ(-12, out);
    EXPECT_TRUE(Element(" 7 ").readInt(Mandatory, out)) << "blanks around a number are the schema's business";
    EXPECT_EQ(7, out);
    EXPECT_TRUE(Element("010").readInt(Mandatory, out));
    EXPECT_EQ(10, out);
}

TEST(IntAttribute, AnythingElseIsAnErrorAndGivesZero)
{
    for (const char *text : {"1.5", "", "0x10", "2147483648", "one"}) {
        SCOPED_TRACE(text);
        int out = 9;
        Element element(text);
        EXPECT_FALSE(element.readInt(Optional, out));
        EXPECT_EQ(0, out);
        EXPECT_TRUE(element.complains(
            QStringLiteral("Could not convert '%1' to an int in attribute 'at' for 'el' element")
                .arg(QLatin1String(text))
                .toUtf8()));
    }
}

TEST(IntAttribute, MissingGivesZeroOrAnError)
{
    int out = 9;
    EXPECT_TRUE(Element().readInt(Optional, out));
    EXPECT_EQ(0, out);
    Element mandatory;
    EXPECT_FALSE(mandatory.readInt(Mandatory, out));
    EXPECT_TRUE(mandatory.complains("Missing int attribute 'at' for 'el' element"));
}

TEST(DoubleAttribute, ReadsNumbers)
{
    double out = 0;
    EXPECT_TRUE(Element("-1.5E2").readDouble(Mandatory, out));
    EXPECT_EQ(-150.0, out);
}

TEST(DoubleAttribute, NamesOfNoNumbersAreStoredAndRefused)
{
    double out = 0;
    Element nan("NaN");
    EXPECT_FALSE(nan.readDouble(Optional, out));
    EXPECT_TRUE(std::isnan(out));
    EXPECT_TRUE(nan.complains("Could not convert 'NaN' to an double in attribute 'at' for 'el' element"));
    EXPECT_FALSE(Element("INF").readDouble(Optional, out));
    EXPECT_EQ(std::numeric_limits<double>::infinity(), out);
    EXPECT_FALSE(Element("-inf").readDouble(Optional, out));
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), out);
}

TEST(DoubleAttribute, OtherTextsAreRefusedAsWritten)
{
    double out = 0;
    Element element("Ten");
    EXPECT_FALSE(element.readDouble(Optional, out));
    EXPECT_TRUE(element.complains("Could not convert 'Ten' to an double in attribute 'at' for 'el' element"));
}

TEST(DoubleAttribute, MissingGivesNoNumberOrAnError)
{
    double out = 0;
    EXPECT_TRUE(Element().readDouble(NotEmpty, out));
    EXPECT_TRUE(std::isnan(out));
    Element mandatory;
    EXPECT_FALSE(mandatory.readDouble(Mandatory, out));
    EXPECT_TRUE(mandatory.complains("Missing double attribute 'at' for 'el' element"));
}

TEST(MetricTypeAttribute, KnowsFourNamesExactly)
{
    const QList<QPair<QString, PMetricType::value_type>> rows = {{"string", PMetricType::String},
        {"boolean", PMetricType::Bool}, {"integer", PMetricType::Integer}, {"double", PMetricType::Double}};
    for (const auto &row : rows) {
        PMetricType::value_type out = PMetricType::Invalid;
        QString typeString;
        EXPECT_TRUE(Element(row.first.toUtf8()).readType(Mandatory, out, typeString));
        EXPECT_EQ(row.second, out);
        EXPECT_EQ(row.first, typeString);
    }
}

TEST(MetricTypeAttribute, OtherNamesAreAnErrorThatListsThem)
{
    PMetricType::value_type out = PMetricType::Invalid;
    QString typeString;
    Element element("Double");
    EXPECT_FALSE(element.readType(Optional, out, typeString));
    EXPECT_EQ("Double", typeString);
    EXPECT_TRUE(element.complains(
        "Unrecognised value for attribute 'at' for 'el' element: 'Double'. Expected one of: "
        "'string', 'boolean', 'integer', 'double'."));
}

TEST(MetricTypeAttribute, MissingIsDoubleOrAnError)
{
    PMetricType::value_type out = PMetricType::Invalid;
    QString typeString;
    EXPECT_TRUE(Element().readType(Optional, out, typeString));
    EXPECT_EQ(PMetricType::Double, out);
    EXPECT_EQ("double", typeString);
    Element mandatory;
    EXPECT_FALSE(mandatory.readType(Mandatory, out, typeString));
    EXPECT_TRUE(mandatory.complains("Missing attribute 'at' for 'el' element"));
}

TEST(MetricVersionAttribute, NumbersOfNoVersionAreNoCatalogueMetric)
{
    DefaultMetricVersion::Enum out = DefaultMetricVersion::OlderThan6_1;
    EXPECT_TRUE(Element("4").readVersion(Mandatory, out));
    EXPECT_EQ(DefaultMetricVersion::DefaultMetrics7_1, out);
    EXPECT_TRUE(Element("5").readVersion(Mandatory, out));
    EXPECT_EQ(DefaultMetricVersion::NonDefaultMetric, out);
    out = DefaultMetricVersion::OlderThan6_1;
    EXPECT_TRUE(Element().readVersion(Optional, out));
    EXPECT_EQ(DefaultMetricVersion::NonDefaultMetric, out);
}

TEST(MetricVersionAttribute, WhatIsNoNumberIsAnError)
{
    DefaultMetricVersion::Enum out = DefaultMetricVersion::OlderThan6_1;
    Element element("7.1");
    EXPECT_FALSE(element.readVersion(Optional, out));
    EXPECT_TRUE(element.complains("Could not convert '7.1' to an int in attribute 'at' for 'el' element"));
    Element mandatory;
    EXPECT_FALSE(mandatory.readVersion(Mandatory, out));
    EXPECT_TRUE(mandatory.complains("Missing attribute 'at' for 'el' element"));
}

TEST(UnitPrefixAttribute, KnowsSiAndIecExactly)
{
    auto out = ReportDefinition::PrefixSI;
    EXPECT_TRUE(Element("iec").readUnitPrefix(Mandatory, out));
    EXPECT_EQ(ReportDefinition::PrefixIEC, out);
    EXPECT_TRUE(Element("si").readUnitPrefix(Mandatory, out));
    EXPECT_EQ(ReportDefinition::PrefixSI, out);
    Element element("SI");
    EXPECT_FALSE(element.readUnitPrefix(Optional, out));
    EXPECT_TRUE(element.complains(
        "Unrecognised value for attribute 'at' for 'el' element: 'SI'. Expected one of: 'si', 'iec'."));
}

TEST(UnitPrefixAttribute, MissingIsSiOrAnError)
{
    auto out = ReportDefinition::PrefixIEC;
    EXPECT_TRUE(Element().readUnitPrefix(Optional, out));
    EXPECT_EQ(ReportDefinition::PrefixSI, out);
    Element mandatory;
    EXPECT_FALSE(mandatory.readUnitPrefix(Mandatory, out));
    EXPECT_TRUE(mandatory.complains("Missing attribute 'at' for 'el' element"));
}

TEST(SampleValueAttribute, KnowsFourNamesAndIsSilentAboutOthers)
{
    const QList<QPair<QString, ReportDefinition::SampleValueType>> rows
        = {{"min", ReportDefinition::SampleValueMin}, {"max", ReportDefinition::SampleValueMax},
            {"mean", ReportDefinition::SampleValueMean}, {"sum", ReportDefinition::SampleValueSum}};
    for (const auto &row : rows) {
        auto out = ReportDefinition::SampleValueUnset;
        EXPECT_TRUE(Element(row.first.toUtf8()).readSampleValue(Mandatory, out));
        EXPECT_EQ(row.second, out);
    }
    auto out = ReportDefinition::SampleValueMax;
    Element element("Sum");
    EXPECT_FALSE(element.readSampleValue(Optional, out));
    EXPECT_EQ("untouched", element.error);
    EXPECT_TRUE(Element().readSampleValue(Optional, out));
    EXPECT_EQ(ReportDefinition::SampleValueUnset, out);
}

TEST(AggregationAttribute, KnowsThreeNamesAndIsSilentAboutOthersSumIncluded)
{
    const QList<QPair<QString, ReportDefinition::AggregationType>> rows
        = {{"min", ReportDefinition::AggregationMin}, {"max", ReportDefinition::AggregationMax},
            {"mean", ReportDefinition::AggregationMean}};
    for (const auto &row : rows) {
        auto out = ReportDefinition::AggregationUnset;
        EXPECT_TRUE(Element(row.first.toUtf8()).readAggregation(Mandatory, out));
        EXPECT_EQ(row.second, out);
    }
    auto out = ReportDefinition::AggregationMax;
    Element element("sum");
    EXPECT_FALSE(element.readAggregation(Optional, out));
    EXPECT_EQ("untouched", element.error);
    Element mandatory;
    EXPECT_FALSE(mandatory.readAggregation(Mandatory, out));
    EXPECT_TRUE(mandatory.complains("Missing attribute 'at' for 'el' element"));
}

TEST(RequiresAttribute, AcceptsMetricsOfTheReportAndThoseOfEveryReport)
{
    QString out;
    EXPECT_TRUE(Element("foo").readRequires(Optional, out, {"foo"}));
    EXPECT_EQ("foo", out);
    EXPECT_TRUE(Element("applicationDetails.hasGpu").readRequires(Optional, out, {}));
}

TEST(RequiresAttribute, KeepsTheMarkOfANegationAndLooksUpWhatIsBehindIt)
{
    QString out;
    EXPECT_TRUE(Element("!foo").readRequires(Optional, out, {"foo"}));
    EXPECT_EQ("!foo", out);
    Element unknown("!foo");
    EXPECT_FALSE(unknown.readRequires(Optional, out, {"bar"}));
    EXPECT_TRUE(unknown.complains("There is no metric with id=\"foo\" in this report"));
    Element twice("!!foo");
    EXPECT_FALSE(twice.readRequires(Optional, out, {"foo"}));
    EXPECT_TRUE(twice.complains("There is no metric with id=\"!foo\" in this report"));
}

TEST(RequiresAttribute, AMarkAloneLooksUpAnEmptyId)
{
    QString out;
    Element element("!");
    EXPECT_FALSE(element.readRequires(Optional, out, {"foo"}));
    EXPECT_TRUE(element.complains("There is no metric with id=\"\" in this report"));
}

TEST(RequiresAttribute, EmptyOrMissingIsNoCondition)
{
    QString out = QStringLiteral("old");
    EXPECT_TRUE(Element("").readRequires(Optional, out, {}));
    EXPECT_TRUE(out.isEmpty());
    EXPECT_TRUE(Element().readRequires(Optional, out, {}));
    EXPECT_TRUE(out.isNull());
}

TEST(BoolAttribute, KnowsFourTextsAndTrimsThem)
{
    bool out = false;
    EXPECT_TRUE(Element(" true ").readBool(false, out));
    EXPECT_TRUE(out);
    EXPECT_TRUE(Element("false").readBool(true, out));
    EXPECT_FALSE(out);
    EXPECT_TRUE(Element("1").readBool(false, out));
    EXPECT_TRUE(out);
    EXPECT_TRUE(Element("0").readBool(true, out));
    EXPECT_FALSE(out);
}

TEST(BoolAttribute, MissingIsTheDefault)
{
    bool out = false;
    EXPECT_TRUE(Element().readBool(true, out));
    EXPECT_TRUE(out);
    EXPECT_TRUE(Element().readBool(false, out));
    EXPECT_FALSE(out);
}

TEST(BoolAttribute, AnythingElseIsAnErrorThatKeepsTheOldValue)
{
    bool out = true;
    Element element(" TRUE ");
    EXPECT_FALSE(element.readBool(false, out));
    EXPECT_TRUE(out);
    EXPECT_TRUE(element.complains("Invalid boolean value 'TRUE' for 'at' attribute in 'el' element. Expected "
                                  "'true', 'false', '0' or '1'."));
    EXPECT_FALSE(Element("").readBool(false, out));
}

TEST(AttributeErrors, NobodyHasToAskForTheText)
{
    QXmlStreamReader xml(QStringLiteral("<el at=\"x\"/>"));
    xmlutils::readNextStartElement(xml);
    int number = 0;
    EXPECT_FALSE(ReportDefinition::readIntAttribute(Name, Optional, xml, DocumentUrl, number, nullptr));
    bool flag = false;
    EXPECT_FALSE(ReportDefinition::readBoolAttribute(Name, false, xml, DocumentUrl, flag, nullptr));
}
