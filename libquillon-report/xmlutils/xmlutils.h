#ifndef QUILLON_REPORT_XMLUTILS_XMLUTILS_H
#define QUILLON_REPORT_XMLUTILS_XMLUTILS_H

#include "api/export.h"

#include <QString>

class QXmlStreamReader;

// Ways to walk through the children of an element. None of them says why a stream ended: callers that want to
// know ask the stream for its error.
namespace xmlutils {

// Reads on to the next start element and returns true, or returns false at the end of the enclosing element
// or of the stream.
QUILLON_REPORT_EXPORT bool readNextStartElement(QXmlStreamReader &xml);

// Skips the rest of the current element, its children included. False if the stream ends before.
QUILLON_REPORT_EXPORT bool readNextEndElement(QXmlStreamReader &xml);

// The text of everything inside the current element, whose end tag is read, too. Elements keep their
// prefixes, but no namespace is declared. A stream that ends early gives what came before its end.
QUILLON_REPORT_EXPORT QString readElementXml(QXmlStreamReader &xml);

} // namespace xmlutils

#endif
