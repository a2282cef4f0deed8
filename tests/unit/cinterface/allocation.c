/* What becomes of a report when memory runs out, at one allocation after the other: null or a documented
 * code, a report that can be freed, and a next report that is as good as any. Each turn is a process of its
 * own, in which one allocation fails; where it ends otherwise, the calls that led there are listed. Functions
 * of Qt that don't survive it, whatever their callers do, are known by their names.
 *
 *     allocation STEP [STRIDE [FIRST]]     each STRIDE-th allocation from FIRST on, by default each from 1 on
 *
 * Steps: "first", the first report of a process is created; "create", a later one; "values" and "advice", it
 * is filled; "render", the page is written. */

#define _GNU_SOURCE

#include "brivane-report.h"

#include "check.h"
#include "definition.h"

#include <errno.h>
#include <execinfo.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

/* The library must find these rather than the C library's. */
#define REPLACEMENT __attribute__((visibility("default")))

enum { MaxFrames = 60, PatienceS = 20 };

/* Allocations of the calling thread are counted while they are watched; Qt has a thread of its own. The one
 * with the number `failing` fails, from 1 on. */
static int isWatching = 0;
static pthread_t caller;
static long count = 0;
static long failing = 0;
static void *failingFrames[MaxFrames];
static int failingDepth = 0;

static int mayAllocate(void)
{
    if (!isWatching || !pthread_equal(pthread_self(), caller) || ++count != failing)
        return 1;
    isWatching = 0;
    failingDepth = backtrace(failingFrames, MaxFrames);
    isWatching = 1;
    errno = ENOMEM;
    return 0;
}

extern void *__libc_malloc(size_t);
extern void *__libc_calloc(size_t, size_t);
extern void *__libc_realloc(void *, size_t);

REPLACEMENT void *malloc(size_t size)
{
    return mayAllocate() ? __libc_malloc(size) : NULL;
}

REPLACEMENT void *calloc(size_t number, size_t size)
{
    return mayAllocate() ? __libc_calloc(number, size) : NULL;
}

REPLACEMENT void *realloc(void *memory, size_t size)
{
    return mayAllocate() ? __libc_realloc(memory, size) : NULL;
}

/* How a turn ends. */
enum {
    NothingFailed,
    DidWithout,
    NoReport,
    SaidSo,
    EndedInQt,
    Undocumented,
    NextReportFails,
    Crashed,
    Outcomes
};

static const char *const kOutcomes[] = {"not reached", "went well without the memory", "no report",
    "said so in code and message", "ended in Qt", "UNDOCUMENTED", "NEXT REPORT FAILS", "ENDED BY A SIGNAL"};

/* What an allocation may not fail in: a piece of a call, library and symbol, as the C library writes it. */
struct KnownEnd {
    const char *step;
    const char *call;
};

static const struct KnownEnd kKnownEnds[] = {
    /* GLib, of which Qt's event loop is made, ends the process by intention. */
    {"first", "/libglib-2.0.so"},
    /* Connections of signals write to what they couldn't allocate. */
    {"first", "(_ZN14QObjectPrivate13addConnection"},
    /* Its destructors throw while it is left by an exception. */
    {"first", "(_ZN10QXmlSchema4load"},
    /* The script engine has no way back from an allocation that fails. */
    {"render", "/libQt5Script.so"},
    /* It connects signals. */
    {"render", "(_ZN11QTextStreamC"},
    /* What it has read is destroyed by functions that allocate. */
    {"render", "(_ZN13QJsonDocument8fromJson"},
    /* Destroying an expression puts it into a cache. */
    {"render", "(_ZN7QRegExpD"},
};

static void printCalls(void)
{
    fprintf(stderr, "allocation %ld failed in\n", failing);
    fflush(stderr);
    backtrace_symbols_fd(failingFrames, failingDepth, STDERR_FILENO);
}

static const char *currentStep;

static int isKnownEnd(void)
{
    char **const calls = backtrace_symbols(failingFrames, failingDepth);
    size_t end;
    int i;
    for (i = 0; calls && i < failingDepth; ++i)
        for (end = 0; end < sizeof kKnownEnds / sizeof *kKnownEnds; ++end)
            if (strcmp(kKnownEnds[end].step, currentStep) == 0 && strstr(calls[i], kKnownEnds[end].call))
                return 1;
    return 0;
}

static void onCrash(int number)
{
    void *frames[MaxFrames];
    const int depth = backtrace(frames, MaxFrames);
    isWatching = 0;
    if (failingDepth > 0 && isKnownEnd())
        _exit(EndedInQt);
    printCalls();
    fprintf(stderr, "and signal %d came in\n", number);
    fflush(stderr);
    backtrace_symbols_fd(frames, depth, STDERR_FILENO);
    _exit(Crashed);
}

static int fill(quillon_report *report)
{
    int code = quillon_report_set_value_double(report, "m", 75.0);
    if (code == 0)
        code = quillon_report_set_value_double(report, "n", 25.0);
    if (code == 0)
        code = quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_EXE_NAME, "wave");
    if (code == 0)
        code = quillon_report_set_value_int(report, BRIVANE_APPLICATION_DETAIL_NUM_PROCESSES, 4);
    if (code == 0)
        code = quillon_report_set_value_string(report, BRIVANE_APPLICATION_DETAIL_PROFILED_RANKS, "All");
    return code;
}

