/* mpibytes
 *
 * On two ranks: makes each call that moves data once or twice, adds up what this rank sends and receives by
 * the definition of the call, and prints it. */
#include "clock.h"

#include <mpi.h>
#include <stdio.h>

enum { Room = 1000 };

static double mine[Room];
static double theirs[Room];
static int rank;
static int other;
static long long collective;
static long long pointToPoint;

static const MPI_Comm World = MPI_COMM_WORLD;

static void finish(MPI_Request request)
{
    MPI_Wait(&request, MPI_STATUS_IGNORE);
}

static void sendAndReceive(void)
{
    MPI_Request request;
    if (rank == 0) {
        MPI_Send(mine, 3, MPI_DOUBLE, 1, 0, World);
        MPI_Ssend(mine, 5, MPI_INT, 1, 0, World);
    } else {
        MPI_Recv(theirs, 3, MPI_DOUBLE, 0, 0, World, MPI_STATUS_IGNORE);
        MPI_Recv(theirs, 5, MPI_INT, 0, 0, World, MPI_STATUS_IGNORE);
    }
    pointToPoint += 3 * 8 + 5 * 4;
    MPI_Irecv(theirs, 7, MPI_CHAR, other, 0, World, &request);
    MPI_Send(mine, 7, MPI_CHAR, other, 0, World);
    finish(request);
    pointToPoint += 7 + 7;
    MPI_Sendrecv(mine, 11, MPI_DOUBLE, other, 0, theirs, 22, MPI_INT, other, 0, World, MPI_STATUS_IGNORE);
    pointToPoint += 11 * 8 + 22 * 4;
    MPI_Sendrecv_replace(mine, 13, MPI_DOUBLE, other, 0, other, 0, World, MPI_STATUS_IGNORE);
    pointToPoint += 2 * 13 * 8;
    MPI_Send(mine, 100, MPI_DOUBLE, MPI_PROC_NULL, 0, World); /* moves nothing */
}

/* A handle may come back for a type of another size. */
static void ownTypes(void)
{
    for (int size = 2; size <= 4; ++size) {
        MPI_Datatype type;
        MPI_Type_contiguous(size, MPI_DOUBLE, &type);
        MPI_Type_commit(&type);
        MPI_Bcast(mine, 3, type, 0, World);
        collective += 3 * size * 8;
        MPI_Type_free(&type);
    }
}

static void reductions(void)
{
    MPI_Request request;
    MPI_Barrier(World);
    MPI_Reduce(mine, theirs, 17, MPI_DOUBLE, MPI_SUM, 1, World);
    collective += (rank == 1 ? 2 : 1) * 17 * 8;
    MPI_Iallreduce(mine, theirs, 19, MPI_INT, MPI_SUM, World, &request);
    finish(request);
    collective += 2 * 19 * 4;
    MPI_Scan(mine, theirs, 23, MPI_DOUBLE, MPI_SUM, World);
    collective += 2 * 23 * 8;
    const int counts[2] = {29, 31};
    MPI_Reduce_scatter(mine, theirs, counts, MPI_DOUBLE, MPI_SUM, World);
    collective += (29 + 31 + counts[rank]) * 8;
    MPI_Reduce_scatter_block(mine, theirs, 37, MPI_DOUBLE, MPI_SUM, World);
    collective += (2 * 37 + 37) * 8;
}

static void gathers(void)
{
    const int counts[2] = {41, 43};
    const int places[2] = {0, 100};
    MPI_Gather(mine, 47, MPI_DOUBLE, theirs, 47, MPI_DOUBLE, 0, World);
    collective += 47 * 8 + (rank == 0 ? 2 * 47 * 8 : 0);
    if (rank == 0)
        MPI_Gather(MPI_IN_PLACE, 0, MPI_DATATYPE_NULL, theirs, 53, MPI_DOUBLE, 0, World);
    else
        MPI_Gather(mine, 53, MPI_DOUBLE, NULL, 0, MPI_DATATYPE_NULL, 0, World);
    collective += rank == 0 ? 2 * 53 * 8 : 53 * 8;
    MPI_Gatherv(mine, counts[rank], MPI_DOUBLE, theirs, counts, places, MPI_DOUBLE, 1, World);
    collective += counts[rank] * 8 + (rank == 1 ? (41 + 43) * 8 : 0);
    MPI_Allgather(mine, 59, MPI_DOUBLE, theirs, 59, MPI_DOUBLE, World);
    collective += (59 + 2 * 59) * 8;
    MPI_Allgatherv(MPI_IN_PLACE, 0, MPI_DATATYPE_NULL, theirs, counts, places, MPI_DOUBLE, World);
    collective += (41 + 43) * 8;
}

