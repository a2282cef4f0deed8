/* mpirequests
 *
 * On two ranks: receives messages that are shorter than their buffers in every way in which MPI lets one wait
 * for them, with and without statuses, adds up what this rank really sends and receives, and prints it with
 * what the calls gave. */
#include "clock.h"

#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { Room = 64, Many = 3000 };

static double mine[Room];
static double theirs[Room];
static int rank;
static int other;
static long long pointToPoint;
static long long collective;
static char results[1 << 16];

static const MPI_Comm World = MPI_COMM_WORLD;

/* Lines are printed at the end, each rank's in one piece. */
static void say(const char *what, long long value)
{
    const size_t length = strlen(results);
    snprintf(results + length, sizeof results - length, "rank%d.%s %lld\n", rank, what, value);
}

static long long sumReceived(void)
{
    double sum = 0;
    for (int i = 0; i < Room; ++i)
        sum += theirs[i];
    return (long long)sum;
}

static int lengthIn(const MPI_Status *status)
{
    int length = -1;
    MPI_Get_count(status, MPI_DOUBLE, &length);
    return length;
}

/* A receive that has room for more than comes, and a send of so many to the other. */
static MPI_Request exchange(int length)
{
    MPI_Request request;
    MPI_Irecv(theirs, Room, MPI_DOUBLE, MPI_ANY_SOURCE, length, World, &request);
    MPI_Send(mine, length, MPI_DOUBLE, other, length, World);
    pointToPoint += 2 * length * 8;
    return request;
}

static void blocking(void)
{
    MPI_Status status;
    for (int given = 0; given < 2; ++given) {
        MPI_Status *ask = given ? &status : MPI_STATUS_IGNORE;
        if (rank == 0) {
            MPI_Send(mine, 3, MPI_DOUBLE, 1, 0, World);
            MPI_Recv(theirs, Room, MPI_DOUBLE, 1, 0, World, ask);
        } else {
            MPI_Recv(theirs, Room, MPI_DOUBLE, 0, 0, World, ask);
            MPI_Send(mine, 3, MPI_DOUBLE, 0, 0, World);
        }
        pointToPoint += 2 * 3 * 8;
        MPI_Sendrecv(mine, 5, MPI_DOUBLE, other, 0, theirs, Room, MPI_DOUBLE, other, 0, World, ask);
        pointToPoint += 2 * 5 * 8;
        /* One sends more than it gets. */
        MPI_Sendrecv_replace(theirs, 7, MPI_DOUBLE, rank == 0 ? other : MPI_PROC_NULL, 0,
            rank == 0 ? MPI_PROC_NULL : other, 0, World, ask);
        pointToPoint += 7 * 8;
        MPI_Recv(theirs, Room, MPI_DOUBLE, MPI_PROC_NULL, 0, World, ask);
    }
    say("blocking", lengthIn(&status));
}

static void matched(void)
{
    for (int isLater = 0; isLater < 2; ++isLater) {
        MPI_Request sent;
        MPI_Message message;
        MPI_Isend(mine, 11, MPI_DOUBLE, other, 1, World, &sent);
        MPI_Mprobe(other, 1, World, &message, MPI_STATUS_IGNORE);
        if (isLater) {
            MPI_Request request;
            MPI_Imrecv(theirs, Room, MPI_DOUBLE, &message, &request);
            MPI_Wait(&request, MPI_STATUS_IGNORE);
        } else {
            MPI_Mrecv(theirs, Room, MPI_DOUBLE, &message, MPI_STATUS_IGNORE);
        }
        MPI_Wait(&sent, MPI_STATUS_IGNORE);
        pointToPoint += 2 * 11 * 8;
    }
    say("matched", sumReceived());
}

