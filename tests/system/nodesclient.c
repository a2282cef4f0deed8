/* A rank of a job on several nodes: WAY SECONDS [COUNT]. It computes for the seconds, and ends in one of some
   ways. `phases` is for nodes that are one machine and so have one clock: at the same times, COUNT times and
   that long each, rank 0 waits for a semaphore and the others sleep in a call of MPI; in between all sleep. */
#define _GNU_SOURCE
#include <mpi.h>
#include <semaphore.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec + time.tv_nsec * 1e-9;
}

static struct timespec moment(double seconds)
{
    struct timespec time = {(time_t)seconds, 0};
    time.tv_nsec = (long)((seconds - time.tv_sec) * 1e9);
    return time;
}

static void computeUntil(double end)
{
    volatile double number = 1.0;
    while (now() < end) {
        for (int i = 0; i < 1000; ++i)
            number = number * 1.0000001;
    }
}

static void sleepUntil(double end)
{
    const struct timespec time = moment(end);
    clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &time, NULL);
}

static int sleepInCall(MPI_Comm communicator, int key, void *end, void *state)
{
    (void)communicator, (void)key, (void)state;
    sleepUntil(*(double *)end);
    return MPI_SUCCESS;
}

static void goThroughPhases(int rank, double seconds, int count)
{
    sem_t never;
    sem_init(&never, 0, 0);
    int key = 0;
    MPI_Comm_create_keyval(MPI_COMM_NULL_COPY_FN, sleepInCall, &key, NULL);
    double begin = now() + seconds;
    MPI_Bcast(&begin, 1, MPI_DOUBLE, 0, MPI_COMM_WORLD);
    for (int i = 0; i < count; ++i, begin += 2 * seconds) {
        double end = begin + seconds;
        const struct timespec endTime = moment(end);
        MPI_Comm_set_attr(MPI_COMM_SELF, key, &end);
        sleepUntil(begin);
        if (rank == 0)
            sem_timedwait(&never, &endTime);
        else
            MPI_Comm_delete_attr(MPI_COMM_SELF, key);
        sleepUntil(end);
        if (rank == 0)
            MPI_Comm_delete_attr(MPI_COMM_SELF, key);
    }
}

int main(int argc, char **argv)
{
    const char *way = argc > 1 ? argv[1] : "plain";
    const double seconds = argc > 2 ? atof(argv[2]) : 0.5;
    int rank = 0;
    int size = 0;
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    MPI_Barrier(MPI_COMM_WORLD);
    if (strcmp(way, "phases") == 0)
        goThroughPhases(rank, seconds, argc > 3 ? atoi(argv[3]) : 1);
    else
        computeUntil(now() + seconds);
    if (strcmp(way, "killed") == 0 && rank == size - 1)
        raise(SIGKILL);
    if (strcmp(way, "unfinished") == 0)
        _exit(0);
    MPI_Barrier(MPI_COMM_WORLD);
    if (rank == 0)
        printf("%d ranks\n", size);
    MPI_Finalize();
    return 0;
}
