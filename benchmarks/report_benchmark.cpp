// The whole command: quillon-report FILE.fern -o x.txt and -o x.json, with a profile of 1,000 samples, from
// the start of the process to its end.

#include "profile/fernfile.h"
#include "profilebuilder.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

#include <spawn.h>
#include <sys/wait.h>

namespace {

ProfilerData longProfile()
{
    QVector<double> memory;
    for (int i = 0; i < ProfilerData::MaxSamples; ++i) {
        memory.append(1e9 + 1e6 * i);
    }
    return ProfileBuilder(ProfilerData::MaxSamples, 640)
        .processes(64)
        .nodes(2)
        .cores(64, 32)
        .main(Category::COMPUTE, 3000)
        .main(Category::MPI_COLLECTIVE, 700)
        .main(Category::MPI_P2P, 240)
        .main(Category::IO_WRITE, 156)
        .series(METRIC_RSS, memory)
        .series(METRIC_NODE_MEM_USED, {35.0})
        .series(METRIC_LOAD_AVG, {98.0})
        .wholeRun(METRIC_CHARS_READ, {3e6})
        .wholeRun(METRIC_CHARS_WRITTEN, {8e9})
        .build();
}

int run(const QByteArray &fernFile, const QByteArray &output)
{
    const char *const arguments[]
        = {QUILLON_REPORT_PROGRAM, "--quiet", "-o", output.constData(), fernFile.constData(), nullptr};
    pid_t child = 0;
    if (posix_spawn(
            &child, QUILLON_REPORT_PROGRAM, nullptr, nullptr, const_cast<char *const *>(arguments), environ)
        != 0) {
        return -1;
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

void reportFromFile(benchmark::State &state, const char *name)
{
    const QTemporaryDir folder;
    const QByteArray fernFile = QFile::encodeName(folder.filePath(QStringLiteral("profile.fern")));
    const QByteArray output = QFile::encodeName(folder.filePath(QString::fromLatin1(name)));
    QString error;
    if (!FernFile::write(longProfile(), QFile::decodeName(fernFile), &error)) {
        state.SkipWithError(qUtf8Printable(error));
        return;
    }
    for (auto iteration : state) {
        static_cast<void>(iteration);
        if (run(fernFile, output) != 0 || !QFile::exists(QFile::decodeName(output))) {
            state.SkipWithError("quillon-report failed");
            return;
        }
    }
}

BENCHMARK_CAPTURE(reportFromFile, text, "x.txt")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(reportFromFile, json, "x.json")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
