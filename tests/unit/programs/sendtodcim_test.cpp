// What goes to the monitoring connector, and what becomes of the tool when the connector fails.
#include "sendtodcim.h"

#include "api/defaultmetrics.h"
#include "core/brivaneglobals.h"
#include "profilebuilder.h"
#include "qtprinters.h"
#include "scopedenvironment.h"
#include "workflow/qshutdowngroup.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <limits>
#include <memory>
#include <optional>

using namespace quillon::report;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr QFile::Permissions Executable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
constexpr double NotAvailable = std::numeric_limits<double>::quiet_NaN();

ProfileBuilder job()
{
    return ProfileBuilder(4, 100).cores(8, 4).main(Category::COMPUTE, 60).main(Category::MPI_P2P, 40);
}

const ReportDefinition &installedDefinition()
{
    static const std::unique_ptr<ReportDefinition> definition = [] {
        QString error;
        std::unique_ptr<ReportDefinition> result(ReportDefinition::createFromFile(
            QStringLiteral(QUILLON_DEFAULT_DEFINITION), ReportDefinition::DefaultSchemaFilename, &error,
            ReportDefinition::SilentValidation, ReportDefinition::Config::withoutPrefixesOrReservedIds()));
        EXPECT_TRUE(result) << error.toStdString();
        return result;
    }();
    return *definition;
}

// Runs connectors that the test writes down as shell scripts. Each finds its arguments recorded beside it.
class SendToDcim : public testing::Test {
protected:
    ~SendToDcim() override { QShutdownGroup::globalInstance()->takeExitStatus(); }

    QString path(const QString &name) const { return mFolder.filePath(name); }

