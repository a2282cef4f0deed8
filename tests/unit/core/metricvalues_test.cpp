#include "api/performancemetric.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

using namespace quillon::report;

namespace {

PMetricDefinition metric(const QString &id, PMetricType type)
{
    return PMetricDefinition(id).setJsonId(id).setType(type);
}

} // namespace

TEST(MetricValues, aDefinedMetricWithoutValueIsInvalid)
{
    PMetricValues store;
    store << metric("a", PMetricType::String);
    EXPECT_TRUE(store.hasMetricDefinition("a"));
    EXPECT_FALSE(store.hasMetricValue("a"));
    EXPECT_FALSE(store.get("a").isValid());
}

TEST(MetricValues, theDefaultOfAStringIsANullStringThatCountsAsAValue)
{
    PMetricValues store;
    store << metric("a", PMetricType::String);
    EXPECT_TRUE(store.setDefaultValue("a"));
    EXPECT_TRUE(store.hasMetricValue("a"));
    EXPECT_EQ(store.get("a").type(), QVariant::String);
    EXPECT_TRUE(store.get("a").toString().isNull());
}

TEST(MetricValues, aStoredInvalidVariantCountsAsAValue)
{
    PMetricValues store;
    store << metric("a", PMetricType::String);
    EXPECT_TRUE(store.set("a", QVariant()));
    EXPECT_TRUE(store.hasMetricValue("a"));
}

TEST(MetricValues, doNotCompareTypes)
{
    PMetricValues store;
    store << metric("a", PMetricType::Integer);
    EXPECT_TRUE(store.set("a", QVariant("text")));
    EXPECT_TRUE(store.hasValueSetForAllMetrics(nullptr));
    EXPECT_EQ(store.get("a").toString(), "text");
}

TEST(MetricValues, refuseAnUnknownMetric)
{
    PMetricValues store;
    EXPECT_FALSE(store.set("a", QVariant(1)));
    EXPECT_FALSE(store.setDefaultValue("a"));
    EXPECT_FALSE(store.setUnits("a", "s"));
    EXPECT_FALSE(store.hasMetricValue("a"));
    EXPECT_FALSE(store.hasMetricDefinition("a"));
    EXPECT_TRUE(store.getMetricDefinition("a").getId().isNull());
    EXPECT_FALSE(store.getMetricDefinition("a").isValid());
}

TEST(MetricValues, aNewDefinitionKeepsTheValueOfTheOld)
{
    PMetricValues store;
    store << metric("a", PMetricType::Integer).setUnits("s");
    store.set("a", QVariant(7));
    store.setMetricDefinition(metric("a", PMetricType::Double));
    EXPECT_EQ(store.get("a").toInt(), 7);
    EXPECT_EQ(store.getMetricDefinition("a").getType(), PMetricType::Double);
    EXPECT_TRUE(store.getMetricDefinition("a").getUnits().isNull());
}

TEST(MetricValues, ofTwoDefinitionsInAListTheLaterWins)
{
    PMetricValues store;
    store << PMetricDefinition::List{metric("a", PMetricType::Integer), metric("a", PMetricType::Bool)};
    ASSERT_EQ(store.getDefinitions().size(), 1);
    EXPECT_EQ(store.getDefinitions().first().getType(), PMetricType::Bool);
}

TEST(MetricValues, setUnitsKeepsTheValue)
{
    PMetricValues store;
    store << metric("a", PMetricType::Double);
    store.set("a", QVariant(1.5));
    EXPECT_TRUE(store.setUnits("a", "MB/s"));
    EXPECT_EQ(store.getMetricDefinition("a").getUnits(), "MB/s");
    EXPECT_EQ(store.get("a").toDouble(), 1.5);
}

TEST(MetricValues, anEmptyStoreMissesNothing)
{
    EXPECT_TRUE(PMetricValues().hasValueSetForAllMetrics(nullptr));
}

TEST(MetricValues, everyMissingMetricIsListedInKeyOrder)
{
    PMetricValues store;
    store << metric("c", PMetricType::Double) << metric("a", PMetricType::Double)
          << metric("b", PMetricType::Double);
    store.set("b", QVariant(1.0));
    QStringList missing = {"older"};
    EXPECT_FALSE(store.hasValueSetForAllMetrics(&missing));
    EXPECT_EQ(missing, QStringList({"older", "a", "c"}));
}

TEST(MetricValues, definitionsComeInKeyOrder)
{
    PMetricValues store;
    store << metric("b", PMetricType::Double) << metric("a", PMetricType::Double);
    EXPECT_EQ(store.getDefinitions().at(0).getId(), "a");
    EXPECT_EQ(store.getDefinitions().at(1).getId(), "b");
}

TEST(MetricValues, valuesOutliveClearedDefinitions)
{
    PMetricValues store;
    store << metric("a", PMetricType::Integer);
    store.set("a", QVariant(3));
    store.clearDefinitions();
    EXPECT_FALSE(store.hasMetricDefinition("a"));
    EXPECT_TRUE(store.hasMetricValue("a"));
    store.clearValues();
    EXPECT_FALSE(store.hasMetricValue("a"));
}

TEST(MetricValues, startFromMaps)
{
    const PMetricValues store({{"a", metric("a", PMetricType::Integer)}}, {{"a", PMetricValue(QVariant(4))}});
    EXPECT_TRUE(store.hasValueSetForAllMetrics(nullptr));
    EXPECT_EQ(store.get("a").toInt(), 4);
}

TEST(MetricValues, copiesAreIndependent)
{
    PMetricValues store;
    store << metric("a", PMetricType::Integer);
    PMetricValues copy = store;
    copy.set("a", QVariant(1));
    EXPECT_FALSE(store.hasMetricValue("a"));
}
