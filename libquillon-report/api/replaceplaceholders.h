#ifndef QUILLON_REPORT_API_REPLACEPLACEHOLDERS_H
#define QUILLON_REPORT_API_REPLACEPLACEHOLDERS_H

#include <QString>

namespace quillon::report {

class ReportDefinition;

// Returns `text` with every placeholder `${name}` replaced by the template markup that shows its value when
// the report is rendered; no metric values are needed here.
//
// A name is, after trimming, one of
// - a built-in such as `brivane.dominant.metric.name` (these win over metrics of the same id),
// - the id of a metric of `definition`: its value in a span whose class is the metric's JSON id,
// - such an id behind an asterisk: value and units, scaled to an SI prefix.
//
// There is no escape for a literal "${". A name that is none of these ends the work: the result is empty and
// `*error` names the placeholder, the definition's files and what could have stood there. With a null
// `error` such a placeholder vanishes from the text instead. `*error` is cleared at each placeholder met and
// is left alone by a text without any.
QString replacePlaceholders(const ReportDefinition &definition, const QString &text, QString *error);

} // namespace quillon::report

#endif
