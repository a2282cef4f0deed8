/* mpisession
 *
 * Uses MPI by a session alone, without MPI_Init: a communicator of all processes, and a sum. */
#include "clock.h"

#include <mpi.h>
#include <stdio.h>

int main(void)
{
    MPI_Session session;
    MPI_Group group;
    MPI_Comm all;
    int rank;
    int sum = 0;
    MPI_Session_init(MPI_INFO_NULL, MPI_ERRORS_ARE_FATAL, &session);
    MPI_Group_from_session_pset(session, "mpi://WORLD", &group);
    MPI_Comm_create_from_group(group, "example", MPI_INFO_NULL, MPI_ERRORS_ARE_FATAL, &all);
    MPI_Comm_rank(all, &rank);
    const int mine = rank + 1;
    MPI_Allreduce(&mine, &sum, 1, MPI_INT, MPI_SUM, all);
    compute(0.1);
    printf("rank%d.collective %d\nrank%d.pointToPoint 0\nrank%d.sum %d\n", rank, 2 * 4, rank, rank, sum);
    MPI_Comm_free(&all);
    MPI_Group_free(&group);
    MPI_Session_finalize(&session);
    return 0;
}
