#include "api/reportdefinitionmessagehandler.h"
#include "definitiontest.h"

#include <QFile>
#include <QSourceLocation>
#include <QTemporaryDir>
#include <QXmlStreamReader>

using namespace quillon::report;
using namespace definitiontest;

namespace {

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &content)
{
    QFile file(dir.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return file.fileName();
}

std::unique_ptr<ReportDefinition> loadFile(const QString &filename, QString *error)
{
    return std::unique_ptr<ReportDefinition>(
        ReportDefinition::createFromFile(filename, error, ReportDefinition::SilentValidation, Config()));
}

// Keeps what it is given.
class RecordingHandler : public QAbstractMessageHandler {
public:
    QStringList descriptions;

protected:
    void handleMessage(QtMsgType type, const QString &description, const QUrl &identifier,
        const QSourceLocation &location) override
    {
        descriptions << QStringLiteral("%1 %2 %3 %4")
                            .arg(QString::number(type), description, identifier.toString(),
                                QString::number(location.line()));
    }
};

} // namespace

TEST(LocatedMessages, SayWhereTheStreamStands)
{
    QXmlStreamReader xml(QStringLiteral("<a>\n<b/>"));
    xml.readNextStartElement();
    xml.readNextStartElement();
    QString error;
    ReportDefinition::writeError(&error, xml, DocumentUrl, QStringLiteral("text"));
    EXPECT_EQ("Error in test:/full.xml at line 2 column 4: text", error);
    ReportDefinition::writeWarning(&error, xml, DocumentUrl, QStringLiteral("other"));
    EXPECT_EQ("Warning in test:/full.xml at line 2 column 4: other", error) << "the last writer wins";
    ReportDefinition::writeError(nullptr, xml, DocumentUrl, QStringLiteral("text"));
}

TEST(LocatedMessages, KeepMarkersOfAddressAndTextAsTheyAre)
{
    QXmlStreamReader xml(QStringLiteral("<a/>"));
    xml.readNextStartElement();
    QString error;
    ReportDefinition::writeError(
        &error, xml, QUrl(QStringLiteral("file:///x%2Fy.xml")), QStringLiteral("%1 and %4"));
    EXPECT_EQ("Error in file:///x%2Fy.xml at line 1 column 4: %1 and %4", error);
}

TEST(MessageHandler, JoinsMessagesByBlankLinesAndPassesThemOnUnchanged)
{
    QString text;
    RecordingHandler next;
    ReportDefinition::MessageHandler handler(&text, &next, nullptr);
    const QSourceLocation location(QUrl(QStringLiteral("test:/a.xml")), 3, 9);
    handler.message(QtFatalMsg, QStringLiteral("<p>one <b>bold</b> &lt;</p>"), QUrl("test:/id"), location);
    handler.message(QtDebugMsg, QStringLiteral("<p>two</p>"), QUrl(), location);
    EXPECT_EQ("test:/a.xml at line 3 column 9. one bold <\n\ntest:/a.xml at line 3 column 9. two", text);
    EXPECT_EQ((QStringList{QStringLiteral("%1 <p>one <b>bold</b> &lt;</p> test:/id 3").arg(QtFatalMsg),
                  QStringLiteral("%1 <p>two</p>  3").arg(QtDebugMsg)}),
        next.descriptions);
}

TEST(MessageHandler, NeedsNeitherATextNorASuccessor)
{
    ReportDefinition::MessageHandler handler(nullptr, nullptr, nullptr);
    handler.message(QtWarningMsg, QStringLiteral("<p>one</p>"));
}

TEST(LoadingFromBytes, ValidatesBeforeItReads)
{
    QString error = QStringLiteral("stale");
    std::unique_ptr<ReportDefinition> definition(ReportDefinition::createFromXml(
        fullReport(), DocumentUrl, &error, ReportDefinition::SilentValidation, Config()));
    EXPECT_TRUE(definition);
    EXPECT_EQ("", error);
    definition.reset(ReportDefinition::createFromXml(fullReport(OneMetric, OneEntry, "<odd/>"), DocumentUrl,
        &error, ReportDefinition::SilentValidation, Config()));
    EXPECT_FALSE(definition);
    EXPECT_TRUE(error.startsWith("test:/full.xml at line 1 column ")) << error.toStdString();
}

