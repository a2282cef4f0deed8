/* The C interface as a caller in plain C meets it. Compiled against both builds of the interface, of which
 * the tool's can't render (TOOL_BUILD). */

#include "brivane-report.h"

#include "check.h"
#include "definition.h"

#include <stdlib.h>

#define BAD_UTF8 "\xE2\x82"

static const char kBadName[] = "invalid UTF-8 sequence found in metric name";
static const char kBadValue[] = "invalid UTF-8 sequence found in metric value";
static const char kBadAdvice[] = "invalid UTF-8 sequence found in advice string";
static const char kBadHtml[] = "invalid HTML sequence found in advice string";

/* A call on a new report: its result and its message. */
#define CHECK_CALL(call, result, message)                                                                    \
    do {                                                                                                     \
        quillon_report *report = quillon_report_create(kDefinition);                                         \
        CHECK_TEXT(quillon_report_error_message(report), NULL);                                              \
        checkNumber(__LINE__, #call, (call), (result));                                                      \
        checkText(__LINE__, #call, quillon_report_error_message(report), (message));                         \
        quillon_report_free(report);                                                                         \
    } while (0)

/* The same on a report that failed before: nothing changes. */
#define CHECK_CALL_AFTER_ERROR(call)                                                                         \
    do {                                                                                                     \
        quillon_report *report = quillon_report_create(NULL);                                                \
        checkNumber(__LINE__, #call, (call), 12);                                                            \
        checkText(                                                                                           \
            __LINE__, #call, quillon_report_error_message(report), "xml layout buffer pointer is null");     \
        quillon_report_free(report);                                                                         \
    } while (0)

static void checkNames(void)
{
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_EXE_NAME, "applicationDetails.exeName");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_COMMAND_LINE, "applicationDetails.commandLine");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, "applicationDetails.processes.plain");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_NUM_NODES, "applicationDetails.nodes.plain");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_HOST_NAME, "applicationDetails.hostname");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_START_DATE, "applicationDetails.startDate");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_TIME, "applicationDetails.time.plain");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_EXE_PATH, "applicationDetails.exePath");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_NOTES, "applicationDetails.notes");
    CHECK_TEXT(BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "applicationDetails.profiledRanks");
}

static void checkCreation(void)
{
    quillon_report *report = quillon_report_create(kDefinition);
    CHECK_NUMBER(report != NULL, 1);
    CHECK_NUMBER(quillon_report_has_error(report), 0);
    CHECK_TEXT(quillon_report_error_message(report), NULL);
    quillon_report_free(report);

    report = quillon_report_create(NULL);
    CHECK_NUMBER(report != NULL, 1);
    CHECK_NUMBER(quillon_report_has_error(report), 1);
    CHECK_TEXT(quillon_report_error_message(report), "xml layout buffer pointer is null");
    quillon_report_free(report);

    report = quillon_report_create("<report");
    CHECK_NUMBER(report != NULL, 1);
    CHECK_NUMBER(quillon_report_has_error(report), 1);
    quillon_report_free(report);

    report = quillon_report_create("");
    CHECK_NUMBER(quillon_report_has_error(report), 1);
    quillon_report_free(report);
    quillon_report_free(NULL);
}

static void checkNullReport(void)
{
    CHECK_NUMBER(quillon_report_has_error(NULL), 1);
    CHECK_TEXT(quillon_report_error_message(NULL),
        "quillon_report pointer null, this can be caused by a memory allocation failure inside of "
        "quillon_report_create, or by forgetting to call it altogether!");
    CHECK_NUMBER(quillon_report_set_value_int(NULL, "x", 1), 2);
    CHECK_NUMBER(quillon_report_set_value_double(NULL, "x", 1.0), 2);
    CHECK_NUMBER(quillon_report_set_value_string(NULL, "x", "1"), 2);
    CHECK_NUMBER(quillon_report_set_dominant_metric(NULL, BAD_UTF8), 2);
    CHECK_NUMBER(quillon_report_set_summary_entry_advice(NULL, "hits", NULL), 2);
    CHECK_NUMBER(quillon_report_set_dominant_metric_advice(NULL, NULL), 2);
    CHECK_NUMBER(quillon_report_set_section_advice(NULL, "s", NULL), 2);
}

