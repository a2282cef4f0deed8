// Snippets of HTML: which are accepted, and what text they make.

#include "api/htmlentities.h"
#include "api/htmltotext.h"

#include "qtprinters.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using quillon::report::HtmlToTextOptions;

namespace {

QString text(const QString &html, const HtmlToTextOptions &options = HtmlToTextOptions())
{
    return quillon::report::htmlToText(html, options);
}

bool isValid(const QString &html)
{
    return quillon::report::validateHtmlSnippet(html, HtmlToTextOptions());
}

QStringList elements(const char *names)
{
    return QString::fromLatin1(names).split(QLatin1Char(' '));
}

const char kBlocks[] = "p div h1 h2 h3 h4 h5 h6 ul ol pre blockquote";
const char kInlines[]
    = "b big i small tt abbr acronym cite code dfn em kbd strong samp time var br q span sub sup label";
const char kVoids[] = "area base br col embed hr img input keygen link meta param source track wbr";

TEST(HtmlToTextOptionsTest, wrapsAtColumn80AndCollapsesByDefault)
{
    const HtmlToTextOptions options;
    EXPECT_EQ(options.wrapColumn(), 80);
    EXPECT_TRUE(options.doCollapseWhitespace());
}

TEST(HtmlToTextOptionsTest, settersReturnTheObjectItself)
{
    HtmlToTextOptions options;
    EXPECT_EQ(&options.wrap(12), &options);
    EXPECT_EQ(options.wrapColumn(), 12);
    EXPECT_EQ(&options.noWrap(), &options);
    EXPECT_EQ(options.wrapColumn(), 2147483647);
    EXPECT_EQ(&options.collapseWhitespace(false), &options);
    EXPECT_FALSE(options.doCollapseWhitespace());
}

TEST(HtmlToTextTest, emptySnippetIsEmptyTextAndValid)
{
    EXPECT_EQ(text(""), "");
    EXPECT_EQ(text(QString()), "");
    EXPECT_TRUE(isValid(""));
}

TEST(HtmlToTextTest, bareTextIsValidAndItsWhiteSpaceCollapses)
{
    EXPECT_TRUE(isValid("only \n words"));
    EXPECT_EQ(text("  only \r\n\t words "), " only words ");
    EXPECT_EQ(text("a \n b", HtmlToTextOptions().collapseWhitespace(false)), "a \n b");
}

TEST(HtmlToTextTest, eachParagraphEndsWithTwoLineFeeds)
{
    EXPECT_EQ(text("<p>one</p><p>two</p>"), "one\n\ntwo\n\n");
}

TEST(HtmlToTextTest, otherBlocksStandOnLinesOfTheirOwn)
{
    for (const QString &name : elements(kBlocks)) {
        if (name == "p")
            continue;
        EXPECT_EQ(text(QStringLiteral("a<%1>b</%1>c").arg(name)), "a\nb\nc") << name.toStdString();
        EXPECT_EQ(text(QStringLiteral("<%1>b</%1>").arg(name)), "b\n") << name.toStdString();
    }
}

TEST(HtmlToTextTest, anEmptyBlockAtTheStartYieldsALineFeed)
{
    EXPECT_EQ(text("<div></div>"), "\n");
    EXPECT_EQ(text("<div><div>x</div></div>"), "x\n");
}

TEST(HtmlToTextTest, inlineElementsLeaveTheTextAsItIs)
{
    for (const QString &name : elements(kInlines)) {
        if (name == "br")
            continue;
        EXPECT_EQ(text(QStringLiteral("a<%1>b</%1>c").arg(name)), "abc") << name.toStdString();
    }
}

TEST(HtmlToTextTest, breakWithoutSlashIsRepaired)
{
    EXPECT_EQ(text("one<br>two"), "one\ntwo");
    EXPECT_EQ(text("one<br/>two"), "one\ntwo");
    EXPECT_EQ(text("one<br class='x' id=\"y\">two"), "one\ntwo");
    EXPECT_EQ(text("<br>two"), "\ntwo");
}

TEST(HtmlToTextTest, everyVoidElementIsRepaired)
{
    for (const QString &name : elements(kVoids)) {
        const QString expected = name == "br" ? "a\nb" : "ab";
        EXPECT_EQ(text(QStringLiteral("a<%1 x='1'>b").arg(name)), expected) << name.toStdString();
    }
}

TEST(HtmlToTextTest, quotedAngleBracketAndSlashSurviveTheRepair)
{
    EXPECT_EQ(text("a<img alt=\"x>y/z\">b"), "ab");
    EXPECT_EQ(text("a<img alt='x>y/z'>b"), "ab");
}

TEST(HtmlToTextTest, quotesOfTheTextBehindATagBelongToTheText)
{
    EXPECT_EQ(text("<br class=\"x\">say \"more\" <b>ranks</b>"), "\nsay \"more\" ranks");
    EXPECT_EQ(text("a<br>it's<br>Bob's"), "a\nit's\nBob's");
}

TEST(HtmlToTextTest, tagsThatNeverEndTakeNoTimeToSpeakOf)
{
    // Minutes, if each were followed to the end of the text.
    const int count = 200000;
    EXPECT_EQ(text("a" + QStringLiteral("<br ").repeated(count)), "a");
    EXPECT_EQ(text("a" + QStringLiteral("<br \"'").repeated(count)), "a");
    EXPECT_EQ(text("a" + QStringLiteral("<br x='>").repeated(count)), "a");
}

TEST(HtmlToTextTest, attributeWithAnOpeningBracketEndsTheText)
{
    // A "<" is no part of a quoted value, neither for the repair nor in XML.
    EXPECT_EQ(text("a<img alt=\"x<y/\">b"), "a");
}

TEST(HtmlToTextTest, longerNameThatBeginsWithAVoidOneIsClosedToo)
{
    EXPECT_EQ(text("a<colgroup>b"), "ab");
}

TEST(HtmlToTextTest, noBreakSpaceNeitherCollapsesNorBreaks)
{
    EXPECT_EQ(text("a&nbsp;&nbsp;b"), QStringLiteral("a\u00A0\u00A0b"));
    EXPECT_EQ(text("aaaa&nbsp;bbbb&nbsp;cccc", HtmlToTextOptions().wrap(5)),
        QStringLiteral("aaaa\u00A0bbbb\u00A0cccc"));
}

TEST(HtmlToTextTest, entitiesBecomeCharacters)
{
    EXPECT_EQ(text("&lt;&gt;&amp;&quot;&apos;&#65;&eacute;&euro;&hearts;"),
        QStringLiteral("<>&\"'A\u00E9\u20AC\u2665"));
}

TEST(HtmlToTextTest, unknownEntityVanishes)
{
    EXPECT_EQ(text("a&nosuch;b"), "ab");
    EXPECT_TRUE(isValid("a&nosuch;b"));
}

TEST(HtmlToTextTest, entitiesAreThoseOfTheScript)
{
    QSet<QString> table;
    for (const auto &entity : quillon::report::kHtmlEntities)
        table.insert(QStringLiteral("%1=%2").arg(entity.name).arg(static_cast<uint>(entity.character)));
    EXPECT_EQ(table.size(), 253);

    QFile script(":/quillon-report/custom/report-engine.js");
    ASSERT_TRUE(script.open(QIODevice::ReadOnly));
    QSet<QString> scriptTable;
    auto matches
        = QRegularExpression("\\b[A-Za-z]+[0-9]*=[0-9]+\\b").globalMatch(QString::fromUtf8(script.readAll()));
    while (matches.hasNext())
        scriptTable.insert(matches.next().captured());
    EXPECT_EQ(table, scriptTable);
}

TEST(HtmlToTextTest, commentsAreNoText)
{
    EXPECT_EQ(text("a<!-- not this -->b"), "ab");
}

TEST(HtmlToTextTest, textEndsSilentlyAtTheFirstError)
{
    EXPECT_EQ(text("<p>one</p><b>two</i>three"), "one\n\ntwo");
}

TEST(HtmlToTextTest, linesBreakAtTheLastBlankBeforeTheColumn)
{
    const QString line = "alpha beta gamma delta";
    const QString wrapped = text(line, HtmlToTextOptions().wrap(10));
    EXPECT_EQ(wrapped, "alpha beta\ngamma\ndelta");
    EXPECT_EQ(QString(wrapped).replace('\n', ' '), line);
}

TEST(HtmlToTextTest, eachLineOfTheSnippetIsWrappedForItself)
{
    EXPECT_EQ(
        text("<p>aaaa bbbb</p><p>cccc dddd</p>", HtmlToTextOptions().wrap(9)), "aaaa bbbb\n\ncccc dddd\n\n");
    EXPECT_EQ(
        text("aaaa\rbbbb cccc", HtmlToTextOptions().wrap(9).collapseWhitespace(false)), "aaaa\nbbbb cccc");
}

TEST(HtmlToTextTest, longWordStaysWholeOnALineOfItsOwn)
{
    const QString word(100, 'w');
    EXPECT_EQ(text("a " + word + " b", HtmlToTextOptions().wrap(10)), "a\n" + word + "\nb");
    EXPECT_EQ(text(word), word);
}

TEST(HtmlToTextTest, noWrapNeverBreaks)
{
    const QString line = QStringLiteral("word ").repeated(200);
    EXPECT_EQ(text(line, HtmlToTextOptions().noWrap()), line);
    EXPECT_NE(text(line), line);
}

TEST(HtmlToTextTest, nestingMayBeAsDeepAsItLikes)
{
    const int depth = 100000;
    EXPECT_EQ(
        text(QStringLiteral("<b>").repeated(depth) + "x" + QStringLiteral("</b>").repeated(depth)), "x");
}

TEST(HtmlToTextTest, blockquoteIsABlockHere)
{
    EXPECT_EQ(text("a<blockquote>b</blockquote>c"), "a\nb\nc");
}

TEST(HtmlToTextTest, snippetThatClosesItsRootEndsThere)
{
    EXPECT_EQ(text("a</html><p>b</p>"), "a");
    EXPECT_TRUE(isValid("a</html><script/>"));
}

TEST(ValidateHtmlTest, acceptsTheBlocksAndInlineElements)
{
    for (const QString &name : elements(kBlocks) + elements(kInlines))
        EXPECT_TRUE(isValid(QStringLiteral("<%1>x</%1>").arg(name))) << name.toStdString();
    EXPECT_TRUE(isValid("<br>"));
}

TEST(ValidateHtmlTest, refusesOtherElements)
{
    for (const QString &name : elements("script a img hr li table colgroup u object iframe"))
        EXPECT_FALSE(isValid(QStringLiteral("<%1/>").arg(name))) << name.toStdString();
    EXPECT_FALSE(isValid("<script>x</script>"));
    EXPECT_FALSE(isValid("<ul><li>x</li></ul>"));
    EXPECT_FALSE(isValid("fine <b>so far</b> <a href='x'>but</a> <i>no</i>"));
}

TEST(ValidateHtmlTest, namesAreCaseSensitive)
{
    EXPECT_FALSE(isValid("<B>x</B>"));
}

TEST(ValidateHtmlTest, nestedHtmlElementIsAccepted)
{
    EXPECT_TRUE(isValid("<html>x</html>"));
}

TEST(ValidateHtmlTest, attributesAreNotLookedAt)
{
    EXPECT_TRUE(isValid("<b onclick=\"x\" nonsense='1'>x</b>"));
}

TEST(ValidateHtmlTest, syntaxErrorHidesWhatFollowsIt)
{
    EXPECT_TRUE(isValid("<b>never closed"));
    EXPECT_TRUE(isValid("<b>x</i><script/>"));
    EXPECT_FALSE(isValid("<script/><b>x</i>"));
}

} // namespace