    QString script(const QByteArray &commands, const QByteArray &interpreter = "/bin/sh",
        QFile::Permissions permissions = Executable)
    {
        QFile file(path("connector"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!" + interpreter + "\n" + commands + "\n");
        file.setPermissions(permissions);
        return file.fileName();
    }

    // The words that the connector gets.
    QStringList sent(
        const ProfileBuilder &profile, const ReportDefinition &definition = installedDefinition())
    {
        const QString record = path("words");
        QFile::remove(record);
        run(script("for word; do printf '%s\\0' \"$word\"; done >'" + record.toUtf8() + "'"), profile, false,
            definition);
        QFile file(record);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << mMessages;
        QStringList words;
        for (const QByteArray &word : file.readAll().split('\0'))
            words.append(QString::fromUtf8(word));
        words.removeLast(); // a NUL byte ends each word
        return words;
    }

    // The text of an option ("V", "U", "T", "t", "g") by metric.
    QMap<QString, QString> sentOptions(char option, const ProfileBuilder &profile,
        const ReportDefinition &definition = installedDefinition())
    {
        QMap<QString, QString> texts;
        for (const QString &word : sent(profile, definition)) {
            if (word.startsWith(QLatin1Char('-')) && word.at(1) == QLatin1Char(option))
                texts.insert(word.section('=', 0, 0).mid(2), word.section('=', 1));
        }
        return texts;
    }

    // Runs `program` as connector; what the tool says stands in mMessages then.
    void run(const QString &program, const ProfileBuilder &profile = job(), bool isVerbose = false,
        const ReportDefinition &definition = installedDefinition())
    {
        const ScopedEnvironment configured("FERN_DCIM_SCRIPT", QFile::encodeName(program));
        runConfigured(profile, isVerbose, definition);
    }

    void runConfigured(const ProfileBuilder &profile = job(), bool isVerbose = false,
        const ReportDefinition &definition = installedDefinition())
    {
        testing::internal::CaptureStderr();
        sendToDcim(profile.build(), isVerbose, definition);
        mMessages = testing::internal::GetCapturedStderr();
        mExitStatus = QShutdownGroup::globalInstance()->takeExitStatus();
    }

    void expectMessage(const QString &text) const
    {
        EXPECT_EQ(mMessages, "brivane: " + text.toStdString() + "\n");
    }

    QTemporaryDir mFolder;
    std::string mMessages;
    std::optional<int> mExitStatus;
};

// Which script

TEST_F(SendToDcim, AnEmptyVariableUnderTheFirstPrefixWins)
{
    const ScopedEnvironment first("KELP_DCIM_SCRIPT", "");
    const ScopedEnvironment last("BRIVANE_DCIM_SCRIPT", QFile::encodeName(script("exit 0")));
    runConfigured();
    expectMessage("Cannot execute . File not found. Abort.");
    EXPECT_EQ(mExitStatus, -1);
}

TEST_F(SendToDcim, WithoutVariableTheScriptIsLookedForInTheInstallDirectory)
{
    const PathString before = BrivaneGlobals::instance()->installPath();
    BrivaneGlobals::instance()->setInstallPath(PathString(mFolder.path()));
    runConfigured();
    const QString installed = path("quillon-reports/ganglia-connector/qr-dcim");
    expectMessage("Cannot execute " + installed + ". File not found. Abort.");

    ASSERT_TRUE(QDir().mkpath(path("quillon-reports/ganglia-connector")));
    ASSERT_TRUE(QFile::copy(script("exit 4"), installed));
    runConfigured();
    EXPECT_EQ(mExitStatus, 4);
    BrivaneGlobals::instance()->setInstallPath(before);
}

TEST_F(SendToDcim, ADirectoryIsNoScript)
{
    run(mFolder.path());
    expectMessage("Cannot execute " + mFolder.path() + ". Is not a file. Abort.");
    EXPECT_EQ(mExitStatus, -1);
}

TEST_F(SendToDcim, AScriptThatIsNotExecutableIsRefused)
{
    const QString program = script("exit 0", "/bin/sh", QFile::ReadOwner | QFile::WriteOwner);
    run(program);
    expectMessage("Cannot execute " + program + ". Permission denied. Abort.");
    EXPECT_EQ(mExitStatus, -1);
}

TEST_F(SendToDcim, ItsPathMayHoldBlanksQuotesAndLettersOfAllKinds)
{
    ASSERT_TRUE(QDir().mkpath(path("my \"own\" Größe")));
    const QString program = path("my \"own\" Größe/con nector\"");
    ASSERT_TRUE(QFile::rename(script("exit 7"), program));
    run(program);
    expectMessage(program + " exited with error code 7. Abort.");
}

// What is sent

TEST_F(SendToDcim, EachMetricIsFiveOptionsOneBehindTheOther)
{
    const QStringList words = sent(job());
    const int first = words.indexOf("-Vcom.brivane.overview.mpi.percent=40");
    ASSERT_GE(first, 0);
    EXPECT_EQ(words.mid(first, 5),
        (QStringList{"-Vcom.brivane.overview.mpi.percent=40", "-Ucom.brivane.overview.mpi.percent=%",
            "-Tcom.brivane.overview.mpi.percent=MPI", "-tcom.brivane.overview.mpi.percent=double",
            "-gcom.brivane.overview.mpi.percent=brivane"}));
}

TEST_F(SendToDcim, FieldsThatAMetricHasNotAreLeftOut)
{
    const QStringList words = sent(job());
    const int first = words.indexOf("-Vcom.brivane.application.hasGpu=0");
    ASSERT_GE(first, 0);
    EXPECT_EQ(words.mid(first + 1, 2),
        (QStringList{"-tcom.brivane.application.hasGpu=uint8", "-gcom.brivane.application.hasGpu=brivane"}));
}

TEST_F(SendToDcim, MetricsComeInTheOrderOfTheirKeys)
{
    QStringList sections;
    for (const QString &word : sent(job())) {
        const QString section = word.section('.', 2, 2);
        if (sections.isEmpty() || sections.last() != section)
            sections.append(section);
    }
    QStringList sorted = sections;
    sorted.sort();
    EXPECT_EQ(sections, sorted);
    EXPECT_TRUE(sections.contains("overview"));
}

TEST_F(SendToDcim, TextsAreNot)
{
    const QMap<QString, QString> types = sentOptions('t', job());
    EXPECT_FALSE(types.isEmpty());
    EXPECT_FALSE(types.values().contains("string"));
    EXPECT_FALSE(types.contains("com.brivane.application.exeName"));
    EXPECT_FALSE(types.contains("com.brivane.overview.advice"));
}

TEST_F(SendToDcim, GpuMetricsGoOnlyWhereThereIsAGpu)
{
    const QString gpus = "com.brivane.application.gpusPerNode";
    const auto without = sentOptions('V', job());
    EXPECT_FALSE(without.contains(gpus));
    EXPECT_EQ(without.value("com.brivane.application.hasGpu"), QString("0"));
    const auto with = sentOptions('V', job().wholeRun(METRIC_NVIDIA_GPUS_COUNT, {2}));
    EXPECT_EQ(with.value(gpus), QString("2"));
    EXPECT_EQ(with.value("com.brivane.application.hasGpu"), QString("1"));
    EXPECT_EQ(sentOptions('t', job()).value("com.brivane.application.hasGpu"), QString("uint8"));
}

bool hasAnyOf(const QMap<QString, QString> &values, const QSet<QString> &metrics)
{
    for (const QString &metric : metrics) {
        if (values.contains("com.brivane." + metric))
            return true;
    }
    return false;
}

TEST_F(SendToDcim, OpenMpMetricsGoOnlyForOpenMpPrograms)
{
    const auto without = sentOptions('V', job());
    EXPECT_EQ(without.value("com.brivane.application.isOpenMp"), QString("0"));
    EXPECT_FALSE(hasAnyOf(without, DefaultMetrics::OmpMetrics));
    const auto with = sentOptions('V', job().main(Category::OMP, 50));
    EXPECT_EQ(with.value("com.brivane.application.isOpenMp"), QString("1"));
    EXPECT_TRUE(hasAnyOf(with, DefaultMetrics::OmpMetrics));
}

TEST_F(SendToDcim, WaitingForAcceleratorsIsWithdrawnThoughItIsACpuMetricToo)
{
    const QString waiting = "com.brivane.cpu.waitingAccPercent";
    ASSERT_TRUE(DefaultMetrics::CpuMetrics.contains(DefaultMetrics::CpuWaitingAccPercent));
    EXPECT_FALSE(sentOptions('V', job()).contains(waiting));
    const ProfileBuilder waitingJob
        = job().main(Category::ACCELERATOR, 40).wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1});
    EXPECT_TRUE(sentOptions('V', waitingJob).contains(waiting));
}

