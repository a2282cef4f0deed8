#include "api/quillon-report.h"

#include "api/defaultmetrics.h"
#include "api/generatereport.h"
#include "api/jsongeneration.h"
#include "core/version.h"

#include <QObject>
#include <QScopedPointer>
#include <QSet>
#include <QTextCodec>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <exception>

using quillon::report::DefaultMetrics;
using quillon::report::PMetricDefinition;
using quillon::report::PMetricType;
using quillon::report::ReportDefinition;

namespace json = quillon::report::json;

namespace {

const char kDefaultValuesSource[] = "brivane:/custom-report-api";
const int kApiVersion = 1;

PMetricDefinition toDefinition(const ReportDefinition::MetricDef &def, const ReportDefinition::Config &config)
{
    const QString id = def.jsonId(config);
    return PMetricDefinition(id)
        .setJsonId(id)
        .setType(def.type)
        .setUnits(def.units)
        .setDisplayName(def.displayName)
        .setVersion(static_cast<quint8>(def.defaultMetricVersion));
}

PMetricDefinition adviceDefinition(const QString &id, const QString &displayName)
{
    return PMetricDefinition(id).setJsonId(id).setType(PMetricType::String).setDisplayName(displayName);
}

} // namespace

PMetricDefinition::List quillon::report::createMetricValues(const ReportDefinition &reportDefinition)
{
    const ReportDefinition::Config &config = reportDefinition.config();
    PMetricDefinition::List result;
    for (const ReportDefinition::MetricDef &def : reportDefinition.getMetricDefinitionList())
        result.append(toDefinition(def, config));

    const ReportDefinition::SummaryDef summary = reportDefinition.getSummaryDefinition();
    for (const ReportDefinition::SummaryEntryDef &entry : summary.entries)
        result.append(adviceDefinition(entry.adviceJsonValue(config), QObject::tr("Advice")));

    const ReportDefinition::SubsectionDef::List subsections = reportDefinition.getSubsectionList();
    for (const ReportDefinition::SubsectionDef &subsection : subsections)
        for (int i = 1; i <= subsection.maxAdviceStrings; ++i)
            result.append(adviceDefinition(subsection.adviceJsonValue(config, static_cast<unsigned>(i)),
                QObject::tr("Advice %1").arg(i)));

    const DefaultMetricVersion::Enum version = DefaultMetrics::getCurrentVersion();
    const ReportDefinition::MetricDef::List implicit = DefaultMetrics::getInternalMetrics(version)
        + DefaultMetrics::getRequiredApplicationDetailsMetrics(version)
        + DefaultMetrics::getOptionalApplicationDetailsMetrics(version);
    for (const ReportDefinition::MetricDef &def : implicit)
        result.append(toDefinition(def, config));
    return result;
}

quillon_report::quillon_report(const ReportDefinition &reportDef)
    : mReportDefinition(reportDef)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    std::memset(mErrorBuffer, 0, sizeof mErrorBuffer);
    // A failure stays in the error buffer, where the caller finds it.
    createMetricValues(mReportDefinition);
}

quillon_report::quillon_report(const char *reportDefinitionXmlBuffer)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    std::memset(mErrorBuffer, 0, sizeof mErrorBuffer);
    if (createReportDefinition(reportDefinitionXmlBuffer))
        createMetricValues(mReportDefinition);
}

bool quillon_report::createReportDefinition(const char *xmlBuffer)
{
    if (!xmlBuffer) {
        setErrorMessage("xml layout buffer pointer is null");
        return false;
    }
    QString error;
    const QScopedPointer<ReportDefinition> definition(ReportDefinition::createFromXml(QByteArray(xmlBuffer),
        QUrl(), ReportDefinition::DefaultSchemaFilename, &error, ReportDefinition::SilentValidation,
        ReportDefinition::Config()));
    if (!error.isEmpty()) {
        setErrorMessage("%s", error.toUtf8().constData());
        return false;
    }
    if (!definition) {
        setErrorMessage("internal report definition pointer is null");
        return false;
    }
    mReportDefinition = *definition;
    return true;
}

