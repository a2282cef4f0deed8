// The folder where the host gathers what other nodes have.

#include "workflow/gatherfolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class Gather : public testing::Test {
protected:
    void SetUp() override
    {
        QDir::setCurrent(mWork.path());
        QDir(mWork.path()).mkdir(QStringLiteral("spool"));
    }
    void TearDown() override { QDir::setCurrent(mBefore); }

    QString spools() const { return mWork.filePath(QStringLiteral("spool")); }
    static void write(const QString &path)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
        file.write("bytes");
    }
    QStringList spoolNames() const { return QDir(spools()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir mWork;
    QString mBefore = QDir::currentPath();
};

} // namespace

TEST_F(Gather, IsNamedAfterTheFolderOfTheJobAndNotMade)
{
    GatherFolder gather(QStringLiteral("/tmp/fern-abcdef"));
    EXPECT_EQ(gather.path(), QDir::current().absoluteFilePath(QStringLiteral(".fern-abcdef")));
    EXPECT_FALSE(QFile::exists(gather.path()));
    EXPECT_EQ(gather.fetchInto(spools()), 0);
}

TEST_F(Gather, TakesSpoolsAndRemovesTheRest)
{
    const QString kept = mWork.filePath(QStringLiteral("kept"));
    write(kept);
    {
        GatherFolder gather(QStringLiteral("/tmp/fern-abcdef"));
        const QDir folder(gather.path());
        ASSERT_TRUE(folder.mkpath(QStringLiteral(".")));
        write(folder.filePath(QStringLiteral("a-1-1.spool")));
        write(folder.filePath(QStringLiteral("a-1-1.merged")));
        write(folder.filePath(QStringLiteral(".b-1-1.spool"))); // is being written
        ASSERT_TRUE(QFile::link(kept, folder.filePath(QStringLiteral("c-1-1.spool"))));
        EXPECT_EQ(gather.fetchInto(spools()), 0);
        EXPECT_TRUE(folder.exists(QStringLiteral("host")));
    }
    EXPECT_EQ(spoolNames(), QStringList({QStringLiteral("a-1-1.merged"), QStringLiteral("a-1-1.spool")}));
    EXPECT_FALSE(QFile::exists(mWork.filePath(QStringLiteral(".fern-abcdef"))));
    EXPECT_TRUE(QFile::exists(kept));
}

TEST_F(Gather, SaysWhatHasNotCome)
{
    GatherFolder gather(QStringLiteral("/tmp/fern-abcdef"));
    const QDir folder(gather.path());
    ASSERT_TRUE(folder.mkpath(QStringLiteral("a-1.keeper")));
    ASSERT_TRUE(folder.mkpath(QStringLiteral("b-1.keeper")));
    EXPECT_EQ(gather.fetchInto(spools(), 50), 2);
}

TEST_F(Gather, FollowsNoLink)
{
    const QDir elsewhere(mWork.filePath(QStringLiteral("elsewhere")));
    ASSERT_TRUE(elsewhere.mkpath(QStringLiteral(".")));
    write(elsewhere.filePath(QStringLiteral("a-1-1.spool")));
    {
        GatherFolder gather(QStringLiteral("/tmp/fern-abcdef"));
        ASSERT_TRUE(QFile::link(elsewhere.path(), gather.path()));
        EXPECT_EQ(gather.fetchInto(spools()), 0);
    }
    EXPECT_EQ(spoolNames(), QStringList());
    EXPECT_EQ(elsewhere.entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

TEST_F(Gather, IsNoneWhereTheNameIsTakenOrNoListCanHoldIt)
{
    QDir::current().mkdir(QStringLiteral(".fern-abcdef"));
    EXPECT_TRUE(GatherFolder(QStringLiteral("/tmp/fern-abcdef")).path().isEmpty());
    EXPECT_TRUE(QFile::exists(QStringLiteral(".fern-abcdef")));
    QDir::current().mkdir(QStringLiteral("a;b"));
    QDir::setCurrent(QStringLiteral("a;b"));
    EXPECT_TRUE(GatherFolder(QStringLiteral("/tmp/fern-ghijkl")).path().isEmpty());
}