static int advise(quillon_report *report)
{
    int code = quillon_report_set_summary_entry_advice(report, "hits", "Use <b>more</b>");
    if (code == 0)
        code = quillon_report_set_dominant_metric(report, "n");
    if (code == 0)
        code = quillon_report_set_dominant_metric_advice(report, "Use more<br>");
    if (code == 0)
        code = quillon_report_set_section_advice(report, "s", "Use more");
    return code;
}

static int writePage(quillon_report *report)
{
    char *page = NULL;
    const int code = quillon_report_write_html(report, &page);
    free(page);
    return code;
}

static int judge(const quillon_report *report, int code)
{
    static const char start[] = "EXCEPTION! context: quillon_report_";
    const char *message = quillon_report_error_message(report);
    if (count < failing)
        return code == 0 ? NothingFailed : Undocumented;
    if (code == 0)
        return message ? Undocumented : DidWithout;
    if (code == 3)
        return SaidSo;
    return code == 1 && message && strncmp(message, start, strlen(start)) == 0 ? SaidSo : Undocumented;
}

static int judgeCreation(const quillon_report *report)
{
    if (count < failing)
        return report && !quillon_report_has_error(report) ? NothingFailed : Undocumented;
    if (!report)
        return NoReport;
    return quillon_report_has_error(report) ? SaidSo : DidWithout;
}

/* One turn, or with 0 as the number of the failing allocation a rehearsal. */
static int turn(const char *step, long number)
{
    int (*const work)(quillon_report *) = strcmp(step, "values") == 0 ? fill
        : strcmp(step, "advice") == 0                                 ? advise
        : strcmp(step, "render") == 0                                 ? writePage
                                                                      : NULL;
    quillon_report *report = NULL;
    int outcome;

    currentStep = step;
    failingDepth = 0;
    count = 0;
    failing = number;
    if (work) {
        int code;
        report = quillon_report_create(kDefinition);
        if (work == writePage)
            fill(report);
        isWatching = 1;
        code = work(report);
        isWatching = 0;
        outcome = judge(report, code);
    } else {
        isWatching = 1;
        report = quillon_report_create(kDefinition);
        isWatching = 0;
        outcome = judgeCreation(report);
    }
    quillon_report_free(report);

    if (outcome != Undocumented) {
        report = quillon_report_create(kDefinition);
        /* None, for good, where Qt couldn't set itself up. */
        if (!report && strcmp(step, "first") == 0)
            return NoReport;
        if (fill(report) != 0 || advise(report) != 0)
            outcome = NextReportFails;
        quillon_report_free(report);
    }
    return outcome;
}

static void catchCrashes(void)
{
    static const int signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGALRM};
    static char stackMemory[1 << 16];
    stack_t stack;
    struct sigaction action;
    size_t i;
    memset(&stack, 0, sizeof stack);
    stack.ss_sp = stackMemory;
    stack.ss_size = sizeof stackMemory;
    sigaltstack(&stack, NULL);
    memset(&action, 0, sizeof action);
    action.sa_handler = onCrash;
    action.sa_flags = SA_ONSTACK;
    for (i = 0; i < sizeof signals / sizeof *signals; ++i)
        sigaction(signals[i], &action, NULL);
    /* For one that waits for ever. */
    alarm(PatienceS);
}

static int turnInAProcess(const char *step, long number)
{
    int status = 0;
    const pid_t child = fork();
    if (child == 0) {
        int outcome;
        catchCrashes();
        outcome = turn(step, number);
        if (outcome == Undocumented || outcome == NextReportFails)
            printCalls();
        _exit(outcome);
    }
    if (child < 0 || waitpid(child, &status, 0) != child)
        return Undocumented;
    return WIFEXITED(status) && WEXITSTATUS(status) < Outcomes ? WEXITSTATUS(status) : Crashed;
}

int main(int argc, char **argv)
{
    const char *step = argc > 1 ? argv[1] : "create";
    const long stride = argc > 2 ? atol(argv[2]) : 1;
    long number = argc > 3 ? atol(argv[3]) : 1;
    long outcomes[Outcomes] = {0};
    int i;

    caller = pthread_self();
    /* It loads a library when it is first called. */
    failingDepth = backtrace(failingFrames, MaxFrames);
    if (strcmp(step, "first") != 0)
        turn(step, 0);
    for (;; number += stride) {
        const int outcome = turnInAProcess(step, number);
        if (outcome == NothingFailed)
            break;
        ++outcomes[outcome];
    }
    printf("%s: fewer than %ld allocations, of which one in %ld failed\n", step, number, stride);
    for (i = 1; i < Outcomes; ++i)
        printf("%7ld %s\n", outcomes[i], kOutcomes[i]);
    failures = (int)(outcomes[Undocumented] + outcomes[NextReportFails] + outcomes[Crashed]);
    /* Where nothing fails malloc wasn't replaced. */
    return failures || outcomes[NoReport] + outcomes[SaidSo] == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}
