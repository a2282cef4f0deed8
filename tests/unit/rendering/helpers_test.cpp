// The tables of tests/script in the script engine.

#include "qtprinters.h"
#include "reportengine.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

QByteArray readFile(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

class Helpers : public testing::TestWithParam<const char *> { };

TEST_P(Helpers, DoWhatTheirTableSays)
{
    brivane::ReportEngine engine;
    QString error;
    QFile reports(":quillon-report/custom/quillon-reports.js");
    ASSERT_TRUE(engine.loadJavaScriptFromFile(reports, &error)) << qPrintable(error);
    const QString folder(QUILLON_SCRIPT_TESTS);
    QFile runner(folder + "/runner.js");
    ASSERT_TRUE(engine.loadJavaScriptFromFile(runner, &error)) << qPrintable(error);

    const QJsonArray rows
        = QJsonDocument::fromJson(readFile(folder + "/" + QLatin1String(GetParam()) + ".json")).array();
    ASSERT_FALSE(rows.isEmpty());
    for (const QJsonValue &row : rows) {
        const QByteArray json = QJsonDocument(row.toObject()).toJson(QJsonDocument::Compact);
        const QByteArray text
            = QJsonDocument(QJsonArray{QString::fromUtf8(json)}).toJson(QJsonDocument::Compact);
        EXPECT_TRUE(engine.loadJavaScriptFromSource(
            "runCase(JSON.parse(" + QString::fromUtf8(text) + "[0]))", &error))
            << qPrintable(error);
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, Helpers, testing::Values("brivane", "report-engine", "quillon-reports"));

} // namespace
