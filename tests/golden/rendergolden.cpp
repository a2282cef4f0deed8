// render-golden OUTPUT_DIR              NAME.html, NAME.json, NAME.txt and NAME.csv of every profile of the
// tests render-golden --expected OUTPUT_DIR   the same without the pages, as tests/data/golden keeps them
// render-golden OUTPUT_DIR NAME...      of these profiles only

#include "goldenreport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStringList>

#include <cstdio>

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "render-golden: %s\n", qUtf8Printable(message));
    return 1;
}

bool write(const QString &filename, const QByteArray &bytes)
{
    QFile file(filename);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

bool writeReports(
    quillon_report &report, const QString &name, const QDir &output, bool isExpected, QString *error)
{
    for (const golden::Form &form : golden::forms()) {
        if (isExpected && form.type == HtmlReport)
            continue;
        QByteArray bytes;
        if (report.generateAndWrite(bytes, form.type) != 0) {
            *error = QStringLiteral("%1: %2").arg(name, QString::fromUtf8(report.getErrorMessage()));
            return false;
        }
        bool ok = true;
        if (isExpected && form.type == JsonReport) {
            ok = write(output.filePath(golden::documentFile()), golden::documentWithoutFigures(bytes));
            bytes = golden::figuresOf(bytes);
        }
        const QString filename = output.filePath(name + QLatin1Char('.') + QLatin1String(form.suffix));
        if (!ok || !write(filename, bytes)) {
            *error = QStringLiteral("can't write %1").arg(filename);
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const bool isExpected = arguments.removeAll(QStringLiteral("--expected")) > 0;
    if (arguments.isEmpty())
        return fail(QStringLiteral("usage: render-golden [--expected] OUTPUT_DIR [NAME...]"));
    const QDir output(arguments.takeFirst());
    const QDir profiles(QStringLiteral(GOLDEN_PROFILES));
    if (!output.mkpath(QStringLiteral(".")))
        return fail(QStringLiteral("can't make the folder %1").arg(output.path()));

    const QStringList names = arguments.isEmpty() ? golden::profileNames(profiles) : arguments;
    if (names.isEmpty())
        return fail(QStringLiteral("no profiles in %1").arg(profiles.path()));
    for (const QString &name : names) {
        QString error;
        const std::unique_ptr<quillon_report> report = golden::filledReport(profiles, name, &error);
        if (!report || !writeReports(*report, name, output, isExpected, &error))
            return fail(error);
    }
    return 0;
}
