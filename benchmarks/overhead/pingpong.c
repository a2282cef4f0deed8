/* Messages of 8 bytes to and fro between two ranks. */
#include <mpi.h>

int main(int count, char **arguments)
{
    int rank;
    double value = 0.0;
    MPI_Init(&count, &arguments);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    for (long i = 0; i < 2000000L; ++i) {
        if (rank == 0)
            MPI_Send(&value, 1, MPI_DOUBLE, 1, 0, MPI_COMM_WORLD);
        MPI_Recv(&value, 1, MPI_DOUBLE, 1 - rank, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
        if (rank == 1)
            MPI_Send(&value, 1, MPI_DOUBLE, 0, 0, MPI_COMM_WORLD);
    }
    MPI_Finalize();
    return 0;
}
