// render-page OUTPUT_DIR DEFINITION.xml...
//
// Writes the page and the data of the report of each definition as NAME.html and NAME.json. The values of its
// metrics stand beside it in NAME.values.json, an object from metric id to number or text.

#include "api/quillon-report.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopedPointer>

#include <cstdio>

using quillon::report::ReportDefinition;

namespace {

QJsonObject readValues(const QString &definition)
{
    QFile file(definition.chopped(4) + QStringLiteral(".values.json"));
    if (!file.open(QIODevice::ReadOnly))
        return QJsonObject();
    return QJsonDocument::fromJson(file.readAll()).object();
}

bool write(const QString &filename, const QByteArray &bytes)
{
    QFile file(filename);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

/// An empty text, or why there is no report.
QString render(const QString &filename, const QDir &output)
{
    QString error;
    const QScopedPointer<ReportDefinition> definition(
        ReportDefinition::createFromFile(filename, ReportDefinition::DefaultSchemaFilename, &error,
            ReportDefinition::SilentValidation, ReportDefinition::Config::withoutPrefixesOrReservedIds()));
    if (!definition)
        return error;
    quillon_report report(*definition);
    const auto mode = quillon_report::CreateIfNotDefined;
    report.setMetricValue(QStringLiteral("applicationDetails.processes.plain"), 2, mode);
    report.setMetricValue(QStringLiteral("applicationDetails.profiledRanks"), QStringLiteral("All"), mode);
    const QJsonObject values = readValues(filename);
    for (auto value = values.begin(); value != values.end(); ++value) {
        const QVariant metric = value->isDouble() ? QVariant(value->toDouble()) : QVariant(value->toString());
        if (report.setMetricValue(value.key(), metric, mode) != 0)
            return QString::fromUtf8(report.getErrorMessage());
    }
    report.setDominantMetric(report.getDefaultDominantMetric());
    QByteArray page;
    QByteArray json;
    if (report.generateAndWrite(page, HtmlReport) != 0 || report.generateAndWrite(json, JsonReport) != 0)
        return QString::fromUtf8(report.getErrorMessage());
    const QString name = QFileInfo(filename).baseName();
    if (!write(output.filePath(name + QStringLiteral(".html")), page)
        || !write(output.filePath(name + QStringLiteral(".json")), json))
        return QStringLiteral("can't write to %1").arg(output.path());
    return QString();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fputs("render-page: usage: render-page OUTPUT_DIR DEFINITION.xml...\n", stderr);
        return 1;
    }
    for (const QString &filename : arguments.mid(2)) {
        const QString error = render(filename, QDir(arguments[1]));
        if (!error.isEmpty()) {
            std::fprintf(stderr, "render-page: %s: %s\n", qUtf8Printable(filename), qUtf8Printable(error));
            return 1;
        }
    }
    return 0;
}
