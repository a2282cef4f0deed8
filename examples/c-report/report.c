/* A report of a program's own making: how a cache did. It takes the numbers from its command line, where a
 * real tool would take them from its measurements.
 *
 *     c-report HITS MISSES > report.html
 */

#include <brivane-report.h>

#include <stdio.h>
#include <stdlib.h>

/* What the report shows. docs/definition-format.md has every element and attribute. */
static const char definition[]
    = "<report xmlns=\"http://brivane.example/2016/BrivaneReports\" name=\"Cache study\">\n"
      "  <reportMetrics>\n"
      "    <reportMetric id=\"hits\" displayName=\"Hits\" units=\"%\" colour=\"green\"/>\n"
      "    <reportMetric id=\"misses\" displayName=\"Misses\" units=\"%\" colour=\"red\"\n"
      "                  breakdownSubsection=\"missKinds\"/>\n"
      "    <reportMetric id=\"bytes\" displayName=\"Bytes fetched\" units=\"B\"/>\n"
      "  </reportMetrics>\n"
      "  <summary>\n"
      "    <heading>Where accesses found their data:</heading>\n"
      "    <entry id=\"hits\" reportMetric=\"hits\">\n"
      "      <description>Found in the cache.</description>\n"
      "    </entry>\n"
      "    <entry id=\"misses\" reportMetric=\"misses\">\n"
      "      <description>Fetched from <b>memory</b>.</description>\n"
      "    </entry>\n"
      "  </summary>\n"
      "  <subsections>\n"
      "    <subsection id=\"missKinds\" heading=\"Misses\">\n"
      "      <text>What the misses cost:</text>\n"
      "      <entry reportMetric=\"bytes\" unitPrefix=\"iec\"/>\n"
      "    </subsection>\n"
      "  </subsections>\n"
      "</report>\n";

static char *makeReport(quillon_report *report, double hits, double misses)
{
    const double all = hits + misses;
    char *page = NULL;

    /* Results needn't be looked at: after the first error nothing changes any more. */
    quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "c-report");
    quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 1);
    quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "All");

    quillon_report_set_value_double(report, "hits", 100 * hits / all);
    quillon_report_set_value_double(report, "misses", 100 * misses / all);
    quillon_report_set_value_double(report, "bytes", 64 * misses);

    quillon_report_set_dominant_metric(report, hits < misses ? "misses" : "hits");
    quillon_report_set_dominant_metric_advice(
        report, hits < misses ? "Most accesses went <b>past the cache</b>." : "The cache did its work.");
    quillon_report_set_summary_entry_advice(report, "misses", "Visit data in the order in which it lies.");
    quillon_report_set_section_advice(report, "missKinds", "Each miss fetched a line of 64&nbsp;bytes.");

    quillon_report_write_html(report, &page);
    return page;
}

int main(int argc, char **argv)
{
    const double hits = argc == 3 ? atof(argv[1]) : 0;
    const double misses = argc == 3 ? atof(argv[2]) : 0;
    quillon_report *report;
    char *page;
    int status = EXIT_SUCCESS;

    if (!(hits >= 0 && misses >= 0 && hits + misses > 0)) {
        fprintf(stderr, "usage: c-report HITS MISSES > report.html\n");
        return 2;
    }
    report = quillon_report_create(definition);
    page = makeReport(report, hits, misses);
    if (!page || fputs(page, stdout) == EOF || fflush(stdout) != 0) {
        const char *message = quillon_report_error_message(report);
        fprintf(stderr, "c-report: %s\n", message ? message : "can't write the report");
        status = EXIT_FAILURE;
    }
    free(page);
    quillon_report_free(report);
    return status;
}
