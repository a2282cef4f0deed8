#include "goldenreport.h"

#include "textprofile.h"

#include "core/environment.h"
#include "quillonreport.h"

#include <QByteArray>

using quillon::report::ReportDefinition;

namespace golden {

namespace {

const QString profileSuffix = QStringLiteral(".profile");

void forgetSettings()
{
    for (const char *prefix : {"KELP_", "FERN_", "BRIVANE_"}) {
        for (const char *name : {"CPU_ENERGY_METRIC", "SYSTEM_ENERGY_METRIC", "NOTES"})
            qunsetenv(QByteArray(prefix) + name);
    }
    brivane::environmentChanged();
}

} // namespace

const QVector<Form> &forms()
{
    static const QVector<Form> all
        = {{TxtReport, "txt"}, {CsvReport, "csv"}, {JsonReport, "json"}, {HtmlReport, "html"}};
    return all;
}

QStringList profileNames(const QDir &profiles)
{
    QStringList names;
    for (const QString &file :
        profiles.entryList({QLatin1Char('*') + profileSuffix}, QDir::Files, QDir::Name))
        names.append(file.chopped(profileSuffix.size()));
    return names;
}

std::unique_ptr<quillon_report> filledReport(const QDir &profiles, const QString &name, QString *error)
{
    forgetSettings();
    const auto profile = readTextProfile(profiles.filePath(name + profileSuffix), error);
    if (!profile)
        return nullptr;
    const std::unique_ptr<ReportDefinition> definition(ReportDefinition::createFromFile(
        QStringLiteral(GOLDEN_DEFINITION), ReportDefinition::DefaultSchemaFilename, error,
        ReportDefinition::SilentValidation, ReportDefinition::Config::withoutPrefixesOrReservedIds()));
    if (!definition)
        return nullptr;
    std::unique_ptr<quillon_report> report(
        quillon::report::convertToReport(*profile, *definition, QStringLiteral("default"), nullptr));
    if (report->hasErrorMessage()) {
        *error = QStringLiteral("%1: %2").arg(name, QString::fromUtf8(report->getErrorMessage()));
        return nullptr;
    }
    return report;
}

} // namespace golden
