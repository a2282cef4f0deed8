#ifndef QUILLON_REPORT_QUILLONREPORT_H
#define QUILLON_REPORT_QUILLONREPORT_H

#include <QString>

class ProfilerData;
struct quillon_report;

namespace quillon::report {

class ReportDefinition;

// The three main shares of a job's time, in percent, for callers that print them without reading the report.
struct QuillonReportSummary {
    double cpuPercent = 0.0;
    double mpiPercent = 0.0;
    double ioPercent = 0.0;
};

// Fills a new report, which the caller owns, with the figures, classifications and advice of a profile.
//
// templateName decides what the report is about: DefaultMetrics::templateName() adds classifications,
// overview advice and what bound the job; "trapped" adds the use of a power budget; any other name gives the
// figures and the advice of the subsections alone. summary may be null.
//
// A figure that is missing is NaN, and its reason stands in the report's error metrics or in its warnings. A
// metric that the definition should declare and doesn't is an error of the report. A profile without samples
// to merge leaves the report as constructed and summary untouched. What the host throws passes through.
quillon_report *convertToReport(const ProfilerData &data, const ReportDefinition &definition,
    const QString &templateName, QuillonReportSummary *summary);

// Prints the report's error, if any, as a warning that starts with the running tool's name.
void printError(const quillon_report &report);

// Prints the report's warnings, if any, as a warning that starts with the running tool's name.
void printWarning(const quillon_report &report);

} // namespace quillon::report

#endif
