/* A library that has nothing to do with message passing, and a function by a name of MPI in Fortran. */
long mpi_get(long first, long second, long third);

long mpi_get(long first, long second, long third)
{
    return first + second + third;
}
