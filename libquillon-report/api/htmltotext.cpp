#include "api/htmltotext.h"

#include "api/htmlentities.h"

#include <QMap>
#include <QSet>
#include <QXmlStreamEntityResolver>
#include <QXmlStreamReader>

namespace quillon::report {

namespace {

template <typename T> struct StartElementAction {
    typedef void (*type)(const QString &name, T &result);
};
template <typename T> struct EndElementAction {
    typedef void (*type)(const QString &name, T &result);
};
template <typename T> struct TextElementAction {
    typedef void (*type)(const QString &text, T &result);
};

QMap<QString, QString> makeEntities()
{
    QMap<QString, QString> entities;
    for (const HtmlEntity &entity : kHtmlEntities)
        entities.insert(QLatin1String(entity.name), QChar(entity.character));
    return entities;
}

class HtmlEntityResolver : public QXmlStreamEntityResolver {
public:
    // The reader takes a null string for an error, an empty one for an entity without text.
    QString resolveUndeclaredEntity(const QString &name) override
    {
        static const QMap<QString, QString> entities = makeEntities();
        return entities.value(name, QStringLiteral(""));
    }
};

const QSet<QString> &getBlockElements()
{
    static const QSet<QString> names
        = {"p", "div", "h1", "h2", "h3", "h4", "h5", "h6", "ul", "ol", "pre", "blockquote"};
    return names;
}

const QSet<QString> &getInlineElements()
{
    static const QSet<QString> names = {"b", "big", "i", "small", "tt", "abbr", "acronym", "cite", "code",
        "dfn", "em", "kbd", "strong", "samp", "time", "var", "br", "q", "span", "sub", "sup", "label"};
    return names;
}

// No name begins another.
const char *const kVoidElements[] = {"area", "base", "br", "col", "embed", "hr", "img", "input", "keygen",
    "link", "meta", "param", "source", "track", "wbr"};

// The length of the void element's name at this position of the text; 0 if none begins there.
int voidNameLength(const QString &html, int position)
{
    for (const char *name : kVoidElements) {
        const QLatin1String candidate(name);
        if (html.midRef(position, candidate.size()) == candidate)
            return candidate.size();
    }
    return 0;
}

// The ">" that ends the tag whose attributes begin at this position; -1 if the tag has its slash, or isn't
// well-formed. A quoted value may hold ">" and "/", but not "<", so that nothing behind the next "<" is
// looked at: the time for a whole text grows with its length.
int endOfOpenTag(const QString &html, int position)
{
    const auto endOfValue = [&html](int opening) {
        const QChar quote = html.at(opening);
        int end = opening + 1;
        while (end < html.size() && html.at(end) != quote && html.at(end) != QLatin1Char('<'))
            ++end;
        return end < html.size() && html.at(end) == quote ? end : opening;
    };
    for (; position < html.size(); ++position) {
        const QChar character = html.at(position);
        if (character == QLatin1Char('>'))
            return position;
        if (character == QLatin1Char('/') || character == QLatin1Char('<'))
            return -1;
        if (character == QLatin1Char('"') || character == QLatin1Char('\''))
            position = endOfValue(position);
    }
    return -1;
}

// Gives tags of void elements the slash that XML wants. A longer name that begins with a void one gets it,
// too.
QString closeVoidElements(const QString &html)
{
    QString result;
    int copied = 0;
    for (int tag = html.indexOf(QLatin1Char('<')); tag >= 0; tag = html.indexOf(QLatin1Char('<'), tag + 1)) {
        const int nameLength = voidNameLength(html, tag + 1);
        const int end = nameLength > 0 ? endOfOpenTag(html, tag + 1 + nameLength) : -1;
        if (end < 0)
            continue;
        result += html.midRef(copied, end - copied);
        result += QLatin1Char('/');
        copied = end;
    }
    return result + html.midRef(copied);
}

// Runs of what HTML takes for white space become one blank; special spaces stay.
QString collapsed(const QString &text)
{
    const auto isSpace = [](QChar character) {
        return character == QLatin1Char(' ') || character == QLatin1Char('\n')
            || character == QLatin1Char('\r') || character == QLatin1Char('\t');
    };
    QString result;
    result.reserve(text.size());
    bool inRun = false;
    for (const QChar character : text) {
        if (!isSpace(character))
            result += character;
        else if (!inRun)
            result += QLatin1Char(' ');
        inRun = isSpace(character);
    }
    return result;
}

// Walks to the end of the element whose start tag has been read, or to the end of the stream. The depth is
// counted rather than recursed into: snippets come from outside and may be nested as deeply as they like.
template <typename T>
void analyseXmlStream(QXmlStreamReader &xml, bool collapseWhitespace,
    typename StartElementAction<T>::type startAction, typename EndElementAction<T>::type endAction,
    typename TextElementAction<T>::type textAction, T &result)
{
    int depth = 0;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (startAction)
                startAction(xml.name().toString(), result);
            ++depth;
            break;
        case QXmlStreamReader::EndElement:
            if (endAction)
                endAction(xml.name().toString(), result);
            if (depth == 0)
                return;
            --depth;
            break;
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            if (textAction) {
                const QString text = xml.text().toString();
                textAction(collapseWhitespace ? collapsed(text) : text, result);
            }
            break;
        case QXmlStreamReader::Invalid:
            return;
        default:
            break;
        }
    }
}

