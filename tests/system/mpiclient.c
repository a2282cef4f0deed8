/* A rank to profile: computes for the seconds in its first word, then says which rank it is, and whether the
   sampler is preloaded. */
#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(int argc, char **argv)
{
    int rank = 0;
    int size = 0;
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    const double end = MPI_Wtime() + (argc > 1 ? atof(argv[1]) : 0.3);
    volatile double number = 1.0;
    while (MPI_Wtime() < end) {
        for (int i = 0; i < 10000; ++i)
            number = number * 1.0000001;
    }
    MPI_Barrier(MPI_COMM_WORLD);
    const char *preload = getenv("LD_PRELOAD");
    printf("rank %d of %d%s\n", rank, size, preload && strstr(preload, "libfern-sampler.so") ? " preloaded" : "");
    MPI_Finalize();
    return 0;
}
