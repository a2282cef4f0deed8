// Every report of every profile against the file that says what it has to be.

#include "goldenreport.h"
#include "qtprinters.h"

#include "api/performancemetric.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QMap>

#include <gtest/gtest.h>

#include <ostream>

using quillon::report::PMetricDefinition;
using quillon::report::PMetricValues;

namespace {

const QDir profiles(QStringLiteral(GOLDEN_PROFILES));
const QDir expectations(QStringLiteral(GOLDEN_EXPECTED));

QByteArray expected(const QString &filename)
{
    QFile file(expectations.filePath(filename));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// What a test is called: letters, digits and underscores.
std::string testName(QString name)
{
    return name.replace(QLatin1Char('-'), QLatin1Char('_'))
        .replace(QLatin1Char('.'), QLatin1Char('_'))
        .toStdString();
}

std::vector<QString> toVector(const QStringList &list)
{
    return std::vector<QString>(list.begin(), list.end());
}

class GoldenProfile : public testing::TestWithParam<QString> {
protected:
    void SetUp() override
    {
        QString error;
        mReport = golden::filledReport(profiles, GetParam(), &error);
        ASSERT_TRUE(mReport) << error.toStdString();
    }

    QByteArray render(QuillonReportType type)
    {
        QByteArray bytes;
        EXPECT_EQ(mReport->generateAndWrite(bytes, type), 0) << mReport->getErrorMessage();
        return bytes;
    }

    QJsonObject document() { return QJsonDocument::fromJson(render(JsonReport)).object(); }

    std::unique_ptr<quillon_report> mReport;
};

INSTANTIATE_TEST_SUITE_P(Profiles, GoldenProfile, testing::ValuesIn(toVector(golden::profileNames(profiles))),
    [](const testing::TestParamInfo<QString> &row) { return testName(row.param); });

TEST_P(GoldenProfile, HasItsTextReport)
{
    EXPECT_EQ(render(TxtReport), expected(GetParam() + QStringLiteral(".txt")));
}

TEST_P(GoldenProfile, HasItsCsvReport)
{
    EXPECT_EQ(render(CsvReport), expected(GetParam() + QStringLiteral(".csv")));
}

// All of the document but "data" comes from the definition, and is the same for every profile.
TEST_P(GoldenProfile, HasItsJsonReport)
{
    const QByteArray json = render(JsonReport);
    EXPECT_EQ(golden::figuresOf(json), expected(GetParam() + QStringLiteral(".json")));
    EXPECT_EQ(golden::documentWithoutFigures(json), expected(golden::documentFile()));
}

TEST_P(GoldenProfile, WarnsOfNothing)
{
    EXPECT_EQ(mReport->getWarningMessage(), QString());
}

// ---- Reading a JSON report

TEST_P(GoldenProfile, IsReadBackFromItsJsonReport)
{
    PMetricValues values;
    QString error;
    const QByteArray json = render(JsonReport);
    ASSERT_TRUE(values.fromJson(QString::fromUtf8(json), &error)) << error.toStdString();
    EXPECT_EQ(error, QString());
    EXPECT_EQ(values.toJsonValues(), mReport->toJsonValues());
    EXPECT_EQ(values.toJsonDefinitions(), mReport->toJsonDefinitions());
    for (const PMetricDefinition &metric : values.getDefinitions()) {
        EXPECT_EQ(values.getMetricDefinition(metric.getId()), metric);
        EXPECT_EQ(values.get(metric.getId()).toJson(metric),
            quillon::report::PMetricValue(mReport->getMetricValue(metric.getId())).toJson(metric))
            << metric.getId().toStdString();
    }
}

QJsonValue without(const QJsonValue &tree, QStringList path)
{
    QJsonObject object = tree.toObject();
    const QString key = path.takeFirst();
    if (path.isEmpty())
        object.remove(key);
    else if (object.contains(key))
        object[key] = without(object[key], path);
    return object;
}

// The document as a release wrote it whose catalogue had that version: without the metrics that came later.
QJsonObject asWrittenBy(int version, QJsonObject document)
{
    QJsonObject data = document[QStringLiteral("data")].toObject();
    const QJsonObject definitions = document[QStringLiteral("metricData")].toObject();
    for (const QJsonValue &definition : definitions) {
        const QString path = definition[QStringLiteral("value")].toString();
        if (definition[QStringLiteral("version")].toInt() > version)
            data = without(data, path.split(QLatin1Char('.'))).toObject();
    }
    data[QStringLiteral("version")] = version;
    document[QStringLiteral("data")] = data;
    return document;
}

TEST_P(GoldenProfile, IsReadBackFromReportsOfOlderCatalogues)
{
    const QJsonObject document = this->document();
    ASSERT_EQ(document[QStringLiteral("data")][QStringLiteral("version")].toInt(), 4);
    for (const int version : {1, 2, 3}) {
        SCOPED_TRACE(version);
        PMetricValues values;
        QString error;
        const QByteArray older = QJsonDocument(asWrittenBy(version, document)).toJson();
        ASSERT_TRUE(values.fromJson(QString::fromUtf8(older), &error)) << error.toStdString();
        int younger = 0;
        for (const PMetricDefinition &metric : values.getDefinitions()) {
            const QString id = metric.getId();
            const QVariant value = values.get(id);
            if (metric.getVersion() > version) {
                ++younger;
                EXPECT_EQ(quillon::report::PMetricValue(value).toJson(metric),
                    quillon::report::PMetricValue(metric.getType().missingValue()).toJson(metric))
                    << id.toStdString();
            } else if (id != QLatin1String("version")) {
                EXPECT_EQ(quillon::report::PMetricValue(value).toJson(metric),
                    quillon::report::PMetricValue(mReport->getMetricValue(id)).toJson(metric))
                    << id.toStdString();
            }
        }
        EXPECT_GT(younger, 0);
    }
}

// ---- The files themselves

TEST(GoldenFiles, BelongToProfiles)
{
    const QStringList names = golden::profileNames(profiles);
    EXPECT_GE(names.size(), 12);
    for (const QString &file : expectations.entryList(QDir::Files)) {
        EXPECT_TRUE(file == golden::documentFile() || names.contains(file.section(QLatin1Char('.'), 0, 0)))
            << file.toStdString() << " is of no profile";
    }
}

} // namespace
