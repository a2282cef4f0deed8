/* What it takes to go from one thread to another: two threads on one processor hand a byte to and fro through
   pipes for some seconds. Prints nanoseconds a switch, the system calls' own time included: the quickest, the
   quartiles, and the mean of pieces of a thousand switches, but for those of the first third of a second. On
   a busy machine the lower quartile is the one to compare. */
#define _GNU_SOURCE
#include <pthread.h>
#include <sched.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

enum { Switches = 1000, MaxPieces = 10000 };
static int there[2], back[2];

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec * 1e9 + (double)t.tv_nsec;
}

static void *answer(void *argument)
{
    char byte;
    while (read(there[0], &byte, 1) == 1 && write(back[1], &byte, 1) == 1)
        ;
    return argument;
}

static double takePiece(void)
{
    const double start = now();
    for (int i = 0; i < Switches / 2; ++i) {
        char byte = 0;
        if (write(there[1], &byte, 1) != 1 || read(back[0], &byte, 1) != 1)
            exit(1);
    }
    return (now() - start) / Switches;
}

static int compare(const void *left, const void *right)
{
    const double a = *(const double *)left, b = *(const double *)right;
    return (a > b) - (a < b);
}

int main(int count, char **arguments)
{
    static double pieces[MaxPieces];
    int number = 0;
    double sum = 0;
    pthread_t other;
    cpu_set_t first;
    CPU_ZERO(&first);
    CPU_SET(0, &first);
    sched_setaffinity(0, sizeof first, &first);
    if (pipe(there) != 0 || pipe(back) != 0 || pthread_create(&other, NULL, answer, NULL) != 0)
        return 1;
    const double start = now();
    const double end = start + (count == 2 ? atof(arguments[1]) : 3.0) * 1e9;
    while (now() < end && number < MaxPieces) {
        const double piece = takePiece();
        if (now() - start > 333e6)
            pieces[number++] = piece;
    }
    if (number == 0)
        return 1;
    qsort(pieces, (size_t)number, sizeof *pieces, compare);
    for (int i = 0; i < number; ++i)
        sum += pieces[i];
    printf("%.0f ns at best, quartiles %.0f, %.0f and %.0f, mean %.0f\n", pieces[0], pieces[number / 4],
        pieces[number / 2], pieces[3 * number / 4], sum / number);
    return 0;
}
