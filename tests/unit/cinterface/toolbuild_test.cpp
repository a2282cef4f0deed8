// What the tool's build of the C interface says where it does no work.

#include "api/brivane-report.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

namespace {

QtMsgType lastType;
QString lastMessage;

void keep(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    lastType = type;
    lastMessage = message;
}

class ToolBuildTest : public testing::Test {
protected:
    ToolBuildTest()
        : mPrevious(qInstallMessageHandler(keep))
    {
        lastMessage.clear();
    }
    ~ToolBuildTest() override { qInstallMessageHandler(mPrevious); }

private:
    QtMessageHandler mPrevious;
};

TEST_F(ToolBuildTest, writeHtmlRefersToTheOtherLibrary)
{
    char *output = nullptr;
    EXPECT_EQ(quillon_report_write_html(nullptr, &output), 1);
    EXPECT_EQ(lastType, QtCriticalMsg);
    EXPECT_EQ(lastMessage,
        "The function int quillon_report_write_html(quillon_report*, char**) is not yet implemented in the "
        "Quillon Report library. Were you intending on using the Custom Quillon Reports library instead?");
}

TEST_F(ToolBuildTest, libraryIdRefersToTheOtherLibrary)
{
    EXPECT_STREQ(quillon_report_library_id_string(), "");
    EXPECT_EQ(lastType, QtCriticalMsg);
    EXPECT_EQ(lastMessage,
        "The function const char* quillon_report_library_id_string() is not yet implemented in the Quillon "
        "Report library. Were you intending on using the Custom Quillon Reports library instead?");
}

} // namespace
