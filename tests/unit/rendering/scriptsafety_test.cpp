// What scripts and templates can reach: the report's data, and nothing of the host.

#include "renderingtest.h"
#include "reportengine.h"

#include <QJsonArray>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using brivane::ReportEngine;
using brivane::ReportFormat;

namespace {

class ScriptSafety : public testing::Test {
protected:
    /// The text of `source`, a template, with a few values at hand.
    QString rendered(const QString &source, const ReportFormat &format = ReportFormat::Text)
    {
        QString error;
        EXPECT_TRUE(engine.loadPartialFromSource("p", source, format, &error)) << qPrintable(error);
        const QJsonObject data{
            {"text", "word"}, {"list", QJsonArray{1, 2, 3}}, {"object", QJsonObject{{"key", 7}}}};
        const QString text = engine.renderStatic(data, "p", format, &error);
        return error.isEmpty() ? text : QStringLiteral("error");
    }

    ReportEngine engine;
};

TEST_F(ScriptSafety, NothingIsGlobalButTheLanguageAndOurScripts)
{
    QString error;
    const char *source
        = "var known = ('Array Boolean Date Error EvalError Function Infinity JSON Math NaN Number Object "
          "RangeError ReferenceError RegExp String SyntaxError TypeError URIError decodeURI "
          "decodeURIComponent encodeURI encodeURIComponent escape eval isFinite isNaN parseFloat parseInt "
          "undefined unescape gc version print console Handlebars htmlparser brivane ReportEngine "
          "document window Tautologistics known foreign').split(' ');"
          "var foreign = Object.getOwnPropertyNames(this).filter(function (name) {"
          "  return known.indexOf(name) < 0;"
          "});"
          "if (foreign.length) throw foreign.join(' ');";
    EXPECT_TRUE(engine.loadJavaScriptFromSource(source, &error)) << qPrintable(error);
}

TEST_F(ScriptSafety, TemplatesFindWhatTheDataHolds)
{
    EXPECT_EQ(
        rendered("{{text}} {{list.length}} {{list.[1]}} {{object.key}} {{#with object}}{{key}}{{/with}} "
                 "{{#each list}}{{this}}{{@index}}{{@root.text}}{{/each}} {{lookup object \"key\"}}"),
        "word 3 2 7 7 10word21word32word 7");
}

TEST_F(ScriptSafety, TemplatesFindNothingThatEveryObjectHas)
{
    for (const char *path : {"text.constructor", "text.constructor.constructor", "text.split", "text.sub",
             "object.constructor", "object.toString", "object.__proto__", "object.hasOwnProperty",
             "list.constructor", "list.push", "list.pop", "list.filter", "this.constructor",
             "@root.constructor", "@root.__proto__.key"}) {
        for (const auto format : {ReportFormat::Text, ReportFormat::Html}) {
            EXPECT_EQ(rendered(QStringLiteral("[{{%1}}]").arg(path), format), "[]") << path;
            EXPECT_EQ(rendered(QStringLiteral("[{{#with %1}}found{{/with}}]").arg(path), format), "[]")
                << path;
            EXPECT_EQ(rendered(QStringLiteral("[{{#if %1}}found{{/if}}]").arg(path), format), "[]") << path;
        }
    }
    for (const char *name : {"constructor", "__proto__", "toString", "constructor.prototype"})
        EXPECT_EQ(rendered(QStringLiteral("[{{lookup object \"%1\"}}]").arg(name)), "[]") << name;
}

/// Handlebars takes these for functions that it has.
TEST_F(ScriptSafety, NamesThatTemplatesCantCallAreErrors)
{
    for (const char *name : {"__proto__", "constructor", "toString", "valueOf"}) {
        const QString text = rendered(QStringLiteral("[{{%1}}]").arg(name));
        EXPECT_TRUE(text == "[]" || text == "error") << name << qPrintable(text);
    }
}

/// A text of the data that is a template is as powerless.
TEST_F(ScriptSafety, TemplatesInTheDataFindNoMore)
{
    EXPECT_EQ(rendered("[{{eval \"{{#with text.sub}}found{{/with}}{{text.constructor}}\"}}]"), "[]");
}

TEST_F(ScriptSafety, NoScriptCanBeMadeOfTexts)
{
    const QString text
        = rendered("{{#with \"s\" as |string|}}{{#with \"e\"}}{{#with split as |list|}}{{this.pop}}"
                   "{{this.push (lookup string.sub \"constructor\")}}{{this.pop}}"
                   "{{#with string.split as |code|}}{{this.pop}}{{this.push \"return 6*7;\"}}{{this.pop}}"
                   "{{#each list}}{{#with (string.sub.apply 0 code)}}{{this}}{{/with}}{{/each}}"
                   "{{/with}}{{/with}}{{/with}}{{/with}}");
    EXPECT_FALSE(text.contains("42")) << qPrintable(text);
}

} // namespace
