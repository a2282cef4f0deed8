// Many reports in one process: nothing grows, and nothing of one report shows in the next.

#include "goldenreport.h"
#include "qtprinters.h"

#include "reportengine.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memoryIsMeasurable = false; // sanitizers keep what was freed
#else
constexpr bool memoryIsMeasurable = true;
#endif

double residentMiB()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    file.open(QIODevice::ReadOnly);
    const qint64 pages = file.readAll().split(' ').value(1).toLongLong();
    return static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / (1 << 20);
}

std::unique_ptr<quillon_report> someReport()
{
    QString error;
    auto report = golden::filledReport(
        QDir(QStringLiteral(GOLDEN_PROFILES)), QStringLiteral("energy-accelerator"), &error);
    EXPECT_TRUE(report) << error.toStdString();
    return report;
}

// Renders `count` reports; those after the first `warmUp` may take at most `boundMiB` more of memory.
void renderMany(QuillonReportType type, int count, int warmUp, double boundMiB)
{
    const std::unique_ptr<quillon_report> report = someReport();
    ASSERT_TRUE(report);
    QByteArray first;
    double before = 0;
    for (int i = 0; i < count; ++i) {
        QByteArray bytes;
        ASSERT_EQ(report->generateAndWrite(bytes, type), 0) << report->getErrorMessage();
        if (i == 0)
            first = bytes;
        ASSERT_EQ(bytes, first) << "report " << i << " differs from the first";
        if (i == warmUp)
            before = residentMiB();
    }
    const double growth = residentMiB() - before;
    if (memoryIsMeasurable) {
        EXPECT_LT(growth, boundMiB);
    }
}

TEST(Endurance, JsonReportsTakeNoMoreMemoryFromOneToTheNext)
{
    renderMany(JsonReport, 1000, 200, 1);
}

TEST(Endurance, TextReportsTakeNoMoreMemoryFromOneToTheNext)
{
    renderMany(TxtReport, 100, 40, 2);
}

TEST(Endurance, PagesTakeNoMoreMemoryFromOneToTheNext)
{
    renderMany(HtmlReport, 150, 50, 2);
}

// A page as a browser would draw it, in an engine of its own.
QString drawn(const QJsonObject &document)
{
    brivane::ReportEngine engine;
    QString error;
    const QDir resources(QStringLiteral(":quillon-report/custom"));
    const QStringList files
        = resources.entryList({QStringLiteral("*Template.html"), QStringLiteral("html_template.html")});
    for (const QString &name : files) {
        QFile file(resources.filePath(name));
        engine.loadPartialFromFile(QFileInfo(name).baseName(), file, brivane::ReportFormat::Html, &error);
    }
    QFile script(resources.filePath(QStringLiteral("quillon-reports.js")));
    engine.loadJavaScriptFromFile(script, &error);
    const QString page
        = engine.renderStatic(document, QStringLiteral("html_template"), brivane::ReportFormat::Html, &error);
    EXPECT_EQ(error, QString());
    return page;
}

QStringList elementIds(const QString &page)
{
    QStringList ids;
    auto match = QRegularExpression(QStringLiteral(" id=\"([^\"]+)\"")).globalMatch(page);
    while (match.hasNext())
        ids.append(match.next().captured(1));
    return ids;
}

TEST(Endurance, ElementsHaveTheSameIdsInEveryPage)
{
    const std::unique_ptr<quillon_report> report = someReport();
    QByteArray json;
    ASSERT_EQ(report->generateAndWrite(json, JsonReport), 0);
    const QJsonObject document = QJsonDocument::fromJson(json).object();
    const QStringList first = elementIds(drawn(document));
    EXPECT_TRUE(first.contains(QStringLiteral("summary-entry-compute")));
    EXPECT_TRUE(first.contains(QStringLiteral("subsection-energy")));
    EXPECT_EQ(QSet<QString>(first.begin(), first.end()).size(), first.size()) << "an id stands twice";
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(elementIds(drawn(document)), first);
}

} // namespace
