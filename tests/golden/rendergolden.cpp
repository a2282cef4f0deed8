// render-golden OUTPUT_DIR [PROFILE_DIR] [NAME...]
//
// Writes NAME.html, NAME.json, NAME.txt and NAME.csv for every NAME.profile of a folder, by default that of
// the tests' data; with names, for these profiles only.

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

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        return fail(QStringLiteral("usage: render-golden OUTPUT_DIR [PROFILE_DIR] [NAME...]"));
    const QDir output(arguments[1]);
    const QDir profiles(arguments.value(2, QStringLiteral(GOLDEN_PROFILES)));
    if (!output.mkpath(QStringLiteral(".")))
        return fail(QStringLiteral("can't make the folder %1").arg(output.path()));

    const QStringList wanted = arguments.mid(3);
    const QStringList names = wanted.isEmpty() ? golden::profileNames(profiles) : wanted;
    if (names.isEmpty())
        return fail(QStringLiteral("no profiles in %1").arg(profiles.path()));
    for (const QString &name : names) {
        QString error;
        const std::unique_ptr<quillon_report> report = golden::filledReport(profiles, name, &error);
        if (!report)
            return fail(error);
        for (const golden::Form &form : golden::forms()) {
            QByteArray bytes;
            if (report->generateAndWrite(bytes, form.type) != 0)
                return fail(QStringLiteral("%1: %2").arg(name, QString::fromUtf8(report->getErrorMessage())));
            const QString filename = output.filePath(name + QLatin1Char('.') + QLatin1String(form.suffix));
            if (!write(filename, bytes))
                return fail(QStringLiteral("can't write %1").arg(filename));
        }
    }
    return 0;
}
