#include "api/htmltotext.h"

#include "api/htmlentities.h"

#include <QMap>
#include <QRegExp>
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

class HtmlEntityResolver : public QXmlStreamEntityResolver {
public:
    HtmlEntityResolver()
    {
        for (const HtmlEntity &entity : kHtmlEntities)
            mEnts.insert(QLatin1String(entity.name), QChar(entity.character));
    }

    // The reader takes a null string for an error, an empty one for an entity without text.
    QString resolveUndeclaredEntity(const QString &name) override
    {
        return mEnts.value(name, QStringLiteral(""));
    }

private:
    QMap<QString, QString> mEnts;
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

const QSet<QString> &getVoidElements()
{
    static const QSet<QString> names = {"area", "base", "br", "col", "embed", "hr", "img", "input", "keygen",
        "link", "meta", "param", "source", "track", "wbr"};
    return names;
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
                QString text = xml.text().toString();
                if (collapseWhitespace)
                    text.replace(QRegExp(QStringLiteral("[ \\r\\n\\t]+")), QStringLiteral(" "));
                textAction(text, result);
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
    QString text = QStringLiteral("<html>%1</html>").arg(html);
    for (const QString &name : getVoidElements()) {
        const QRegExp openTag(QStringLiteral("<%1(((\"[^<\"]*\")|('[^<']*')|[^>/])*)>").arg(name),
            Qt::CaseSensitive, QRegExp::RegExp);
        text.replace(openTag, QStringLiteral("<%1\\1/>").arg(name));
    }

    QXmlStreamReader xml(text);
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
