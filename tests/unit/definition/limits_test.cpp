// What a definition may not do to the program that reads it.

#include "definitiontest.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace quillon::report;
using namespace definitiontest;

namespace {

QByteArray idOfParts(int count)
{
    QByteArray id = "a";
    for (int part = 1; part < count; ++part)
        id += ".a";
    return id;
}

QString refusal(const QByteArray &xml, const QString &schema = NoSchema)
{
    const Loaded loaded = load(xml, schema);
    return loaded.definition ? QStringLiteral("accepted") : loaded.error;
}

// A report whose deepest element is that deep; report, summary and heading are three.
QByteArray nested(int depth)
{
    const int count = depth - 3;
    return fullReport(OneMetric,
        "<heading>" + QByteArray("<b>").repeated(count) + QByteArray("</b>").repeated(count)
            + "</heading><entry id=\"e\" reportMetric=\"m\"/>");
}

QByteArray withRootAttributes(const QByteArray &attributes)
{
    return fullReport().replace(" name=\"Full\"", " name=\"Full\" " + attributes);
}

} // namespace

TEST(Limits, AnIdHasEightyParts)
{
    const QByteArray longest = idOfParts(80);
    EXPECT_TRUE(load(fullReport("<reportMetric id=\"" + longest + "\" displayName=\"M\"/>",
                         "<heading/><entry id=\"" + longest + "\" reportMetric=\"" + longest + "\"/>",
                         "<subsection id=\"" + longest + "\" heading=\"S\"/>"))
                    .definition);

    const QByteArray tooLong = idOfParts(81);
    const QString message = QStringLiteral("The id=\"%1\" has more than 80 parts.").arg(QString(tooLong));
    for (const QByteArray &xml : {fullReport("<reportMetric id=\"" + tooLong + "\" displayName=\"M\"/>"),
             fullReport(OneMetric, "<heading/><entry id=\"" + tooLong + "\" reportMetric=\"m\"/>"),
             fullReport(OneMetric, OneEntry, "<subsection id=\"" + tooLong + "\" heading=\"S\"/>")})
        EXPECT_TRUE(isLocated(refusal(xml), "Error", DocumentUrl, message));
}

TEST(Limits, ASubsectionHasAHundredPiecesOfAdvice)
{
    const auto withSlots = [](const QByteArray &number) {
        return fullReport(
            OneMetric, OneEntry, "<subsection id=\"s\" heading=\"S\" maxAdviceStrings=\"" + number + "\"/>");
    };
    EXPECT_TRUE(load(withSlots("100")).definition);
    EXPECT_TRUE(isLocated(refusal(withSlots("101")), "Error", DocumentUrl,
        "Attribute 'maxAdviceStrings' cannot be more than 100. Current value = 101."));
    EXPECT_TRUE(isLocated(refusal(withSlots("2147483647")), "Error", DocumentUrl,
        "Attribute 'maxAdviceStrings' cannot be more than 100. Current value = 2147483647."));
}

TEST(Limits, ElementsAreNestedTwoHundredDeep)
{
    const QString schema = ReportDefinition::DefaultSchemaFilename;
    EXPECT_EQ("accepted", refusal(nested(200), schema));
    for (const int depth : {201, 300000})
        EXPECT_TRUE(isLocated(
            refusal(nested(depth), schema), "Error", DocumentUrl, "Elements are nested more than 200 deep"));
    // Entities can hold elements.
    const QByteArray inEntity = "<!DOCTYPE report [<!ENTITY deep \"" + QByteArray("<b>").repeated(300)
        + QByteArray("</b>").repeated(300) + "\">]>" + nested(3).replace("<heading>", "<heading>&deep;");
    EXPECT_TRUE(
        isLocated(refusal(inEntity, schema), "Error", DocumentUrl, "Elements are nested more than 200 deep"));
}

// Names are numbered over all documents of a process, with room for 510 namespaces.
TEST(Limits, DocumentsOfAProcessMayHaveAsManyNamespacesAsTheyLike)
{
    const QString schema = ReportDefinition::DefaultSchemaFilename;
    for (int document = 0; document < 40; ++document) {
        QByteArray declarations;
        for (int i = 0; i < 150; ++i) {
            const QByteArray name = "n" + QByteArray::number(document) + '-' + QByteArray::number(i);
            declarations += " xmlns:" + name + "=\"urn:" + name + "\" " + name + ":a" + name + "=\"1\"";
        }
        const QString answer
            = refusal(nested(3).replace("<heading>", "<heading><b" + declarations + "/>"), schema);
        EXPECT_FALSE(answer.contains("namespaces")) << answer.toStdString();
    }
    QByteArray many;
    for (int i = 0; i < 201; ++i)
        many += " xmlns:n" + QByteArray::number(i) + "=\"urn:" + QByteArray::number(i) + "\"";
    EXPECT_TRUE(isLocated(refusal(nested(3).replace("<heading>", "<heading><b" + many + "/>"), schema),
        "Error", DocumentUrl, "There are more than 2000 names, or more than 200 namespaces"));
    EXPECT_EQ("accepted", refusal(nested(3), schema));
}

TEST(Limits, ADocumentNamesNoSchemaOfItsOwn)
{
    // A schema that Qt would load and accept, so that nothing but the rule can refuse it.
    const QTemporaryDir folder;
    QFile other(folder.filePath("other.xsd"));
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write("<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" targetNamespace=\"urn:other\"/>");
    other.close();
    const QByteArray address = QUrl::fromLocalFile(other.fileName()).toEncoded();

    const QByteArray instance = "xmlns:i=\"http://www.w3.org/2001/XMLSchema-instance\" ";
    const QString message
        = QStringLiteral("Element 'report' names a schema. Reports have one schema, which needs no naming");
    const QString schema = ReportDefinition::DefaultSchemaFilename;
    for (const QByteArray &attribute :
        {"i:schemaLocation=\"urn:other " + address + "\"", "i:noNamespaceSchemaLocation=\"" + address + "\"",
            QByteArray("i:schemaLocation=\"urn:other http://127.0.0.1:9/other.xsd\"")})
        EXPECT_TRUE(isLocated(
            refusal(withRootAttributes(instance + attribute), schema), "Error", DocumentUrl, message));
    EXPECT_EQ("accepted", refusal(withRootAttributes(instance), schema));
}