static void waits(void)
{
    MPI_Status statuses[3];
    for (int given = 0; given < 2; ++given) {
        MPI_Status *one = given ? statuses : MPI_STATUS_IGNORE;
        MPI_Status *all = given ? statuses : MPI_STATUSES_IGNORE;
        int number = 0;
        int done = 0;
        int indices[3];
        MPI_Request request = exchange(13);
        MPI_Wait(&request, one);
        request = exchange(17);
        while (!done)
            MPI_Test(&request, &done, one);
        MPI_Request requests[3] = {exchange(19), MPI_REQUEST_NULL, exchange(23)};
        MPI_Waitall(3, requests, all);
        requests[1] = exchange(29);
        MPI_Waitany(3, requests, &number, one);
        say("waitany", number);
        requests[0] = exchange(31);
        requests[2] = exchange(37);
        for (int left = 2; left > 0; left -= number)
            MPI_Waitsome(3, requests, &number, indices, all);
        MPI_Waitsome(3, requests, &number, indices, all);
        say("waitsome", number);
        requests[0] = exchange(41);
        requests[1] = exchange(43);
        for (done = 0; !done;)
            MPI_Testall(3, requests, &done, all);
        requests[2] = exchange(47);
        for (done = 0; !done;)
            MPI_Testany(3, requests, &number, &done, one);
        say("testany", number);
        MPI_Testany(3, requests, &number, &done, one);
        say("testanyOfNone", number);
        requests[1] = exchange(53);
        for (number = 0; number == 0;)
            MPI_Testsome(3, requests, &number, indices, all);
        say("testsome", indices[0]);
    }
    say("waits", sumReceived());
}

static void persistent(void)
{
    MPI_Request requests[3];
    MPI_Send_init(mine, 15, MPI_DOUBLE, other, 2, World, &requests[0]);
    MPI_Recv_init(theirs, Room, MPI_DOUBLE, other, 2, World, &requests[1]);
    MPI_Send_init(mine, 9, MPI_DOUBLE, MPI_PROC_NULL, 2, World, &requests[2]);
    for (int round = 0; round < 4; ++round) {
        MPI_Startall(3, requests);
        MPI_Waitall(3, requests, MPI_STATUSES_IGNORE);
        pointToPoint += 2 * 15 * 8;
    }
    /* Nothing is under way: nothing is received. */
    MPI_Waitall(3, requests, MPI_STATUSES_IGNORE);
    MPI_Start(&requests[1]);
    MPI_Start(&requests[0]);
    MPI_Wait(&requests[1], MPI_STATUS_IGNORE);
    MPI_Wait(&requests[0], MPI_STATUS_IGNORE);
    pointToPoint += 2 * 15 * 8;
    for (int i = 0; i < 3; ++i)
        MPI_Request_free(&requests[i]);
    say("persistent", sumReceived());
}

/* Requests that end otherwise. */
static void givenUp(void)
{
    MPI_Status status;
    int isCancelled = 0;
    MPI_Request request;
    MPI_Irecv(theirs, Room, MPI_DOUBLE, other, 99, World, &request);
    MPI_Cancel(&request);
    MPI_Wait(&request, &status);
    MPI_Test_cancelled(&status, &isCancelled);
    say("cancelled", isCancelled);
    MPI_Irecv(theirs, Room, MPI_DOUBLE, MPI_PROC_NULL, 3, World, &request);
    MPI_Wait(&request, MPI_STATUS_IGNORE);
    MPI_Isend(mine, 21, MPI_DOUBLE, other, 3, World, &request);
    MPI_Request_free(&request);
    MPI_Recv(theirs, 21, MPI_DOUBLE, other, 3, World, MPI_STATUS_IGNORE);
    pointToPoint += 2 * 21 * 8;
    /* Nobody hears how long it was, so it counts as long as its buffer. */
    MPI_Irecv(theirs, 25, MPI_DOUBLE, other, 4, World, &request);
    MPI_Request_free(&request);
    MPI_Send(mine, 25, MPI_DOUBLE, other, 4, World);
    pointToPoint += 2 * 25 * 8;
    MPI_Barrier(World);
}

/* More than fit on the stack at once. */
static void atOnce(void)
{
    static MPI_Request requests[Many];
    static MPI_Status statuses[Many];
    static double buffers[Many][2];
    for (int given = 0; given < 2; ++given) {
        for (int i = 0; i < Many; ++i)
            MPI_Irecv(buffers[i], 2, MPI_DOUBLE, other, 5, World, &requests[i]);
        MPI_Barrier(World);
        for (int i = 0; i < Many; ++i)
            MPI_Send(mine, 1, MPI_DOUBLE, other, 5, World);
        MPI_Waitall(Many, requests, given ? statuses : MPI_STATUSES_IGNORE);
        pointToPoint += 2LL * Many * 8;
    }
    say("atOnce", (long long)buffers[Many - 1][0]);
}

