#include "api/performancemetric.h"
#include "core/brivaneglobals.h"
#include "qtprinters.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace quillon::report;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();

PMetricDefinition metric(const QString &id, PMetricType type, quint8 version = 0)
{
    return PMetricDefinition(id).setJsonId(id).setType(type).setVersion(version);
}

PMetricValues storeOf(const PMetricDefinition::List &definitions)
{
    PMetricValues store;
    store << definitions;
    return store;
}

QJsonObject object(const char *json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << json;
    return document.object();
}

} // namespace

// Writing values

TEST(MetricJson, valuesStandAtTheirDottedPaths)
{
    PMetricValues store = storeOf({metric("applicationDetails.processes.plain", PMetricType::Integer),
        metric("applicationDetails.exeName", PMetricType::String), metric("version", PMetricType::Integer)});
    store.set("applicationDetails.processes.plain", QVariant(4));
    store.set("applicationDetails.exeName", QVariant("wave"));
    store.set("version", QVariant(4));
    EXPECT_EQ(store.toJsonValues(),
        object(R"({"applicationDetails":{"exeName":"wave","processes":{"plain":4}},"version":4})"));
}

TEST(MetricJson, aPathOfOnePartIsAKeyAndKeepsAStrayDot)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Integer), metric(".b", PMetricType::Integer),
        metric("c.", PMetricType::Integer)});
    for (const QString id : {"a", ".b", "c."})
        store.set(id, QVariant(1));
    EXPECT_EQ(store.toJsonValues(), object(R"({"a":1,".b":1,"c.":1})"));
}

TEST(MetricJson, metricsShareTheObjectsOfTheirPaths)
{
    PMetricValues store = storeOf({metric("a.c", PMetricType::Integer), metric("a.b", PMetricType::Integer)});
    store.set("a.c", QVariant(1));
    store.set("a.b", QVariant(2));
    EXPECT_EQ(store.toJsonValues(), object(R"({"a":{"c":1,"b":2}})"));
}

TEST(MetricJson, aMetricOnThePathOfAnotherIsOverwritten)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Integer), metric("a.b", PMetricType::Integer)});
    store.set("a", QVariant(1));
    store.set("a.b", QVariant(2));
    EXPECT_EQ(store.toJsonValues(), object(R"({"a":{"b":2}})"));
}

TEST(MetricJson, theJsonIdDecidesThePathAndTheIdTheOrder)
{
    PMetricValues store = storeOf({PMetricDefinition("z").setJsonId("x.y").setType(PMetricType::Bool)});
    store.set("z", QVariant(true));
    EXPECT_EQ(store.toJsonValues(), object(R"({"x":{"y":true}})"));
}

TEST(MetricJson, everyTypeHasItsForm)
{
    const auto json = [](const QVariant &value, PMetricType type) {
        return PMetricValue(value).toJson(metric("a", type));
    };
    EXPECT_EQ(json(QVariant("x"), PMetricType::String), QJsonValue("x"));
    EXPECT_EQ(json(QVariant(QString()), PMetricType::String), QJsonValue(""));
    EXPECT_EQ(json(QVariant(true), PMetricType::Bool), QJsonValue(true));
    EXPECT_EQ(json(QVariant(3), PMetricType::Integer), QJsonValue(3));
    EXPECT_EQ(json(QVariant(2.5), PMetricType::Double), QJsonValue(2.5));
    EXPECT_EQ(json(QVariant(kNan), PMetricType::Double), QJsonValue(QJsonValue::Null));
    EXPECT_EQ(json(QVariant("x"), PMetricType::Invalid), QJsonValue(QJsonValue::Null));
    EXPECT_EQ(json(DoublePrecision(2.5, 3).toQVariant(), PMetricType::DoubleWithPrecision),
        QJsonValue(object(R"({"value":2.5,"precision":3})")));
    EXPECT_EQ(json(DoublePrecision(kNan, 3).toQVariant(), PMetricType::DoubleWithPrecision),
        QJsonValue(object(R"({"value":null,"precision":3})")));
}

// Definitions

TEST(MetricJson, definitionsTellNullFromEmptyTexts)
{
    PMetricValues store = storeOf({metric("a.b", PMetricType::Double),
        metric("c", PMetricType::String).setUnits("").setDisplayName("").setVersion(3)});
    EXPECT_EQ(store.toJsonDefinitions(), object(R"({
        "a.b": {"value": "a.b", "type": "Double"},
        "c": {"value": "c", "type": "String", "units": "", "displayName": "", "version": 3}})"));
}

