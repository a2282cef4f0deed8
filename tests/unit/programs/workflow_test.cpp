// Finding programs, quoting commands, naming files, and what the tools say about themselves.
#include "quillonreportargparser.h"
#include "quillonreporttool.h"

#include "profilebuilder.h"
#include "workflow/ferntool.h"
#include "workflow/fernworkflow.h"
#include "workflow/frontendapplicationproperties.h"
#include "workflow/joblauncher.h"
#include "workflow/kelpconfig.h"
#include "workflow/nomenclature.h"
#include "workflow/outputfolder.h"
#include "workflow/programpath.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace {

class Folder : public ::testing::Test {
protected:
    QString path(const QString &name) const { return mFolder.filePath(name); }
    QByteArray bytes(const QString &name) const { return QFile::encodeName(path(name)); }

    void makeFile(const QString &name, QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner)
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.setPermissions(permissions);
    }

    QTemporaryDir mFolder;
};

using ProgramPath = Folder;
using FileNames = Folder;
using OutputFolder = Folder;

constexpr QFile::Permissions Executable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

TEST_F(ProgramPath, TakesTheFirstExecutableFileInThePath)
{
    for (const char *folder : {"a", "b", "c"})
        QDir().mkpath(path(folder));
    makeFile("a/prog");
    makeFile("b/prog", Executable);
    makeFile("c/prog", Executable);
    QByteArray found;
    QString error;
    EXPECT_EQ(
        findProgram("prog", bytes("a") + ':' + bytes("b") + ':' + bytes("c"), &found, &error), ExitSuccess);
    EXPECT_EQ(found, bytes("b/prog"));
}

TEST_F(ProgramPath, TellsMissingFromNotExecutable)
{
    QDir().mkpath(path("a/prog.d"));
    makeFile("a/prog");
    QByteArray found;
    QString error;
    EXPECT_EQ(findProgram("nonesuch", bytes("a"), &found, &error), ExitNotFound);
    EXPECT_EQ(error, QString("no such program: 'nonesuch'"));
    EXPECT_EQ(findProgram("prog.d", bytes("a"), &found, &error), ExitNotFound) << "folders aren't looked for";
    EXPECT_EQ(findProgram("prog", bytes("a"), &found, &error), ExitNotExecutable);
    EXPECT_EQ(error, "cannot run '" + path("a/prog") + "': it is not executable");
    EXPECT_EQ(findProgram(bytes("a/prog.d"), "", &found, &error), ExitNotExecutable);
    EXPECT_EQ(error, "cannot run '" + path("a/prog.d") + "': it is a folder");
    EXPECT_EQ(findProgram("", bytes("a"), &found, &error), ExitNotFound);
}

