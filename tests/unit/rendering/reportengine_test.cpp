#include "messagelog.h"
#include "qtprinters.h"
#include "reportengine.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>

using brivane::ReportEngine;
using brivane::ReportFormat;
using testing::HasSubstr;

namespace {

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

TEST(ReportFormat, NamesAreThoseOfTheScripts)
{
    EXPECT_EQ(ReportFormat(ReportFormat::Html).toString(), "html");
    EXPECT_EQ(ReportFormat(ReportFormat::Text).toString(), "text");
    EXPECT_EQ(ReportFormat(ReportFormat::All).toString(), "all");
    EXPECT_TRUE(ReportFormat().toString().isNull());
}

TEST(ReportFormat, OnlyInvalidIsInvalid)
{
    EXPECT_FALSE(ReportFormat().isValid());
    EXPECT_TRUE(ReportFormat(ReportFormat::Html).isValid());
    EXPECT_EQ(ReportFormat(ReportFormat::All), 3);
}

TEST(ReportEngine, HasItsGlobalsAndNoBrowser)
{
    ReportEngine engine;
    QString error;
    const char *source
        = "if (typeof Handlebars !== 'object' || typeof htmlparser.HtmlBuilder !== 'function'"
          " || typeof htmlparser.Parser !== 'function' || typeof brivane !== 'object'"
          " || typeof ReportEngine !== 'object' || typeof print !== 'function') throw 'missing';"
          "if (document || window) throw 'a browser';"
          "if (brivane.sheet || ReportEngine.afterRender) throw 'browser parts';";
    EXPECT_TRUE(engine.loadJavaScriptFromSource(source, &error)) << qPrintable(error);
}

TEST(ReportEngine, IsMadeWithoutAWarning)
{
    MessageLog log;
    ReportEngine engine;
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST(ReportEngine, ServesAProgramWithoutAnApplicationAndKeepsItsLocale)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    const std::string before = std::setlocale(LC_ALL, nullptr);
    {
        ReportEngine engine;
        EXPECT_NE(QCoreApplication::instance(), nullptr);
    }
    EXPECT_EQ(QCoreApplication::instance(), nullptr);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

TEST(ReportEngine, ConsoleWritesDebugMessages)
{
    ReportEngine engine;
    MessageLog log;
    EXPECT_TRUE(engine.loadJavaScriptFromSource(
        "console.warn('a', {b: 1}, function named(x) { return x; }); console.print('plain');", nullptr));
    EXPECT_EQ(log.debugMessages(), QStringList({"\"a\" {\n  \"b\": 1\n} function named(x) {...}", "plain"}));
}

TEST(ReportEngine, RendersAPartial)
{
    ReportEngine engine;
    QString error;
    ASSERT_TRUE(engine.loadPartialFromSource(
        "p", "{{{a}}} {{#if n}}yes{{else}}no{{/if}}", ReportFormat::Text, &error));
    const QJsonObject data{{"a", QString::fromUtf8("\xc3\xa9 <")}, {"n", QJsonValue::Null}};
    EXPECT_EQ(engine.renderStatic(data, "p", ReportFormat::Text, &error), QString::fromUtf8("\xc3\xa9 < no"));
    EXPECT_TRUE(error.isEmpty());
}

TEST(ReportEngine, HandsNullOverAsNull)
{
    ReportEngine engine;
    QString error;
    engine.loadPartialFromSource("p", "{{isEqual a b}} {{anyNotNull a}}", ReportFormat::Text, &error);
    const QJsonObject data{{"a", QJsonValue::Null}, {"b", QJsonValue::Null}};
    EXPECT_EQ(engine.renderStatic(data, "p", ReportFormat::Text, &error), "true false");
}

TEST(ReportEngine, ReportsAScriptExceptionAndGoesOn)
{
    ReportEngine engine;
    QString error;
    EXPECT_EQ(engine.renderStatic({}, "nosuch", ReportFormat::Text, &error), "");
    EXPECT_EQ(error, "Error: Invalid template \"nosuch\" for text");
    EXPECT_TRUE(engine.loadPartialFromSource("p", "fine", ReportFormat::Text, nullptr));
    EXPECT_EQ(engine.renderStatic({}, "p", ReportFormat::Text, nullptr), "fine");
}

TEST(ReportEngine, AFaultInATemplateShowsWhenItIsRendered)
{
    ReportEngine engine;
    QString error;
    EXPECT_TRUE(engine.loadPartialFromSource("p", "{{#if a}}", ReportFormat::Text, &error));
    EXPECT_EQ(engine.renderStatic({}, "p", ReportFormat::Text, &error), "");
    EXPECT_THAT(error.toStdString(), HasSubstr("Parse error"));
}

TEST(ReportEngine, RefusesAnInvalidFormat)
{
    ReportEngine engine;
    QString error;
    EXPECT_FALSE(engine.loadPartialFromSource("p", "", ReportFormat::Invalid, &error));
    EXPECT_EQ(error, "Error: Invalid format \"\"");
}

TEST(ReportEngine, ReportsAFileThatItCannotRead)
{
    ReportEngine engine;
    QString error;
    QFile missing("/nowhere/p.txt");
    EXPECT_FALSE(engine.loadPartialFromFile("p", missing, ReportFormat::Text, &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("/nowhere/p.txt"));
    error.clear();
    EXPECT_FALSE(engine.loadJavaScriptFromFile(missing, &error));
    EXPECT_THAT(error.toStdString(), HasSubstr("/nowhere/p.txt"));
}

TEST(ReportEngine, TellsWhereAScriptFails)
{
    QTemporaryDir folder;
    write(folder.filePath("bad.js"), "var a;\nthrow new Error('no');\n");
    ReportEngine engine;
    QString error;
    QFile file(folder.filePath("bad.js"));
    EXPECT_FALSE(engine.loadJavaScriptFromFile(file, &error));
    EXPECT_EQ(error, folder.filePath("bad.js") + ":2: Error: no");
}

TEST(ReportEngine, LoadsAFolderOfPartials)
{
    QTemporaryDir folder;
    write(folder.filePath("one.txt"), "1");
    write(folder.filePath("two.part.txt"), "{{> one}}2");
    ReportEngine engine;
    QString error;
    ASSERT_TRUE(engine.loadPartialsFromFolder(QDir(folder.path()), ReportFormat::Text, &error))
        << qPrintable(error);
    EXPECT_EQ(engine.renderStatic({}, "two", ReportFormat::Text, &error), "12");
}

TEST(ReportEngine, EnginesShareNothing)
{
    ReportEngine first;
    ASSERT_TRUE(first.loadJavaScriptFromSource("var leaked = 1;", nullptr));
    ASSERT_TRUE(first.loadPartialFromSource("p", "", ReportFormat::All, nullptr));
    ReportEngine second;
    EXPECT_TRUE(second.loadJavaScriptFromSource("if (typeof leaked !== 'undefined') throw 1;", nullptr));
    QString error;
    second.renderStatic({}, "p", ReportFormat::Text, &error);
    EXPECT_FALSE(error.isEmpty());
}

class DynamicPage : public testing::Test {
protected:
    DynamicPage()
    {
        mEngine.loadPartialFromSource("root", "<b>{{v}}</b>", ReportFormat::Html, nullptr);
        mEngine.loadPartialFromSource("plain", "text", ReportFormat::Text, nullptr);
        mEngine.loadPartialFromSource("both", "all", ReportFormat::All, nullptr);
        mEngine.loadAdditionalHeadContent("<title>T</title>");
        QFile file(":quillon-report/custom/quillon-reports.js");
        mEngine.loadJavaScriptFromFile(file, nullptr);
    }

    ReportEngine mEngine;
};

TEST_F(DynamicPage, RefersToItsScriptsInTheOrderOfTheirNeeds)
{
    const QString page = mEngine.renderDynamicHtml({}, "root", nullptr);
    int last = page.indexOf("<title>T</title>");
    EXPECT_GE(last, 0);
    for (const char *name : {"polyfill.js", "handlebars.min-v4.0.5.js", "htmlparser.js", "brivane.js",
             "report-engine.js", "quillon-reports.js"}) {
        const int at = page.indexOf(QStringLiteral(" src=\"%1\"></script>").arg(QLatin1String(name)));
        EXPECT_GT(at, last) << name;
        last = at;
    }
    EXPECT_LT(last, page.indexOf("</head>"));
}

TEST_F(DynamicPage, CarriesItsPartials)
{
    const QString page = mEngine.renderDynamicHtml({}, "root", nullptr);
    EXPECT_TRUE(page.contains("<script id=\"root\" type=\"text/html\">\n<b>{{v}}</b>\n</script>"));
    EXPECT_TRUE(page.contains("<script id=\"plain\" type=\"text/plain\">\ntext\n</script>"));
    EXPECT_TRUE(page.contains("<script id=\"both\" type=\"text/x.brivane-template\">\nall\n</script>"));
}

TEST_F(DynamicPage, NoValueCanEndTheElementThatHoldsTheData)
{
    const QJsonObject data{{"v", "</script><img src='logo.png'><!--"}};
    const QString page = mEngine.renderDynamicHtml(data, "root", nullptr);
    const QString start = "<script id=\"brivane-report-data\" type=\"application/json\">";
    const int from = page.indexOf(start) + start.size();
    ASSERT_GE(from, start.size());
    const QString json = page.mid(from, page.indexOf("</script>", from) - from);
    EXPECT_FALSE(json.contains("<"));
    EXPECT_EQ(QJsonDocument::fromJson(json.toUtf8()).object(), data);
}

TEST_F(DynamicPage, OfAnUnknownTemplateIsAnError)
{
    QString error;
    EXPECT_EQ(mEngine.renderDynamicHtml({}, "nosuch", &error), "");
    EXPECT_EQ(error, "there is no template \"nosuch\" for html");
    error.clear();
    EXPECT_EQ(mEngine.renderDynamicHtml({}, "plain", &error), "");
    EXPECT_FALSE(error.isEmpty());
}

} // namespace