TEST_F(SendToDcim, PowerOfProcessorsAndAcceleratorsGoesOnlyWhereItWasMeasured)
{
    const QString cpu = "com.brivane.energy.cpuTotal";
    const QString accelerators = "com.brivane.energy.accTotal";
    const auto without = sentOptions('V', job());
    EXPECT_FALSE(without.contains(cpu));
    EXPECT_FALSE(without.contains(accelerators));

    const ProfileBuilder withCpu
        = job().series(METRIC_RAPL_POWER, {200}).series(METRIC_RAPL_ENERGY, {72e3, 720e3});
    EXPECT_TRUE(sentOptions('V', withCpu).contains(cpu));
    EXPECT_FALSE(sentOptions('V', withCpu).contains(accelerators));

    const ProfileBuilder withGpus
        = job().wholeRun(METRIC_NVIDIA_GPUS_COUNT, {2}).series(METRIC_NVIDIA_POWER, {100e3});
    EXPECT_FALSE(sentOptions('V', withGpus).contains(cpu));
    EXPECT_TRUE(sentOptions('V', withGpus).contains(accelerators));
}

TEST_F(SendToDcim, AcceleratorMetricsGoOnlyWhereTheyAreMeasured)
{
    EXPECT_FALSE(hasAnyOf(sentOptions('V', job()), DefaultMetrics::AccMetrics));
    const ProfileBuilder withGpus
        = job().wholeRun(METRIC_NVIDIA_GPUS_COUNT, {2}).series(METRIC_NVIDIA_GPU_USAGE, {60});
    EXPECT_EQ(sentOptions('V', withGpus).value("com.brivane.cuda.gpusInUsePercent"), QString("60"));
}

TEST_F(SendToDcim, WhatIsNoNumberIsSentAsSuch)
{
    EXPECT_EQ(sentOptions('V', job()).value("com.brivane.cpu.memPercent"), QString::number(NotAvailable));
}

ReportDefinition withTitles(const QString &title)
{
    ReportDefinition definition = installedDefinition();
    ReportDefinition::MetricDef::List metrics = definition.getMetricDefinitionList();
    for (ReportDefinition::MetricDef &metric : metrics)
        metric.withDisplayName(title);
    definition.setMetricDefinitionList(metrics);
    return definition;
}

TEST_F(SendToDcim, WordsArriveAsTheyAre)
{
    for (const QString &title : {QString("two words"), QString("a\"b"), QString("\"quoted\""),
             QString("\"\""), QString("ends in blank and quote \""), QString("it's $HOME `id` \\ \\\""),
             QString("two\nlines\t"), QString("100%1 of %2"), QString::fromUtf8("Größe €"), QString("-Vx=y")})
        EXPECT_EQ(
            sentOptions('T', job(), withTitles(title)).value("com.brivane.overview.mpi.percent"), title);
}

TEST_F(SendToDcim, ACommandLineMayBeLong)
{
    // Half as many bytes again as 5,000 metrics have.
    const QString title(40000, QLatin1Char('x'));
    const auto titles = sentOptions('T', job(), withTitles(title));
    EXPECT_GT(titles.size(), 30);
    EXPECT_EQ(titles.value("com.brivane.overview.mpi.percent"), title);
    EXPECT_EQ(mMessages, "");
    EXPECT_FALSE(mExitStatus);
}

TEST_F(SendToDcim, AWordThatTheSystemRefusesIsSaid)
{
    const QString program = script("exit 3");
    run(program, job(), true, withTitles(QString(200000, QLatin1Char('x'))));
    EXPECT_THAT(mMessages, HasSubstr("cannot start DCIM script " + program.toStdString() + ": "));
    EXPECT_THAT(mMessages, Not(HasSubstr("successfully")));
    EXPECT_TRUE(mExitStatus);
}

