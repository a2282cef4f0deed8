#include "definitiontest.h"
#include "xmlutils/xmlutils.h"

#include <QXmlStreamReader>

using namespace quillon::report;
using namespace definitiontest;

namespace {

// A stream that stands at <el>, with the attribute "at" as given, or without one.
class Element {
public:
    explicit Element(const char *value = nullptr)
        : mXml(value ? QStringLiteral("<el at=\"%1\"/>").arg(QLatin1String(value)) : QStringLiteral("<el/>"))
    {
        xmlutils::readNextStartElement(mXml);
    }

    bool read(ReportDefinition::XmlNecessityType necessity, QColor &out)
    {
        return ReportDefinition::readColourAttribute(
            QStringLiteral("at"), necessity, mXml, DocumentUrl, out, &error);
    }

    ::testing::AssertionResult complains(const char *message) const
    {
        return isLocated(error, QStringLiteral("Error"), DocumentUrl, QLatin1String(message));
    }

    QString error = QStringLiteral("untouched");

private:
    QXmlStreamReader mXml;
};

} // namespace

struct ColourRow {
    const char *name;
    const char *text;
    QColor colour;
};

class ColourAttribute : public ::testing::TestWithParam<ColourRow> { };

TEST_P(ColourAttribute, IsRead)
{
    QColor out(Qt::green);
    Element element(GetParam().text);
    EXPECT_TRUE(element.read(ReportDefinition::Mandatory, out));
    EXPECT_EQ(GetParam().colour, out);
    EXPECT_EQ("untouched", element.error);
}

INSTANTIATE_TEST_SUITE_P(Forms, ColourAttribute,
    ::testing::Values(ColourRow{"Name", "red", QColor(255, 0, 0)},
        ColourRow{"NameInAnyCase", "DarkBlue", QColor(0, 0, 139)},
        ColourRow{"HexCode", "#ff0000", QColor(255, 0, 0)},
        ColourRow{"ShortHexCode", "#0f0", QColor(0, 255, 0)}, ColourRow{"Rgb", "rgb(1,2,3)", QColor(1, 2, 3)},
        ColourRow{"RgbWithBlanks", "rgb(  1 ,\t2 , 3 )", QColor(1, 2, 3)},
        ColourRow{"RgbLimits", "rgb(255,0,255)", QColor(255, 0, 255)},
        ColourRow{"HslLimits", "hsl(359,100,100)", QColor::fromHsl(359, 255, 255, 255)},
        ColourRow{"HslPercentagesAreCut", "hsl(0,33,33)", QColor::fromHsl(0, 84, 84, 255)},
        ColourRow{"Hsv", "hsv(120,50,100)", QColor::fromHsv(120, 127, 255, 255)}),
    [](const auto &test) { return test.param.name; });

struct BadColourRow {
    const char *name;
    const char *text;
    const char *message;
};

class BadColourAttribute : public ::testing::TestWithParam<BadColourRow> { };

TEST_P(BadColourAttribute, IsRefusedAndGivesNoColour)
{
    QColor out(Qt::green);
    Element element(GetParam().text);
    EXPECT_FALSE(element.read(ReportDefinition::Optional, out));
    EXPECT_FALSE(out.isValid());
    EXPECT_TRUE(element.complains(GetParam().message));
}

#define BAD_NAME(text)                                                                                       \
    "Invalid colour string '" text "'. Expected a hex code in the form #RGB, #RRGGBB, #RRRGGGBBB, "          \
    "#RRRRGGGGBBBB, a SVG colour name, or a string of the form hsv(H,S,V) or hsl(H,S,L) where H is in the "  \
    "range 0-359 and S, V and L are in the range 0-100."
#define BAD_COMPONENT(component, number, text, range)                                                        \
    "Invalid " component " component '" number "' in the colour string '" text                               \
    "'. Expected a value in the range " range "."

INSTANTIATE_TEST_SUITE_P(Texts, BadColourAttribute,
    ::testing::Values(BadColourRow{"UnknownName", "rosso", BAD_NAME("rosso")},
        BadColourRow{"HexCodeOfNoLength", "#ff", BAD_NAME("#ff")},
        BadColourRow{"NotThreeNumbers", "rgb(1,2)", BAD_NAME("rgb(1,2)")},
        BadColourRow{"Fractions", "rgb(1.0,2,3)", BAD_NAME("rgb(1.0,2,3)")},
        BadColourRow{"Alpha", "rgba(1,2,3,4)", BAD_NAME("rgba(1,2,3,4)")},
        BadColourRow{"MarkersInTheText", "%1 %2", BAD_NAME("%1 %2")},
        BadColourRow{"UpperCasePrefix", "RGB(1,2,3)",
            "Invalid format prefix 'RGB' in the colour string 'RGB(1,2,3)'. Expected a prefix of 'rgb', "
            "'hsv', "
            "or 'hsl'."},
        BadColourRow{"UnknownPrefix", "cmy(1,2,3)",
            "Invalid format prefix 'cmy' in the colour string 'cmy(1,2,3)'. Expected a prefix of 'rgb', "
            "'hsv', "
            "or 'hsl'."},
        BadColourRow{"Red", "rgb(256,0,0)", BAD_COMPONENT("red", "256", "rgb(256,0,0)", "0-255")},
        BadColourRow{"NegativeRed", "rgb(-1,0,0)", BAD_COMPONENT("red", "-1", "rgb(-1,0,0)", "0-255")},
        BadColourRow{"Green", "rgb(0,256,0)", BAD_COMPONENT("green", "256", "rgb(0,256,0)", "0-255")},
        BadColourRow{"Blue", "rgb(0,0,256)", BAD_COMPONENT("blue", "256", "rgb(0,0,256)", "0-255")},
        BadColourRow{"Hue", "hsl(360,0,0)", BAD_COMPONENT("hue", "360", "hsl(360,0,0)", "0-359")},
        BadColourRow{
            "Saturation", "hsl(0,101,0)", BAD_COMPONENT("saturation", "101", "hsl(0,101,0)", "0-100")},
        BadColourRow{"Lightness", "hsl(0,0,101)", BAD_COMPONENT("lightness", "101", "hsl(0,0,101)", "0-100")},
        BadColourRow{"HsvHue", "hsv(360,0,0)", BAD_COMPONENT("hue", "360", "hsv(360,0,0)", "0-359")},
        BadColourRow{
            "HsvSaturation", "hsv(0,101,0)", BAD_COMPONENT("saturation", "101", "hsv(0,101,0)", "0-100")},
        BadColourRow{"Value", "hsv(0,0,101)", BAD_COMPONENT("value", "101", "hsv(0,0,101)", "0-100")},
        BadColourRow{
            "TheFirstOfSeveral", "rgb(1,300,-4)", BAD_COMPONENT("green", "300", "rgb(1,300,-4)", "0-255")}),
    [](const auto &test) { return test.param.name; });

TEST(ColourAttributeNecessity, EmptyOptionalIsNoColourAndNoError)
{
    QColor out(Qt::green);
    Element element("");
    EXPECT_TRUE(element.read(ReportDefinition::Optional, out));
    EXPECT_FALSE(out.isValid());
    EXPECT_EQ("untouched", element.error);
}

TEST(ColourAttributeNecessity, MissingMandatoryIsAMissingString)
{
    QColor out;
    Element element;
    EXPECT_FALSE(element.read(ReportDefinition::Mandatory, out));
    EXPECT_TRUE(element.complains("Missing string attribute 'at' for 'el' element"));
    EXPECT_TRUE(Element().read(ReportDefinition::Optional, out));
}
