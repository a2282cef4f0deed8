#include "api/performancemetric.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

using namespace quillon::report;

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();

quint64 bitsOf(double value)
{
    quint64 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

QVariant precisionMap(const QVariant &value, const QVariant &precision)
{
    return QVariantMap{{"value", value}, {"precision", precision}};
}

} // namespace

TEST(MetricType, numbersAreStable)
{
    EXPECT_EQ(int(PMetricType::Invalid), 0);
    EXPECT_EQ(int(PMetricType::String), 1);
    EXPECT_EQ(int(PMetricType::Bool), 2);
    EXPECT_EQ(int(PMetricType::Integer), 3);
    EXPECT_EQ(int(PMetricType::Double), 4);
    EXPECT_EQ(int(PMetricType::DoubleWithPrecision), 5);
    EXPECT_EQ(PMetricType(), PMetricType::Invalid);
}

TEST(MetricType, namesForPeopleAndForMonitoring)
{
    EXPECT_TRUE(PMetricType(PMetricType::Invalid).toString().isNull());
    EXPECT_TRUE(PMetricType(PMetricType::Invalid).toGmetricString().isNull());
    EXPECT_EQ(PMetricType(PMetricType::String).toString(), "String");
    EXPECT_EQ(PMetricType(PMetricType::String).toGmetricString(), "string");
    EXPECT_EQ(PMetricType(PMetricType::Bool).toString(), "Bool");
    EXPECT_EQ(PMetricType(PMetricType::Bool).toGmetricString(), "uint8");
    EXPECT_EQ(PMetricType(PMetricType::Integer).toString(), "Integer");
    EXPECT_EQ(PMetricType(PMetricType::Integer).toGmetricString(), "int32");
    EXPECT_EQ(PMetricType(PMetricType::Double).toString(), "Double");
    EXPECT_EQ(PMetricType(PMetricType::Double).toGmetricString(), "double");
    EXPECT_EQ(PMetricType(PMetricType::DoubleWithPrecision).toString(), "DoubleWithPrecision");
    EXPECT_EQ(PMetricType(PMetricType::DoubleWithPrecision).toGmetricString(), "double");
}

TEST(MetricType, everyNameReadsBackExactly)
{
    for (int number = PMetricType::String; number <= PMetricType::DoubleWithPrecision; ++number) {
        const PMetricType type(static_cast<PMetricType::value_type>(number));
        EXPECT_EQ(PMetricType::fromString(type.toString()), type);
    }
    EXPECT_EQ(PMetricType::fromString("string"), PMetricType::Invalid);
    EXPECT_EQ(PMetricType::fromString("Doubl"), PMetricType::Invalid);
    EXPECT_EQ(PMetricType::fromString("Double "), PMetricType::Invalid);
    EXPECT_EQ(PMetricType::fromString(QString()), PMetricType::Invalid);
}

TEST(MetricType, defaultValues)
{
    EXPECT_FALSE(PMetricType(PMetricType::Invalid).defaultValue().isValid());
    const QVariant text = PMetricType(PMetricType::String).defaultValue();
    EXPECT_EQ(text.type(), QVariant::String);
    EXPECT_TRUE(text.toString().isNull());
    EXPECT_EQ(PMetricType(PMetricType::Bool).defaultValue(), QVariant(false));
    EXPECT_EQ(PMetricType(PMetricType::Integer).defaultValue(), QVariant(0));
    EXPECT_EQ(PMetricType(PMetricType::Double).defaultValue(), QVariant(0.0));
    EXPECT_EQ(PMetricType(PMetricType::DoubleWithPrecision).defaultValue(), precisionMap(0.0, 0));
}

TEST(MetricType, onlyNumbersWithFractionsTellMissingFromDefault)
{
    EXPECT_EQ(bitsOf(PMetricType(PMetricType::Double).missingValue().toDouble()), 0x7ff8000000000000u);
    const auto precise
        = DoublePrecision::fromQVariant(PMetricType(PMetricType::DoubleWithPrecision).missingValue());
    EXPECT_EQ(bitsOf(precise.first), 0x7ff8000000000000u);
    EXPECT_EQ(precise.second, 0);

    EXPECT_FALSE(PMetricType(PMetricType::Invalid).missingValue().isValid());
    for (const auto type : {PMetricType::String, PMetricType::Bool, PMetricType::Integer})
        EXPECT_EQ(PMetricType(type).missingValue(), PMetricType(type).defaultValue());
}

TEST(MetricType, everyDefaultAndMissingValueIsOfItsType)
{
    for (int number = PMetricType::String; number <= PMetricType::DoubleWithPrecision; ++number) {
        const PMetricType type(static_cast<PMetricType::value_type>(number));
        EXPECT_TRUE(type.isSameType(type.defaultValue())) << type.toString().toStdString();
        EXPECT_TRUE(type.isSameType(type.missingValue())) << type.toString().toStdString();
    }
}

TEST(MetricType, impliesNoConversionBetweenNumbers)
{
    EXPECT_FALSE(PMetricType(PMetricType::Integer).isSameType(QVariant(1.0)));
    EXPECT_FALSE(PMetricType(PMetricType::Double).isSameType(QVariant(1)));
    EXPECT_FALSE(PMetricType(PMetricType::Bool).isSameType(QVariant(1)));
    EXPECT_EQ(PMetricType::forTypeOf(QVariant(1u)), PMetricType::Invalid);
    EXPECT_EQ(PMetricType::forTypeOf(QVariant(qlonglong(1))), PMetricType::Invalid);
}

