#ifndef QUILLON_REPORT_API_JSONGENERATION_H
#define QUILLON_REPORT_API_JSONGENERATION_H

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

class QColor;

namespace quillon::report {

class ReportDefinition;

// Builders of the document that the templates read, which is also what a JSON report is made of: a report
// definition in, plain objects out. Text that refers to values of the run stays template source, under keys
// that end in `HtmlTemplate`.
//
// `error` may be null. Otherwise it is null after success and, after a failure, holds a sentence for the
// author of the definition; the result is empty then. A metric id that the definition doesn't know is no
// failure: a stand-in metric that names the id is shown in its place.
namespace json {

// One colour per JSON id of a metric or subsection, and one per entry that overrides its metric's colour:
// arrays of hue (0 to 359, -1 for greys), saturation and lightness (0 to 100). A colour that isn't set
// counts as black.
QJsonObject createColoursData(const ReportDefinition &reportDefinition, QString *error);

// The summary: heading, footer, one row per entry, and the type and colour name of every metric that could
// bind the job.
QJsonObject createSummaryData(const ReportDefinition &reportDefinition, QString *error);

// The subsections that have entries, in their order, each with its entries.
QJsonArray createSubsectionsData(const ReportDefinition &reportDefinition, QString *error);

// The logos: the report's own, and a credit beside one that isn't the product's. Only the product's own
// pictures carry embedded copies for readers without network.
QJsonObject createBrandingData(const ReportDefinition &reportDefinition);

// The bytes of a file as a `data:image/png;base64,` URI, whatever they are; a null string and a warning when
// the file can't be opened.
QString convertPngFileToBase64DataUri(const QString &filename);

// Hue, saturation and lightness of `colour` as in createColoursData. An invalid colour gives an empty array
// and adds to `*error`, which must not be null and is reset first.
QJsonArray colourStringToJsonHslArray(const QColor &colour, QString *error);

} // namespace json
} // namespace quillon::report

#endif
