#include "core/internstringcache.h"
#include "core/pathstring.h"
#include "core/printable.h"
#include "qtprinters.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(Printable, ReplacesWhatATerminalObeys)
{
    EXPECT_EQ(printable(QStringLiteral("a\033[2J\b\r\x7f\x9b"
                                       "1mz")),
        "a?[2J????1mz");
}

TEST(Printable, KeepsLinesTabsAndAllThatCanBeSeen)
{
    const QString text = QString::fromUtf8("one\n\ttwo \xc3\xa9 \xe2\x9c\x93 \xf0\x9f\x9a\x80");
    EXPECT_EQ(printable(text), text);
}

TEST(PathString, joinsARelativePathToTheFolder)
{
    EXPECT_EQ(PathString("/opt/tool/share").filePath("quillon-reports/templates/x.xml"),
        "/opt/tool/share/quillon-reports/templates/x.xml");
    EXPECT_EQ(PathString("/opt/tool/share/").filePath("x"), "/opt/tool/share/x");
    EXPECT_EQ(PathString("/opt/tool/share").filePath("templates/"), "/opt/tool/share/templates/");
}

TEST(PathString, leavesAnAbsolutePathAsItIs)
{
    EXPECT_EQ(PathString("/opt/tool").filePath("/etc/x"), "/etc/x");
}

TEST(PathString, fileNameIsWhatStandsBehindTheLastSlash)
{
    EXPECT_EQ(PathString::fileName("/opt/tool/prog"), "prog");
    EXPECT_EQ(PathString::fileName("prog"), "prog");
    EXPECT_EQ(PathString::fileName("/opt/tool/"), "");
}

TEST(PathString, cleanPathTakesOutDotsAndDoubledSlashes)
{
    EXPECT_EQ(PathString::cleanPath("/opt//tool/./x/../prog/"), "/opt/tool/prog");
}

TEST(PathString, joinPathPutsOneSlashBetweenTheParts)
{
    EXPECT_EQ(PathString::joinPath({"/home/ada/.config", "quillon-report", "reports"}),
        "/home/ada/.config/quillon-report/reports");
    EXPECT_EQ(PathString::joinPath({"/", "a/", "/b"}), "/a/b");
    EXPECT_EQ(PathString::joinPath({"a", "", "b"}), "a/b");
    EXPECT_EQ(PathString::joinPath({}), "");
}

TEST(InternStringCache, equalStringsShareTheirMemory)
{
    const QString first = InternStringCache::intern(QString("a/path/").append("x"));
    const QString second = InternStringCache::intern(QString("a/").append("path/x"));
    EXPECT_EQ(first, "a/path/x");
    EXPECT_EQ(first.constData(), second.constData());
}

TEST(InternStringCache, servesManyThreadsAtOnce)
{
    std::vector<std::vector<QString>> results(8);
    std::vector<std::thread> threads;
    for (auto &mine : results)
        threads.emplace_back([&mine] {
            for (int i = 0; i < 200; ++i)
                mine.push_back(InternStringCache::intern(QString("thread test %1").arg(i)));
        });
    for (std::thread &thread : threads)
        thread.join();
    for (const auto &mine : results)
        for (size_t i = 0; i < mine.size(); ++i)
            EXPECT_EQ(mine[i].constData(), results[0][i].constData());
}
