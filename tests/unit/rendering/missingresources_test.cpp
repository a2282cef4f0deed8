// A process without our resources, or with one of them left out.

#include "messagelog.h"
#include "qtprinters.h"
#include "renderingtest.h"

#include <QResource>

#include <gtest/gtest.h>

namespace {

TEST(MissingResources, AJsonReportNeedsNoneAndNoEngine)
{
    MessageLog log;
    const QJsonObject json = QJsonDocument::fromJson(DocumentBuilder().render(JsonReport)).object();
    EXPECT_EQ(json.size(), 7);
    EXPECT_TRUE(json["headerData"].isArray());
    EXPECT_TRUE(json["headerData"].toArray().isEmpty());
    EXPECT_EQ(log.warnings(), QStringList());
}

TEST(MissingResources, EveryFileIsNamedAndNothingIsRendered)
{
    MessageLog log;
    EXPECT_EQ(DocumentBuilder().render(TxtReport), QByteArray());
    // Five scripts of the engine, sixteen templates, one script of ours, and the report.
    EXPECT_EQ(log.warnings().size(), 23);
    EXPECT_TRUE(log.warnings().last().startsWith("Error generating static report: "));
}

TEST(MissingResources, ATemplateThatIsMissingIsNamedByItsPathAndTheOtherFormatsWork)
{
    ASSERT_TRUE(QResource::registerResource(QUILLON_RESOURCES_WITHOUT_SUMMARY));
    const QString warning = "Error generating report, failed when processing template "
                            "':quillon-report/custom/text_summary.txt':\n"
                            "can't read :quillon-report/custom/text_summary.txt: ";
    {
        MessageLog log;
        EXPECT_TRUE(DocumentBuilder().render(CsvReport).startsWith("Name,Value\n"));
        ASSERT_EQ(log.warnings().size(), 1);
        EXPECT_TRUE(log.warnings().first().startsWith(warning)) << qPrintable(log.warnings().first());
    }
    {
        MessageLog log;
        EXPECT_EQ(DocumentBuilder().render(TxtReport), QByteArray());
        ASSERT_EQ(log.warnings().size(), 2);
        EXPECT_TRUE(log.warnings().first().startsWith(warning));
        EXPECT_TRUE(log.warnings().last().startsWith("Error generating static report: "));
    }
    EXPECT_TRUE(QResource::unregisterResource(QUILLON_RESOURCES_WITHOUT_SUMMARY));
}

TEST(MissingResources, AScriptThatIsMissingIsNamedAndTemplatesThatCallItFail)
{
    ASSERT_TRUE(QResource::registerResource(QUILLON_RESOURCES_WITHOUT_SCRIPT));
    MessageLog log;
    EXPECT_EQ(DocumentBuilder().render(TxtReport), QByteArray());
    ASSERT_EQ(log.warnings().size(), 2);
    EXPECT_TRUE(
        log.warnings().first().startsWith("Error generating report, failed when processing javascript file "
                                          "':quillon-report/custom/quillon-reports.js'\n:can't read "));
    EXPECT_TRUE(QResource::unregisterResource(QUILLON_RESOURCES_WITHOUT_SCRIPT));
}

} // namespace
