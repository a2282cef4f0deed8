/* 64 threads that take one lock after short pieces of work. */
#include <pthread.h>
#include <stdio.h>

enum { Threads = 64, Turns = 300000 };
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static double shared;

static void *work(void *unused)
{
    double own = 1.0;
    (void)unused;
    for (int turn = 0; turn < Turns; ++turn) {
        for (int i = 0; i < 100; ++i)
            own = own * 0.999 + 1e-3;
        pthread_mutex_lock(&lock);
        shared += own;
        pthread_mutex_unlock(&lock);
    }
    return NULL;
}

int main(void)
{
    pthread_t threads[Threads];
    for (int i = 0; i < Threads; ++i)
        pthread_create(&threads[i], NULL, work, NULL);
    for (int i = 0; i < Threads; ++i)
        pthread_join(threads[i], NULL);
    printf("%g\n", shared);
    return 0;
}