/* What calls give that fail. */
static void failures(void)
{
    MPI_Request requests[2];
    MPI_Status status;
    int class = 0;
    MPI_Comm_set_errhandler(World, MPI_ERRORS_RETURN);
    for (int i = 0; i < 2; ++i)
        MPI_Irecv(theirs, 1, MPI_DOUBLE, other, 6, World, &requests[i]);
    MPI_Barrier(World);
    for (int i = 0; i < 4; ++i)
        MPI_Send(mine, 4, MPI_DOUBLE, other, 6, World);
    pointToPoint += 4 * 4 * 8;
    const int all = MPI_Waitall(2, requests, MPI_STATUSES_IGNORE);
    MPI_Error_class(all, &class);
    say("failedWaitall", class);
    const int one = MPI_Recv(theirs, 1, MPI_DOUBLE, other, 6, World, MPI_STATUS_IGNORE);
    MPI_Error_class(one, &class);
    say("failedReceive", class);
    MPI_Recv(theirs, 1, MPI_DOUBLE, other, 6, World, &status);
    const int send = MPI_Send(mine, -1, MPI_DOUBLE, other, 6, World);
    MPI_Error_class(send, &class);
    say("failedSend", class);
    MPI_Comm_set_errhandler(World, MPI_ERRORS_ARE_FATAL);
}

#if MPI_VERSION >= 4
static void newer(void)
{
    MPI_Request request;
    MPI_Request requests[2];
    MPI_Isendrecv(mine, 27, MPI_DOUBLE, other, 7, theirs, Room, MPI_DOUBLE, other, 7, World, &request);
    MPI_Wait(&request, MPI_STATUS_IGNORE);
    pointToPoint += (27 + Room) * 8; /* no status says how much came */
    MPI_Send_c(mine, (MPI_Count)33, MPI_DOUBLE, MPI_PROC_NULL, 7, World);
    MPI_Sendrecv_c(mine, 33, MPI_DOUBLE, other, 7, theirs, Room, MPI_DOUBLE, other, 7, World, MPI_STATUS_IGNORE);
    pointToPoint += 2 * 33 * 8;
    MPI_Allreduce_init(mine, theirs, 35, MPI_DOUBLE, MPI_SUM, World, MPI_INFO_NULL, &request);
    for (int round = 0; round < 3; ++round) {
        MPI_Start(&request);
        MPI_Wait(&request, MPI_STATUS_IGNORE);
        collective += 2 * 35 * 8;
    }
    MPI_Request_free(&request);
    const MPI_Count counts[2] = {10, 20};
    const MPI_Aint places[2] = {0, 30};
    MPI_Allgatherv_c(mine, counts[rank], MPI_DOUBLE, theirs, counts, places, MPI_DOUBLE, World);
    collective += (counts[rank] + 30) * 8;
    MPI_Bcast_c(mine, 39, MPI_DOUBLE, 0, World);
    collective += 39 * 8;
    MPI_Psend_init(mine, 4, 3, MPI_DOUBLE, other, 8, World, MPI_INFO_NULL, &requests[0]);
    MPI_Precv_init(theirs, 4, 3, MPI_DOUBLE, other, 8, World, MPI_INFO_NULL, &requests[1]);
    for (int round = 0; round < 2; ++round) {
        MPI_Startall(2, requests);
        MPI_Pready_range(0, 3, requests[0]);
        MPI_Waitall(2, requests, MPI_STATUSES_IGNORE);
        pointToPoint += 2 * 4 * 3 * 8;
    }
    MPI_Request_free(&requests[0]);
    MPI_Request_free(&requests[1]);
    MPI_Session session;
    MPI_Session_init(MPI_INFO_NULL, MPI_ERRORS_ARE_FATAL, &session);
    int sets = 0;
    MPI_Session_get_num_psets(session, MPI_INFO_NULL, &sets);
    say("sets", sets);
    MPI_Session_finalize(&session);
    say("newer", sumReceived());
}
#endif

int main(int count, char **arguments)
{
    MPI_Init(&count, &arguments);
    MPI_Comm_rank(World, &rank);
    other = 1 - rank;
    for (int i = 0; i < Room; ++i)
        mine[i] = i + 1;
#if MPI_VERSION >= 4
    newer();
#endif
    blocking();
    matched();
    waits();
    persistent();
    givenUp();
    atOnce();
    failures();
    MPI_Allreduce(MPI_IN_PLACE, theirs, 1, MPI_DOUBLE, MPI_SUM, World);
    collective += 2 * 8;
    compute(0.1);
    say("pointToPoint", pointToPoint);
    say("collective", collective);
    for (int r = 0; r < 2; ++r) {
        if (r == rank) {
            fputs(results, stdout);
            fflush(stdout);
        }
        MPI_Barrier(World);
    }
    MPI_Finalize();
    return 0;
}
