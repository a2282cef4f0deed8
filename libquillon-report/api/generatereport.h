#ifndef QUILLON_REPORT_API_GENERATEREPORT_H
#define QUILLON_REPORT_API_GENERATEREPORT_H

#include "api/performancemetric.h"
#include "api/quillon-report.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>

namespace quillon::report {

/// The bytes of a report: the JSON document of the four data objects, the metrics and the rows of the header,
/// or what the templates make of that document. Every metric must have a value by now.
///
/// JSON is UTF-8; the other forms are in the local encoding. There is no error channel: a template or script
/// that fails costs a warning, and the result is then partial or empty.
QByteArray generateQuillonReport(QuillonReportType reportType, const PMetricValues &metricValues,
    const QJsonObject &brandingData, const QJsonObject &summaryData, const QJsonArray &subsectionData,
    const QJsonObject &colourData);

} // namespace quillon::report

#endif
