/* finalize SECONDS [kill]: ranks that sleep, meet, and end MPI. Rank 0 prints for how long MPI_Finalize took,
 * in seconds; with "kill" it is killed instead, and the launcher kills the others. */
#include <mpi.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time); /* MPI_Wtime has ended with MPI */
    return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

int main(int count, char **arguments)
{
    int rank;
    MPI_Init(&count, &arguments);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    usleep((useconds_t)(1e6 * (count > 1 ? atof(arguments[1]) : 0.3)));
    MPI_Barrier(MPI_COMM_WORLD);
    if (count > 2 && rank == 0)
        raise(SIGKILL);
    const double before = now();
    MPI_Finalize();
    if (rank == 0)
        printf("%f\n", now() - before);
    return 0;
}