TEST(LoadingFromBytes, WithoutASchemaTheNamespaceIsNotTested)
{
    EXPECT_TRUE(load(fullReport().replace(Head, "")).definition);
    EXPECT_FALSE(load(fullReport().replace(Head, ""), ReportDefinition::DefaultSchemaFilename).definition);
}

TEST(LoadingFromBytes, TwoMetricsOfOneIdAreTheReadersToTell)
{
    const Loaded loaded
        = load(fullReport(QByteArray(OneMetric) + OneMetric), ReportDefinition::DefaultSchemaFilename);
    EXPECT_FALSE(loaded.definition);
    EXPECT_TRUE(isLocated(loaded.error, "Error", DocumentUrl,
        "There is already a metric with id=\"m\" in the <metrics> section of this file"));
}

TEST(LoadingFromBytes, UsesTheConfigurationItIsGiven)
{
    const Loaded loaded = load(fullReport(), NoSchema, Config::withoutPrefixesOrReservedIds());
    EXPECT_EQ("m", loaded.definition->getMetric("m").jsonId(loaded.definition->config()));
}

TEST(LoadingFromBytes, SucceedsWithAWarningInTheErrorText)
{
    const Loaded loaded = load(fullReport(QByteArray(OneMetric) + "<odd/>"));
    EXPECT_TRUE(loaded.definition);
    EXPECT_TRUE(loaded.error.startsWith("Warning in "));
}

TEST(Appending, AnInvalidDocumentTouchesNothing)
{
    Loaded loaded = load(fullReport());
    EXPECT_FALSE(append(*loaded.definition,
        partialReport("<reportMetrics><reportMetric id=\"n\" displayName=\"N\"/><odd/></reportMetrics>"),
        &loaded.error, ReportDefinition::DefaultSchemaFilename));
    EXPECT_EQ("", loaded.definition->getMetric("n").id);
    EXPECT_TRUE(loaded.error.startsWith("test:/partial.xml at line 1 column ")) << loaded.error.toStdString();
}

TEST(Appending, UsesTheInstalledSchemaByDefault)
{
    Loaded loaded = load(fullReport());
    EXPECT_TRUE(loaded.definition->appendPartialReportFromXml(
        partialReport(""), PartialUrl, &loaded.error, ReportDefinition::SilentValidation));
    EXPECT_FALSE(loaded.definition->appendPartialReportFromXml(
        partialReport("<odd/>"), PartialUrl, &loaded.error, ReportDefinition::SilentValidation));
}

TEST(Appending, ClearsTheTextOfAnEarlierFailure)
{
    Loaded loaded = load(fullReport());
    loaded.error = QStringLiteral("stale");
    EXPECT_TRUE(append(*loaded.definition, partialReport(""), &loaded.error));
    EXPECT_EQ("", loaded.error);
}

TEST(Appending, LaterDocumentsWinAndArriveBehindEqualOrders)
{
    Loaded loaded = load(fullReport(OneMetric, OneEntry, "<subsection id=\"a\" heading=\"A\"/>"));
    for (const char *id : {"c", "b"}) {
        ASSERT_TRUE(append(*loaded.definition,
            partialReport("<reportMetrics><reportMetric id=\"m\" displayName=\"" + QByteArray(id)
                + "\"/></reportMetrics><subsections><subsection id=\"" + id
                + "\" heading=\"H\"/></subsections>"),
            &loaded.error));
    }
    EXPECT_EQ("b", loaded.definition->getMetric("m").displayName);
    QStringList ids;
    for (const auto &subsection : loaded.definition->getSubsectionList())
        ids << subsection.id;
    EXPECT_EQ((QStringList{"a", "c", "b"}), ids);
}

TEST(LoadingFromFiles, ReadsFullAndPartialReports)
{
    const QTemporaryDir dir;
    const QString full = writeFile(dir, "full.xml", fullReport());
    const QString partial = writeFile(dir, "partial.xml", partialReport("<subsections/>"));
    QString error = QStringLiteral("stale");
    const auto definition = loadFile(full, &error);
    ASSERT_TRUE(definition) << error.toStdString();
    EXPECT_EQ("", error);
    EXPECT_EQ(QUrl::fromLocalFile(full), definition->sourceDocumentUrl());
    ASSERT_TRUE(definition->appendPartialReportFromFile(partial, &error, ReportDefinition::SilentValidation))
        << error.toStdString();
    EXPECT_EQ(QStringLiteral("Full (file://%1)\nPartial (file://%2)\n").arg(full, partial),
        definition->listDefinitionFiles(0));
}