TEST_F(OutputFolder, IsTheFolderItselfOrThatOfTheFile)
{
    makeFile("plain");
    QString error;
    EXPECT_TRUE(isOutputWritable(mFolder.path(), &error));
    EXPECT_TRUE(isOutputWritable(path("new.txt"), &error));
    EXPECT_TRUE(isOutputWritable("/dev/null", &error));
    EXPECT_FALSE(isOutputWritable(path("plain/x.txt"), &error));
    EXPECT_EQ(error, "cannot write to the folder '" + path("plain") + "': Not a directory");
    EXPECT_FALSE(isOutputWritable(path("nonesuch/x.txt"), &error));
    EXPECT_EQ(QDir(mFolder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList{"plain"});
}

TEST_F(FileNames, CarryProcessesNodesThreadsAndTheStartOfTheJob)
{
    const ProfilerData data = ProfileBuilder().processes(64).nodes(4).build();
    EXPECT_EQ(FERNWorkflow::generateDefaultFilename(path("prog"), &data, "txt"),
        path("prog_64p_4n_1t_2026-03-06_14-05.txt"));
}

TEST_F(FileNames, NeverAreThoseOfOlderFiles)
{
    const ProfilerData data = ProfileBuilder().processes(2).nodes(1).build();
    makeFile("prog_2p_1n_1t_2026-03-06_14-05.txt");
    makeFile("prog_2p_1n_1t_2026-03-06_14-05_2.html");
    makeFile("prog_2p_1n_1t_2026-03-06_14-05_3.fern");
    // A text and a page of one report go by one name.
    EXPECT_EQ(FERNWorkflow::generateDefaultFilename(path("prog"), &data, "txt"),
        path("prog_2p_1n_1t_2026-03-06_14-05_3.txt"));
    EXPECT_EQ(FERNWorkflow::generateDefaultFilename(path("prog"), &data, "html"),
        path("prog_2p_1n_1t_2026-03-06_14-05_3.html"));
    EXPECT_EQ(FERNWorkflow::generateDefaultFilename(path("prog"), &data, "fern"),
        path("prog_2p_1n_1t_2026-03-06_14-05.fern"));
}

TEST(Commands, AreQuotedAsAShellWantsThem)
{
    EXPECT_EQ(shellQuoted({"./prog", "-n", "2", "a b", "it's", "", "x=$HOME"}),
        QString("./prog -n 2 'a b' 'it'\\''s' '' 'x=$HOME'"));
    EXPECT_EQ(shellQuoted({"prog", "two\nlines", "gr\xc3\xbcn"}),
        QString::fromUtf8("prog 'two\nlines' gr\xc3\xbcn"));
}

TEST(Words, ProcessesInSentences)
{
    EXPECT_EQ(Nomenclature::process(false, true, false, true), QString("processes"));
    EXPECT_EQ(Nomenclature::process(true, false, false, true), QString("Process"));
    EXPECT_EQ(Nomenclature::process(false, false, true, true), QString("a process"));
}

TEST(ReportTool, SaysWhoItIs)
{
    QuillonReportTool *tool = QuillonReportTool::instance();
    EXPECT_EQ(tool, QuillonReportTool::instance());
    EXPECT_TRUE(tool->isNamed("quillon-report"));
    EXPECT_FALSE(tool->isNamed("fern"));
    EXPECT_TRUE(tool->isOfflineOnly());
    EXPECT_EQ(tool->getCanonicalName(), QString("quillon-report"));
    EXPECT_EQ(tool->getFriendlyName(), QString("Brivane Quillon Reports"));
    EXPECT_EQ(tool->getShortFriendlyName(), QString("Quillon Reports"));
    EXPECT_EQ(tool->getLauncherFileName(), QString("quillon-report"));
    EXPECT_EQ(tool->verboseArgumentDocString(),
        QString("print extra information before and after report generation"));
}

TEST(ReportTool, ReadsTheCommandLine)
{
    const std::unique_ptr<ArgParser> parser(QuillonReportTool::instance()->createArgParserAndReadCommandLine(
        {"--type=trapped", "prog"}, Platform::current()));
    ASSERT_TRUE(dynamic_cast<QuillonReportArgParser *>(parser.get()));
    EXPECT_EQ(dynamic_cast<QuillonReportArgParser *>(parser.get())->type(), QString("trapped"));
    EXPECT_TRUE(parser->helpText().simplified().contains(
        "--verbose print extra information before and after report generation"));
}

KELPConfig applied(const QStringList &args)
{
    QuillonReportArgParser parser(args, Platform::current());
    parser.parseAll();
    FrontendApplicationProperties properties;
    for (const QString &arg : args)
        properties.arguments.append(arg.toUtf8());
    KELPConfig config;
    config.setQueueUsed(true);
    config.setNumNodes(4);
    config.setSelectedPlugins({"plugin"});
    const std::unique_ptr<ArgumentApplier> applier(
        QuillonReportTool::createArgumentApplier(parser, &config, true, false, &properties));
    applier->apply();
    return config;
}

TEST(ReportTool, AppliesTheCommandLine)
{
    const KELPConfig config = applied({"-i", "in.txt", "mpirun", "-n", "2", "prog", "-v"});
    EXPECT_EQ(config.getCommand(), (QList<QByteArray>{"mpirun", "-n", "2", "prog", "-v"}));
    EXPECT_EQ(config.getInputFile(), QString("in.txt"));
    EXPECT_FALSE(config.isQueueUsed());
    EXPECT_EQ(config.getNumNodes(), 0);
    EXPECT_TRUE(config.getSelectedPlugins().isEmpty());
    EXPECT_TRUE(config.isQuiet());
}

TEST(ReportTool, IsQuietUnlessVerbose)
{
    EXPECT_FALSE(applied({"-v", "prog"}).isQuiet());
    EXPECT_TRUE(applied({"prog"}).isQuiet());
}

TEST(CurrentTool, IsTheHostUntilAProgramSaysOtherwise)
{
    EXPECT_EQ(BrivaneTool::currentTool()->getCanonicalName(), QString("brivane"));
    FernTool fern;
    BrivaneTool::setCurrentTool(&fern);
    EXPECT_EQ(BrivaneTool::currentTool(), &fern);
    BrivaneTool::setCurrentTool(nullptr);
    EXPECT_EQ(BrivaneTool::currentTool()->getCanonicalName(), QString("brivane"));
}

} // namespace
