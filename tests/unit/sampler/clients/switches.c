/* switches CROWDED CALM
 *
 * Computes in pieces of 30 microseconds with a short sleep after each, for CROWDED seconds, and then at a
 * stretch, for CALM seconds. Prints how long it computed in the crowded part, and the processor time of the
 * calm one. */
#define _DEFAULT_SOURCE
#include "clock.h"

#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

int main(int count, char **arguments)
{
    const double crowded = count > 1 ? atof(arguments[1]) : 0;
    const double calm = count > 2 ? atof(arguments[2]) : 0;
    const double start = seconds();
    double computed = 0;
    double now = start;
    while (now - start < crowded) {
        const double since = now;
        while (now - since < 30e-6)
            now = seconds();
        computed += now - since;
        usleep(1);
        now = seconds();
    }
    const clock_t before = clock();
    if (calm > 0)
        compute(calm);
    printf("computed %f\ncalm %f\n", computed, (double)(clock() - before) / CLOCKS_PER_SEC);
    return 0;
}
