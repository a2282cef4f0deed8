#include "api/quillon-report.h"

#include "api/brivane-report.h"

#include "api/brivane-report-private.h"
#include "api/htmltotext.h"

#include <QSet>
#include <QVariant>

#include <new>

using quillon::report::HtmlToTextOptions;
using quillon::report::validateHtmlSnippet;

const char *BRIVANE_APPLICATION_DETAIL_EXE_NAME = "applicationDetails.exeName";
const char *BRIVANE_APPLICATION_DETAIL_COMMAND_LINE = "applicationDetails.commandLine";
const char *BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES = "applicationDetails.processes.plain";
const char *BRIVANE_APPLICATION_DETAIL_NUM_NODES = "applicationDetails.nodes.plain";
const char *BRIVANE_APPLICATION_DETAIL_HOST_NAME = "applicationDetails.hostname";
const char *BRIVANE_APPLICATION_DETAIL_START_DATE = "applicationDetails.startDate";
const char *BRIVANE_APPLICATION_DETAIL_TIME = "applicationDetails.time.plain";
const char *BRIVANE_APPLICATION_DETAIL_EXE_PATH = "applicationDetails.exePath";
const char *BRIVANE_APPLICATION_DETAIL_NOTES = "applicationDetails.notes";
const char *BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS = "applicationDetails.profiledRanks";

namespace {

// The default metrics that a caller sets by name.
const QSet<QString> &exposedAppDetailsIds()
{
    static const QSet<QString> ids
        = {BRIVANE_APPLICATION_DETAIL_EXE_NAME, BRIVANE_APPLICATION_DETAIL_COMMAND_LINE,
            BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, BRIVANE_APPLICATION_DETAIL_NUM_NODES,
            BRIVANE_APPLICATION_DETAIL_HOST_NAME, BRIVANE_APPLICATION_DETAIL_START_DATE,
            BRIVANE_APPLICATION_DETAIL_TIME, BRIVANE_APPLICATION_DETAIL_EXE_PATH,
            BRIVANE_APPLICATION_DETAIL_NOTES, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS};
    return ids;
}

// No exception may cross into C: what the work throws becomes the report's error.
template <typename Work> int guarded(quillon_report *report, const char *function, Work work)
{
    try {
        return work();
    } catch (...) {
        return report->handleException(function);
    }
}

int checkReport(const quillon_report *report)
{
    if (!report)
        return BRIVANE_REPORT_NULL_REPORT;
    return report->hasErrorMessage() ? BRIVANE_REPORT_ALREADY_FAILED : BRIVANE_REPORT_OK;
}

int checkUtf8(quillon_report *report, const char *text, const char *where)
{
    if (quillon_report::utf8SequenceIsSane(text))
        return BRIVANE_REPORT_OK;
    report->setErrorMessage("invalid UTF-8 sequence found in %s", where);
    return BRIVANE_REPORT_BAD_SEQUENCE;
}

int checkHtml(quillon_report *report, const char *advice)
{
    if (validateHtmlSnippet(QString::fromUtf8(advice), HtmlToTextOptions()))
        return BRIVANE_REPORT_OK;
    report->setErrorMessage("invalid HTML sequence found in advice string");
    return BRIVANE_REPORT_BAD_SEQUENCE;
}

int checkAdvice(quillon_report *report, const char *advice)
{
    const int result = checkUtf8(report, advice, "advice string");
    return result == BRIVANE_REPORT_OK ? checkHtml(report, advice) : result;
}

// The definition's own metrics are stored under ids with a prefix, and only as double.
int setAnyValue(quillon_report *report, const char *metric, const QVariant &value)
{
    QString metricName = QString::fromUtf8(metric);
    if (!exposedAppDetailsIds().contains(metricName) && report->containsUserDefinedMetricWithId(metricName)) {
        if (value.type() != QVariant::Double) {
            report->setErrorMessage(
                "attempt to set the value for metric \"%s\" to a \"%s\". All user-defined "
                "metrics are of type \"double\" and must be set with "
                "quillon_report_set_value_double(report,metricId,value).",
                metric, value.typeName());
            return BRIVANE_REPORT_WRONG_TYPE;
        }
        metricName = report->reportConfig().metricJsonId(metricName);
    }
    return report->setMetricValue(metricName, value, quillon_report::ErrorIfNotDefined);
}

int setReportValue(quillon_report *report, const char *metric, const QVariant &value, const char *func)
{
    if (const int result = checkReport(report))
        return result;
    return guarded(report, func, [&] {
        const int result = checkUtf8(report, metric, "metric name");
        return result == BRIVANE_REPORT_OK ? setAnyValue(report, metric, value) : result;
    });
}

} // namespace