TEST(MetricJson, definitionsReadBackAsTheyWere)
{
    const PMetricDefinition::List definitions = {metric("a", PMetricType::Double, 4).setUnits("s"),
        metric("b", PMetricType::DoubleWithPrecision).setDisplayName("B"),
        metric("c", PMetricType::String).setUnits("").setDisplayName("")};
    PMetricValues store;
    QString error;
    ASSERT_TRUE(store.fromJsonDefinitions(storeOf(definitions).toJsonDefinitions(), &error))
        << error.toStdString();
    EXPECT_EQ(store.getDefinitions(), definitions);
    EXPECT_TRUE(store.getMetricDefinition("a").getDisplayName().isNull());
    EXPECT_FALSE(store.getMetricDefinition("c").getDisplayName().isNull()) << "an empty name isn't none";
    EXPECT_FALSE(store.getMetricDefinition("c").getUnits().isNull());
}

TEST(MetricJson, anUnknownTypeIsReadAndThenRefusedInSilence)
{
    const QJsonObject member = object(R"({"value": "a", "type": "Float"})");
    PMetricDefinition definition("a");
    EXPECT_TRUE(definition.fromJson(member, nullptr));
    EXPECT_EQ(definition.getType(), PMetricType::Invalid);

    PMetricValues store;
    QString error;
    EXPECT_FALSE(store.fromJsonDefinitions({{"a", member}}, &error));
    EXPECT_TRUE(error.isEmpty());
}

TEST(MetricJson, aDefinitionNeedsAPathAndAType)
{
    QString error;
    PMetricDefinition definition("some.id");
    EXPECT_FALSE(definition.fromJson(object(R"({"type": "Bool"})"), &error));
    EXPECT_EQ(error, "Field value not found for metric some.id");
    EXPECT_FALSE(definition.fromJson(object(R"({"value": 1, "type": "Bool"})"), &error));
    EXPECT_EQ(error, "Field value not found for metric some.id");
    EXPECT_FALSE(definition.fromJson(object(R"({"value": "x"})"), &error));
    EXPECT_EQ(error, "Field type not found for metric some.id");
    EXPECT_FALSE(definition.fromJson(object(R"({"value": "x", "type": 4})"), nullptr));
}

TEST(MetricJson, aPathHasAHundredParts)
{
    const auto member = [](int parts) {
        const QString path = QStringLiteral("a") + QStringLiteral(".a").repeated(parts - 1);
        return QJsonObject{{"value", path}, {"type", "Bool"}};
    };
    QString error;
    PMetricDefinition definition("some.id");
    EXPECT_TRUE(definition.fromJson(member(100), &error));
    EXPECT_TRUE(error.isEmpty());
    EXPECT_FALSE(definition.fromJson(member(101), &error));
    EXPECT_EQ(error, "Field value has more than 100 parts for metric some.id");
}

TEST(MetricJson, unitsNameAndVersionOfTheWrongKindAreLeftOut)
{
    PMetricDefinition definition = metric("a", PMetricType::Bool, 4).setUnits("s").setDisplayName("A");
    ASSERT_TRUE(definition.fromJson(
        object(R"({"value": "a", "type": "Bool", "units": 1, "displayName": true, "version": "4"})"),
        nullptr));
    EXPECT_TRUE(definition.getUnits().isNull());
    EXPECT_TRUE(definition.getDisplayName().isNull());
    EXPECT_EQ(definition.getVersion(), 0);
}

TEST(MetricJson, aVersionKeepsItsLowEightBits)
{
    PMetricDefinition definition("a");
    ASSERT_TRUE(definition.fromJson(object(R"({"value": "a", "type": "Bool", "version": 259.9})"), nullptr));
    EXPECT_EQ(definition.getVersion(), 3);
}

TEST(MetricJson, membersThatAreNoObjectsAreSkipped)
{
    PMetricValues store = storeOf({metric("old", PMetricType::Bool)});
    ASSERT_TRUE(store.fromJsonDefinitions(
        object(R"({"a": {"value": "a", "type": "Bool"}, "b": 5, "c": null})"), nullptr));
    ASSERT_EQ(store.getDefinitions().size(), 1);
    EXPECT_EQ(store.getDefinitions().first().getId(), "a");
}

