/* calls FILE
 *
 * Prints how long one call takes that writes a character into a stream's buffer, and how long it takes to take
 * and give back a free lock, in nanoseconds: the lowest of several rounds. */
#include "clock.h"

#include <pthread.h>
#include <stdio.h>

int main(int count, char **arguments)
{
    enum { Rounds = 20, Calls = 500000 };
    /* Called through a pointer, so that the compiler can't put the character there itself. */
    int (*volatile put)(int, FILE *) = fputc_unlocked;
    FILE *file = count == 2 ? fopen(arguments[1], "w") : NULL;
    if (!file)
        return 2;
    double lowest = 1.0;
    for (int round = 0; round < Rounds; ++round) {
        rewind(file);
        const double start = seconds();
        for (int i = 0; i < Calls; ++i)
            put('x', file);
        const double duration = (seconds() - start) / Calls;
        lowest = duration < lowest ? duration : lowest;
    }
    printf("nanoseconds %f\n", lowest * 1e9);
    static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    lowest = 1.0;
    for (int round = 0; round < Rounds; ++round) {
        const double start = seconds();
        for (int i = 0; i < Calls; ++i) {
            pthread_mutex_lock(&lock);
            pthread_mutex_unlock(&lock);
        }
        const double duration = (seconds() - start) / Calls;
        lowest = duration < lowest ? duration : lowest;
    }
    printf("lock %f\n", lowest * 1e9);
    return fclose(file);
}
