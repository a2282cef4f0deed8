// Which logos stand on the page.

#include "templatedatatest.h"

#include <QFile>
#include <QTemporaryDir>

using namespace templatedatatest;
using namespace quillon::report::json;

namespace {

const QString OurLogo = QStringLiteral("https://brivane.example/downloads/quillon-report-logo-180.png");

QJsonArray logos(const QString &image, const QString &link)
{
    ReportDefinition report;
    report.setReportLogo(image);
    report.setReportLogoLink(link);
    return createBrandingData(report)["logos"].toArray();
}

// Whether the text is a data URI that holds the file.
bool embeds(const QJsonValue &uri, const QString &filename)
{
    const QString prefix = QStringLiteral("data:image/png;base64,");
    QFile file(filename);
    return file.open(QIODevice::ReadOnly) && uri.toString().startsWith(prefix)
        && QByteArray::fromBase64(uri.toString().mid(prefix.size()).toLatin1()) == file.readAll();
}

TEST(Branding, OurLogoStandsAloneAndCarriesItsPicture)
{
    const QJsonArray shown = logos(OurLogo, "https://brivane.example/products");
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown[0].toObject().keys(), (QStringList{"altData", "height", "image", "link"}));
    EXPECT_EQ(shown[0]["image"], OurLogo);
    EXPECT_EQ(shown[0]["link"], "https://brivane.example/products");
    EXPECT_EQ(shown[0]["height"], 150);
    EXPECT_TRUE(embeds(shown[0]["altData"], ":/quillon-report/custom/logo.png"));
}

TEST(Branding, AnyLogoUnderOurAddressIsOurs)
{
    EXPECT_EQ(logos("https://brivane.example/downloads/quillon-report-logo", "").size(), 1);
    EXPECT_EQ(logos("https://brivane.example/downloads/quillon-report-logo-dark.png", "").size(), 1);
}

TEST(Branding, OtherLogosAreAccompaniedByACredit)
{
    const QJsonArray shown = logos("https://site.example/logo.png", "https://site.example");
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown[0],
        (QJsonObject{
            {"image", "https://site.example/logo.png"}, {"link", "https://site.example"}, {"height", 150}}));
    EXPECT_EQ(shown[1]["image"], "https://brivane.example/downloads/powered-by-quillon-reports-180.png");
    EXPECT_EQ(shown[1]["link"], "https://brivane.example/products/brivane-quillon-reports");
    EXPECT_EQ(shown[1]["height"], 30);
    EXPECT_TRUE(embeds(shown[1]["altData"], ":/quillon-report/custom/powered-by-quillon-reports.png"));
}

TEST(Branding, OurAddressIsComparedWithCase)
{
    EXPECT_EQ(logos("https://brivane.example/downloads/Quillon-Report-Logo-180.png", "").size(), 2);
}

TEST(Branding, EmptyLinkIsLeftOut)
{
    EXPECT_FALSE(logos(OurLogo, "")[0].toObject().contains("link"));
    EXPECT_FALSE(logos("https://site.example/logo.png", "")[0].toObject().contains("link"));
}

TEST(Branding, ReportWithoutALogoStillHasAnImageEntryAndTheCredit)
{
    const QJsonArray shown = logos("", "");
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown[0], (QJsonObject{{"image", ""}, {"height", 150}}));
}

TEST(DataUri, HoldsTheBytesOfAnyFile)
{
    const QTemporaryDir folder;
    const QString filename = folder.filePath("bytes.png");
    QFile file(filename);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("\x00\xff not a picture", 16);
    file.close();
    EXPECT_EQ(convertPngFileToBase64DataUri(filename), "data:image/png;base64,AP8gbm90IGEgcGljdHVyZQ==");
}

TEST(DataUri, OfAMissingFileIsNullWithAWarning)
{
    const LogCatcher log;
    EXPECT_TRUE(convertPngFileToBase64DataUri("/no/such.example/logo.png").isNull());
    EXPECT_EQ(log.lines(), QStringList("warning: Error: /no/such.example/logo.png not found."));
}

} // namespace
