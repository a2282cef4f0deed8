#include "api/contentpolicy.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QRegularExpression>
#include <QStringList>
#include <QUrl>

namespace quillon::report {

namespace {

/// The policy stands behind it, as a browser looks for it at the very beginning of the page.
const char kCharset[] = "<meta charset=\"utf-8\">";

QString hashOf(const QString &script)
{
    const QByteArray hash = QCryptographicHash::hash(script.toUtf8(), QCryptographicHash::Sha256);
    return QStringLiteral("'sha256-%1'").arg(QString::fromLatin1(hash.toBase64()));
}

/// Elements of other types than these are data.
QStringList scriptHashes(const QString &page)
{
    static const QRegularExpression begin(QStringLiteral("<script(?: type=\"text/javascript\")?>"));
    QStringList hashes;
    for (auto match = begin.match(page); match.hasMatch();) {
        const int end = page.indexOf(QLatin1String("</script>"), match.capturedEnd());
        if (end < 0)
            break;
        hashes.append(hashOf(page.mid(match.capturedEnd(), end - match.capturedEnd())));
        match = begin.match(page, end);
    }
    return hashes;
}

/// As the templates' function of that name writes a text between single quotes.
QString scriptString(const QString &text)
{
    static const QString marks = QStringLiteral("\\'\"<>&\u2028\u2029");
    QString result;
    for (const QChar c : text) {
        if (c < QLatin1Char(' ') || marks.contains(c))
            result += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

/// Of the handlers that the templates make: rows that open, pictures that stand in for unreachable ones.
QStringList handlerHashes(const QJsonObject &document)
{
    QStringList hashes;
    const QJsonObject metrics = document[QLatin1String("metricData")].toObject();
    for (const QJsonValue subsection : document[QLatin1String("subsections")].toArray()) {
        for (const QJsonValue entry : subsection[QLatin1String("metrics")].toArray()) {
            const QJsonValue metric = metrics[entry[QLatin1String("metricId")].toString()];
            hashes.append(hashOf(QStringLiteral("quillonReports.toggleMetric(event,'%1 detail')")
                                     .arg(scriptString(metric[QLatin1String("displayName")].toString()))));
        }
    }
    for (const QJsonValue logo : document[QLatin1String("brandingData")][QLatin1String("logos")].toArray()) {
        const QString other = logo[QLatin1String("altData")].toString();
        if (!other.isEmpty())
            hashes.append(hashOf(QStringLiteral("this.onerror=null;this.src='%1'").arg(other)));
    }
    return hashes;
}

/// The addresses of pictures in the texts of a definition, which are markup.
void findPictures(const QJsonValue &value, QStringList *addresses)
{
    static const QRegularExpression picture(QStringLiteral("<img\\b[^>]*?\\ssrc\\s*=\\s*([\"'])(.*?)\\1"));
    for (auto i = picture.globalMatch(value.toString()); i.hasNext();)
        addresses->append(i.next().captured(2).replace(QLatin1String("&amp;"), QLatin1String("&")));
    for (const QJsonValue part : value.toArray())
        findPictures(part, addresses);
    for (const QJsonValue part : value.toObject())
        findPictures(part, addresses);
}

/// How a policy names an address; empty for one that needs no naming or can't be named.
QString sourceOf(const QString &address)
{
    const QUrl url(address);
    const QString scheme = url.scheme();
    if (!url.isValid() || scheme == QLatin1String("data"))
        return QString();
    if (scheme.isEmpty() || url.isLocalFile())
        return QStringLiteral("'self' file:");
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return QString();
    const QUrl plain = url.adjusted(QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    return QString::fromLatin1(plain.toEncoded())
        .replace(';', QLatin1String("%3B"))
        .replace(',', QLatin1String("%2C"));
}

QStringList pictureSources(const QJsonObject &document)
{
    QStringList addresses;
    for (const QJsonValue logo : document[QLatin1String("brandingData")][QLatin1String("logos")].toArray())
        addresses.append(logo[QLatin1String("image")].toString());
    findPictures(document[QLatin1String("summaryData")], &addresses);
    findPictures(document[QLatin1String("subsections")], &addresses);

    QStringList sources{QStringLiteral("data:")};
    for (const QString &address : qAsConst(addresses)) {
        const QString source = sourceOf(address);
        if (!source.isEmpty())
            sources.append(source);
    }
    sources.removeDuplicates();
    return sources;
}

/// 'unsafe-eval' is for Handlebars, which makes functions of templates; 'unsafe-hashes' lets handlers in
/// attributes be told apart; styles stand in attributes and are made while the page is drawn.
QString policy(const QString &page, const QJsonObject &document)
{
    QStringList scripts = scriptHashes(page) + handlerHashes(document);
    scripts.removeDuplicates();
    return QStringLiteral(
        "default-src 'none'; base-uri 'none'; form-action 'none'; style-src 'unsafe-inline'; "
        "img-src %1; script-src 'unsafe-eval' 'unsafe-hashes' %2")
        .arg(pictureSources(document).join(QLatin1Char(' ')), scripts.join(QLatin1Char(' ')));
}

} // namespace

QString withContentPolicy(const QString &page, const QJsonObject &document)
{
    const QLatin1String charset(kCharset);
    const int at = page.indexOf(charset);
    if (at < 0)
        return page;
    const QString meta = QStringLiteral("\n<meta http-equiv=\"Content-Security-Policy\" content=\"%1\">")
                             .arg(policy(page, document).toHtmlEscaped());
    return QString(page).insert(at + charset.size(), meta);
}

} // namespace quillon::report