TEST_F(SendToDcim, ReportsThatCannotBeFilledAreSaidAndNothingIsSent)
{
    run(script("exit 3"), job(), true, ReportDefinition());
    EXPECT_THAT(mMessages, HasSubstr("failed to generate report: "));
    EXPECT_FALSE(mExitStatus);
}

TEST_F(SendToDcim, WarningsOfTheReportAreSaidAndItIsSent)
{
    ReportDefinition definition = installedDefinition();
    ReportDefinition::MetricDef::List metrics = definition.getMetricDefinitionList();
    ReportDefinition::MetricDef own;
    own.withId("site.own").withDisplayName("Own").withType(PMetricType::Double);
    own.source = "metric";
    own.sourceDetails.metricRef = "nonesuch";
    metrics.append(own);
    definition.setMetricDefinitionList(metrics);
    run(script("exit 3"), job(), false, definition);
    EXPECT_THAT(mMessages, HasSubstr("warning(s) found during report generation: "));
    EXPECT_EQ(mExitStatus, 3);
}

// How it runs

TEST_F(SendToDcim, SuccessIsSilentUnlessVerbose)
{
    run(script("exit 0"));
    EXPECT_EQ(mMessages, "");
    EXPECT_FALSE(mExitStatus);
    const QString program = script("exit 0");
    run(program, job(), true);
    expectMessage("metrics sent to DCIM script " + program + " successfully");
    EXPECT_FALSE(mExitStatus);
}

TEST_F(SendToDcim, AnExitCodeEndsTheToolBehindTheMessage)
{
    const QString program = script("exit 3");
    run(program);
    expectMessage(program + " exited with error code 3. Abort.");
    EXPECT_EQ(mExitStatus, 3);
}

TEST_F(SendToDcim, AScriptKilledByASignalEndsTheToolWithItsNumber)
{
    const QString program = script("kill -TERM $$");
    run(program);
    expectMessage(program + " exited with error code 15. Abort.");
    EXPECT_EQ(mExitStatus, 15);
}

TEST_F(SendToDcim, SignalsThatTheToolHoldsBackReachTheScript)
{
    sigset_t held, before;
    sigemptyset(&held);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&held, number);
    pthread_sigmask(SIG_BLOCK, &held, &before);
    run(script("kill -HUP $$"));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(mExitStatus, 1);
}

TEST_F(SendToDcim, ItsStandardOutputIsShownWhenVerboseOnly)
{
    const QString program = script("echo out; echo err >&2");
    run(program);
    expectMessage("err");
    run(program, job(), true);
    EXPECT_THAT(mMessages, HasSubstr("brivane: out\n"));
    EXPECT_THAT(mMessages, HasSubstr("brivane: err\n"));
}

TEST_F(SendToDcim, ItsOutputIsShownUpToTheFirstNulByte)
{
    run(script("printf 'seen\\0unseen' >&2"));
    expectMessage("seen");
}

TEST_F(SendToDcim, MuchOutputIsNoObstacle)
{
    const auto count = [this](char letter) { return std::count(mMessages.begin(), mMessages.end(), letter); };
    const QString program = script("head -c 3000000 /dev/zero | tr '\\0' @\n"
                                   "head -c 3000000 /dev/zero | tr '\\0' + >&2");
    for (const bool isVerbose : {false, true}) {
        run(program, job(), isVerbose);
        EXPECT_EQ(count('@'), isVerbose ? 3000000 : 0);
        EXPECT_EQ(count('+'), 3000000);
    }
    EXPECT_FALSE(mExitStatus);
}

TEST_F(SendToDcim, AScriptThatReadsItsStandardInputFindsItEmpty)
{
    run(script("exit $(wc -c)"));
    EXPECT_FALSE(mExitStatus);
}

TEST_F(SendToDcim, AScriptWhoseInterpreterIsMissingIsSaid)
{
    const QString program = script("exit 3", "/nonesuch");
    run(program, job(), true);
    EXPECT_THAT(mMessages, HasSubstr("cannot start DCIM script " + program.toStdString() + ": "));
    EXPECT_THAT(mMessages, Not(HasSubstr("successfully")));
    EXPECT_TRUE(mExitStatus);
}

TEST(ShutdownGroup, KeepsTheFirstStatusUntilItIsTaken)
{
    QShutdownGroup *group = QShutdownGroup::globalInstance();
    EXPECT_FALSE(group->takeExitStatus());
    group->errorShutdown(3);
    group->errorShutdown(-1);
    EXPECT_EQ(group->takeExitStatus(), 3);
    EXPECT_FALSE(group->takeExitStatus());
}

} // namespace
