#ifndef TESTS_SAMPLER_CLIENTS_CLOCK_H
#define TESTS_SAMPLER_CLIENTS_CLOCK_H

#include <time.h>

/* Seconds of a clock that only goes on. */
static inline double seconds(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

/* Computes for a time in seconds and gives the time that it really took. */
static inline double compute(double duration)
{
    const double start = seconds();
    double now = start;
    volatile double x = 1.0;
    while (now - start < duration) {
        for (int i = 0; i < 20000; ++i)
            x = x * 1.0000001 + 1e-9;
        now = seconds();
    }
    return now - start;
}

#endif
