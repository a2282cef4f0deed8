/* What a program keeps while the library makes Qt's application object behind its back: locale, signal
 * handlers and arguments. The first report may be made on any thread, on two at once, and on one that ends.
 */

#define _GNU_SOURCE

#include "brivane-report.h"

#include "check.h"
#include "definition.h"

#include <locale.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>

enum { Threads = 8, Signals = 65 };

static pthread_barrier_t start;

static void handler(int number)
{
    (void)number;
}

static void writeReport(void)
{
    char *page = NULL;
    quillon_report *report = quillon_report_create(kDefinition);
    quillon_report_set_value_double(report, "m", 75.0);
    quillon_report_set_value_double(report, "n", 25.0);
    quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "wave");
    quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 4);
    quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "All");
    quillon_report_set_summary_entry_advice(report, "hits", "<b>More</b> of them");
    if (quillon_report_write_html(report, &page) != 0 || !page) {
        printf("no report: %s\n", quillon_report_error_message(report));
        __sync_fetch_and_add(&failures, 1);
    }
    free(page);
    quillon_report_free(report);
}

static void *work(void *unused)
{
    (void)unused;
    pthread_barrier_wait(&start);
    writeReport();
    return NULL;
}

/* What no program may do. */
static void *share(void *report)
{
    int i;
    pthread_barrier_wait(&start);
    for (i = 0; i < 100; ++i)
        quillon_report_set_value_double(report, "none", 1.0);
    return NULL;
}

static int shareReport(void)
{
    pthread_t threads[2];
    quillon_report *report = quillon_report_create(kDefinition);
    pthread_barrier_init(&start, NULL, 2);
    pthread_create(&threads[0], NULL, share, report);
    pthread_create(&threads[1], NULL, share, report);
    pthread_join(threads[0], NULL);
    pthread_join(threads[1], NULL);
    quillon_report_free(report);
    return EXIT_SUCCESS;
}

static void *workAlone(void *unused)
{
    (void)unused;
    writeReport();
    return NULL;
}

/* Argument "first": one call before the threads begin, as the most careful caller does it; "shared": two
 * threads use one report, for ThreadSanitizer to see. */
int main(int argc, char **argv)
{
    static struct sigaction before[Signals];
    pthread_t threads[Threads];
    int i;

    if (argc > 1 && strcmp(argv[1], "shared") == 0)
        return shareReport();
    setenv("LC_ALL", "C.UTF-8", 1);
    setlocale(LC_ALL, "C");
    setlocale(LC_NUMERIC, "POSIX");
    signal(SIGCHLD, handler);
    signal(SIGPIPE, handler);
    for (i = 1; i < Signals; ++i)
        sigaction(i, NULL, &before[i]);

    if (argc > 1 && strcmp(argv[1], "first") == 0) {
        pthread_create(&threads[0], NULL, workAlone, NULL);
        pthread_join(threads[0], NULL);
    }
    pthread_barrier_init(&start, NULL, Threads);
    for (i = 0; i < Threads; ++i)
        pthread_create(&threads[i], NULL, work, NULL);
    for (i = 0; i < Threads; ++i)
        pthread_join(threads[i], NULL);
    writeReport();

    CHECK_TEXT(setlocale(LC_ALL, NULL), "C");
    for (i = 1; i < Signals; ++i) {
        struct sigaction after;
        if (sigaction(i, NULL, &after) == 0)
            CHECK_NUMBER(after.sa_handler == before[i].sa_handler, 1);
    }
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
