/* What becomes of a report when memory runs out, at each allocation in turn: null or a documented code, and a
 * report that can be freed. Each turn is a process of its own; a crash is what a signal says.
 *
 *     allocation STEP     create, values or advice; with a number behind it one turn alone, for a debugger */

#define _GNU_SOURCE

#include "brivane-report.h"

#include "check.h"
#include "definition.h"

#include <dlfcn.h>
#include <errno.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

/* Allocations until the one that fails; negative: none fails. */
static long countdown = -1;
static int hasFailed = 0;

static int mayAllocate(void)
{
    if (countdown < 0 || countdown-- > 0)
        return 1;
    hasFailed = 1;
    errno = ENOMEM;
    return 0;
}

extern void *__libc_malloc(size_t);
extern void *__libc_calloc(size_t, size_t);
extern void *__libc_realloc(void *, size_t);

void *malloc(size_t size)
{
    return mayAllocate() ? __libc_malloc(size) : NULL;
}

void *calloc(size_t count, size_t size)
{
    return mayAllocate() ? __libc_calloc(count, size) : NULL;
}

void *realloc(void *memory, size_t size)
{
    return mayAllocate() ? __libc_realloc(memory, size) : NULL;
}

/* Exit statuses of a turn. */
enum { NothingFailed = 0, AsDocumented = 1, Undocumented = 2 };

static int judge(quillon_report *report, int code)
{
    static const char start[] = "EXCEPTION! context: quillon_report_set_";
    const char *message = quillon_report_error_message(report);
    countdown = -1;
    /* Where Qt can do without the memory all goes well. */
    if (code == 0)
        return message ? Undocumented : hasFailed ? AsDocumented : NothingFailed;
    return code == 1 && message && strncmp(message, start, strlen(start)) == 0 ? AsDocumented : Undocumented;
}

/* No report, or one that says that the definition couldn't be read, or one that did without the memory. */
static int create(long point)
{
    quillon_report *report;
    countdown = point;
    report = quillon_report_create(kDefinition);
    countdown = -1;
    quillon_report_free(report);
    return hasFailed ? AsDocumented : NothingFailed;
}

static int setValues(long point)
{
    quillon_report *report = quillon_report_create(kDefinition);
    int code;
    int result;
    countdown = point;
    code = quillon_report_set_value_double(report, "m", 75.0);
    if (code == 0)
        code = quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "wave");
    if (code == 0)
        code = quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 4);
    result = judge(report, code);
    quillon_report_free(report);
    return result;
}

static int setAdvice(long point)
{
    quillon_report *report = quillon_report_create(kDefinition);
    int code;
    int result;
    countdown = point;
    code = quillon_report_set_summary_entry_advice(report, "hits", "Use <b>more</b>");
    if (code == 0)
        code = quillon_report_set_dominant_metric(report, "n");
    if (code == 0)
        code = quillon_report_set_dominant_metric_advice(report, "Use more");
    if (code == 0)
        code = quillon_report_set_section_advice(report, "s", "Use more");
    result = judge(report, code);
    quillon_report_free(report);
    return result;
}

int main(int argc, char **argv)
{
    int (*step)(long) = argc > 1 && strcmp(argv[1], "values") == 0 ? setValues
        : argc > 1 && strcmp(argv[1], "advice") == 0               ? setAdvice
                                                                   : create;
    long point;
    int status = 0;

    if (argc > 2)
        return step(atol(argv[2]));
    /* What is made once a process is made before. */
    quillon_report_free(quillon_report_create(kDefinition));
    step(-1);
    for (point = 0; point < 100000; ++point) {
        const pid_t child = fork();
        if (child == 0)
            _exit(step(point));
        waitpid(child, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) == Undocumented) {
            printf("allocation %ld: %s %d\n", point, WIFEXITED(status) ? "exit status" : "signal",
                WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status));
            ++failures;
        } else if (WEXITSTATUS(status) == NothingFailed) {
            break;
        }
    }
    printf("%ld allocations\n", point);
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
