#ifndef BRIVANE_REPORT_H
#define BRIVANE_REPORT_H

/*
 * Reports from any program: an XML definition and your own numbers in, a page of HTML out.
 *
 *     quillon_report *report = quillon_report_create(definition);
 *     quillon_report_set_value_double(report, "cpu", 71.5);
 *     ...
 *     if (quillon_report_write_html(report, &html) != 0)
 *         fprintf(stderr, "%s\n", quillon_report_error_message(report));
 *     free(html);
 *     quillon_report_free(report);
 *
 * Text.     All text that goes in and comes out is NUL-terminated UTF-8. The library copies what it is given.
 *
 * Results.  Functions that return "a result code" return 0 or one of the codes of resultcodes.h. The first call
 *           that fails leaves one English sentence in the report, and from then on the others change nothing and
 *           return BRIVANE_REPORT_ALREADY_FAILED (12): it is enough to look at the end. Nothing clears the error.
 *
 * Threads.  One thread at a time may use a report. Different threads may use different reports at once, from
 *           their creation on.
 *
 * Process.  The first report makes UTF-8 the locale codec of Qt in this process, for good. Where the program has
 *           no Qt application object the first report makes one, which stays until the process ends; it leaves the
 *           program's arguments, locale and signal handlers as they are. (While it is made, for the blink of an
 *           eye, the locale is that of the environment. A program with other threads that depend on another
 *           locale creates its first report before it starts them.) An application object of the program's own
 *           is used as it is and has to live as long as there are reports.
 */

#include "resultcodes.h"

/* How the functions are declared; the library's own sources define it. */
#ifndef BRIVANE_REPORT_API
#define BRIVANE_REPORT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A report in the making. */
typedef struct quillon_report quillon_report;

/*
 * The metrics, beside those that the definition declares, which are meant to be set: what the page says about
 * the program that ran. Marked "needed": without a value there is no report.
 */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_EXE_NAME; /* string, needed */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_COMMAND_LINE; /* string */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES; /* int from 1, needed */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_NUM_NODES; /* int; 0: unknown */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_HOST_NAME; /* string */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_START_DATE; /* string */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_TIME; /* int, run time in seconds */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_EXE_PATH; /* string */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_NOTES; /* string */
extern BRIVANE_REPORT_API const char *BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS; /* string, needed */

/*
 * A new report with the definition in xmlLayoutBuffer, a full report in the namespace that
 * docs/definition-format.md names. Null when there isn't enough memory. A definition that can't be read, null
 * included, gives a report that holds the reason as its error: ask quillon_report_has_error.
 * The report belongs to the caller, who gives it to quillon_report_free.
 */
BRIVANE_REPORT_API quillon_report *quillon_report_create(const char *xmlLayoutBuffer);

/* Releases a report; null does nothing. */
BRIVANE_REPORT_API void quillon_report_free(quillon_report *report);

/* 1 when a call on this report has failed, or for a null report; else 0. */
BRIVANE_REPORT_API int quillon_report_has_error(const quillon_report *report);

/*
 * What failed, or null when nothing has. The text belongs to the report and lives as long; for a null report it is
 * a constant text.
 */
BRIVANE_REPORT_API const char *quillon_report_error_message(const quillon_report *report);

/*
 * The value of a metric: the id of one that the definition declares, or a BRIVANE_APPLICATION_DETAIL_*.
 * The definition's own metrics are all set as double. A result code:
 *   2  report is null                     8  metric, or value, isn't valid UTF-8
 *   4  there is no such metric            9  fewer than 1 process, or than 0 nodes
 *  12  the report has failed already     10  the metric has another type
 *  11  value is null (_string only)       1  something unforeseen; the message says what
 * quillon_report_set_value_string looks at its value before it looks at the report: a bad value replaces an older
 * error, and the report must not be null then.
 */
BRIVANE_REPORT_API int quillon_report_set_value_int(quillon_report *report, const char *metric, int value);
BRIVANE_REPORT_API int quillon_report_set_value_double(quillon_report *report, const char *metric, double value);
BRIVANE_REPORT_API int quillon_report_set_value_string(
    quillon_report *report, const char *metric, const char *value);

/*
 * Says what bound the job: the id of a metric of the definition. Without this call it is the metric of the summary
 * with the largest value. Result codes 0, 1, 2, 4, 8, 12 as above.
 */
BRIVANE_REPORT_API int quillon_report_set_dominant_metric(quillon_report *report, const char *metric);

/*
 * A piece of advice: about an entry of the summary, about what bound the job, about a subsection (its first advice).
 * It is text or HTML with the elements
 *   p div h1 h2 h3 h4 h5 h6 ul ol pre blockquote
 *   b big i small tt abbr acronym cite code dfn em kbd strong samp time var br q span sub sup label
 * in lower case. A result code:
 *   2  report is null                     8  an argument isn't valid UTF-8, or advice has another element
 *  12  the report has failed already      6  there is no such summary entry
 *  11  advice is null                     5  there is no such subsection
 */
BRIVANE_REPORT_API int quillon_report_set_summary_entry_advice(
    quillon_report *report, const char *summaryEntryId, const char *advice);
BRIVANE_REPORT_API int quillon_report_set_dominant_metric_advice(quillon_report *report, const char *advice);
BRIVANE_REPORT_API int quillon_report_set_section_advice(
    quillon_report *report, const char *sectionId, const char *advice);

/*
 * Renders the report as one self-contained page of HTML. *output then points to the NUL-terminated page, which
 * the caller releases with free(); after a failure it is null. Can be called again, with other values. A result
 * code:
 *   2  report is null                     3  not enough memory for the page
 *  12  the report has failed already      7  a metric has no value; the message names it
 *  13  output is null                   103  the definition can't be rendered; the message says why
 */
BRIVANE_REPORT_API int quillon_report_write_html(quillon_report *report, char **output);

/* Name, version and commit of the library: a constant text. */
BRIVANE_REPORT_API const char *quillon_report_library_id_string(void);

#ifdef __cplusplus
#ifdef QVARIANT_H
/*
 * For programs that use Qt themselves and have included QVariant: the value of a metric under its full id, such as
 * "custom.report.metric.cpu"; invalid when there is none. It can throw.
 */
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage" /* not for C: the name alone is C's */
#endif
BRIVANE_REPORT_API QVariant quillon_report_internal_get_value(quillon_report *report, const char *metric);
#ifdef __clang__
#pragma clang diagnostic pop
#endif
#endif

} /* extern "C" */
#endif

#endif
