// What the tool tells the host and takes from the command line.
#include "quillonreportargparser.h"
#include "quillonreportmaingui.h"
#include "quillonreporttool.h"

#include "qtprinters.h"
#include "workflow/frontendapplicationproperties.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// The configuration as it is when only the applier has been made.
QString selectedRanks(const QStringList &args)
{
    QuillonReportArgParser parser(args, Platform::current());
    parser.parseAll();
    EXPECT_FALSE(parser.hasError()) << parser.getError().toStdString();
    FrontendApplicationProperties properties;
    KELPConfig config;
    const std::unique_ptr<ArgumentApplier> applier(
        QuillonReportTool::createArgumentApplier(parser, &config, true, false, &properties));
    EXPECT_TRUE(dynamic_cast<QuillonReportArgumentApplier *>(applier.get()));
    return config.fernConfig().getSelectedRanks();
}

TEST(ReportToolApplier, IsMadeWithTheSelectedRanksInTheConfigurationAlready)
{
    EXPECT_EQ(selectedRanks({"--select-ranks", "4-6,0", "prog"}), QString("0,4-6"));
    EXPECT_EQ(selectedRanks({"prog"}), QString());
}

TEST(ReportToolObjects, AreTheToolsOwn)
{
    const std::unique_ptr<ArgParser> parser(
        QuillonReportTool::instance()->createArgParserAndReadCommandLine({"prog"}, Platform::current()));
    MainWindow window;
    const std::unique_ptr<FERNMainGUI> logic(
        QuillonReportTool::instance()->createLogic(window, parser.get()));
    EXPECT_TRUE(dynamic_cast<QuillonReportMainGUI *>(logic.get()));

    FrontendApplicationProperties properties;
    KELPConfig config;
    const std::unique_ptr<ArgumentApplier> applier(
        logic->createArgumentApplier(*parser, &config, true, false, &properties));
    EXPECT_TRUE(dynamic_cast<QuillonReportArgumentApplier *>(applier.get()));
}

TEST(ReportToolErrors, OfTheCommandLinePointToTheHelp)
{
    static QString printed;
    const auto previous
        = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
              EXPECT_EQ(type, QtCriticalMsg);
              printed = text;
          });
    QuillonReportTool::instance()->printCmdLineArgError("100% wrong: %s %1");
    qInstallMessageHandler(previous);
    EXPECT_EQ(printed, QString("100% wrong: %s %1\n\nType quillon-report --help for more information."));
}

} // namespace
