/* A tool as programs have them: stands in for two calls, and says at the end how often they came by. Made for
 * each MPI implementation. */
#include <mpi.h>
#include <stdio.h>

static int barriers;
static int reductions;

int MPI_Barrier(MPI_Comm communicator)
{
    ++barriers;
    return PMPI_Barrier(communicator);
}

int MPI_Allreduce(
    const void *mine, void *ours, int count, MPI_Datatype type, MPI_Op operation, MPI_Comm communicator)
{
    ++reductions;
    return PMPI_Allreduce(mine, ours, count, type, operation, communicator);
}

int MPI_Finalize(void)
{
    fprintf(stderr, "%d barriers, %d reductions\n", barriers, reductions);
    return PMPI_Finalize();
}
