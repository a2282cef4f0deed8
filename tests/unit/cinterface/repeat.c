/* Creates, fills, renders and frees the number of reports that is given. */

#include "brivane-report.h"

#include "definition.h"

#include <stdlib.h>

int main(int argc, char **argv)
{
    long reports = argc > 1 ? atol(argv[1]) : 1000;
    while (reports-- > 0) {
        char *page = NULL;
        quillon_report *report = quillon_report_create(kDefinition);
        quillon_report_set_value_double(report, "m", 75.0);
        quillon_report_set_value_double(report, "n", 25.0);
        quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "wave");
        quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 4);
        quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "All");
        quillon_report_set_section_advice(report, "s", "Use <b>more</b> of it");
        if (quillon_report_write_html(report, &page) != 0)
            return EXIT_FAILURE;
        free(page);
        quillon_report_free(report);
    }
    return EXIT_SUCCESS;
}
