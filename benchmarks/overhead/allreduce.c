/* Sums of 8 bytes over all ranks. */
#include <mpi.h>

int main(int count, char **arguments)
{
    double value = 1.0;
    double sum = 0.0;
    MPI_Init(&count, &arguments);
    for (long i = 0; i < 2000000L; ++i)
        MPI_Allreduce(&value, &sum, 1, MPI_DOUBLE, MPI_SUM, MPI_COMM_WORLD);
    MPI_Finalize();
    return sum != 0.0 ? 0 : 1;
}
