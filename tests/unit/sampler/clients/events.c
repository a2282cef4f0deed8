/* events THREADS PAGES [setuid]
 *
 * THREADS threads, one after the other, compute until they have surely been noticed, touch PAGES fresh pages
 * and end. With `setuid` each sets its own user again in between, which the sampler stops for. Prints the
 * page faults that the kernel counted meanwhile, and the process's CPU time. */
#define _GNU_SOURCE
#include "clock.h"

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

static long pages;
static int again;
static long faults;

static long faultsOfThread(void)
{
    struct rusage usage;
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_minflt + usage.ru_majflt;
}

static void *work(void *unused)
{
    (void)unused;
    compute(0.3);
    if (again) {
        if (setuid(getuid()) != 0)
            abort();
        compute(0.3);
    }
    const long size = sysconf(_SC_PAGESIZE);
    const long before = faultsOfThread();
    char *memory
        = mmap(NULL, (size_t)(pages * size), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        abort();
    madvise(memory, (size_t)(pages * size), MADV_NOHUGEPAGE);
    for (long i = 0; i < pages; ++i)
        memory[i * size] = 1;
    munmap(memory, (size_t)(pages * size));
    faults += faultsOfThread() - before;
    return NULL;
}

int main(int count, char **arguments)
{
    const int threads = count > 1 ? atoi(arguments[1]) : 1;
    pages = count > 2 ? atol(arguments[2]) : 1000;
    again = count > 3 && strcmp(arguments[3], "setuid") == 0;
    for (int i = 0; i < threads; ++i) {
        pthread_t thread;
        if (pthread_create(&thread, NULL, work, NULL) != 0 || pthread_join(thread, NULL) != 0)
            return 1;
    }
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("faults %ld\ncpu %.6f\n", faults,
        (double)(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
            + (double)(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6);
    return 0;
}
