/* mpishares COMPUTE WAIT
 *
 * On two ranks: both compute for so many seconds; then rank 1 computes on while rank 0 waits for its
 * message, and the other way round while rank 1 waits in a barrier. Rank 0 prints what it measured. */
#include "clock.h"

#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>

enum { Rounds = 5, Numbers = 1000 };

/* Built as a module, too. */
#ifdef MODULE
#define main runModule
#endif

int main(int count, char **arguments)
{
    const double begin = seconds();
    double numbers[Numbers] = {0};
    double sums[Numbers];
    double pointToPoint = 0;
    double collective = 0;
    double computing = 0;
    int rank;
    int size;
    MPI_Init(&count, &arguments);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    if (size != 2 || count != 3)
        MPI_Abort(MPI_COMM_WORLD, 2);
    const double work = atof(arguments[1]) / Rounds;
    const double wait = atof(arguments[2]) / Rounds;
    for (int i = 0; i < Rounds; ++i) {
        computing += compute(rank == 0 ? work : work + wait);
        double start = seconds();
        if (rank == 0)
            MPI_Recv(numbers, Numbers, MPI_DOUBLE, 1, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
        else
            MPI_Send(numbers, Numbers, MPI_DOUBLE, 0, 0, MPI_COMM_WORLD);
        pointToPoint += seconds() - start;
        if (rank == 0)
            computing += compute(wait);
        start = seconds();
        MPI_Allreduce(numbers, sums, Numbers, MPI_DOUBLE, MPI_SUM, MPI_COMM_WORLD);
        MPI_Allreduce(MPI_IN_PLACE, sums, Numbers, MPI_DOUBLE, MPI_SUM, MPI_COMM_WORLD);
        collective += seconds() - start;
    }
    for (int r = 0; r < size; ++r) {
        if (r == rank) {
            printf("rank%d.pointToPoint %f\nrank%d.collective %f\nrank%d.compute %f\n", rank, pointToPoint,
                rank, collective, rank, computing);
            fflush(stdout);
        }
        MPI_Barrier(MPI_COMM_WORLD);
    }
    MPI_Finalize();
    if (rank == 0)
        printf("whole %f\n", seconds() - begin);
    return 0;
}