template <typename T>
void analyseXmlStream(const QString &html, bool collapseWhitespace,
    typename StartElementAction<T>::type startAction, typename EndElementAction<T>::type endAction,
    typename TextElementAction<T>::type textAction, T &result)
{
    // One root, whatever the snippet is made of.
    QXmlStreamReader xml(closeVoidElements(QStringLiteral("<html>%1</html>").arg(html)));
    HtmlEntityResolver resolver;
    xml.setEntityResolver(&resolver);
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::StartElement) { }
    analyseXmlStream<T>(xml, collapseWhitespace, startAction, endAction, textAction, result);
}

void startElementToText(const QString &name, QString &text)
{
    const bool startsLine = text.isEmpty() || text.endsWith(QLatin1Char('\n'));
    if (name == QLatin1String("br") || (getBlockElements().contains(name) && !startsLine))
        text.append(QLatin1Char('\n'));
}

void endElementToText(const QString &name, QString &text)
{
    if (name == QLatin1String("p"))
        text.append(QStringLiteral("\n\n"));
    else if (getBlockElements().contains(name) && !text.endsWith(QLatin1Char('\n')))
        text.append(QLatin1Char('\n'));
}

void textElementToText(const QString &content, QString &text)
{
    text.append(content);
}

void startEndElementIsSupported(const QString &name, bool &isSupported)
{
    // "html" is the root that every snippet is given.
    if (!getInlineElements().contains(name) && !getBlockElements().contains(name)
        && name != QLatin1String("html"))
        isSupported = false;
}

// Breaks lines at the last blank before the column; blanks become line feeds, and nothing is lost.
void wrapLines(QString &text, int column)
{
    int lineStart = 0;
    int lastSpace = -1;
    for (int position = 0; position < text.size(); ++position) {
        const QChar character = text.at(position);
        if (character == QLatin1Char('\n') || character == QLatin1Char('\r')) {
            lineStart = position + 1;
            lastSpace = -1;
            continue;
        }
        if (character == QLatin1Char(' '))
            lastSpace = position;
        if (position - lineStart >= column && lastSpace >= 0) {
            text[lastSpace] = QLatin1Char('\n');
            lineStart = lastSpace + 1;
            lastSpace = -1;
        }
    }
}

} // namespace

QString htmlToText(const QString &html, const HtmlToTextOptions &options)
{
    QString text;
    analyseXmlStream<QString>(
        html, options.doCollapseWhitespace(), startElementToText, endElementToText, textElementToText, text);
    wrapLines(text, options.wrapColumn());
    return text;
}

bool validateHtmlSnippet(const QString &html, const HtmlToTextOptions &options)
{
    bool isSupported = true;
    analyseXmlStream<bool>(html, options.doCollapseWhitespace(), startEndElementIsSupported,
        startEndElementIsSupported, nullptr, isSupported);
    return isSupported;
}

} // namespace quillon::report