TEST(LoadingFromFiles, AMissingFileIsNamed)
{
    const QTemporaryDir dir;
    QString error;
    EXPECT_FALSE(loadFile(dir.filePath("no%1.xml"), &error));
    EXPECT_EQ(QStringLiteral("File '") + dir.path() + "/no%1.xml' does not exist", error);
    ReportDefinition definition;
    EXPECT_FALSE(definition.appendPartialReportFromFile(
        dir.filePath("none.xml"), &error, ReportDefinition::SilentValidation));
    EXPECT_EQ(QStringLiteral("File '") + dir.path() + "/none.xml' does not exist", error);
}

TEST(LoadingFromFiles, ADirectoryIsNoFile)
{
    const QTemporaryDir dir;
    QString error;
    EXPECT_FALSE(loadFile(dir.path(), &error));
    EXPECT_EQ(QStringLiteral("File '%1' could not be opened for reading").arg(dir.path()), error);
}

TEST(LoadingFromFiles, AMissingSchemaIsNamed)
{
    const QTemporaryDir dir;
    const QString full = writeFile(dir, "full.xml", fullReport());
    QString error;
    EXPECT_EQ(nullptr,
        ReportDefinition::createFromFile(
            full, QStringLiteral("/nowhere.xsd"), &error, ReportDefinition::SilentValidation, Config()));
    EXPECT_EQ("Schema file '/nowhere.xsd' does not exist", error);
}

TEST(LoadingFromFiles, TruncatedFilesAreRefusedWhereverTheyEnd)
{
    const QTemporaryDir dir;
    const QByteArray whole = fullReport();
    for (int length = 0; length < whole.size(); length += 37) {
        QString error;
        EXPECT_FALSE(loadFile(writeFile(dir, "cut.xml", whole.left(length)), &error)) << length;
        EXPECT_FALSE(error.isEmpty()) << length;
    }
}

TEST(LoadingFromFiles, EntitiesThatExplodeAreRefused)
{
    QByteArray entities = "<!ENTITY a0 \"aaaaaaaaaa\">";
    for (char c = '1'; c <= '9'; ++c) {
        QByteArray references;
        for (int i = 0; i < 10; ++i)
            references += QByteArray("&a") + char(c - 1) + ';';
        entities += QByteArray("<!ENTITY a") + c + " \"" + references + "\">";
    }
    const QByteArray xml = "<!DOCTYPE report [" + entities + "]>"
        + fullReport(OneMetric, "<heading>&a9;</heading><entry id=\"e\" reportMetric=\"m\"/>");
    EXPECT_FALSE(load(xml, ReportDefinition::DefaultSchemaFilename).definition);
    EXPECT_FALSE(load(xml).definition);
}

TEST(LoadingFromMetrics, HasNamesAddressAndNothingToShow)
{
    const ReportDefinition::MetricDef::List metrics = {
        ReportDefinition::MetricDef().withId("brivane.a"), ReportDefinition::MetricDef().withId("brivane.a")};
    const std::unique_ptr<ReportDefinition> definition(
        ReportDefinition::createFromMetrics(metrics, QStringLiteral("Name"), DocumentUrl));
    EXPECT_EQ("Name", definition->reportName());
    EXPECT_EQ(DocumentUrl, definition->sourceDocumentUrl());
    EXPECT_EQ(2, definition->getMetricDefinitionList().size()) << "ids aren't checked";
    EXPECT_TRUE(definition->getSummaryDefinition().entries.isEmpty());
    EXPECT_TRUE(definition->getSubsectionList().isEmpty());
}

TEST(LoadingFromMetrics, APartialReportMayThenUseReservedIdsAsTheyAre)
{
    const std::unique_ptr<ReportDefinition> definition(ReportDefinition::createFromMetrics(
        {ReportDefinition::MetricDef().withId("m")}, QStringLiteral("Name"), DocumentUrl));
    QString error;
    ASSERT_TRUE(append(*definition,
        partialReport(
            "<reportMetrics><reportMetric id=\"com.brivane.n\" displayName=\"N\"/></reportMetrics>"),
        &error))
        << error.toStdString();
    EXPECT_EQ("com.brivane.n", definition->getMetric("com.brivane.n").jsonId(definition->config()));
}
