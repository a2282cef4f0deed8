/* mpimerge WHAT [SECONDS]
 *
 * Ranks that come to the end of MPI in different ways. All compute for 0.3 s first, and print sums that all
 * have to know.
 *   plain     as it should be
 *   uneven    rank by rank later, 0.1 s each
 *   late      rank 0 comes SECONDS later
 *   tail      rank 0 computes for SECONDS after the end of MPI
 *   attribute an attribute of the world that mustn't be copied, and errors that mustn't be handled
 *   exit      rank 1 leaves without finalizing */
#include "clock.h"

#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int copyAttribute(MPI_Comm comm, int key, void *extra, void *in, void *out, int *flag)
{
    (void)comm, (void)key, (void)extra, (void)in, (void)out;
    printf("an attribute was copied\n");
    *flag = 0;
    return MPI_SUCCESS;
}

int main(int count, char **arguments)
{
    int rank;
    int size;
    int sum = 0;
    int key;
    const char *what = count > 1 ? arguments[1] : "plain";
    const double duration = count > 2 ? atof(arguments[2]) : 0;
    MPI_Init(&count, &arguments);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    compute(0.3);
    MPI_Allreduce(&rank, &sum, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    if (rank == 0)
        printf("size %d\nsum %d\n", size, sum);
    if (strcmp(what, "uneven") == 0)
        compute(0.1 * rank);
    if (strcmp(what, "late") == 0 && rank == 0)
        usleep((useconds_t)(duration * 1e6));
    if (strcmp(what, "attribute") == 0) {
        MPI_Comm_create_keyval(copyAttribute, MPI_COMM_NULL_DELETE_FN, &key, NULL);
        MPI_Comm_set_attr(MPI_COMM_WORLD, key, NULL);
    }
    if (strcmp(what, "exit") == 0 && rank == 1) {
        fflush(stdout);
        _exit(0);
    }
    const double before = seconds();
    MPI_Finalize();
    if (rank == 0)
        printf("finalize %f\n", seconds() - before);
    if (strcmp(what, "tail") == 0 && rank == 0)
        compute(duration);
    return 0;
}
