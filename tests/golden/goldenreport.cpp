#include "goldenreport.h"

#include "textprofile.h"

#include "core/environment.h"
#include "core/version.h"
#include "quillonreport.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUrl>

using quillon::report::ReportDefinition;

namespace golden {

namespace {

const QString keyOfFigures = QStringLiteral("data");
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

QByteArray figuresOf(const QByteArray &json)
{
    QJsonObject data = QJsonDocument::fromJson(json).object()[keyOfFigures].toObject();
    QJsonObject report = data[QStringLiteral("report")].toObject();
    QJsonObject source = report[QStringLiteral("src")].toObject();
    QJsonObject version = report[QStringLiteral("version")].toObject();
    source[QStringLiteral("definition")] = source[QStringLiteral("definition")].toString().replace(
        QUrl::fromLocalFile(QStringLiteral(GOLDEN_DEFINITION)).toString(), QStringLiteral("DEFINITION"));
    if (version[QStringLiteral("software")] == QLatin1String(Version::KELP_VERSION))
        version[QStringLiteral("software")] = QStringLiteral("VERSION");
    report[QStringLiteral("src")] = source;
    report[QStringLiteral("version")] = version;
    data[QStringLiteral("report")] = report;
    return QJsonDocument(QJsonObject{{keyOfFigures, data}}).toJson();
}

QByteArray documentWithoutFigures(const QByteArray &json)
{
    QJsonObject document = QJsonDocument::fromJson(json).object();
    document.remove(keyOfFigures);
    static const QRegularExpression picture(QStringLiteral("(data:image/png;base64,)[A-Za-z0-9+/=]+"));
    return QString::fromUtf8(QJsonDocument(document).toJson())
        .replace(picture, QStringLiteral("\\1PNG"))
        .toUtf8();
}

QString documentFile()
{
    return QStringLiteral("document.json");
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
