/* A program of known shares: it computes, writes, reads, sleeps and communicates for the times it is told,
 * in rounds, and measures each with the clock. What it measured goes to a file, one line per kind:
 *
 *     shares RESULT ROUNDS KIND:SECONDS...
 *
 * KIND is compute, write (system calls), print (formatted output through stdio), read, sleep, and in the MPI
 * build also collective (rank 0 arrives last), ping (messages between pairs) and wait (half of the ranks
 * compute, the others wait for their message). RESULT gets the rank behind a dot.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>
#ifdef WITH_MPI
#include <mpi.h>
#endif

enum Activity { Cpu, Mpi, Io, ActivityCount };
static const char *const activityNames[] = {"cpu", "mpi", "io"};

static double spent[ActivityCount];
static int rank;
#ifdef WITH_MPI
static int ranks = 1;
#endif
static char scratch[4096];
static volatile double sink;

static double now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

static void book(enum Activity activity, double since)
{
    spent[activity] += now() - since;
}

static void compute(double seconds)
{
    const double start = now();
    double x = 1.0;
    while (now() - start < seconds)
        for (int i = 0; i < 20000; ++i)
            x = x * 1.0000001 + 1e-9;
    sink = x;
    book(Cpu, start);
}

static void writeCalls(double seconds)
{
    static char block[64 * 1024];
    const double start = now();
    const int file = open(scratch, O_CREAT | O_WRONLY | O_TRUNC, 0600);
    for (long n = 0; file >= 0 && now() - start < seconds; ++n) {
        if (n % 256 == 0)
            lseek(file, 0, SEEK_SET);
        if (write(file, block, sizeof block) < 0)
            abort();
    }
    close(file);
    book(Io, start);
}

static void printLines(double seconds)
{
    const double start = now();
    FILE *file = fopen(scratch, "w");
    for (long n = 0; file && now() - start < seconds; ++n) {
        for (int i = 0; i < 50; ++i)
            fprintf(file, "%ld %d %.15g\n", n, i, (double)n / 7.0);
        if (n % 1000 == 0)
            rewind(file);
    }
    fclose(file);
    book(Io, start);
}

static void readCalls(double seconds)
{
    static char block[256 * 1024];
    const double start = now();
    const int file = open(scratch, O_RDWR | O_CREAT, 0600);
    for (int i = 0; i < 16; ++i)
        if (write(file, block, sizeof block) < 0)
            abort();
    while (now() - start < seconds) {
        lseek(file, 0, SEEK_SET);
        while (read(file, block, sizeof block) > 0) { }
    }
    close(file);
    book(Io, start);
}

static void sleepFor(double seconds)
{
    const double start = now();
    struct timespec t = {(time_t)seconds, (long)((seconds - (double)(time_t)seconds) * 1e9)};
    nanosleep(&t, NULL);
    book(Cpu, start); /* neither MPI nor I/O: the report counts it as the program's own time */
}

#ifdef WITH_MPI
static void collective(double seconds)
{
    if (rank == 0) {
        compute(seconds);
        const double start = now();
        MPI_Barrier(MPI_COMM_WORLD);
        book(Mpi, start);
        return;
    }
    const double start = now();
    MPI_Barrier(MPI_COMM_WORLD);
    book(Mpi, start);
}

static void ping(double seconds)
{
    static char message[8192];
    const double start = now();
    int go = 1;
    const int peer = rank ^ 1;
    while (go && peer < ranks) {
        if (rank < peer) {
            go = now() - start < seconds;
            message[0] = (char)go;
            MPI_Send(message, sizeof message, MPI_CHAR, peer, 1, MPI_COMM_WORLD);
            MPI_Recv(message, sizeof message, MPI_CHAR, peer, 1, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
        } else {
            MPI_Recv(message, sizeof message, MPI_CHAR, peer, 1, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
            go = message[0];
            MPI_Send(message, sizeof message, MPI_CHAR, peer, 1, MPI_COMM_WORLD);
        }
    }
    book(Mpi, start);
}

static void waitForPartner(double seconds)
{
    int token = 0;
    const int peer = rank ^ 1;
    if (peer >= ranks)
        return;
    if (rank < peer) {
        compute(seconds);
        MPI_Send(&token, 1, MPI_INT, peer, 2, MPI_COMM_WORLD);
        return;
    }
    const double start = now();
    MPI_Request request;
    MPI_Irecv(&token, 1, MPI_INT, peer, 2, MPI_COMM_WORLD, &request);
    MPI_Wait(&request, MPI_STATUS_IGNORE);
    book(Mpi, start);
}
#endif

static const struct {
    const char *name;
    void (*run)(double seconds);
} kinds[] = {
    {"compute", compute},
    {"write", writeCalls},
    {"print", printLines},
    {"read", readCalls},
    {"sleep", sleepFor},
#ifdef WITH_MPI
    {"collective", collective},
    {"ping", ping},
    {"wait", waitForPartner},
#endif
};

static void runPhase(const char *phase, int rounds)
{
    for (size_t i = 0; i < sizeof kinds / sizeof kinds[0]; ++i) {
        const size_t length = strlen(kinds[i].name);
        if (strncmp(phase, kinds[i].name, length) == 0 && phase[length] == ':') {
            kinds[i].run(atof(phase + length + 1) / rounds);
            return;
        }
    }
    fprintf(stderr, "shares: no such kind of work: %s\n", phase);
    exit(2);
}

static void saveResult(const char *path, double total)
{
    char name[4096];
    snprintf(name, sizeof name, "%s.%d", path, rank);
    FILE *file = fopen(name, "w");
    if (!file)
        exit(3);
    for (int i = 0; i < ActivityCount; ++i)
        fprintf(file, "%s %.6f\n", activityNames[i], spent[i]);
    fprintf(file, "total %.6f\n", total);
    fclose(file);
}

int main(int argc, char **argv)
{
    if (argc < 4)
        return 2;
    const double start = now();
    const int rounds = atoi(argv[2]);
#ifdef WITH_MPI
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    MPI_Comm_size(MPI_COMM_WORLD, &ranks);
    book(Mpi, start);
#endif
    snprintf(scratch, sizeof scratch, "%s.scratch.%d", argv[1], rank);
    for (int round = 0; round < rounds; ++round)
        for (int i = 3; i < argc; ++i)
            runPhase(argv[i], rounds);
    unlink(scratch);
#ifdef WITH_MPI
    const double beforeEnd = now();
    MPI_Finalize();
    book(Mpi, beforeEnd);
#endif
    saveResult(argv[1], now() - start);
    return 0;
}
