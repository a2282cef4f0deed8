#include "api/embedresources.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegExp>
#include <QTextStream>

#include <functional>

namespace quillon::report {

namespace {

const QString SingleQuotedStringRegex = QStringLiteral("'[^']*'");
const QString DoubleQuotedStringRegex = QStringLiteral("\"[^\"]*\"");
const QString QuotedStringRegex = QStringLiteral("(?:") + SingleQuotedStringRegex + QLatin1Char('|')
    + DoubleQuotedStringRegex + QLatin1Char(')');
/// All up to the > that closes a tag; one within a quoted value doesn't.
const QString TagAttributesRegex = QStringLiteral("(?:") + QStringLiteral("[^\"'>]") + QLatin1Char('|')
    + QuotedStringRegex + QStringLiteral(")*");

QString capture(const QString &pattern)
{
    return QLatin1Char('(') + pattern + QLatin1Char(')');
}

QString captureAttribute(const QString &name)
{
    return QStringLiteral("\\s+%1=%2").arg(name, capture(QuotedStringRegex));
}

/// What a match of a tag becomes, or a null string when it stays as it is.
typedef std::function<QString(const QRegExp &)> Replacement;

/// What has been put in isn't looked at again.
QString replaceTags(const QString &html, const QString &pattern, const Replacement &replacement)
{
    const QRegExp tag(pattern, Qt::CaseInsensitive, QRegExp::RegExp);
    QString result;
    int position = 0;
    for (int found = tag.indexIn(html); found >= 0; found = tag.indexIn(html, position)) {
        result += html.midRef(position, found - position);
        const QString text = replacement(tag);
        result += text.isNull() ? tag.cap() : text;
        position = found + tag.matchedLength();
    }
    return result + html.midRef(position);
}

QString pathOf(const QString &basePath, const QString &quotedReference)
{
    return basePath + QLatin1Char('/') + quotedReference.mid(1, quotedReference.size() - 2);
}

bool readText(const QString &path, QString *text)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return false;
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    *text = stream.readAll();
    return true;
}

QString embedScriptTags(const QString &html, const QString &basePath)
{
    const QString attributes = capture(TagAttributesRegex);
    const QString pattern = QStringLiteral("<script") + attributes + captureAttribute(QStringLiteral("src"))
        + attributes + QStringLiteral(">\\s*</script>");
    return replaceTags(html, pattern, [&basePath](const QRegExp &tag) {
        QString content;
        if (!readText(pathOf(basePath, tag.cap(2)), &content))
            return QString();
        return QStringLiteral("<script%1>%2</script>").arg(tag.cap(1) + tag.cap(3), content);
    });
}

QString embedStyleSheets(const QString &html, const QString &basePath)
{
    const QString attributes = capture(TagAttributesRegex);
    const QString LinkStylesheetAttributeRegex = QStringLiteral("\\s+rel=(?:\"stylesheet\"|'stylesheet')");
    const QString href = captureAttribute(QStringLiteral("href"));
    const QString pattern = QStringLiteral("<link") + attributes + QStringLiteral("(?:(?:")
        + LinkStylesheetAttributeRegex + attributes + href + QStringLiteral(")|(?:") + href + attributes
        + LinkStylesheetAttributeRegex + QStringLiteral("))") + attributes + QLatin1Char('>');
    return replaceTags(html, pattern, [&basePath](const QRegExp &tag) {
        const QString reference = tag.cap(3).isEmpty() ? tag.cap(4) : tag.cap(3);
        QString content;
        if (!readText(pathOf(basePath, reference), &content))
            return QString();
        QString kept = tag.cap(1) + tag.cap(2) + tag.cap(5) + tag.cap(6);
        kept.replace(QRegExp(QStringLiteral("/$")), QString());
        return QStringLiteral("<style%1>%2</style>").arg(kept, content);
    });
}

/// By the exact suffix.
const QHash<QString, QString> &mimeTypes()
{
    static const QHash<QString, QString> table = {
        {QStringLiteral("png"), QStringLiteral("image/png")},
        {QStringLiteral("jpg"), QStringLiteral("image/jpeg")},
        {QStringLiteral("gif"), QStringLiteral("image/gif")},
    };
    return table;
}

QString embedImages(const QString &html, const QString &basePath)
{
    const QString attributes = capture(TagAttributesRegex);
    const QString pattern = QStringLiteral("<img") + attributes + captureAttribute(QStringLiteral("src"))
        + attributes + QLatin1Char('>');
    return replaceTags(html, pattern, [&basePath](const QRegExp &tag) {
        const QString path = pathOf(basePath, tag.cap(2));
        const QString mimeType = mimeTypes().value(QFileInfo(path).suffix());
        QFile file(path);
        if (mimeType.isEmpty() || !file.open(QIODevice::ReadOnly))
            return QString();
        return QStringLiteral("<img%1 src=\"data:%2;base64,%3\"%4>")
            .arg(tag.cap(1), mimeType, QString::fromLatin1(file.readAll().toBase64()), tag.cap(3));
    });
}

} // namespace

QString embedResources(const QString &html, const QString &basePath)
{
    return embedImages(embedStyleSheets(embedScriptTags(html, basePath), basePath), basePath);
}

} // namespace quillon::report
