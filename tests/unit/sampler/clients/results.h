#ifndef TESTS_SAMPLER_CLIENTS_RESULTS_H
#define TESTS_SAMPLER_CLIENTS_RESULTS_H

/* Makes calls and prints a line of each: its name, what it gave, and errno. */
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

static FILE *report;

/* The report is a stream of its own, so that all that can be done to standard output can be tried. */
static inline void openReport(void)
{
    report = fdopen(dup(STDOUT_FILENO), "w");
    setvbuf(report, NULL, _IONBF, 0);
}

static inline long tell(const char *call, long result)
{
    const int error = errno;
    fprintf(report, "%s %ld %d\n", call, result, error);
    return result;
}

/* Between braces, the call is none of the compiler's own and none of a macro's. */
#define GIVES(call, ...) (errno = 0, tell(#call, (long)(call)(__VA_ARGS__)))
/* For calls that give nothing. */
#define DOES(call, ...) (errno = 0, (call)(__VA_ARGS__), tell(#call, 0))
/* For addresses, which differ from run to run: tells whether there is one, and gives it. */
static inline void *tellAddress(const char *call, void *address)
{
    tell(call, address != NULL);
    return address;
}
#define POINTS(call, ...) (errno = 0, tellAddress(#call, (call)(__VA_ARGS__)))
/* For calls that end the process or make it another one: what becomes of a child that makes it. */
#define ENDS(call, ...)                                                                                      \
    do {                                                                                                     \
        int status = 0;                                                                                      \
        const pid_t child = fork();                                                                          \
        if (child == 0) {                                                                                    \
            (call)(__VA_ARGS__);                                                                             \
            _exit(99);                                                                                       \
        }                                                                                                    \
        waitpid(child, &status, 0);                                                                          \
        errno = 0;                                                                                           \
        tell(#call, status);                                                                                 \
    } while (0)

#endif
