#include "core/brivaneglobals.h"
#include "core/version.h"
#include "qtprinters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class MovedInstallation : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mRoot.isValid());
        ASSERT_TRUE(QDir(path("")).mkpath("opt/tool/share/quillon-reports"));
    }

    QString path(const QString &relative) const
    {
        return QDir(QFileInfo(mRoot.path()).canonicalFilePath()).filePath(relative);
    }

    QString installProbe(const QString &folder) const
    {
        QDir(path("")).mkpath(folder);
        const QString program = path(folder) + "/probe";
        EXPECT_TRUE(QFile::copy(HOST_CORE_PROBE, program));
        return program;
    }

    static QString askProbe(const QString &program, const QString &workingFolder = QString(),
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(workingFolder);
        process.start("/usr/bin/env", {program, "install-path"});
        EXPECT_TRUE(process.waitForFinished());
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

    QTemporaryDir mRoot;
};

class ConfigurationFolder : public ::testing::Test {
protected:
    void TearDown() override
    {
        qunsetenv("XDG_CONFIG_HOME");
        qputenv("HOME", mHome);
    }

    QByteArray mHome = qgetenv("HOME");
};

} // namespace

TEST_F(MovedInstallation, isFoundFromAProgramInBin)
{
    EXPECT_EQ(askProbe(installProbe("opt/tool/bin")), path("opt/tool/share"));
}

TEST_F(MovedInstallation, isFoundFromAFolderOfTheArchitecture)
{
    EXPECT_EQ(askProbe(installProbe("opt/tool/lib/x86_64-linux-gnu")), path("opt/tool/share"));
}

TEST_F(MovedInstallation, isFoundThroughALinkToTheProgram)
{
    const QString program = installProbe("opt/tool/bin");
    ASSERT_TRUE(QFile::link(program, path("elsewhere")));
    EXPECT_EQ(askProbe(path("elsewhere")), path("opt/tool/share"));
}

TEST_F(MovedInstallation, isFoundWhenTheProgramIsStartedByNameAlone)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", QFileInfo(installProbe("opt/tool/bin")).path() + ":/usr/bin:/bin");
    EXPECT_EQ(askProbe("probe", "/", environment), path("opt/tool/share"));
}

TEST_F(MovedInstallation, isFoundWhenTheProgramIsStartedByARelativePath)
{
    installProbe("opt/tool/bin");
    EXPECT_EQ(askProbe("./bin/probe", path("opt/tool")), path("opt/tool/share"));
}

TEST_F(MovedInstallation, withoutDataStillNamesTheUsualPlace)
{
    EXPECT_EQ(askProbe(installProbe("bare/bin")), path("bare/share"));
}

TEST(InstallPath, canBeSetByAProgramOutsideAnyInstallation)
{
    const PathString before = BrivaneGlobals::instance()->installPath();
    BrivaneGlobals::instance()->setInstallPath(PathString("/opt/other/share"));
    EXPECT_EQ(BrivaneGlobals::instance()->installPath().filePath("quillon-reports/x"),
        "/opt/other/share/quillon-reports/x");
    BrivaneGlobals::instance()->setInstallPath(before);
}

TEST_F(ConfigurationFolder, liesInTheFolderThatTheUserChose)
{
    qputenv("XDG_CONFIG_HOME", "/users/ada/settings");
    EXPECT_EQ(BrivaneGlobals::instance()->localConfigDir().toString(), "/users/ada/settings/brivane");
}

TEST_F(ConfigurationFolder, liesInTheHomeFolderByDefault)
{
    qunsetenv("XDG_CONFIG_HOME");
    qputenv("HOME", "/users/ada");
    EXPECT_EQ(BrivaneGlobals::instance()->localConfigDir().toString(), "/users/ada/.config/brivane");
}

TEST_F(ConfigurationFolder, ignoresARelativeChoice)
{
    qputenv("XDG_CONFIG_HOME", "settings");
    qputenv("HOME", "/users/ada");
    EXPECT_EQ(BrivaneGlobals::instance()->localConfigDir().toString(), "/users/ada/.config/brivane");
}

TEST(VersionNumber, isThatOfTheCatalogue)
{
    EXPECT_STREQ(Version::KELP_VERSION, "7.1.0");
}