bool quillon_report::createMetricValues(const ReportDefinition &reportDefinition)
{
    mMetricValues << quillon::report::createMetricValues(reportDefinition);
    return setDefaultValuesForMetrics() == BRIVANE_REPORT_OK;
}

ReportDefinition::Config quillon_report::reportConfig()
{
    return mReportDefinition.config();
}

ReportDefinition quillon_report::definition() const
{
    return mReportDefinition;
}

int quillon_report::setDefaultValuesForMetrics()
{
    const auto version = DefaultMetrics::getCurrentVersion();
    setMetricValue(DefaultMetrics::ReportValueName, mReportDefinition.reportName(), ErrorIfNotDefined);
    setMetricValue(DefaultMetrics::ReportValueVersionApi, kApiVersion, ErrorIfNotDefined);
    setMetricValue(DefaultMetrics::ReportValueVersionSoftware, QString::fromLatin1(Version::KELP_VERSION),
        ErrorIfNotDefined);
    setMetricValue(DefaultMetrics::ReportValueDocumentDefinitions, mReportDefinition.listDefinitionFiles(0),
        ErrorIfNotDefined);
    setMetricValue(DefaultMetrics::Version, static_cast<int>(version), ErrorIfNotDefined);
    setMetricValue(DefaultMetrics::ReportMetricValuesSource, QString::fromLatin1(kDefaultValuesSource),
        ErrorIfNotDefined);

    QSet<QString> optionals = {DefaultMetrics::OverviewAdvice,
        DefaultMetrics::SecondaryDominantMetricLongString, DefaultMetrics::SecondaryDominantMetricShortString,
        DefaultMetrics::SecondaryDominantMetricType, DefaultMetrics::SecondaryDominantMetricSubsectionId,
        DefaultMetrics::SecondaryDominantMetricSubsectionHeading};
    const auto optionalDetails = DefaultMetrics::getOptionalApplicationDetailsMetrics(version);
    for (const ReportDefinition::MetricDef &def : optionalDetails)
        optionals.insert(def.id);
    for (const QString &id : qAsConst(optionals)) {
        if (mMetricValues.setDefaultValue(id))
            continue;
        setErrorMessage(
            "Internal error - failed setting default value for metric %s", id.toLocal8Bit().constData());
        return BRIVANE_REPORT_INTERNAL;
    }

    const ReportDefinition::Config config = reportConfig();
    const ReportDefinition::SummaryDef summary = mReportDefinition.getSummaryDefinition();
    for (const ReportDefinition::SummaryEntryDef &entry : summary.entries)
        mMetricValues.setDefaultValue(entry.adviceJsonValue(config));
    const ReportDefinition::SubsectionDef::List subsections = mReportDefinition.getSubsectionList();
    for (const ReportDefinition::SubsectionDef &subsection : subsections)
        for (int i = 1; i <= subsection.maxAdviceStrings; ++i)
            mMetricValues.setDefaultValue(subsection.adviceJsonValue(config, static_cast<unsigned>(i)));
    mMetricValues.setDefaultValue(DefaultMetrics::OverviewAdvice);
    return BRIVANE_REPORT_OK;
}

