#ifndef BRIVANE_REPORT_RESULT_CODES_H
#define BRIVANE_REPORT_RESULT_CODES_H

/* What operations on a report return. Callers outside rely on the numbers: the gaps stay as they are. */
enum brivane_report_result {
    BRIVANE_REPORT_OK = 0,
    BRIVANE_REPORT_EXCEPTION = 1, /* an exception was caught */
    BRIVANE_REPORT_NULL_REPORT = 2, /* the handle was null; there is no message */
    BRIVANE_REPORT_OUT_OF_MEMORY = 3, /* the output buffer couldn't be allocated */
    BRIVANE_REPORT_UNKNOWN_METRIC = 4, /* no such metric */
    BRIVANE_REPORT_UNKNOWN_SUBSECTION = 5, /* no such subsection */
    BRIVANE_REPORT_UNKNOWN_SUMMARY_ENTRY = 6, /* no such summary entry */
    BRIVANE_REPORT_INCOMPLETE = 7, /* a metric has no value, or no usable one, at generation time */
    BRIVANE_REPORT_BAD_SEQUENCE = 8, /* invalid UTF-8 or HTML in an argument */
    BRIVANE_REPORT_INVALID_VALUE = 9, /* value out of the range of its metric */
    BRIVANE_REPORT_WRONG_TYPE = 10, /* value of the wrong type for its metric */
    BRIVANE_REPORT_NULL_ARGUMENT = 11, /* a string argument was null */
    BRIVANE_REPORT_ALREADY_FAILED = 12, /* the report holds an error already */
    BRIVANE_REPORT_NULL_OUTPUT = 13, /* the pointer for the output was null */
    BRIVANE_REPORT_BAD_ADVICE_NUMBER = 16, /* advice number out of range */
    BRIVANE_REPORT_INTERNAL = 102, /* a default value couldn't be set */
    BRIVANE_REPORT_GENERATION_FAILED = 103 /* the data for the templates couldn't be built */
};

#endif
