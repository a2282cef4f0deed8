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
     fork           go on as two processes; the first waits for the second at its end
     exit STATUS */
#define _GNU_SOURCE
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
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