int quillon_report::setMetricValue(const QString &metricName, const QVariant &value, SetMetricValueMode mode)
{
    if (!mMetricValues.hasMetricDefinition(metricName)) {
        if (mode == ErrorIfNotDefined) {
            setErrorMessage("unknown metric: \"%s\"", metricName.toUtf8().constData());
            return BRIVANE_REPORT_UNKNOWN_METRIC;
        }
        mMetricValues
            << PMetricDefinition(metricName).setJsonId(metricName).setType(PMetricType::forTypeOf(value));
    }
    const PMetricType type = mMetricValues.getMetricDefinition(metricName).getType();
    if (!type.isSameType(value)) {
        setErrorMessage("expected type \"%s\" for metric \"%s\"", type.toString().toUtf8().constData(),
            metricName.toUtf8().constData());
        return BRIVANE_REPORT_WRONG_TYPE;
    }
    if (metricName == DefaultMetrics::NumProcesses && value.toInt() < 1) {
        setErrorMessage(
            "%s is an invalid value for metric BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES. Value must be >= 1.",
            value.toString().toUtf8().constData());
        return BRIVANE_REPORT_INVALID_VALUE;
    }
    // Zero nodes pass: there are profiles that don't know where their processes ran.
    if (metricName == DefaultMetrics::NumNodes && value.toInt() < 0) {
        setErrorMessage(
            "%s is an invalid value for metric BRIVANE_APPLICATION_DETAIL_NUM_NODES. Value must be >= 1.",
            value.toString().toUtf8().constData());
        return BRIVANE_REPORT_INVALID_VALUE;
    }
    mMetricValues.set(metricName, value);
    return BRIVANE_REPORT_OK;
}

int quillon_report::setMetricUnits(const QString &metricName, const QString &metricUnits)
{
    if (mMetricValues.setUnits(metricName, metricUnits))
        return BRIVANE_REPORT_OK;
    setErrorMessage("failed to adjust units for metric '%s' to '%s'))", metricName.toUtf8().constData(),
        metricUnits.toUtf8().constData());
    return BRIVANE_REPORT_UNKNOWN_METRIC;
}

QVariant quillon_report::getMetricValue(const QString &metricName) const
{
    return mMetricValues.get(metricName);
}

int quillon_report::setMetricValuesSource(QUrl source)
{
    return setMetricValue(DefaultMetrics::ReportMetricValuesSource, source.toString(), ErrorIfNotDefined);
}

bool quillon_report::containsMetricWithId(const QString &metricId) const
{
    return mMetricValues.hasMetricDefinition(metricId);
}

bool quillon_report::containsUserDefinedMetricWithId(const QString &metricId) const
{
    return mReportDefinition.metricIds().contains(metricId);
}

QString quillon_report::getMetricDisplayName(const QString &metricId) const
{
    for (const ReportDefinition::MetricDef &def : mReportDefinition.getMetricDefinitionList())
        if (def.id == metricId)
            return def.displayName;
    return QString();
}

void quillon_report::setErrorMessage(const char *message, ...)
{
    va_list arguments;
    va_start(arguments, message);
    qvsnprintf(mErrorBuffer, sizeof mErrorBuffer - 1, message, arguments);
    va_end(arguments);
}

const char *quillon_report::getErrorMessage() const
{
    return hasErrorMessage() ? mErrorBuffer : nullptr;
}

bool quillon_report::hasErrorMessage() const
{
    return mErrorBuffer[0] != '\0';
}

void quillon_report::setWarningMessage(const QString &metricId, const QString &message)
{
    if (!mMetricWarnings.contains(metricId))
        mMetricWarnings.insert(metricId, message);
}

bool quillon_report::hasWarningMessage() const
{
    return !mMetricWarnings.isEmpty();
}

QString quillon_report::getWarningMessage() const
{
    QString result;
    for (const QString &message : mMetricWarnings)
        result += QObject::tr("%1\n").arg(message);
    return result;
}

int quillon_report::handleException(const char *context)
{
    try {
        throw;
    } catch (const std::exception &exception) {
        setErrorMessage(
            "EXCEPTION! context: %s | fatal error with found message: %s", context, exception.what());
    } catch (...) {
        setErrorMessage("EXCEPTION! context: %s | unknown error", context);
    }
    return BRIVANE_REPORT_EXCEPTION;
}

