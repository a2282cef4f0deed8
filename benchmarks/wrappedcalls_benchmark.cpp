// What a wrapped call costs: calls of the C library and of a stand-in for an MPI library that comes back at
// once, in a process of their own without the sampler, with the library asleep, and sampled.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <pthread.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// By MPICH's binary interface: handles are integers.
extern "C" {
int MPI_Comm_rank(int comm, int *rank);
int MPI_Send(const void *buffer, int count, int type, int to, int tag, int comm);
int MPI_Recv(void *buffer, int count, int type, int from, int tag, int comm, void *status);
int MPI_Isend(const void *buffer, int count, int type, int to, int tag, int comm, int *request);
int MPI_Irecv(void *buffer, int count, int type, int from, int tag, int comm, int *request);
int MPI_Wait(int *request, void *status);
int MPI_Waitall(int count, int *requests, void *statuses);
int MPI_Allreduce(const void *send, void *receive, int count, int type, int operation, int comm);
}

namespace {

constexpr int World = 0x44000000;
constexpr int Double = 0x4c00080b;
constexpr int Sum = 0x58000003;
void *const Ignored = reinterpret_cast<void *>(1); // a status that nobody wants

void putsACharacter(benchmark::State &state)
{
    // Called through a pointer, so that the compiler can't put the character there itself.
    int (*volatile put)(int, FILE *) = fputc_unlocked;
    FILE *file = std::tmpfile();
    std::vector<char> room(1 << 20);
    std::setvbuf(file, room.data(), _IOFBF, room.size());
    for (auto _ : state)
        put('x', file);
    std::fclose(file);
}

void writesToAFile(benchmark::State &state)
{
    FILE *file = std::tmpfile();
    const std::array<char, 64> text{};
    for (auto _ : state)
        benchmark::DoNotOptimize(pwrite(fileno(file), text.data(), text.size(), 0));
    std::fclose(file);
}

void takesAFreeLock(benchmark::State &state)
{
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    for (auto _ : state) {
        pthread_mutex_lock(&lock);
        pthread_mutex_unlock(&lock);
    }
}

void asksForTheRank(benchmark::State &state)
{
    int rank = 0;
    for (auto _ : state)
        MPI_Comm_rank(World, &rank);
}

void sends(benchmark::State &state)
{
    double value = 1.0;
    for (auto _ : state)
        MPI_Send(&value, 1, Double, 1, 0, World);
}

void receives(benchmark::State &state)
{
    double value = 1.0;
    for (auto _ : state)
        MPI_Recv(&value, 1, Double, 1, 0, World, Ignored);
}

void sendsAndWaits(benchmark::State &state)
{
    double value = 1.0;
    int request = 0;
    for (auto _ : state) {
        MPI_Isend(&value, 1, Double, 1, 0, World, &request);
        MPI_Wait(&request, Ignored);
    }
}

void receivesAndWaits(benchmark::State &state)
{
    double value = 1.0;
    int request = 0;
    for (auto _ : state) {
        MPI_Irecv(&value, 1, Double, 1, 0, World, &request);
        MPI_Wait(&request, Ignored);
    }
}

// Half of them receives.
void exchangesWithNeighbours(benchmark::State &state)
{
    std::array<double, 16> values{};
    std::array<int, 16> requests{};
    for (auto _ : state) {
        for (std::size_t i = 0; i < 8; ++i)
            MPI_Irecv(&values[i], 1, Double, 1, 0, World, &requests[i]);
        for (std::size_t i = 8; i < 16; ++i)
            MPI_Isend(&values[i], 1, Double, 1, 0, World, &requests[i]);
        MPI_Waitall(16, requests.data(), Ignored);
    }
}

void reducesForAll(benchmark::State &state)
{
    double value = 1.0;
    double sum = 0.0;
    for (auto _ : state)
        MPI_Allreduce(&value, &sum, 1, Double, Sum, World);
}

struct Row {
    const char *name;
    void (*function)(benchmark::State &);
};

constexpr std::array<Row, 10> Rows{{{"fputc_unlocked", putsACharacter}, {"pwrite of 64 bytes", writesToAFile},
    {"mutex, taken and given back", takesAFreeLock}, {"MPI_Comm_rank", asksForTheRank}, {"MPI_Send", sends},
    {"MPI_Recv", receives}, {"MPI_Isend, MPI_Wait", sendsAndWaits}, {"MPI_Irecv, MPI_Wait", receivesAndWaits},
    {"8 MPI_Irecv, 8 MPI_Isend, MPI_Waitall", exchangesWithNeighbours}, {"MPI_Allreduce", reducesForAll}}};

// The environment variable that tells a process of ours how it runs.
constexpr const char *How = "WRAPPEDCALLS_HOW";

int measure(const std::string &how, int count, char **arguments)
{
    for (const Row &row : Rows)
        benchmark::RegisterBenchmark((how + "/" + row.name).c_str(), row.function);
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

// Runs this program again in one of the ways; gives its exit status.
int runAgain(const char *how, const std::string &spoolFolder, char **arguments)
{
    const pid_t child = fork();
    if (child == 0) {
        setenv(How, how, 1);
        if (std::string(how) != "alone")
            setenv("LD_PRELOAD", SAMPLER_LIBRARY, 1);
        if (std::string(how) == "sampled")
            setenv("QUILLON_SAMPLER_SPOOL", spoolFolder.c_str(), 1);
        execv("/proc/self/exe", arguments);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace

int main(int count, char **arguments)
{
    if (const char *how = std::getenv(How))
        return measure(how, count, arguments);
    std::string folder = std::filesystem::temp_directory_path() / "wrappedcalls-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror("wrappedcalls-benchmark");
        return 1;
    }
    int status = 0;
    for (const char *how : {"alone", "asleep", "sampled"})
        status = status != 0 ? status : runAgain(how, folder, arguments);
    std::filesystem::remove_all(folder);
    return status;
}
