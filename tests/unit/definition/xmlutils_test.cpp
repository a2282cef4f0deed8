#include "definitiontest.h"
#include "xmlutils/xmlutils.h"

#include <QXmlStreamReader>

namespace {

// A stream that stands at the start of the root.
class AtRoot {
public:
    explicit AtRoot(const QString &document)
        : xml(document)
    {
        EXPECT_TRUE(xmlutils::readNextStartElement(xml));
    }

    QXmlStreamReader xml;
};

QString contentOf(const QString &document)
{
    AtRoot at(document);
    return xmlutils::readElementXml(at.xml);
}

} // namespace

TEST(ReadNextStartElement, StopsAtEachChildAndAtTheEndOfTheParent)
{
    AtRoot at("<r>text<!-- c --><a/><?pi?><b/>text</r>");
    ASSERT_TRUE(xmlutils::readNextStartElement(at.xml));
    EXPECT_EQ("a", at.xml.name().toString());
    EXPECT_FALSE(xmlutils::readNextStartElement(at.xml)) << "the end of <a>";
    ASSERT_TRUE(xmlutils::readNextStartElement(at.xml));
    EXPECT_EQ("b", at.xml.name().toString());
    EXPECT_FALSE(xmlutils::readNextStartElement(at.xml)) << "the end of <b>";
    EXPECT_FALSE(xmlutils::readNextStartElement(at.xml)) << "the end of <r>";
    EXPECT_EQ("r", at.xml.name().toString());
}

TEST(ReadNextStartElement, EndsWithTheStreamHoweverItEnds)
{
    for (const char *document : {"<r/>", "<r>", "<r><", "<r>&amp"}) {
        SCOPED_TRACE(document);
        AtRoot at(QString::fromLatin1(document));
        for (int i = 0; i < 5; ++i)
            EXPECT_FALSE(xmlutils::readNextStartElement(at.xml));
    }
    QXmlStreamReader empty;
    EXPECT_FALSE(xmlutils::readNextStartElement(empty));
}

TEST(ReadNextEndElement, SkipsTheRestOfTheElementChildrenIncluded)
{
    AtRoot at("<r><a>x<b><c/></b>y</a><d/></r>");
    ASSERT_TRUE(xmlutils::readNextStartElement(at.xml));
    EXPECT_TRUE(xmlutils::readNextEndElement(at.xml));
    EXPECT_EQ("a", at.xml.name().toString());
    ASSERT_TRUE(xmlutils::readNextStartElement(at.xml));
    EXPECT_EQ("d", at.xml.name().toString());
}

TEST(ReadNextEndElement, FailsIfTheStreamEndsBefore)
{
    AtRoot at("<r><a>");
    EXPECT_FALSE(xmlutils::readNextEndElement(at.xml));
    QXmlStreamReader empty;
    EXPECT_FALSE(xmlutils::readNextEndElement(empty));
}

TEST(ReadElementXml, GivesBackWhatIsInsideAndReadsTheEnd)
{
    AtRoot at("<r><t>one <b class=\"x y\">two</b><br/> three</t><u/></r>");
    ASSERT_TRUE(xmlutils::readNextStartElement(at.xml));
    EXPECT_EQ("one <b class=\"x y\">two</b><br/> three", xmlutils::readElementXml(at.xml));
    ASSERT_TRUE(xmlutils::readNextStartElement(at.xml));
    EXPECT_EQ("u", at.xml.name().toString());
}

TEST(ReadElementXml, CopiesEveryKindOfToken)
{
    EXPECT_EQ("<![CDATA[a<b]]>", contentOf("<r><![CDATA[a<b]]></r>"));
    EXPECT_EQ("<!--note-->", contentOf("<r><!--note--></r>"));
    EXPECT_EQ("<?target data?>", contentOf("<r><?target data?></r>"));
    EXPECT_EQ("&lt;&amp;", contentOf("<r>&lt;&amp;</r>"));
    EXPECT_EQ("", contentOf("<r/>"));
}

TEST(ReadElementXml, KeepsPrefixesWithoutDeclaringNamespaces)
{
    EXPECT_EQ("<p:a p:b=\"1\">x</p:a>", contentOf("<r xmlns:p=\"n\"><p:a p:b=\"1\">x</p:a></r>"));
    EXPECT_EQ("<a/>", contentOf("<r xmlns=\"n\"><a/></r>"));
}

TEST(ReadElementXml, EscapesAttributeValues)
{
    EXPECT_EQ("<a b=\"&lt;&quot;&amp;\"/>", contentOf("<r><a b='&lt;\"&amp;'/></r>"));
}

TEST(ReadElementXml, EndsWithAStreamThatEndsEarly)
{
    EXPECT_TRUE(contentOf("<r><a>one<b>").startsWith("<a>one<b"));
}