bool quillon_report::utf8SequenceIsSane(const char *sequence)
{
    const int length = sequence ? static_cast<int>(std::strlen(sequence)) : 0;
    QTextCodec::ConverterState state;
    QTextCodec::codecForName("UTF-8")->toUnicode(sequence, length, &state);
    return state.invalidChars < 1 && state.remainingChars < 1;
}

int quillon_report::generateAndWrite(QByteArray &output, QuillonReportType reportType)
{
    const ReportDefinition::Config config = reportConfig();
    // These may still be filled below.
    const QSet<QString> derivable = {DefaultMetrics::DominantMetricLongString,
        DefaultMetrics::DominantMetricShortString, DefaultMetrics::DominantMetricType};
    for (const ReportDefinition::MetricDef &def : mReportDefinition.getMetricDefinitionList()) {
        if (mMetricValues.hasMetricValue(def.jsonId(config)) || derivable.contains(def.id))
            continue;
        setErrorMessage(
            "%s", QObject::tr("No metric value has been set for '%1'").arg(def.id).toUtf8().constData());
        return BRIVANE_REPORT_INCOMPLETE;
    }

    // The builders' text becomes the error even when it is empty: that wipes what stood there before.
    QString error;
    const auto hasFailed = [&] {
        setErrorMessage("%s", error.toUtf8().constData());
        return hasErrorMessage();
    };
    const QJsonObject branding = json::createBrandingData(mReportDefinition);
    const QJsonObject summary = json::createSummaryData(mReportDefinition, &error);
    if (hasFailed())
        return BRIVANE_REPORT_GENERATION_FAILED;
    const QJsonArray subsections = json::createSubsectionsData(mReportDefinition, &error);
    if (hasFailed())
        return BRIVANE_REPORT_GENERATION_FAILED;
    const QJsonObject colours = json::createColoursData(mReportDefinition, &error);
    if (hasFailed())
        return BRIVANE_REPORT_GENERATION_FAILED;

    const QString dominant = getDefaultDominantMetric();
    if (hasErrorMessage())
        return BRIVANE_REPORT_INCOMPLETE;
    // A failure shows as a missing metric.
    if (dominantMetricNeedsSetting())
        setDominantMetric(dominant);

    QStringList missing;
    if (!mMetricValues.hasValueSetForAllMetrics(&missing)) {
        const QString text
            = QObject::tr("No metric values have been set for the following metrics:\n        %1");
        setErrorMessage("%s", text.arg(missing.join(QStringLiteral("\n        "))).toUtf8().constData());
        return BRIVANE_REPORT_INCOMPLETE;
    }
    output = quillon::report::generateQuillonReport(
        reportType, mMetricValues, branding, summary, subsections, colours);
    return BRIVANE_REPORT_OK;
}

int quillon_report::generateAndWrite(char **output, QuillonReportType reportType)
{
    if (!output) {
        setErrorMessage("Pointer to receive the report output buffer is NULL");
        return BRIVANE_REPORT_NULL_OUTPUT;
    }
    QByteArray bytes;
    const int result = generateAndWrite(bytes, reportType);
    if (result != BRIVANE_REPORT_OK) {
        *output = nullptr;
        return result;
    }
    *output = static_cast<char *>(std::malloc(static_cast<size_t>(bytes.size())));
    if (!*output) {
        setErrorMessage("memory allocation (%d bytes) failed in %s", bytes.size(), "generateAndWrite");
        return BRIVANE_REPORT_OUT_OF_MEMORY;
    }
    std::memcpy(*output, bytes.constData(), static_cast<size_t>(bytes.size()));
    return BRIVANE_REPORT_OK;
}

QJsonObject quillon_report::toJsonValues() const
{
    return mMetricValues.toJsonValues();
}

QJsonObject quillon_report::toJsonDefinitions() const
{
    return mMetricValues.toJsonDefinitions();
}

QList<quillon::report::DcimValue> quillon_report::toDcimValues(const QStringList &visibleMetricNames) const
{
    return mMetricValues.toDcimValues(visibleMetricNames);
}