TEST(MetricJson, definitionsBeforeAFailureStay)
{
    PMetricValues store;
    EXPECT_FALSE(store.fromJsonDefinitions(
        object(R"({"a": {"value": "a", "type": "Bool"}, "b": {}, "c": {"value": "c", "type": "Bool"}})"),
        nullptr));
    ASSERT_EQ(store.getDefinitions().size(), 1);
    EXPECT_EQ(store.getDefinitions().first().getId(), "a");
}

// Reading values

TEST(MetricJson, nansGoThereAndBack)
{
    PMetricValues store
        = storeOf({metric("a", PMetricType::Double), metric("b", PMetricType::DoubleWithPrecision)});
    store.set("a", QVariant(kNan));
    store.set("b", DoublePrecision(kNan, 3).toQVariant());

    PMetricValues read = storeOf(store.getDefinitions());
    QString error;
    ASSERT_TRUE(read.fromJsonValues(store.toJsonValues(), &error)) << error.toStdString();
    EXPECT_TRUE(std::isnan(read.get("a").toDouble()));
    EXPECT_EQ(read.get("a").type(), QVariant::Double);
    const DoublePrecision precise = DoublePrecision::fromQVariant(read.get("b"));
    EXPECT_TRUE(std::isnan(precise.first));
    EXPECT_EQ(precise.second, 3);
}

TEST(MetricJson, aValueOfAnotherTypeIsNamedByItsPath)
{
    const auto errorFor = [](PMetricType type, const QJsonValue &json) {
        PMetricValues store = storeOf({PMetricDefinition("a").setJsonId("x.y").setType(type)});
        QString error;
        EXPECT_FALSE(store.fromJsonValues({{"x", QJsonObject{{"y", json}}}}, &error));
        return error;
    };
    EXPECT_EQ(errorFor(PMetricType::String, 1), "Metric x.y value is not a string");
    EXPECT_EQ(errorFor(PMetricType::Bool, 1), "Metric x.y value is not a boolean");
    EXPECT_EQ(errorFor(PMetricType::Integer, "1"), "Metric x.y value is not an integer");
    EXPECT_EQ(errorFor(PMetricType::Double, "1"), "Metric x.y value is not a double");
    EXPECT_EQ(errorFor(PMetricType::Invalid, "1"), "");
}

TEST(MetricJson, anIntegerIsTruncated)
{
    PMetricValue value;
    const PMetricDefinition definition = metric("a", PMetricType::Integer);
    ASSERT_TRUE(value.fromJson(3.9, definition, nullptr));
    EXPECT_EQ(value.type(), QVariant::Int);
    EXPECT_EQ(value.toInt(), 3);
    ASSERT_TRUE(value.fromJson(-3.9, definition, nullptr));
    EXPECT_EQ(value.toInt(), -3);
    ASSERT_TRUE(value.fromJson(1e300, definition, nullptr));
    EXPECT_EQ(value.toInt(), std::numeric_limits<int>::max());
}

TEST(MetricJson, aFailureLeavesTheValueUnchanged)
{
    PMetricValue value(QVariant(5));
    EXPECT_FALSE(value.fromJson("x", metric("a", PMetricType::Integer), nullptr));
    EXPECT_FALSE(value.fromJson("x", metric("a", PMetricType::DoubleWithPrecision), nullptr));
    EXPECT_FALSE(value.fromJson("x", metric("a", PMetricType::Invalid), nullptr));
    EXPECT_EQ(value.toInt(), 5);
}

TEST(MetricJson, aNumberWithPrecisionSaysWhatIsWrongWithIt)
{
    const auto errorFor = [](const QJsonValue &json) {
        QString error;
        EXPECT_EQ(DoublePrecision::fromJson(json, &error), DoublePrecision(0.0, 0));
        return error;
    };
    EXPECT_EQ(errorFor(5), "Unable to parse double precision");
    EXPECT_EQ(errorFor(object("{}")), "Unable to find double precision value");
    EXPECT_EQ(errorFor(object(R"({"value":"1"})")), "Invalid double precision value");
    EXPECT_EQ(errorFor(object(R"({"value":1})")), "Unable to find double precision precision");
    EXPECT_EQ(errorFor(object(R"({"value":1,"precision":null})")), "Invalid double precision precision");
    EXPECT_EQ(
        DoublePrecision::fromJson(object(R"({"value":1,"precision":3.7})"), nullptr), DoublePrecision(1, 3));
}

