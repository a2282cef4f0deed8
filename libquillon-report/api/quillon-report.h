#ifndef QUILLON_REPORT_API_QUILLON_REPORT_H
#define QUILLON_REPORT_API_QUILLON_REPORT_H

#include "api/export.h"
#include "api/performancemetric.h"
#include "api/reportdefinition.h"
#include "api/resultcodes.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

// What a report is rendered as. The numbers are stable.
enum QuillonReportType { TxtReport = 0, HtmlReport = 1, CsvReport = 2, JsonReport = 3 };

// One report in the making: its definition, the values of its metrics, one error text, and warnings.
// Everything that fills a report goes through here, and everything that renders one starts from
// generateAndWrite().
//
// It stands at global scope because callers in C know it, as an opaque handle, under this very name. In their
// manner operations return a result code, 0 for success, and leave one sentence in a buffer of fixed size; a
// failed operation changes no values and leaves the report usable. One thread at a time may use a report.
struct QUILLON_REPORT_EXPORT quillon_report {
    enum SetMetricValueMode { CreateIfNotDefined = 0, ErrorIfNotDefined = 1 };
    // Metric id to message.
    typedef QMap<QString, QString> MetricWarnings;

    // Copies the definition; puts its metrics and those of the catalogue into the store, and their default
    // values. It never throws for a bad definition: ask hasErrorMessage(). Makes UTF-8 the locale codec of
    // the whole process, for good, since all text that callers give and take is UTF-8.
    explicit quillon_report(const quillon::report::ReportDefinition &reportDef);
    // The same from the XML text, in UTF-8 and NUL-terminated, of a full report. When it can't be read the
    // report has an empty definition, no metrics, and the reason as its error.
    explicit quillon_report(const char *reportDefinitionXmlBuffer);

    quillon::report::ReportDefinition::Config reportConfig();
    quillon::report::ReportDefinition definition() const;

    // Metric values. Names are keys of the store, that is JSON ids.

    // The variant's type must be exactly that of the metric. A metric that has to be created takes its type
    // from the variant. 0, BRIVANE_REPORT_UNKNOWN_METRIC, _WRONG_TYPE, or _INVALID_VALUE for a senseless
    // number of processes or nodes.
    int setMetricValue(const QString &metricName, const QVariant &value, SetMetricValueMode mode);
    int setMetricUnits(const QString &metricName, const QString &metricUnits);
    // Invalid when there is none.
    QVariant getMetricValue(const QString &metricName) const;
    // Where the values come from.
    int setMetricValuesSource(QUrl source);
    bool containsMetricWithId(const QString &metricId) const;

    // These two take the plain id of the definition, without any prefix.
    bool containsUserDefinedMetricWithId(const QString &metricId) const;
    // An empty string for a metric that the definition doesn't declare.
    QString getMetricDisplayName(const QString &metricId) const;

    // Puts values into every metric that a caller need not set; what is left is what generateAndWrite() asks
    // for. The constructor calls it. 0 or BRIVANE_REPORT_INTERNAL.
    int setDefaultValuesForMetrics();

    // Errors and warnings.

    // Formats in the manner of printf, replaces the old text and cuts the new one to 4094 bytes; an empty
    // text clears the error. Arguments are UTF-8.
    void setErrorMessage(const char *message, ...);
    // Null when there is no error; else a text that lives as long as the report and changes with the next
    // error.
    const char *getErrorMessage() const;
    bool hasErrorMessage() const;
    // The first warning for a metric wins.
    void setWarningMessage(const QString &metricId, const QString &message);
    bool hasWarningMessage() const;
    // All warnings in the order of their metrics, each with a line feed behind it.
    QString getWarningMessage() const;
    // To be called in a catch block: turns the exception into an error text. The context is the name of the
    // public function. Always BRIVANE_REPORT_EXCEPTION.
    int handleException(const char *context);
    // Whether the text is whole and valid UTF-8; a null pointer is.
    static bool utf8SequenceIsSane(const char *sequence);

    // What bound the job. Ids of metrics are the plain ids of the definition.

    // 0, BRIVANE_REPORT_UNKNOWN_METRIC, or the code of setMetricValue().
    int setDominantMetric(const QString &dominantMetric);
    // The same; an empty id clears the secondary metric.
    int setSecondaryDominantMetric(const QString &secondaryDominantMetric);
    // The metric with the largest value in the summary, the first of equals; an empty string for an empty
    // summary, and, with an error, when a value isn't a number.
    QString getDefaultDominantMetric();
    bool dominantMetricNeedsSetting() const;

    // Advice.

    int setSummaryOverviewAdvice(const QString &advice);
    // 0, BRIVANE_REPORT_UNKNOWN_SUMMARY_ENTRY, or the code of setMetricValue().
    int setSummaryEntryAdvice(const QString &summaryEntryId, const QString &advice);
    // Numbers begin with 1. 0, BRIVANE_REPORT_UNKNOWN_SUBSECTION, _BAD_ADVICE_NUMBER, or the code of
    // setMetricValue().
    int setSubsectionAdvice(const QString &subsectionId, int number, const QString &advice);
    // Sets all advice of the subsection: slots behind the end of the list become empty, strings beyond the
    // last slot are dropped.
    int setSubsectionAdvice(QString subsectionId, const QStringList &advice);
    // -1, with an error, for an unknown subsection.
    int getSubsectionAdviceMaxNumber(QString subsectionId);
    bool summaryEntryExists(const QString &summaryEntryId) const;
    bool sectionExists(const QString &sectionId) const;

    // Output.

    // Renders the report. An older error is wiped. 0, BRIVANE_REPORT_INCOMPLETE or _GENERATION_FAILED.
    int generateAndWrite(QByteArray &output, QuillonReportType reportType);
    // The same into a buffer that the caller releases with free(). It holds exactly the report, without a NUL
    // at its end. Null after a failure.
    int generateAndWrite(char **output, QuillonReportType reportType);
    QJsonObject toJsonValues() const;
    QJsonObject toJsonDefinitions() const;
    QList<quillon::report::DcimValue> toDcimValues(const QStringList &visibleMetricNames) const;

private:
    bool createReportDefinition(const char *xmlBuffer);
    bool createMetricValues(const quillon::report::ReportDefinition &reportDefinition);

    quillon::report::ReportDefinition mReportDefinition;
    quillon::report::PMetricValues mMetricValues;
    char mErrorBuffer[4096];
    MetricWarnings mMetricWarnings;
};

namespace quillon::report {

// The metrics of a report with that definition, in this order: its own, its advice slots, the implicit ones
// of the catalogue. An id may come twice, when a definition declares a metric of the catalogue itself; in a
// store the later, the catalogue's, wins.
QUILLON_REPORT_EXPORT PMetricDefinition::List createMetricValues(const ReportDefinition &reportDefinition);

} // namespace quillon::report

#endif