quillon_report *quillon_report_create(const char *xmlLayoutBuffer)
{
    try {
        if (!quillon::report::ensureQCoreApplicationExists())
            return nullptr;
        return new (std::nothrow) quillon_report(xmlLayoutBuffer);
    } catch (...) {
        return nullptr;
    }
}

void quillon_report_free(quillon_report *report)
{
    delete report;
}

int quillon_report_has_error(const quillon_report *report)
{
    return !report || report->hasErrorMessage() ? 1 : 0;
}

const char *quillon_report_error_message(const quillon_report *report)
{
    if (!report)
        return "quillon_report pointer null, this can be caused by a memory allocation failure inside of "
               "quillon_report_create, or by forgetting to call it altogether!";
    return report->getErrorMessage();
}

QVariant quillon_report_internal_get_value(quillon_report *report, const char *metric)
{
    return report ? report->getMetricValue(QString::fromUtf8(metric)) : QVariant();
}

int quillon_report_set_dominant_metric(quillon_report *report, const char *metric)
{
    if (const int result = checkReport(report))
        return result;
    return guarded(report, __func__, [&] {
        const int result = checkUtf8(report, metric, "metric name");
        return result == BRIVANE_REPORT_OK ? report->setDominantMetric(QString::fromUtf8(metric)) : result;
    });
}

int quillon_report_set_summary_entry_advice(
    quillon_report *report, const char *summaryEntryId, const char *advice)
{
    if (const int result = checkReport(report))
        return result;
    if (!advice) {
        report->setErrorMessage("null advice string found when trying to set summary entry advice");
        return BRIVANE_REPORT_NULL_ARGUMENT;
    }
    return guarded(report, __func__, [&] {
        if (const int result = checkAdvice(report, advice))
            return result;
        return report->setSummaryEntryAdvice(QString::fromUtf8(summaryEntryId), QString::fromUtf8(advice));
    });
}

int quillon_report_set_dominant_metric_advice(quillon_report *report, const char *advice)
{
    if (const int result = checkReport(report))
        return result;
    if (!advice) {
        report->setErrorMessage("null advice string found when setting dominant metric advice");
        return BRIVANE_REPORT_NULL_ARGUMENT;
    }
    return guarded(report, __func__, [&] {
        if (const int result = checkAdvice(report, advice))
            return result;
        return report->setSummaryOverviewAdvice(QString::fromUtf8(advice));
    });
}

int quillon_report_set_section_advice(quillon_report *report, const char *sectionId, const char *advice)
{
    if (const int result = checkReport(report))
        return result;
    if (!advice) {
        report->setErrorMessage("null advice string found when setting section advice");
        return BRIVANE_REPORT_NULL_ARGUMENT;
    }
    return guarded(report, __func__, [&] {
        if (const int result = checkUtf8(report, sectionId, "section ID"))
            return result;
        if (const int result = checkAdvice(report, advice))
            return result;
        return report->setSubsectionAdvice(QString::fromUtf8(sectionId), 1, QString::fromUtf8(advice));
    });
}

int quillon_report_set_value_int(quillon_report *report, const char *metric, int value)
{
    return setReportValue(report, metric, value, __func__);
}

int quillon_report_set_value_double(quillon_report *report, const char *metric, double value)
{
    return setReportValue(report, metric, value, __func__);
}

// The value is looked at before the report: callers rely on hearing of a bad one whatever happened before.
int quillon_report_set_value_string(quillon_report *report, const char *metric, const char *value)
{
    if (!value) {
        report->setErrorMessage("null metric value found");
        return BRIVANE_REPORT_NULL_ARGUMENT;
    }
    QVariant text;
    const int result = guarded(report, __func__, [&] {
        text = QString::fromUtf8(value);
        return checkUtf8(report, value, "metric value");
    });
    return result == BRIVANE_REPORT_OK ? setReportValue(report, metric, text, __func__) : result;
}
