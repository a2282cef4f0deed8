/* A program that one thing bounds, for about as many seconds as it is told:
 *
 *     bound KIND SECONDS
 *
 *     scalar   sums that each need the one before: nothing that a compiler could do several of at once
 *     vector   the same operation on every element of two arrays that stay in a core's cache
 *     memory   pointers to places all over an array that no cache holds, followed one after the other
 *     write    small pieces of a file, each written by a system call of its own
 *     idle     threads that wait for a condition while the first one computes
 *     lock     threads that wait for a lock while the first one holds it and computes
 *     mpiwait  the odd ranks wait for a message, and all of them for the first one (MPI build)
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>
#ifdef WITH_MPI
#include <mpi.h>
#endif

enum { IdleThreads = 3, CacheVectors = 512, MemoryPlaces = 1 << 24 };

static volatile double sink;

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

static void scalar(double seconds)
{
    double x = 1.0;
    for (const double end = now() + seconds; now() < end;)
        for (int i = 0; i < 100000; ++i)
            x = x * 1.0000001 + 1e-9;
    sink = x;
}

typedef float Vector __attribute__((vector_size(16)));

static void vector(double seconds)
{
    static Vector a[CacheVectors], b[CacheVectors];
    const Vector factor = {1e-6f, 1e-6f, 1e-6f, 1e-6f};
    for (int i = 0; i < CacheVectors; ++i)
        b[i] += (float)i;
    for (const double end = now() + seconds; now() < end;)
        for (int round = 0; round < 1000; ++round)
#pragma GCC unroll 8
            for (int i = 0; i < CacheVectors; ++i)
                a[i] += factor * (b[i] + factor * (b[i] - factor));
    sink = (double)a[1][0];
}

/* Follows pointers through an array that no cache holds, each to a place that can't be foreseen. */
static void memory(double seconds)
{
    void **const places = malloc(MemoryPlaces * sizeof *places);
    if (!places)
        abort();
    unsigned at = 0;
    for (long i = 0; i < MemoryPlaces; ++i) {
        const unsigned next = (at * 1664525u + 1013904223u) % MemoryPlaces; /* comes by every place */
        places[at] = &places[next];
        at = next;
    }
    void **place = places;
    for (const double end = now() + seconds; now() < end;)
        for (int i = 0; i < 10000; ++i)
            place = ****(void *****)place;
    sink = *place == NULL;
    free(places);
}

static void smallWrites(double seconds)
{
    char name[] = "bound-XXXXXX";
    const int file = mkstemp(name);
    const char piece[64] = "a small piece";
    for (const double end = now() + seconds; file >= 0 && now() < end;) {
        lseek(file, 0, SEEK_SET);
        for (int i = 0; i < 2000; ++i)
            if (write(file, piece, sizeof piece) < 0)
                abort();
    }
    close(file);
    unlink(name);
}

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
static int workIsThere;

static void *waitForWork(void *unused)
{
    pthread_mutex_lock(&lock);
    while (!workIsThere)
        pthread_cond_wait(&condition, &lock);
    pthread_mutex_unlock(&lock);
    return unused;
}

static void *waitForLock(void *unused)
{
    pthread_mutex_lock(&lock);
    pthread_mutex_unlock(&lock);
    return unused;
}

static void start(pthread_t *threads, void *(*routine)(void *))
{
    for (int i = 0; i < IdleThreads; ++i)
        if (pthread_create(&threads[i], NULL, routine, NULL) != 0)
            abort();
}

static void join(const pthread_t *threads)
{
    for (int i = 0; i < IdleThreads; ++i)
        pthread_join(threads[i], NULL);
}

static void idleThreads(double seconds)
{
    pthread_t threads[IdleThreads];
    start(threads, waitForWork);
    scalar(seconds);
    pthread_mutex_lock(&lock);
    workIsThere = 1;
    pthread_cond_broadcast(&condition);
    pthread_mutex_unlock(&lock);
    join(threads);
}

static void lockedThreads(double seconds)
{
    pthread_t threads[IdleThreads];
    pthread_mutex_lock(&lock);
    start(threads, waitForLock);
    scalar(seconds);
    pthread_mutex_unlock(&lock);
    join(threads);
}

#ifdef WITH_MPI
static void mpiWait(double seconds)
{
    int rank = 0, ranks = 1, token = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &ranks);
    for (int round = 0; round < 20; ++round) {
        const int peer = rank ^ 1;
        if (rank % 2 == 0) {
            scalar(seconds / 40);
            if (peer < ranks)
                MPI_Send(&token, 1, MPI_INT, peer, 1, MPI_COMM_WORLD);
            /* Another wait for the others, this time in a call that all make. */
            if (rank == 0)
                scalar(seconds / 40);
        } else {
            MPI_Recv(&token, 1, MPI_INT, peer, 1, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
        }
        MPI_Allreduce(MPI_IN_PLACE, &token, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    }
}
#endif

static const struct {
    const char *name;
    void (*run)(double seconds);
} kinds[] = {
    {"scalar", scalar},
    {"vector", vector},
    {"memory", memory},
    {"write", smallWrites},
    {"idle", idleThreads},
    {"lock", lockedThreads},
#ifdef WITH_MPI
    {"mpiwait", mpiWait},
#endif
};

int main(int argc, char **argv)
{
    int status = 2;
#ifdef WITH_MPI
    MPI_Init(&argc, &argv);
#endif
    for (size_t i = 0; argc == 3 && i < sizeof kinds / sizeof kinds[0]; ++i) {
        if (strcmp(argv[1], kinds[i].name) == 0) {
            kinds[i].run(atof(argv[2]));
            status = 0;
        }
    }
#ifdef WITH_MPI
    MPI_Finalize();
#endif
    return status;
}