TEST(MetricType, isFoundForAVariant)
{
    EXPECT_EQ(PMetricType::forTypeOf(QVariant("x")), PMetricType::String);
    EXPECT_EQ(PMetricType::forTypeOf(QVariant(true)), PMetricType::Bool);
    EXPECT_EQ(PMetricType::forTypeOf(QVariant(1)), PMetricType::Integer);
    EXPECT_EQ(PMetricType::forTypeOf(QVariant(1.0)), PMetricType::Double);
    EXPECT_EQ(PMetricType::forTypeOf(precisionMap(1.0, 3)), PMetricType::DoubleWithPrecision);
    EXPECT_EQ(PMetricType::forTypeOf(precisionMap(1, 3)), PMetricType::Invalid);
    EXPECT_EQ(PMetricType::forTypeOf(QVariant()), PMetricType::Invalid);
}

TEST(MetricType, nothingIsOfTheInvalidType)
{
    EXPECT_FALSE(PMetricType(PMetricType::Invalid).isSameType(QVariant()));
    EXPECT_FALSE(PMetricType(PMetricType::Invalid).isSameType(QVariant(1u)));
}

TEST(DoublePrecision, printsItsSignificantDigits)
{
    EXPECT_EQ(DoublePrecision(1234.5678, 3).toString(), "1.23e+03");
    EXPECT_EQ(DoublePrecision(0.25, 2).toString(), "0.25");
}

TEST(DoublePrecision, goesThroughAVariant)
{
    const QVariant value = DoublePrecision(2.5, 3).toQVariant();
    EXPECT_EQ(value, precisionMap(2.5, 3));
    EXPECT_EQ(DoublePrecision::fromQVariant(value), DoublePrecision(2.5, 3));
}

TEST(DoublePrecision, isRecognisedByItsTwoKeysAndTheirTypes)
{
    EXPECT_TRUE(DoublePrecision::isDoubleWithPrecision(precisionMap(1.0, 1)));
    EXPECT_FALSE(DoublePrecision::isDoubleWithPrecision(precisionMap(1.0, 1.0)));
    EXPECT_FALSE(DoublePrecision::isDoubleWithPrecision(precisionMap(1, 1)));
    EXPECT_FALSE(DoublePrecision::isDoubleWithPrecision(QVariantMap{{"value", 1.0}}));
    EXPECT_FALSE(DoublePrecision::isDoubleWithPrecision(QVariant(1.0)));
    EXPECT_FALSE(DoublePrecision::isDoubleWithPrecision(QVariant()));

    QVariantMap withMore = precisionMap(1.0, 1).toMap();
    withMore["unit"] = "s";
    EXPECT_TRUE(DoublePrecision::isDoubleWithPrecision(withMore));
}

TEST(DoublePrecision, isZeroForAnyOtherVariant)
{
    EXPECT_EQ(DoublePrecision::fromQVariant(QVariant("x")), DoublePrecision(0.0, 0));
}

TEST(MetricDefinition, settersChain)
{
    const PMetricDefinition definition = PMetricDefinition()
                                             .setId("a")
                                             .setJsonId("x.a")
                                             .setType(PMetricType::Double)
                                             .setUnits("s")
                                             .setDisplayName("A")
                                             .setVersion(4);
    EXPECT_EQ(definition.getId(), "a");
    EXPECT_EQ(definition.getJsonId(), "x.a");
    EXPECT_EQ(definition.getType(), PMetricType::Double);
    EXPECT_EQ(definition.getUnits(), "s");
    EXPECT_EQ(definition.getDisplayName(), "A");
    EXPECT_EQ(definition.getVersion(), 4);
}

TEST(MetricDefinition, startsWithNullTexts)
{
    const PMetricDefinition definition("a");
    EXPECT_EQ(definition.getId(), "a");
    EXPECT_TRUE(definition.getJsonId().isNull());
    EXPECT_TRUE(definition.getUnits().isNull());
    EXPECT_TRUE(definition.getDisplayName().isNull());
    EXPECT_EQ(definition.getType(), PMetricType::Invalid);
    EXPECT_EQ(definition.getVersion(), 0);
}

TEST(MetricDefinition, isValidWithIdPathAndType)
{
    PMetricDefinition definition = PMetricDefinition("a").setJsonId("a").setType(PMetricType::Bool);
    EXPECT_TRUE(definition.isValid());
    EXPECT_FALSE(PMetricDefinition(definition).setId("").isValid());
    EXPECT_FALSE(PMetricDefinition(definition).setJsonId("").isValid());
    EXPECT_FALSE(PMetricDefinition(definition).setType(PMetricType::Invalid).isValid());
}

TEST(MetricDefinition, equalityLooksAtAllFields)
{
    const PMetricDefinition definition = PMetricDefinition("a").setJsonId("a").setType(PMetricType::Bool);
    EXPECT_EQ(definition, PMetricDefinition(definition));
    EXPECT_NE(definition, PMetricDefinition(definition).setId("b"));
    EXPECT_NE(definition, PMetricDefinition(definition).setJsonId("b"));
    EXPECT_NE(definition, PMetricDefinition(definition).setType(PMetricType::Double));
    EXPECT_NE(definition, PMetricDefinition(definition).setUnits("s"));
    EXPECT_NE(definition, PMetricDefinition(definition).setDisplayName("A"));
    EXPECT_NE(definition, PMetricDefinition(definition).setVersion(1));
}

TEST(MetricValue, isNanIsTrueForNansOnly)
{
    EXPECT_TRUE(PMetricValue::isNan(kNan));
    EXPECT_FALSE(PMetricValue::isNan(0.0));
    EXPECT_FALSE(PMetricValue::isNan(std::numeric_limits<double>::infinity()));
}

TEST(MetricValue, takesAVariant)
{
    PMetricValue value;
    EXPECT_FALSE(value.isValid());
    value = QVariant(5);
    EXPECT_EQ(value.toInt(), 5);
}
