/* A program to profile. Its words are things to do, one after the other:
     spin SECONDS   compute
     sleep SECONDS
     out TEXT, err TEXT
     copy           standard input to standard output
     words          print the words that follow, each with a NUL byte behind it, and end
     env NAME       print a variable of the environment
     touch FILE
     catch N STATUS end with a status when signal N comes
     raise N        send ourselves a signal
     threads        print the state of each other thread of ours, as the kernel has it: S for one that sleeps,
                    R for one that waits for a processor
     fork           go on as two processes; the first waits for the second at its end
     exit STATUS */
#define _GNU_SOURCE
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static volatile sig_atomic_t statusOnSignal;

static void endOnSignal(int number)
{
    (void)number;
    _exit(statusOnSignal);
}

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

static void spin(double seconds)
{
    const double end = now() + seconds;
    volatile double number = 1.0;
    while (now() < end) {
        for (int i = 0; i < 100000; ++i)
            number = number * 1.0000001;
    }
}

static void copy(void)
{
    char buffer[4096];
    size_t size;
    while ((size = fread(buffer, 1, sizeof buffer, stdin)) > 0)
        fwrite(buffer, 1, size, stdout);
}

/* The kernel's line about a thread has its state behind the name, which is in brackets. Asked by system calls
   of our own, since the sampler would see calls of the library as file I/O. */
static void printState(const char *thread)
{
    char path[300];
    char text[200] = "";
    snprintf(path, sizeof path, "/proc/self/task/%s/stat", thread);
    const int file = (int)syscall(SYS_openat, AT_FDCWD, path, O_RDONLY);
    const char *end = syscall(SYS_read, file, text, sizeof text - 1) > 0 ? strrchr(text, ')') : NULL;
    if (end && strlen(end) > 2)
        printf("%c\n", end[2]);
    syscall(SYS_close, file);
}

static void printThreads(void)
{
    _Alignas(struct dirent64) char entries[4096];
    const int folder = (int)syscall(SYS_openat, AT_FDCWD, "/proc/self/task", O_RDONLY | O_DIRECTORY);
    const long size = syscall(SYS_getdents64, folder, entries, sizeof entries);
    for (long at = 0; at < size;) {
        const struct dirent64 *entry = (const struct dirent64 *)(const void *)(entries + at);
        if (atoi(entry->d_name) > 0 && atoi(entry->d_name) != getpid())
            printState(entry->d_name);
        at += entry->d_reclen;
    }
    syscall(SYS_close, folder);
    fflush(stdout);
}

static const char *next(char ***word)
{
    const char *text = **word;
    if (!text) {
        fputs("client: a word is missing\n", stderr);
        exit(99);
    }
    ++*word;
    return text;
}

int main(int argc, char **argv)
{
    (void)argc;
    int isParent = 0;
    char **word = argv + 1;
    while (*word) {
        const char *what = next(&word);
        if (!strcmp(what, "spin")) {
            spin(atof(next(&word)));
        } else if (!strcmp(what, "sleep")) {
            usleep((useconds_t)(atof(next(&word)) * 1e6));
        } else if (!strcmp(what, "out") || !strcmp(what, "err")) {
            FILE *stream = *what == 'o' ? stdout : stderr;
            fputs(next(&word), stream);
            fflush(stream);
        } else if (!strcmp(what, "copy")) {
            copy();
        } else if (!strcmp(what, "words")) {
            for (; *word; ++word)
                fwrite(*word, 1, strlen(*word) + 1, stdout);
        } else if (!strcmp(what, "env")) {
            const char *value = getenv(next(&word));
            puts(value ? value : "");
        } else if (!strcmp(what, "touch")) {
            FILE *file = fopen(next(&word), "w");
            if (file)
                fclose(file);
        } else if (!strcmp(what, "catch")) {
            const int number = atoi(next(&word));
            statusOnSignal = atoi(next(&word));
            signal(number, endOnSignal);
        } else if (!strcmp(what, "raise")) {
            raise(atoi(next(&word)));
        } else if (!strcmp(what, "threads")) {
            printThreads();
        } else if (!strcmp(what, "fork")) {
            isParent = fork() > 0;
        } else if (!strcmp(what, "exit")) {
            return atoi(next(&word));
        } else {
            fprintf(stderr, "client: what is '%s'?\n", what);
            return 99;
        }
    }
    if (isParent)
        wait(NULL);
    return 0;
}
