/* Creates, fills, renders and frees the number of reports that is given.
 *
 *     repeat [REPORTS [KIB]]     fails when the second half of them takes more than KIB of memory that the
 * first didn't
 */

#include "brivane-report.h"

#include "definition.h"

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

/* What the process has in memory, in KiB; 0 where that isn't known. */
static long residentKib(void)
{
    long total = 0;
    long resident = 0;
    FILE *file = fopen("/proc/self/statm", "r");
    if (!file)
        return 0;
    if (fscanf(file, "%ld %ld", &total, &resident) != 2)
        resident = 0;
    fclose(file);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

int main(int argc, char **argv)
{
    const long reports = argc > 1 ? atol(argv[1]) : 1000;
    const long bound = argc > 2 ? atol(argv[2]) : -1;
    long half = 0;
    long growth;
    long i;
    for (i = 0; i < reports; ++i) {
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
        if (i + 1 == reports / 2)
            half = residentKib();
    }
    growth = residentKib() - half;
    printf(
        "%ld reports; the second half took %ld KiB more than the first, of %ld KiB\n", reports, growth, half);
    return bound >= 0 && growth > bound ? EXIT_FAILURE : EXIT_SUCCESS;
}