/* Each call has all later faults, too, as far as they can be had together. */
static void checkOrderOfFailures(void)
{
    CHECK_CALL_AFTER_ERROR(quillon_report_set_value_int(report, BAD_UTF8, 1));
    CHECK_CALL_AFTER_ERROR(quillon_report_set_value_double(report, BAD_UTF8, 1.0));
    CHECK_CALL_AFTER_ERROR(quillon_report_set_value_string(report, BAD_UTF8, "x"));
    CHECK_CALL_AFTER_ERROR(quillon_report_set_dominant_metric(report, BAD_UTF8));
    CHECK_CALL_AFTER_ERROR(quillon_report_set_summary_entry_advice(report, "none", NULL));
    CHECK_CALL_AFTER_ERROR(quillon_report_set_dominant_metric_advice(report, NULL));
    CHECK_CALL_AFTER_ERROR(quillon_report_set_section_advice(report, BAD_UTF8, NULL));

    CHECK_CALL(quillon_report_set_dominant_metric(report, BAD_UTF8), 8, kBadName);
    CHECK_CALL(quillon_report_set_dominant_metric(report, NULL), 4, "metric \"\" not recognised");

    CHECK_CALL(quillon_report_set_summary_entry_advice(report, "none", NULL), 11,
        "null advice string found when trying to set summary entry advice");
    CHECK_CALL(quillon_report_set_summary_entry_advice(report, "none", "<a/>" BAD_UTF8), 8, kBadAdvice);
    CHECK_CALL(quillon_report_set_summary_entry_advice(report, "none", "<a/>"), 8, kBadHtml);
    CHECK_CALL(quillon_report_set_summary_entry_advice(report, "none", "fine"), 6,
        "no summary entry found with ID: \"none\"");
    CHECK_CALL(quillon_report_set_summary_entry_advice(report, NULL, "fine"), 6,
        "no summary entry found with ID: \"\"");

    CHECK_CALL(quillon_report_set_dominant_metric_advice(report, NULL), 11,
        "null advice string found when setting dominant metric advice");
    CHECK_CALL(quillon_report_set_dominant_metric_advice(report, "<a/>" BAD_UTF8), 8, kBadAdvice);
    CHECK_CALL(quillon_report_set_dominant_metric_advice(report, "<a/>"), 8, kBadHtml);

    CHECK_CALL(quillon_report_set_section_advice(report, BAD_UTF8, NULL), 11,
        "null advice string found when setting section advice");
    CHECK_CALL(quillon_report_set_section_advice(report, BAD_UTF8, "<a/>" BAD_UTF8), 8,
        "invalid UTF-8 sequence found in section ID");
    CHECK_CALL(quillon_report_set_section_advice(report, "none", "<a/>" BAD_UTF8), 8, kBadAdvice);
    CHECK_CALL(quillon_report_set_section_advice(report, "none", "<a/>"), 8, kBadHtml);
    CHECK_CALL(quillon_report_set_section_advice(report, "none", "fine"), 5,
        "subsection with ID \"none\" was not found");
    CHECK_CALL(
        quillon_report_set_section_advice(report, NULL, "fine"), 5, "subsection with ID \"\" was not found");

    CHECK_CALL(quillon_report_set_value_int(report, BAD_UTF8, 1), 8, kBadName);
    CHECK_CALL(quillon_report_set_value_double(report, BAD_UTF8, 1.0), 8, kBadName);
    CHECK_CALL(quillon_report_set_value_string(report, BAD_UTF8, NULL), 11, "null metric value found");
    CHECK_CALL(quillon_report_set_value_string(report, BAD_UTF8, BAD_UTF8), 8, kBadValue);
    CHECK_CALL(quillon_report_set_value_string(report, BAD_UTF8, "x"), 8, kBadName);
}

/* The one setter that looks at its value before it looks at the report. */
static void checkBadStringReplacesOlderError(void)
{
    quillon_report *report = quillon_report_create(NULL);
    CHECK_NUMBER(quillon_report_set_value_string(report, "x", BAD_UTF8), 8);
    CHECK_TEXT(quillon_report_error_message(report), kBadValue);
    CHECK_NUMBER(quillon_report_set_value_string(report, "x", NULL), 11);
    CHECK_TEXT(quillon_report_error_message(report), "null metric value found");
    quillon_report_free(report);
}

static void checkValues(void)
{
    static const char kUserDefined[]
        = "attempt to set the value for metric \"m\" to a \"%s\". All user-defined metrics are of type "
          "\"double\" and "
          "must be set with quillon_report_set_value_double(report,metricId,value).";
    char message[300];

    CHECK_CALL(quillon_report_set_value_double(report, "m", 1.5), 0, NULL);
    sprintf(message, kUserDefined, "int");
    CHECK_CALL(quillon_report_set_value_int(report, "m", 1), 10, message);
    sprintf(message, kUserDefined, "QString");
    CHECK_CALL(quillon_report_set_value_string(report, "m", "1"), 10, message);

    CHECK_CALL(quillon_report_set_value_double(report, "custom.report.metric.m", 1.5), 0, NULL);
    CHECK_CALL(quillon_report_set_value_double(report, "none", 1.5), 4, "unknown metric: \"none\"");
    CHECK_CALL(quillon_report_set_value_double(report, NULL, 1.5), 4, "unknown metric: \"\"");
    CHECK_CALL(quillon_report_set_value_string(report, "applicationDetails.inputFile", "in.dat"), 0, NULL);

    CHECK_CALL(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 1), 0, NULL);
    CHECK_CALL(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 0), 9,
        "0 is an invalid value for metric BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES. Value must be >= 1.");
    CHECK_CALL(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_NODES, 0), 0, NULL);
    CHECK_CALL(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_NODES, -1), 9,
        "-1 is an invalid value for metric BRIVANE_APPLICATION_DETAIL_NUM_NODES. Value must be >= 1.");
    CHECK_CALL(quillon_report_set_value_double(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 1.0), 10,
        "expected type \"Integer\" for metric \"applicationDetails.processes.plain\"");
    CHECK_CALL(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, 1), 10,
        "expected type \"String\" for metric \"applicationDetails.exeName\"");
}

