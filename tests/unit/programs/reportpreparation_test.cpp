// The step before the run: which definitions a report is made of, and what stops the run.
#include "quillonreportargparser.h"
#include "quillonreportmaingui.h"
#include "quillonreporttool.h"

#include "core/brivaneglobals.h"
#include "profile/fernfile.h"
#include "profilebuilder.h"
#include "qtprinters.h"
#include "scopedenvironment.h"
#include "workflow/kelpconfig.h"
#include "workflow/mainwindow.h"
#include "workflow/portal.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

const char Counters[] = "CPU counters report";
const char Trapped[] = "Trapped capacity report";

// A partial report with one metric of its own.
QByteArray partialReport(const QByteArray &name, const QByteArray &reference = "rss")
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<partialReport xmlns=\"http://brivane.example/2016/BrivaneReports\" name=\""
        + name + "\">\n<reportMetrics>\n<reportMetric id=\"own." + name
        + "\" units=\"B\" displayName=\"Own\" colour=\"#123456\" type=\"double\" source=\"metric\">\n"
          "<sourceDetails metricRef=\""
        + reference
        + "\" aggregation=\"max\" sampleValue=\"max\"/>\n</reportMetric>\n"
          "</reportMetrics>\n</partialReport>\n";
}

// A machine of another kind, for the length of a test.
class ScopedMachine {
public:
    explicit ScopedMachine(const QString &architecture)
        : mBefore(Portal::getInstance()->utils()->getSystemInfo())
    {
        Portal::getInstance()->utils()->setSystemInfo(SystemInfo(architecture));
    }
    ~ScopedMachine() { Portal::getInstance()->utils()->setSystemInfo(mBefore); }

private:
    const SystemInfo mBefore;
};

// What the sampler has on a machine without hardware counters.
MetricDefinitions withoutCounters()
{
    MetricDefinitions definitions;
    for (const Metric &metric : MetricDefinitions::known().getAllMetrics()) {
        if (metric.id != METRIC_PERF_CYCLES_PER_INS)
            definitions.add(metric);
    }
    return definitions;
}

ProfileBuilder job()
{
    return ProfileBuilder(4, 100).cores(8, 4).main(Category::COMPUTE, 60).series(METRIC_RSS, {1e9});
}

