/* Threads that take one lock after short pieces of work: THREADS STEPS TURNS. A step is a multiplication and an
   addition, some 3 ns; without any the threads do nothing but take the lock and give it back. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

enum { MaxThreads = 64 };
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static double shared;
static long steps, turns;

static void *work(void *start)
{
    double own = *(const double *)start;
    for (long turn = 0; turn < turns; ++turn) {
        for (long i = 0; i < steps; ++i)
            own = own * 0.999 + 1e-3;
        pthread_mutex_lock(&lock);
        shared += own;
        pthread_mutex_unlock(&lock);
    }
    return NULL;
}

int main(int count, char **arguments)
{
    pthread_t threads[MaxThreads];
    double starts[MaxThreads];
    const int number = count == 4 ? atoi(arguments[1]) : 0;
    if (number < 1 || number > MaxThreads)
        return 2;
    steps = atol(arguments[2]);
    turns = atol(arguments[3]);
    for (int i = 0; i < number; ++i) {
        starts[i] = i; /* not 1, which the work would leave as it is */
        if (pthread_create(&threads[i], NULL, work, &starts[i]) != 0)
            return 1;
    }
    for (int i = 0; i < number; ++i)
        pthread_join(threads[i], NULL);
    printf("%g\n", shared);
    return 0;
}
