#include "api/contentpolicy.h"
#include "qtprinters.h"
#include "renderingtest.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using quillon::report::withContentPolicy;
using testing::Contains;
using testing::Not;

namespace {

const QString kPage
    = QStringLiteral("<head>\n<meta charset=\"utf-8\">\n"
                     "<script>one();</script><script type=\"text/javascript\">two();\n</script>\n"
                     "<script id=\"p\" type=\"text/html\">{{partial}}</script></head>");

/// The words of a directive of the page's policy, as a browser reads it.
QStringList directive(const QString &page, const QString &name)
{
    static const QRegularExpression meta("<head>\n<meta charset=\"utf-8\">\n<meta "
                                         "http-equiv=\"Content-Security-Policy\" content=\"([^\"]*)\">");
    QString policy = meta.match(page).captured(1);
    policy.replace("&amp;", "&");
    for (const QString &part : policy.split("; ")) {
        QStringList words = part.split(' ');
        if (words.takeFirst() == name)
            return words;
    }
    return {"absent"};
}

QString hash(const QByteArray &script)
{
    return "'sha256-" + QCryptographicHash::hash(script, QCryptographicHash::Sha256).toBase64() + "'";
}

QJsonObject withLogo(const QString &image)
{
    return {{"brandingData", QJsonObject{{"logos", QJsonArray{QJsonObject{{"image", image}}}}}}};
}

QStringList pictures(const QJsonObject &document)
{
    return directive(withContentPolicy(kPage, document), "img-src");
}

TEST(ContentPolicy, NamesTheScriptsThatThePageHolds)
{
    const QStringList scripts = directive(withContentPolicy(kPage, {}), "script-src");
    EXPECT_EQ(scripts, (QStringList{"'unsafe-eval'", "'unsafe-hashes'", hash("one();"), hash("two();\n")}));
}

TEST(ContentPolicy, ReachesNothingElse)
{
    const QString page = withContentPolicy(kPage, {});
    for (const char *name : {"default-src", "base-uri", "form-action"})
        EXPECT_EQ(directive(page, name), QStringList("'none'")) << name;
    EXPECT_EQ(directive(page, "style-src"), QStringList("'unsafe-inline'"));
    EXPECT_EQ(directive(page, "img-src"), QStringList("data:"));
}

TEST(ContentPolicy, NamesTheHandlersOfRowsAndLogos)
{
    const QJsonObject document{
        {"metricData", QJsonObject{{"m", QJsonObject{{"displayName", "a'<\n\u2028é"}}}}},
        {"subsections", QJsonArray{QJsonObject{{"metrics", QJsonArray{QJsonObject{{"metricId", "m"}}}}}}},
        {"brandingData",
            QJsonObject{{"logos",
                QJsonArray{QJsonObject{{"image", "x"}, {"altData", "data:image/png;base64,AA=="}}}}}}};
    const QStringList scripts = directive(withContentPolicy(kPage, document), "script-src");
    EXPECT_THAT(scripts,
        Contains(hash("quillonReports.toggleMetric(event,'a\\u0027\\u003c\\u000a\\u2028\xc3\xa9 detail')")));
    EXPECT_THAT(scripts, Contains(hash("this.onerror=null;this.src='data:image/png;base64,AA=='")));
}

TEST(ContentPolicy, NamesThePicturesOfTheDefinition)
{
    EXPECT_EQ(pictures(withLogo("https://site.example/a.png?size=1#x")),
        (QStringList{"data:", "https://site.example/a.png"}));
    const QJsonObject texts{{"subsections",
                                QJsonArray{QJsonObject{{"descriptionHtmlTemplate",
                                    "<p><img alt=\"x\" src=\"https://a.example/1.png?a=1&amp;b=2\"><img "
                                    "src='http://b.example:8080/2.png'></p>"}}}},
        {"data", QJsonObject{{"note", "<img src=\"https://c.example/3.png\">"}}}};
    EXPECT_EQ(
        pictures(texts), (QStringList{"data:", "https://a.example/1.png", "http://b.example:8080/2.png"}));
}

TEST(ContentPolicy, AnAddressCantAddToThePolicy)
{
    const QStringList sources = pictures(withLogo("https://site.example/a;script-src *,b 'c\".png"));
    ASSERT_EQ(sources.size(), 2) << qPrintable(sources.join('|'));
    EXPECT_FALSE(sources[1].contains(QRegularExpression("[;, \"]"))) << qPrintable(sources[1]);
    EXPECT_EQ(pictures(withLogo("javascript:alert(1)")), QStringList("data:"));
    EXPECT_EQ(pictures(withLogo("data:image/png;base64,AA==")), QStringList("data:"));
    EXPECT_EQ(pictures(withLogo("logo.png")), (QStringList{"data:", "'self'", "file:"}));
}

TEST(ContentPolicy, WhatIsNoPageStaysAsItIs)
{
    EXPECT_EQ(withContentPolicy(QString(), {}), QString());
    EXPECT_EQ(withContentPolicy("text", {}), "text");
}

TEST(ContentPolicy, StandsInEachPage)
{
    DocumentBuilder document;
    const QString page = QString::fromUtf8(document.render(HtmlReport));
    const QStringList scripts = directive(page, "script-src");
    EXPECT_EQ(page.count("Content-Security-Policy"), 1);
    EXPECT_THAT(scripts, Not(Contains(QString("'unsafe-inline'"))));
    // The engine's five, the report's own, the chart's two, and the two that stand in the page itself.
    EXPECT_GE(scripts.filter("sha256").size(), 10);
}

} // namespace
