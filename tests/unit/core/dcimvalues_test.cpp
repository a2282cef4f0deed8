#include "api/performancemetric.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

#include <limits>

using namespace quillon::report;

namespace {

PMetricDefinition metric(const QString &id, PMetricType type)
{
    return PMetricDefinition(id).setJsonId(id).setType(type);
}

PMetricValues storeOf(const PMetricDefinition::List &definitions)
{
    PMetricValues store;
    store << definitions;
    return store;
}

} // namespace

TEST(DcimValues, areEmptyWhereNothingIsRequested)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Integer)});
    store.set("a", QVariant(1));
    EXPECT_TRUE(store.toDcimValues({}).isEmpty());
}

TEST(DcimValues, leaveOutARequestedMetricWithoutValue)
{
    PMetricValues store = storeOf({metric("a", PMetricType::Integer), metric("b", PMetricType::Integer)});
    store.set("b", QVariant(1));
    const QList<DcimValue> records = store.toDcimValues({"b", "a", "c"});
    ASSERT_EQ(records.size(), 1);
    EXPECT_EQ(records.first().id, "com.brivane.b");
}

TEST(DcimValues, carryTypeUnitsAndTitle)
{
    PMetricValues store
        = storeOf({metric("io.readRate", PMetricType::Double).setUnits("B/s").setDisplayName("Read")});
    store.set("io.readRate", QVariant(1234567.0));
    const DcimValue expected = {"com.brivane.io.readRate", "1.23457e+06", "double", "B/s", "Read"};
    EXPECT_EQ(store.toDcimValues({"io.readRate"}), QList<DcimValue>({expected}));
}

TEST(DcimValues, shortenTheIdsOfPlainValuesAndOfTheApplication)
{
    const QStringList ids = {"applicationDetails.nodes.plain", "energy.total.plain",
        "applicationDetails.profiledRanks", "applicationDetails.exeName", "some.other.plain"};
    PMetricValues store;
    for (const QString &id : ids) {
        store << metric(id, PMetricType::Integer);
        store.set(id, QVariant(1));
    }
    QStringList sent;
    for (const DcimValue &record : store.toDcimValues(ids))
        sent << record.id;
    EXPECT_EQ(sent,
        QStringList({"com.brivane.application.exeName", "com.brivane.application.nodes",
            "com.brivane.application.profile", "com.brivane.energy.total", "com.brivane.some.other.plain"}));
}

TEST(DcimValues, everyTypeHasItsText)
{
    const auto text = [](const QVariant &value, PMetricType type) {
        return PMetricValue(value).toDcim(metric("a", type)).value;
    };
    EXPECT_TRUE(text(QVariant("x"), PMetricType::Invalid).isNull());
    EXPECT_EQ(text(QVariant("x"), PMetricType::String), "x");
    EXPECT_EQ(text(QVariant(true), PMetricType::Bool), "1");
    EXPECT_EQ(text(QVariant(false), PMetricType::Bool), "0");
    EXPECT_EQ(text(QVariant(-12), PMetricType::Integer), "-12");
    EXPECT_EQ(text(QVariant(0.1), PMetricType::Double), "0.1");
    EXPECT_EQ(text(QVariant(std::numeric_limits<double>::quiet_NaN()), PMetricType::Double), "nan");
    EXPECT_EQ(text(DoublePrecision(1234.5678, 3).toQVariant(), PMetricType::DoubleWithPrecision), "1.23e+03");
}

TEST(DcimValues, equalityLooksAtAllFields)
{
    const DcimValue record = {"i", "v", "t", "u", "n"};
    EXPECT_EQ(record, (DcimValue{"i", "v", "t", "u", "n"}));
    EXPECT_NE(record, (DcimValue{"x", "v", "t", "u", "n"}));
    EXPECT_NE(record, (DcimValue{"i", "x", "t", "u", "n"}));
    EXPECT_NE(record, (DcimValue{"i", "v", "x", "u", "n"}));
    EXPECT_NE(record, (DcimValue{"i", "v", "t", "x", "n"}));
    EXPECT_NE(record, (DcimValue{"i", "v", "t", "u", "x"}));
}