TEST(MetricJson, onlyVersionsOfTheCatalogueCount)
{
    EXPECT_EQ(
        PMetricValues::fromJsonVersion(object(R"({"version":4})")), DefaultMetricVersion::DefaultMetrics7_1);
    EXPECT_EQ(PMetricValues::fromJsonVersion(object(R"({"version":1})")), DefaultMetricVersion::OlderThan6_1);
    EXPECT_EQ(
        PMetricValues::fromJsonVersion(object(R"({"version":5})")), DefaultMetricVersion::NonDefaultMetric);
    EXPECT_EQ(
        PMetricValues::fromJsonVersion(object(R"({"version":"4"})")), DefaultMetricVersion::NonDefaultMetric);
    EXPECT_EQ(PMetricValues::fromJsonVersion(object("{}")), DefaultMetricVersion::NonDefaultMetric);
}

TEST(MetricJson, metricsThatAreNewerThanTheDocumentAreMissingAndNotLookedFor)
{
    PMetricValues store = storeOf({metric("applicationDetails.profiledRanks", PMetricType::String, 4),
        metric("report.name", PMetricType::String, 3), metric("time", PMetricType::Double, 4)});
    QString error;
    ASSERT_TRUE(store.fromJsonValues(
        object(R"({"version":3,"applicationDetails":{"profiledRanks":7},"report":{"name":"R"}})"), &error))
        << error.toStdString();
    EXPECT_EQ(store.get("applicationDetails.profiledRanks").type(), QVariant::String);
    EXPECT_TRUE(store.get("applicationDetails.profiledRanks").toString().isNull());
    EXPECT_EQ(store.get("report.name").toString(), "R");
    EXPECT_TRUE(std::isnan(store.get("time").toDouble()));
}

TEST(MetricJson, withoutAVersionEveryMetricOfTheCatalogueIsMissingAndTheReportsOwnAreRead)
{
    PMetricValues store
        = storeOf({metric("a", PMetricType::Integer, 1), metric("own", PMetricType::Integer)});
    QString error;
    ASSERT_TRUE(store.fromJsonValues(object(R"({"a":5,"own":6})"), &error)) << error.toStdString();
    EXPECT_EQ(store.get("a").toInt(), 0);
    EXPECT_EQ(store.get("own").toInt(), 6);
}

TEST(MetricJson, aPathThatTheDocumentLacksIsNamed)
{
    for (const char *document : {"{}", R"({"x":5})", R"({"x":{"z":1}})"}) {
        PMetricValues store = storeOf({metric("x.y", PMetricType::Double)});
        QString error;
        EXPECT_FALSE(store.fromJsonValues(object(document), &error));
        EXPECT_EQ(error, "Unable to access value x.y");
    }
}

TEST(MetricJson, readingStopsAtTheFirstBadMetricAndKeepsThoseBefore)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Integer), metric("b", PMetricType::Integer),
        metric("c", PMetricType::Integer)});
    store.set("c", QVariant(9));
    QString error;
    EXPECT_FALSE(store.fromJsonValues(object(R"({"a":1,"b":"x","c":3})"), &error));
    EXPECT_EQ(store.get("a").toInt(), 1);
    EXPECT_FALSE(store.hasMetricValue("b"));
    EXPECT_FALSE(store.hasMetricValue("c"));
}

TEST(MetricJson, anOlderErrorTextStopsTheReadingOfValues)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Integer)});
    QString error = "older";
    EXPECT_FALSE(store.fromJsonValues(object(R"({"a":1})"), &error));
    EXPECT_EQ(error, "older");
    EXPECT_FALSE(store.hasMetricValue("a"));
}

// Whole documents

TEST(MetricJson, aWholeReportIsReadIntoAnEmptyStore)
{
    PMetricValues store;
    QString error;
    ASSERT_TRUE(store.fromJson(
        R"({"metricData":{"a":{"value":"x.a","type":"Integer"}},"data":{"x":{"a":7}}})", &error))
        << error.toStdString();
    EXPECT_EQ(store.get("a").toInt(), 7);
}

TEST(MetricJson, aStoreWithDefinitionsIgnoresThoseOfTheDocument)
{
    PMetricValues store = storeOf({metric("b", PMetricType::Integer)});
    QString error;
    ASSERT_TRUE(store.fromJson(
        R"({"metricData":{"a":{"value":"a","type":"Integer"}},"data":{"a":7,"b":8}})", &error));
    EXPECT_FALSE(store.hasMetricDefinition("a"));
    EXPECT_EQ(store.get("b").toInt(), 8);
}