static void checkAdvice(void)
{
    CHECK_CALL(quillon_report_set_summary_entry_advice(report, "hits", "<b>Good</b>&nbsp;use"), 0, NULL);
    CHECK_CALL(quillon_report_set_dominant_metric_advice(report, "<p>\xC3\xA9t\xC3\xA9</p>"), 0, NULL);
    CHECK_CALL(quillon_report_set_section_advice(report, "s", "never <b>closed"), 0, NULL);
    CHECK_CALL(quillon_report_set_dominant_metric_advice(report, ""), 0, NULL);
    CHECK_CALL(quillon_report_set_dominant_metric(report, "n"), 0, NULL);
    CHECK_CALL(quillon_report_set_dominant_metric(report, "none"), 4, "metric \"none\" not recognised");
}

static void checkFirstErrorStays(void)
{
    quillon_report *report = quillon_report_create(kDefinition);
    CHECK_NUMBER(quillon_report_set_value_double(report, "none", 1.0), 4);
    CHECK_NUMBER(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 4), 12);
    CHECK_NUMBER(quillon_report_set_value_double(report, "m", 1.0), 12);
    CHECK_NUMBER(quillon_report_has_error(report), 1);
    CHECK_TEXT(quillon_report_error_message(report), "unknown metric: \"none\"");
    quillon_report_free(report);
}

static quillon_report *filledReport(void)
{
    quillon_report *report = quillon_report_create(kDefinition);
    CHECK_NUMBER(quillon_report_set_value_double(report, "m", 75.0), 0);
    CHECK_NUMBER(quillon_report_set_value_double(report, "n", 25.0), 0);
    CHECK_NUMBER(quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "wave"), 0);
    CHECK_NUMBER(quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 4), 0);
    CHECK_NUMBER(
        quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "All"), 0);
    CHECK_NUMBER(quillon_report_set_section_advice(report, "s", "Use &frac12; of it"), 0);
    return report;
}

#ifdef TOOL_BUILD

static void checkOutput(void)
{
    char text[] = "as it was";
    char *output = text;
    quillon_report *report = filledReport();
    CHECK_NUMBER(quillon_report_write_html(report, &output), 1);
    CHECK_NUMBER(output == text, 1);
    CHECK_NUMBER(quillon_report_has_error(report), 0);
    quillon_report_free(report);
    CHECK_NUMBER(quillon_report_write_html(NULL, &output), 1);
    CHECK_NUMBER(quillon_report_write_html(NULL, NULL), 1);
    CHECK_TEXT(quillon_report_library_id_string(), "");
}

#else

static void checkOutput(void)
{
    char *output = NULL;
    char *again = NULL;
    quillon_report *report = filledReport();
    CHECK_NUMBER(quillon_report_write_html(report, &output), 0);
    CHECK_NUMBER(output && strstr(output, "<!DOCTYPE html>") == output, 1);
    CHECK_NUMBER(output && strstr(output, "Use &frac12; of it") != NULL, 1);
    CHECK_NUMBER(output && strcmp(output + strlen(output) - 8, "</html>\n") == 0, 1);
    CHECK_TEXT(quillon_report_error_message(report), NULL);

    CHECK_NUMBER(quillon_report_write_html(report, &again), 0);
    CHECK_TEXT(again, output);
    free(again);
    free(output);

    output = (char *)"not null";
    CHECK_NUMBER(quillon_report_write_html(report, NULL), 13);
    CHECK_TEXT(quillon_report_error_message(report), "Pointer to receive the report output buffer is NULL");
    CHECK_NUMBER(quillon_report_write_html(report, &output), 12);
    CHECK_NUMBER(output == NULL, 1);
    CHECK_NUMBER(quillon_report_write_html(report, NULL), 12);
    quillon_report_free(report);

    output = (char *)"not null";
    CHECK_NUMBER(quillon_report_write_html(NULL, &output), 2);
    CHECK_NUMBER(output == NULL, 1);
    CHECK_NUMBER(quillon_report_write_html(NULL, NULL), 2);

    report = quillon_report_create(kDefinition);
    output = (char *)"not null";
    CHECK_NUMBER(quillon_report_write_html(report, &output), 7);
    CHECK_NUMBER(output == NULL, 1);
    CHECK_TEXT(quillon_report_error_message(report), "No metric value has been set for 'm'");
    quillon_report_free(report);

    CHECK_NUMBER(strstr(quillon_report_library_id_string(), "Custom Quillon Reports " VERSION " (")
            == quillon_report_library_id_string(),
        1);
}

#endif

int main(void)
{
    checkNames();
    checkCreation();
    checkNullReport();
    checkOrderOfFailures();
    checkBadStringReplacesOlderError();
    checkValues();
    checkAdvice();
    checkFirstErrorStays();
    checkOutput();
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
