// Rendering a filled report of the default definition: each of the four forms; what the text report's time is
// made of; and the same text rendered by Node with the same Handlebars, scripts and templates.
//
// Node is asked for by its name unless the variable NODE says another; without it that part is skipped.

#include "goldenreport.h"

#include "api/quillon-report.h"
#include "reportengine.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScriptEngine>
#include <QTemporaryDir>

#include <time.h>
#include <unistd.h>

namespace {

using brivane::ReportEngine;
using brivane::ReportFormat;

// Of the profiles of the tests, the one whose report has the most to show.
quillon_report &filledReport()
{
    QString error;
    static const std::unique_ptr<quillon_report> report = golden::filledReport(
        QDir(QStringLiteral(GOLDEN_PROFILES)), QStringLiteral("energy-accelerator"), &error);
    if (!report)
        qFatal("%s", qUtf8Printable(error));
    return *report;
}

QByteArray rendered(QuillonReportType type)
{
    QByteArray bytes;
    if (filledReport().generateAndWrite(bytes, type) != 0)
        qFatal("%s", filledReport().getErrorMessage());
    return bytes;
}

double residentMiB()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    file.open(QIODevice::ReadOnly);
    const qint64 pages = file.readAll().split(' ').value(1).toLongLong();
    return static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / (1 << 20);
}

// What the process has computed so far, in milliseconds: unlike the time that passes, it doesn't count what
// other processes take.
double cpuMilliseconds()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// The whole way of one form, from the filled report to its bytes; and what memory the process takes more
// after the first 200 of them.
void report(benchmark::State &state, QuillonReportType type)
{
    rendered(type);
    int count = 0;
    double before = 0;
    for (auto iteration : state) {
        static_cast<void>(iteration);
        benchmark::DoNotOptimize(rendered(type));
        if (++count == 200)
            before = residentMiB();
    }
    if (count > 200)
        state.counters["grown_MiB"] = residentMiB() - before;
}

BENCHMARK_CAPTURE(report, text, TxtReport)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(report, csv, CsvReport)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(report, html, HtmlReport)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(report, json, JsonReport)->Unit(benchmark::kMillisecond);

// A thousand in one process.
BENCHMARK_CAPTURE(report, thousand_texts, TxtReport)->Unit(benchmark::kMillisecond)->Iterations(1000);
BENCHMARK_CAPTURE(report, thousand_pages, HtmlReport)->Unit(benchmark::kMillisecond)->Iterations(1000);

// ---- What the text report's time is made of

void loadTemplates(ReportEngine &engine)
{
    const QDir resources(QStringLiteral(":quillon-report/custom"));
    const auto load = [&](const QString &pattern, ReportFormat format) {
        for (const QString &name : resources.entryList({pattern})) {
            QFile file(resources.filePath(name));
            QString error;
            if (name != QLatin1String("header.html")
                && !engine.loadPartialFromFile(QFileInfo(name).baseName(), file, format, &error))
                qFatal("%s", qUtf8Printable(error));
        }
    };
    load(QStringLiteral("*.html"), ReportFormat::Html);
    load(QStringLiteral("*.txt"), ReportFormat::Text);
}

void textReportByStage(benchmark::State &state)
{
    const QByteArray expected = rendered(TxtReport);
    const QJsonObject document = QJsonDocument::fromJson(rendered(JsonReport)).object();
    const char *const stages[] = {"engine", "libraries", "templates", "helpers", "render", "render_again"};
    double milliseconds[std::size(stages)] = {};
    for (auto iteration : state) {
        static_cast<void>(iteration);
        int stage = 0;
        double last = cpuMilliseconds();
        const auto stop = [&] {
            milliseconds[stage++] += cpuMilliseconds() - last;
            last = cpuMilliseconds();
        };
        const auto bare = std::make_unique<QScriptEngine>();
        stop();
        ReportEngine engine; // a script engine of its own, and the libraries
        stop();
        loadTemplates(engine);
        stop();
        QFile helpers(QStringLiteral(":quillon-report/custom/quillon-reports.js"));
        QString error;
        engine.loadJavaScriptFromFile(helpers, &error);
        stop();
        for (int i = 0; i < 2; ++i) {
            const QString text
                = engine.renderStatic(document, QStringLiteral("text_template"), ReportFormat::Text, &error);
            stop();
            if (text.toUtf8() != expected)
                qFatal("the stages make another report: %s", qUtf8Printable(error));
        }
    }
    milliseconds[1] -= milliseconds[0];
    for (size_t i = 0; i < std::size(stages); ++i)
        state.counters[stages[i]] = benchmark::Counter(milliseconds[i], benchmark::Counter::kAvgIterations);
}

BENCHMARK(textReportByStage)->Unit(benchmark::kMillisecond);

// ---- Node

// Node renders one report for each line that it is sent, in a context of its own, and answers with the
// milliseconds of CPU time that its stages took.
class NodeRenderer {
public:
    NodeRenderer()
    {
        save(QStringLiteral("report.json"), rendered(JsonReport));
        save(QStringLiteral("report.txt"), rendered(TxtReport));
        const QDir resources(QStringLiteral(":quillon-report/custom"));
        for (const QString &name : resources.entryList())
            QFile::copy(resources.filePath(name), mFolder.filePath(name));
        mNode.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mNode.start(qEnvironmentVariable("NODE", QStringLiteral("node")),
            {QStringLiteral(RENDERING_NODE_SCRIPT), mFolder.path()});
        mIsRunning = mNode.waitForStarted();
    }

    ~NodeRenderer()
    {
        mNode.closeWriteChannel();
        mNode.waitForFinished();
    }

    // The milliseconds of each stage; empty where Node isn't there or makes another report.
    QJsonObject render()
    {
        if (!mIsRunning)
            return QJsonObject();
        mNode.write("render\n");
        while (!mNode.canReadLine()) {
            if (!mNode.waitForReadyRead())
                return QJsonObject();
        }
        return QJsonDocument::fromJson(mNode.readLine()).object();
    }

private:
    void save(const QString &name, const QByteArray &bytes)
    {
        QFile file(mFolder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("can't write %s", qUtf8Printable(file.fileName()));
    }

    QTemporaryDir mFolder;
    QProcess mNode;
    bool mIsRunning = false;
};

void textReportInNode(benchmark::State &state)
{
    NodeRenderer node;
    const int rounds = 10;
    const double start = cpuMilliseconds();
    for (int i = 0; i < rounds; ++i)
        rendered(TxtReport);
    const double ours = (cpuMilliseconds() - start) / rounds;
    QMap<QString, double> sums;
    for (auto iteration : state) {
        static_cast<void>(iteration);
        const QJsonObject milliseconds = node.render();
        if (milliseconds.isEmpty()) {
            state.SkipWithError("Node isn't there, or makes another report");
            return;
        }
        for (auto it = milliseconds.begin(); it != milliseconds.end(); ++it)
            sums[it.key()] += it->toDouble();
        state.SetIterationTime(milliseconds[QStringLiteral("total")].toDouble() / 1e3);
    }
    for (auto it = sums.cbegin(); it != sums.cend(); ++it)
        state.counters[it.key().toStdString()] = benchmark::Counter(*it, benchmark::Counter::kAvgIterations);
    state.counters["ratio"] = ours * static_cast<double>(state.iterations()) / sums[QStringLiteral("total")];
}

BENCHMARK(textReportInNode)->Unit(benchmark::kMillisecond)->UseManualTime();

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