TEST(MetricJson, dataThatIsNoObjectIsAMetricOfABareDocument)
{
    PMetricValues store = storeOf({metric("data", PMetricType::Integer)});
    QString error;
    ASSERT_TRUE(store.fromJson(R"({"data":5})", &error)) << error.toStdString();
    EXPECT_EQ(store.get("data").toInt(), 5);
}

TEST(MetricJson, aBareValuesDocumentIsRead)
{
    PMetricValues store = storeOf({metric("a.b", PMetricType::Bool)});
    ASSERT_TRUE(store.fromJson(R"({"a":{"b":true}})", nullptr));
    EXPECT_TRUE(store.get("a.b").toBool());
}

TEST(MetricJson, badTextIsRefused)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Bool)});
    QString error;
    EXPECT_FALSE(store.fromJson("{", &error));
    EXPECT_EQ(error, "malformed JSON input");
    EXPECT_FALSE(store.fromJson("[1]", &error));
    EXPECT_EQ(error, "Expected JSON data to be an object");
    EXPECT_FALSE(store.fromJson("", nullptr));
}

TEST(MetricJson, aMetricThatTheDocumentLeavesUnsetMakesItFailInSilence)
{
    // Filed under another key than its id, the metric never gets the value that is read for it.
    PMetricValues store({{"b", metric("a", PMetricType::Integer)}});
    QString error;
    EXPECT_FALSE(store.fromJson(R"({"a":1})", &error));
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    EXPECT_FALSE(store.hasMetricValue("b"));
}

class DefaultReportOfTheInstallation : public ::testing::Test {
protected:
    void SetUp() override { BrivaneGlobals::instance()->setInstallPath(PathString(mRoot.path())); }
    void TearDown() override { BrivaneGlobals::instance()->setInstallPath(mBefore); }

    void install(const QByteArray &xml)
    {
        QDir(mRoot.path()).mkpath("quillon-reports/templates");
        QFile file(mRoot.filePath("quillon-reports/templates/report-default.xml"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(xml);
    }

    QTemporaryDir mRoot;
    PathString mBefore = BrivaneGlobals::instance()->installPath();
};

TEST_F(DefaultReportOfTheInstallation, givesTheDefinitionsOfADocumentWithoutAny)
{
    install(R"(<report xmlns="http://brivane.example/2016/BrivaneReports" name="Default">
        <reportMetrics><reportMetric id="cpu.memPercent" displayName="Memory" units="%" brivaneMetricVersion="1"/>
        </reportMetrics>
        <summary><heading>h</heading>
        <entry id="e" reportMetric="cpu.memPercent" /></summary>
        <subsections/></report>)");
    PMetricValues store;
    QString error;
    EXPECT_TRUE(store.fromJson(R"({"e":{"advice":"Use less."}})", &error)) << error.toStdString();
    EXPECT_TRUE(store.hasMetricDefinition("cpu.memPercent"));
    EXPECT_TRUE(store.hasMetricDefinition("overview.bound1.long"));
    EXPECT_TRUE(std::isnan(store.get("cpu.memPercent").toDouble()));
}

TEST_F(DefaultReportOfTheInstallation, isNamedWhenItIsMissing)
{
    PMetricValues store;
    QString error;
    EXPECT_FALSE(store.fromJson("{}", &error));
    EXPECT_TRUE(error.contains("report-default.xml")) << error.toStdString();
    EXPECT_FALSE(store.fromJson("{}", nullptr));
}

TEST(MetricJsonFile, isReadAsUtf8)
{
    QTemporaryDir folder;
    QFile file(folder.filePath("values.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{\"a\":\"na\xc3\xafve \xe2\x82\xac\"}");
    file.close();
    PMetricValues store = storeOf({metric("a", PMetricType::String)});
    ASSERT_TRUE(store.fromJson(file, nullptr));
    EXPECT_EQ(store.get("a").toString(), QString::fromUtf8("na\xc3\xafve \xe2\x82\xac"));
    EXPECT_FALSE(file.isOpen());
}

TEST(MetricJsonFile, isNamedWhenItCannotBeOpened)
{
    QFile file("/no/such/folder/values.json");
    PMetricValues store;
    QString error;
    EXPECT_FALSE(store.fromJson(file, &error));
    EXPECT_EQ(error, "Unable to open file /no/such/folder/values.json");
}
