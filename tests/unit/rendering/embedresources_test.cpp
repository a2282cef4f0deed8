#include "api/embedresources.h"
#include "qtprinters.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using quillon::report::embedResources;

namespace {

class EmbedResources : public testing::Test {
protected:
    EmbedResources()
    {
        write("a.js", "var a = '%1 <b>';");
        write("a.css", "b { color: red }");
        for (const char *name : {"a.png", "a.jpg", "a.gif", "a.jpeg", "a.PNG"})
            write(name, "picture");
    }

    QString embed(const QString &html) const { return embedResources(html, mFolder.path()); }

    void write(const QString &name, const QByteArray &content)
    {
        QFile file(mFolder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir mFolder;
};

TEST_F(EmbedResources, AScriptInEitherLetterCase)
{
    EXPECT_EQ(embed("x<script type=\"t\" src=\"a.js\" async></script>y"),
        "x<script type=\"t\" async>var a = '%1 <b>';</script>y");
    EXPECT_EQ(embed("<SCRIPT SRC='a.js'> \n </SCRIPT>"), "<script>var a = '%1 <b>';</script>");
}

TEST_F(EmbedResources, NotAScriptWithABody)
{
    const QString html = "<script src=\"a.js\">b()</script>";
    EXPECT_EQ(embed(html), html);
}

TEST_F(EmbedResources, AStyleSheetWhicheverAttributeComesFirst)
{
    const QString style = "<style>b { color: red }</style>";
    EXPECT_EQ(embed("<link rel=\"stylesheet\" href=\"a.css\">"), style);
    EXPECT_EQ(embed("<link href=\"a.css\" rel=\"stylesheet\">"), style);
    EXPECT_EQ(embed("<link rel='stylesheet' href='a.css'>"), style);
    EXPECT_EQ(embed("<link href='a.css' rel='stylesheet'>"), style);
}

TEST_F(EmbedResources, NotAStyleSheetWithoutQuotesOrOfAnotherRelation)
{
    for (const char *html : {"<link rel=stylesheet href=\"a.css\">", "<link rel=\"icon\" href=\"a.css\">",
             "<link rel=\"alternate stylesheet\" href=\"a.css\">"})
        EXPECT_EQ(embed(html), html);
}

TEST_F(EmbedResources, AStyleSheetKeepsItsOtherAttributesAndLosesTheClosingSlash)
{
    EXPECT_EQ(embed("<link media=\"a\" rel=\"stylesheet\" id='b' href=\"a.css\" type=\"text/css\"/>"),
        "<style media=\"a\" id='b' type=\"text/css\">b { color: red }</style>");
    EXPECT_EQ(embed("<link href=\"a.css\" id='b' rel=\"stylesheet\" type=\"text/css\">"),
        "<style id='b' type=\"text/css\">b { color: red }</style>");
}

TEST_F(EmbedResources, AnImageByItsSuffix)
{
    EXPECT_EQ(embed("<img src=\"a.png\">"), "<img src=\"data:image/png;base64,cGljdHVyZQ==\">");
    EXPECT_EQ(embed("<img src=\"a.jpg\">"), "<img src=\"data:image/jpeg;base64,cGljdHVyZQ==\">");
    EXPECT_EQ(embed("<img src=\"a.gif\">"), "<img src=\"data:image/gif;base64,cGljdHVyZQ==\">");
}

TEST_F(EmbedResources, NotAnImageOfAnotherSuffix)
{
    for (const char *html : {"<img src=\"a.jpeg\">", "<img src=\"a.PNG\">"})
        EXPECT_EQ(embed(html), html);
}

TEST_F(EmbedResources, AnImageKeepsItsAttributesWhateverTheyHold)
{
    EXPECT_EQ(embed("<img alt=\"a > b\" src=\"a.png\" title='c > \"d\"'>"),
        "<img alt=\"a > b\" src=\"data:image/png;base64,cGljdHVyZQ==\" title='c > \"d\"'>");
    EXPECT_EQ(embed("<img alt=\"it's\" src='a.png'/>"),
        "<img alt=\"it's\" src=\"data:image/png;base64,cGljdHVyZQ==\"/>");
}

TEST_F(EmbedResources, NothingThatIsMissing)
{
    for (const char *html : {"<script  src=\"b.js\" ></script>", "<LINK rel='stylesheet' href='b.css' />",
             "<img src=\"https://brivane.example/a.png\">", "<img src=\"{{image}}\">", "<img src=a.png>"})
        EXPECT_EQ(embed(html), html);
}

TEST_F(EmbedResources, APageWithoutReferencesIsUnchanged)
{
    const QString html = "<html>\n<head><script>var x;</script></head><body class='y'>%1</body></html>\n";
    EXPECT_EQ(embed(html), html);
    EXPECT_EQ(embed(QString()), QString());
}

TEST_F(EmbedResources, WhatAPassHasPutInIsNotLookedAtAgainByIt)
{
    write("outer.js", "'<script src=\"a.js\"></scr' + 'ipt>'; '<img src=\"a.gif\">'");
    EXPECT_EQ(embed("<script src=\"outer.js\"></script>"),
        "<script>'<script src=\"a.js\"></scr' + 'ipt>'; '<img "
        "src=\"data:image/gif;base64,cGljdHVyZQ==\">'</script>");
    write("self.css", "/* <link rel=\"stylesheet\" href=\"self.css\"> */");
    EXPECT_EQ(embed("<link rel=\"stylesheet\" href=\"self.css\">"),
        "<style>/* <link rel=\"stylesheet\" href=\"self.css\"> */</style>");
}

TEST_F(EmbedResources, SeveralReferencesInOnePage)
{
    EXPECT_EQ(
        embed(
            "<script src=\"a.js\"></script>\n<script src=\"b.js\"></script>\n<script src=\"a.js\"></script>"),
        "<script>var a = '%1 <b>';</script>\n<script src=\"b.js\"></script>\n<script>var a = '%1 "
        "<b>';</script>");
}

} // namespace
