/* openmp
 *
 * Two threads compute in regions, one of them twice as long; share out tasks; take turns in a critical
 * section; and the second one is idle while the first computes alone. Prints what each measured itself, in
 * seconds. */
#include "clock.h"

#include <omp.h>
#include <stdio.h>

enum { Rounds = 5, Threads = 2, Tasks = 6 };

/* Of both threads. Tasks and the program's code in regions are computing, all else in a region is waiting. */
static double computing[Threads];

static void work(double duration)
{
    computing[omp_get_thread_num()] += compute(duration);
}

int main(void)
{
    double inRegions = 0;
    double serial = 0;
    for (int i = 0; i < Rounds; ++i) {
        const double start = seconds();
#pragma omp parallel num_threads(Threads)
        {
            work(0.05);
            if (omp_get_thread_num() == i % 2)
                work(0.06);
#pragma omp barrier
#pragma omp critical
            work(0.02);
        }
#pragma omp parallel num_threads(Threads)
#pragma omp single
        {
            for (int t = 0; t < Tasks; ++t) {
#pragma omp task
                work(0.02);
            }
        }
#pragma omp parallel for num_threads(Threads) schedule(dynamic)
        for (int t = 0; t < Threads; ++t)
            work(0.03);
        inRegions += seconds() - start;
        serial += compute(0.1);
    }
    printf("main.compute %f\nmain.runtime %f\nmain.serial %f\n", computing[0], inRegions - computing[0], serial);
    printf("other.compute %f\nother.runtime %f\nother.idle %f\n", computing[1], inRegions - computing[1], serial);
    return 0;
}