class ReportPreparation : public testing::Test {
protected:
    ReportPreparation()
        : mInstalled(BrivaneGlobals::instance()->installPath())
        , mHome("XDG_CONFIG_HOME", QFile::encodeName(mFolder.path()))
    {
        BrivaneGlobals::instance()->setInstallPath(PathString(QStringLiteral(QUILLON_SHARE)));
        QDir().mkpath(userFile(QString()));
        KELPConfig::setInstance(&mConfig);
        BrivaneTool::setCurrentTool(QuillonReportTool::instance());
        sPrinted.clear();
        mPrevious = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { sPrinted += text + '\n'; });
    }
    ~ReportPreparation() override
    {
        qInstallMessageHandler(mPrevious);
        BrivaneTool::setCurrentTool(nullptr);
        KELPConfig::setInstance(nullptr);
        BrivaneGlobals::instance()->setInstallPath(mInstalled);
    }

    QString path(const QString &name) const { return mFolder.filePath(name); }
    QString userFile(const QString &name) const { return path("brivane/quillon-report/reports/" + name); }

    // An installation of the test's own, with the default definition.
    PathString installation()
    {
        const PathString installed(path("installed"));
        const QString definition = "quillon-reports/templates/report-default.xml";
        QFile file(QStringLiteral(QUILLON_SHARE "/") + definition);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        write(installed.filePath(definition), file.readAll());
        BrivaneGlobals::instance()->setInstallPath(installed);
        return installed;
    }

    static void write(const QString &filename, const QByteArray &content)
    {
        QDir().mkpath(QFileInfo(filename).path());
        QFile file(filename);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    // Whether a live run of `args` with the sampler's `metrics` may start; why not stands in sPrinted.
    bool mayStart(const QStringList &args, const MetricDefinitions &metrics = MetricDefinitions::known())
    {
        QuillonReportArgParser parser(args, Platform::current());
        parser.parseAll();
        MainWindow window;
        QuillonReportMainGUI logic(window, &parser);
        logic.initWorkflow();
        sPrinted.clear();
        bool ok = true;
        logic.loadAndCheckReportDefinitions(metrics, &ok);
        return ok;
    }

    // The names of the partial reports that the report of a profile file was made of.
    QStringList partialReports(const ProfileBuilder &profile, QStringList args = QStringList())
    {
        QString error;
        EXPECT_TRUE(FernFile::write(profile.build(), path("x.fern"), &error)) << error.toStdString();
        args << "-q"
             << "-o" << path("x.json") << path("x.fern");
        QuillonReportArgParser parser(args, Platform::current());
        parser.parseAll();
        EXPECT_FALSE(parser.hasError()) << parser.getError().toStdString();
        MainWindow window;
        QuillonReportMainGUI logic(window, &parser);
        EXPECT_EQ(logic.exec(), 0) << sPrinted.toStdString();

        QFile file(path("x.json"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        const QJsonObject report
            = QJsonDocument::fromJson(file.readAll()).object()["data"].toObject()["report"].toObject();
        QStringList names;
        for (const QString &line : report["src"].toObject()["definition"].toString().split('\n'))
            names << line.section(" (", 0, 0);
        EXPECT_EQ(names.takeFirst(), QString("Default report"));
        names.removeAll(QString());
        return names;
    }

    static inline QString sPrinted;

private:
    QTemporaryDir mFolder;
    const PathString mInstalled;
    const ScopedEnvironment mHome;
    KELPConfig mConfig;
    QtMessageHandler mPrevious = nullptr;
    int mArgc = 1;
    char mProgram[5] = "test";
    char *mArgv[2] = {mProgram, nullptr};
    QCoreApplication mApplication{mArgc, mArgv};
};

// The report of CPU counters

TEST_F(ReportPreparation, LiveRunsOnAarch64GetTheCounterReport)
{
    const ScopedMachine machine("arm64");
    EXPECT_FALSE(mayStart({"prog"}, withoutCounters()));
    EXPECT_THAT(sPrinted.toStdString(),
        HasSubstr("\\nMetric com.brivane.metrics.perf.cycles_per_instruction (referenced by report metric "));
    EXPECT_TRUE(mayStart({"prog"}, MetricDefinitions::known()));
}

TEST_F(ReportPreparation, LiveRunsElsewhereDoNot)
{
    const ScopedMachine machine("x86_64");
    EXPECT_TRUE(mayStart({"prog"}, withoutCounters())) << sPrinted.toStdString();
}

TEST_F(ReportPreparation, AnExplicitTypeSuppressesTheCounterReportOnAarch64Too)
{
    const ScopedMachine machine("arm64");
    EXPECT_TRUE(mayStart({"--type=default", "prog"}, withoutCounters())) << sPrinted.toStdString();
    EXPECT_TRUE(mayStart({"--type=trapped", "prog"}, withoutCounters())) << sPrinted.toStdString();
    EXPECT_FALSE(mayStart({"--type=perfcpumetrics", "prog"}, withoutCounters()));
}

TEST_F(ReportPreparation, ProfilesWithCountersGetTheCounterReport)
{
    const ProfileBuilder counted = job().series(METRIC_PERF_CYCLES_PER_INS, {1.5});
    EXPECT_THAT(partialReports(counted), ElementsAre(QString(Counters)));
    EXPECT_THAT(partialReports(job()), ElementsAre());
    const ScopedMachine machine("arm64");
    EXPECT_THAT(partialReports(job()), ElementsAre()) << "the machine that reads the file doesn't count";
}

TEST_F(ReportPreparation, ProfilesWithDisassembledInstructionsDoNot)
{
    const ProfileBuilder disassembled
        = job().series(METRIC_PERF_CYCLES_PER_INS, {1.5}).series(METRIC_INSTR_VECTOR_FP, {10});
    EXPECT_THAT(partialReports(disassembled), ElementsAre());
}

TEST_F(ReportPreparation, AnExplicitTypeSuppressesTheCounterReportOfProfilesToo)
{
    const ProfileBuilder counted = job().series(METRIC_PERF_CYCLES_PER_INS, {1.5});
    EXPECT_THAT(partialReports(counted, {"--type=default"}), ElementsAre());
    EXPECT_THAT(partialReports(counted, {"--type=trapped"}), ElementsAre(QString(Trapped)));
}

// Files

TEST_F(ReportPreparation, TheUsersFileWinsOverTheTypesAndTheSitesOverTheUsers)
{
    const PathString installed = installation();
    const auto missing = [](const char *metric) {
        return "\"\\nMetric missing." + std::string(metric)
            + " (referenced by report metric own.same) is not defined.\"";
    };
    write(installed.filePath("quillon-reports/templates/report-trapped.xml"),
        partialReport("same", "missing.type"));
    EXPECT_FALSE(mayStart({"--type=trapped", "prog"}));
    EXPECT_THAT(sPrinted.toStdString(), HasSubstr(missing("type")));

    write(userFile("z.xml"), partialReport("same", "missing.user"));
    EXPECT_FALSE(mayStart({"--type=trapped", "prog"}));
    EXPECT_THAT(sPrinted.toStdString(), HasSubstr(missing("user")));

    write(installed.filePath("quillon-reports/templates/partial-reports/a.xml"),
        partialReport("same", "missing.site"));
    EXPECT_FALSE(mayStart({"--type=trapped", "prog"}));
    EXPECT_THAT(sPrinted.toStdString(), HasSubstr(missing("site")));
}

TEST_F(ReportPreparation, FilesOfAFolderComeByName)
{
    write(userFile("b.xml"), partialReport("same", "missing.b"));
    write(userFile("C.xml"), partialReport("same", "missing.c"));
    write(userFile("a.xml"), partialReport("same", "missing.a"));
    EXPECT_FALSE(mayStart({"prog"}));
    EXPECT_THAT(sPrinted.toStdString(), HasSubstr("\"\\nMetric missing.c (referenced"));
}

TEST_F(ReportPreparation, OfAFolderOnlyFilesOfTheSuffixAreTaken)
{
    write(path("given/b.xml"), partialReport("Second"));
    write(path("given/a.xml"), partialReport("First"));
    for (const char *other : {"given/c.XML", "given/d.xml.bak", "given/e.txt", "given/xml"})
        write(path(other), "no definition");
    write(path("given/f.xml/inside.xml"), "no definition");
    const ScopedEnvironment source("FERN_PARTIAL_REPORT_SOURCE", QFile::encodeName(path("given")));
    EXPECT_THAT(partialReports(job()), UnorderedElementsAre(QString("First"), QString("Second")));
}

TEST_F(ReportPreparation, AFileIsTakenWhateverItsSuffix)
{
    write(path("given.text"), partialReport("Given"));
    write(userFile("mine.xml"), partialReport("Mine"));
    const ScopedEnvironment source("BRIVANE_PARTIAL_REPORT_SOURCE", QFile::encodeName(path("given.text")));
    EXPECT_THAT(partialReports(job()), ElementsAre(QString("Given"))) << "in place of the user's";
}

TEST_F(ReportPreparation, OfFilesOfOneNameOnlyTheFirstIsRead)
{
    const PathString installed = installation();
    const QString templates = installed.filePath("quillon-reports/templates/");
    write(templates + "report-perfcpumetrics.xml", partialReport("OfTheType"));
    write(userFile("report-perfcpumetrics.xml"), "not read");
    write(templates + "partial-reports/report-perfcpumetrics.xml", "not read");
    write(userFile("same.xml"), partialReport("Mine"));
    write(templates + "partial-reports/same.xml", "not read");
    write(templates + "partial-reports/other.xml", partialReport("OfTheSite"));
    EXPECT_THAT(partialReports(job(), {"--type=perfcpumetrics"}),
        UnorderedElementsAre(QString("OfTheType"), QString("Mine"), QString("OfTheSite")));
}

TEST_F(ReportPreparation, AnEmptyFirstVariableMeansTheUsersFolder)
{
    write(path("given.xml"), partialReport("Given"));
    write(userFile("mine.xml"), partialReport("Mine"));
    const ScopedEnvironment first("KELP_PARTIAL_REPORT_SOURCE", "");
    const ScopedEnvironment last("BRIVANE_PARTIAL_REPORT_SOURCE", QFile::encodeName(path("given.xml")));
    EXPECT_THAT(partialReports(job()), ElementsAre(QString("Mine")));
}

// Failures

TEST_F(ReportPreparation, ASourceThatIsNotThereIsNamedByOneNameUnderAnyPrefix)
{
    const ScopedEnvironment source("KELP_PARTIAL_REPORT_SOURCE", "/nonesuch");
    EXPECT_FALSE(mayStart({"prog"}));
    EXPECT_EQ(sPrinted,
        QString("\"Brivane Quillon Reports: failed to generate report: \" \"Partial report source location "
                "specified by BRIVANE_PARTIAL_REPORT_SOURCE does not exist; location=/nonesuch\"\n"));
}

TEST_F(ReportPreparation, AMissingDefaultDefinitionStopsTheRun)
{
    BrivaneGlobals::instance()->setInstallPath(PathString(path("nonesuch")));
    EXPECT_FALSE(mayStart({"prog"}));
    EXPECT_THAT(sPrinted.toStdString(), HasSubstr("\"error when loading report definition; error="));
}

TEST_F(ReportPreparation, MessagesSayFileLineAndColumn)
{
    QByteArray wrong = partialReport("Wrong");
    wrong.replace("<sourceDetails ", "<sourceDetail ");
    write(userFile("wrong.xml"), wrong);
    EXPECT_FALSE(mayStart({"prog"}));
    EXPECT_THAT(sPrinted.toStdString(),
        testing::AllOf(HasSubstr("\"error when appending partial report definition; error="),
            HasSubstr("wrong.xml at line 5 column ")));
}

TEST_F(ReportPreparation, AllMissingMetricsAreNamed)
{
    write(userFile("a.xml"), partialReport("a", "missing.one"));
    write(userFile("b.xml"), partialReport("b", "missing.two"));
    EXPECT_FALSE(mayStart({"prog"}));
    EXPECT_EQ(sPrinted,
        QString("\"Brivane Quillon Reports: failed to generate report: \" "
                "\"\\nMetric missing.one (referenced by report metric own.a) is not defined."
                "\\nMetric missing.two (referenced by report metric own.b) is not defined.\"\n"));
}

TEST_F(ReportPreparation, MissingMetricsAreNoObstacleForAProfileFile)
{
    write(userFile("a.xml"), partialReport("a", "missing.one"));
    EXPECT_THAT(partialReports(job()), ElementsAre(QString("a")));
}

TEST_F(ReportPreparation, SuccessLeavesTheAnswerAsItIs)
{
    QuillonReportArgParser parser({"prog"}, Platform::current());
    parser.parseAll();
    MainWindow window;
    QuillonReportMainGUI logic(window, &parser);
    logic.initWorkflow();
    for (const bool before : {false, true}) {
        bool ok = before;
        logic.loadAndCheckReportDefinitions(MetricDefinitions::known(), &ok);
        EXPECT_EQ(ok, before);
    }
    EXPECT_EQ(sPrinted, QString());
}

} // namespace
