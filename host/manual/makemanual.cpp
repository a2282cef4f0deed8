// Writes the manual pages and the completions of shells, from the tables of options that the programs have.
#include "manual/manualtexts.h"

#include "profile/metricdefinitions.h"
#include "quillonreporttool.h"
#include "workflow/ferntool.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopedPointer>

#include <cstdio>

namespace {

bool writeFile(const QString &path, const QString &text)
{
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush())
        return true;
    std::fprintf(stderr, "cannot write '%s': %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
}

bool writeAll(const QDir &folder, BrivaneTool &tool, const QString &summary)
{
    const QScopedPointer<ArgParser> parser(
        tool.createArgParserAndReadCommandLine({QStringLiteral("--help")}, Platform::current()));
    const Program program{tool.getLauncherFileName(), summary, parser.data(),
        MetricDefinitions::ofSampler().getAllMetrics().keys()};
    return writeFile(folder.filePath(program.name + QLatin1String(".1")), manPage(program))
        && writeFile(folder.filePath(program.name + QLatin1String(".bash")), bashCompletion(program))
        && writeFile(folder.filePath(program.name + QLatin1String(".zsh")), zshCompletion(program))
        && writeFile(folder.filePath(program.name + QLatin1String(".fish")), fishCompletion(program));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const QCoreApplication application(argc, argv);
    const QDir folder(QFile::decodeName(argv[1]));
    FernTool fern;
    const bool ok = writeAll(folder, *QuillonReportTool::instance(),
                        QStringLiteral("run a program and report on one page where its time went"))
        && writeAll(folder, fern, QStringLiteral("run a program and keep its profile in a file"));
    return ok ? 0 : 1;
}