static void scattersAndExchanges(void)
{
    const int counts[2] = {61, 67};
    const int places[2] = {0, 100};
    MPI_Scatter(mine, 71, MPI_DOUBLE, theirs, 71, MPI_DOUBLE, 1, World);
    collective += 71 * 8 + (rank == 1 ? 2 * 71 * 8 : 0);
    MPI_Scatterv(mine, counts, places, MPI_DOUBLE, theirs, counts[rank], MPI_DOUBLE, 0, World);
    collective += counts[rank] * 8 + (rank == 0 ? (61 + 67) * 8 : 0);
    MPI_Alltoall(mine, 73, MPI_DOUBLE, theirs, 73, MPI_DOUBLE, World);
    collective += 2 * 2 * 73 * 8;
    const int same[2] = {79, 79};
    MPI_Alltoallv(mine, same, places, MPI_DOUBLE, theirs, same, places, MPI_DOUBLE, World);
    collective += 2 * 2 * 79 * 8;
    const int bytePlaces[2] = {0, 1000};
    const MPI_Datatype types[2] = {MPI_DOUBLE, MPI_INT};
    const MPI_Datatype mineFromAll[2] = {types[rank], types[rank]};
    MPI_Alltoallw(mine, same, bytePlaces, types, theirs, same, bytePlaces, mineFromAll, World);
    collective += 79 * (8 + 4) + 2 * 79 * (rank == 0 ? 8 : 4);
}

/* In a ring of two each is the other's neighbour on both sides; in the graph rank 0 sends to rank 1 alone. */
static void neighbours(void)
{
    const int size = 2;
    const int isRing = 1;
    const int counts[2] = {83, 89};
    const int places[2] = {0, 100};
    MPI_Comm ring;
    MPI_Comm line;
    MPI_Cart_create(World, 1, &size, &isRing, 0, &ring);
    MPI_Neighbor_allgather(mine, 97, MPI_DOUBLE, theirs, 97, MPI_DOUBLE, ring);
    collective += 97 * 8 + 2 * 97 * 8;
    MPI_Neighbor_alltoall(mine, 101, MPI_INT, theirs, 101, MPI_INT, ring);
    collective += 2 * 101 * 4 + 2 * 101 * 4;
    MPI_Neighbor_alltoallv(mine, counts, places, MPI_DOUBLE, theirs, (int[]){89, 83}, places, MPI_DOUBLE, ring);
    collective += 2 * (83 + 89) * 8;
    MPI_Dist_graph_create_adjacent(World, rank, (int[]){0}, MPI_UNWEIGHTED, 1 - rank, (int[]){1}, MPI_UNWEIGHTED,
        MPI_INFO_NULL, 0, &line);
    MPI_Neighbor_alltoall(mine, 103, MPI_DOUBLE, theirs, 103, MPI_DOUBLE, line);
    collective += 103 * 8;
    MPI_Comm_free(&line);
    MPI_Comm_free(&ring);
}

static void oneSided(void)
{
    const int one = 1;
    int before = 0;
    MPI_Win window;
    MPI_Win_create(theirs, sizeof theirs, sizeof theirs[0], MPI_INFO_NULL, World, &window);
    MPI_Win_fence(0, window);
    MPI_Put(mine, 107, MPI_DOUBLE, other, 0, 107, MPI_DOUBLE, window);
    pointToPoint += 107 * 8;
    MPI_Win_fence(0, window);
    MPI_Get(mine, 109, MPI_INT, other, 0, 109, MPI_INT, window);
    pointToPoint += 109 * 4;
    MPI_Win_fence(0, window);
    MPI_Fetch_and_op(&one, &before, MPI_INT, other, 0, MPI_SUM, window);
    pointToPoint += 2 * 4;
    MPI_Win_fence(0, window);
    MPI_Put(mine, 113, MPI_DOUBLE, MPI_PROC_NULL, 0, 113, MPI_DOUBLE, window); /* moves nothing */
    MPI_Win_fence(0, window);
    MPI_Win_free(&window);
}

/* Two groups of one: the first's root gives to the second, and takes from it. */
static void betweenGroups(void)
{
    MPI_Comm alone;
    MPI_Comm both;
    const int root = rank == 0 ? MPI_ROOT : 0;
    MPI_Comm_split(World, rank, 0, &alone);
    MPI_Intercomm_create(alone, 0, World, other, 0, &both);
    MPI_Bcast(mine, 127, MPI_DOUBLE, root, both);
    MPI_Reduce(mine, theirs, 131, MPI_DOUBLE, MPI_SUM, root, both);
    MPI_Gather(mine, 137, MPI_DOUBLE, theirs, 137, MPI_DOUBLE, root, both);
    MPI_Scatter(mine, 139, MPI_DOUBLE, theirs, 139, MPI_DOUBLE, root, both);
    collective += (127 + 131 + 137 + 139) * 8;
    MPI_Bcast(mine, 149, MPI_DOUBLE, MPI_PROC_NULL, both);
    MPI_Allgather(mine, 151, MPI_DOUBLE, theirs, 151, MPI_DOUBLE, both);
    collective += 2 * 151 * 8;
    MPI_Comm_free(&both);
    MPI_Comm_free(&alone);
}

int main(int count, char **arguments)
{
    int provided;
    MPI_Init_thread(&count, &arguments, MPI_THREAD_SINGLE, &provided);
    MPI_Comm_rank(World, &rank);
    other = 1 - rank;
    sendAndReceive();
    ownTypes();
    reductions();
    gathers();
    scattersAndExchanges();
    neighbours();
    oneSided();
    betweenGroups();
    compute(0.1);
    for (int r = 0; r < 2; ++r) {
        if (r == rank) {
            printf("rank%d.pointToPoint %lld\nrank%d.collective %lld\n", rank, pointToPoint, rank, collective);
            fflush(stdout);
        }
        MPI_Barrier(World);
    }
    MPI_Finalize();
    return 0;
}
