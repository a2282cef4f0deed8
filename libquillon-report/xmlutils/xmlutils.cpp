#include "xmlutils/xmlutils.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

// writeAttributes() would declare a namespace for each prefix, hence one by one under the name as written.
void copyStartElement(const QXmlStreamReader &xml, QXmlStreamWriter &writer)
{
    writer.writeStartElement(xml.qualifiedName().toString());
    const QXmlStreamAttributes attributes = xml.attributes();
    for (const QXmlStreamAttribute &attribute : attributes)
        writer.writeAttribute(attribute.qualifiedName().toString(), attribute.value().toString());
}

void copyCharacters(const QXmlStreamReader &xml, QXmlStreamWriter &writer)
{
    if (xml.isCDATA())
        writer.writeCDATA(xml.text().toString());
    else
        writer.writeCharacters(xml.text().toString());
}

void copyToken(const QXmlStreamReader &xml, QXmlStreamWriter &writer)
{
    switch (xml.tokenType()) {
    case QXmlStreamReader::StartElement:
        copyStartElement(xml, writer);
        break;
    case QXmlStreamReader::EndElement:
        writer.writeEndElement();
        break;
    case QXmlStreamReader::Characters:
        copyCharacters(xml, writer);
        break;
    case QXmlStreamReader::Comment:
        writer.writeComment(xml.text().toString());
        break;
    case QXmlStreamReader::DTD:
        writer.writeDTD(xml.text().toString());
        break;
    case QXmlStreamReader::EntityReference:
        writer.writeEntityReference(xml.name().toString());
        break;
    case QXmlStreamReader::ProcessingInstruction:
        writer.writeProcessingInstruction(
            xml.processingInstructionTarget().toString(), xml.processingInstructionData().toString());
        break;
    case QXmlStreamReader::NoToken:
    case QXmlStreamReader::Invalid:
    case QXmlStreamReader::StartDocument:
    case QXmlStreamReader::EndDocument:
        break;
    }
}

bool streamHasEnded(QXmlStreamReader::TokenType token)
{
    return token == QXmlStreamReader::Invalid || token == QXmlStreamReader::NoToken;
}

} // namespace

bool xmlutils::readNextStartElement(QXmlStreamReader &xml)
{
    for (;;) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement)
            return true;
        if (token == QXmlStreamReader::EndElement || streamHasEnded(token))
            return false;
    }
}

bool xmlutils::readNextEndElement(QXmlStreamReader &xml)
{
    for (int depth = 0;;) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (streamHasEnded(token))
            return false;
        if (token == QXmlStreamReader::StartElement)
            ++depth;
        else if (token == QXmlStreamReader::EndElement && depth-- == 0)
            return true;
    }
}

QString xmlutils::readElementXml(QXmlStreamReader &xml)
{
    QString result;
    QXmlStreamWriter writer(&result);
    for (int depth = 0;;) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (streamHasEnded(token) || token == QXmlStreamReader::EndDocument)
            return result;
        if (token == QXmlStreamReader::StartElement)
            ++depth;
        else if (token == QXmlStreamReader::EndElement && depth-- == 0)
            return result;
        copyToken(xml, writer);
    }
}
