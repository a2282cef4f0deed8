/* A clock that knows nothing of the sampler: preloaded in front of it, it takes the time around the calls of a program
 * and hands them on. What it measured goes to the file $TRUTH_CLOCK.PID when the process ends, one line per figure in
 * seconds:
 *
 *     main      life of the main thread          threads   lives of all other threads together
 *     mpi read write omp sync                    of the main thread, the outermost call counts; sync: waits for others
 *     threadRead threadWrite threadSync          of the other threads
 *
 * Reading and writing counts for regular files alone. truthcalls.inc is made from mpi.h: CALL(name) for each function,
 * whose arguments are handed on as the machine words that they are. The clock stops where MPI_Finalize begins: there the
 * ranks merge what was sampled until then, which takes a time that isn't the program's.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

typedef long Word;
typedef Word (*Function)(Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word, Word);

enum Kind { Mpi, Read, Write, Omp, Sync, KindCount };

static _Atomic long mainNs[KindCount];
static _Atomic long otherNs[KindCount];
static _Atomic long othersLivedNs;
static long bornNs;
static long endNs; /* 0: still under way */
static pid_t owner;
static __thread int depth __attribute__((tls_model("initial-exec")));

static long now(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1000000000L + t.tv_nsec;
}

static int isMain(void)
{
    static __thread int answer __attribute__((tls_model("initial-exec"))); /* 0: not asked yet */
    if (answer == 0)
        answer = syscall(SYS_gettid) == getpid() ? 1 : 2;
    return answer == 1;
}

#define WORDS \
    Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h, Word i, Word j, Word k, Word l, Word m, Word n, Word o, \
        Word p
#define EACH_WORD a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p

static Word doNothing(WORDS)
{
    return a ^ b ^ c ^ d ^ e ^ f ^ g ^ h ^ i ^ j ^ k ^ l ^ m ^ n ^ o ^ p;
}

static Function volatile leastWork = doNothing;

static Word handOnToNothing(WORDS)
{
    return leastWork(EACH_WORD);
}

/* What a call that does nothing seems to take. Programs that make a million calls a second would otherwise seem to wait
 * for what is the clock's own. */
static long ownNs(void)
{
    static _Atomic long least;
    if (least == 0) {
        long found = 1000;
        for (int n = 0; n < 1000; ++n) {
            const long since = now();
            handOnToNothing(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
            const long taken = now() - since;
            found = taken < found ? taken : found;
        }
        least = found;
    }
    return least;
}

static void book(enum Kind kind, long since)
{
    atomic_fetch_add(&(isMain() ? mainNs : otherNs)[kind], now() - since - ownNs());
}

static Function find(const char *name)
{
    Function function;
    *(void **)&function = dlsym(RTLD_NEXT, name);
    if (!function)
        abort();
    return function;
}

static int isFile(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/* Under a name of its own in C, since the headers declare the function with its own arguments. */
#define TIMED(name, kind, counts) \
    Word timed_##name(WORDS) __asm__(#name); \
    Word timed_##name(WORDS) \
    { \
        static Function next; \
        if (!next) \
            next = find(#name); \
        if (depth > 0 || !(counts)) \
            return next(EACH_WORD); \
        ++depth; \
        const long since = now(); \
        const Word result = next(EACH_WORD); \
        book(kind, since); \
        --depth; \
        return result; \
    }

#define CALL(name) TIMED(name, Mpi, 1)
#include "truthcalls.inc"

#define LAST(name) \
    Word last_##name(Word a) __asm__(#name); \
    Word last_##name(Word a) \
    { \
        if (endNs == 0) \
            endNs = now(); \
        ++depth; /* what follows isn't the program's */ \
        return find(#name)(a, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0); \
    }

LAST(MPI_Finalize)
LAST(mpi_finalize_)
LAST(mpi_finalize_f08_)

TIMED(read, Read, isFile((int)a))
TIMED(pread64, Read, isFile((int)a))
TIMED(readv, Read, isFile((int)a))
TIMED(fread, Read, isFile(fileno((FILE *)d)))
TIMED(fread_unlocked, Read, isFile(fileno((FILE *)d)))
TIMED(write, Write, isFile((int)a))
TIMED(pwrite64, Write, isFile((int)a))
TIMED(writev, Write, isFile((int)a))
TIMED(fwrite, Write, isFile(fileno((FILE *)d)))
TIMED(fwrite_unlocked, Write, isFile(fileno((FILE *)d)))
TIMED(fflush, Write, a != 0 && isFile(fileno((FILE *)a)))
TIMED(copy_file_range, Write, 1)

TIMED(GOMP_parallel, Omp, isMain())

TIMED(pthread_mutex_lock, Sync, 1)
TIMED(pthread_cond_wait, Sync, 1)
TIMED(pthread_cond_timedwait, Sync, 1)
TIMED(pthread_join, Sync, 1)
TIMED(pthread_barrier_wait, Sync, 1)
TIMED(sem_wait, Sync, 1)

/* Lives of threads. */
struct Start {
    void *(*function)(void *);
    void *argument;
};

static void endOfLife(void *since)
{
    atomic_fetch_add(&othersLivedNs, now() - (long)since);
}

static void *live(void *start)
{
    const struct Start own = *(struct Start *)start;
    void *result;
    free(start);
    pthread_cleanup_push(endOfLife, (void *)now());
    result = own.function(own.argument);
    pthread_cleanup_pop(1);
    return result;
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*function)(void *), void *argument)
{
    typedef int (*Create)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    struct Start *const start = malloc(sizeof *start);
    *start = (struct Start){function, argument};
    return ((Create)(void (*)(void))find("pthread_create"))(thread, attributes, live, start);
}

static void __attribute__((constructor)) begin(void)
{
    bornNs = now();
    owner = getpid();
}

static void __attribute__((destructor)) end(void)
{
    const char *const prefix = getenv("TRUTH_CLOCK");
    char path[4096];
    FILE *file;
    if (!prefix || getpid() != owner)
        return;
    const double life = 1e-9 * (double)((endNs != 0 ? endNs : now()) - bornNs);
    depth = 1; /* what follows isn't the program's */
    snprintf(path, sizeof path, "%s.%d", prefix, (int)owner);
    file = fopen(path, "w");
    if (!file)
        return;
#define FIGURE(name, ns) fprintf(file, "%s %.9f\n", name, 1e-9 * (double)(ns))
    fprintf(file, "main %.9f\n", life);
    FIGURE("threads", othersLivedNs);
    FIGURE("mpi", mainNs[Mpi]);
    FIGURE("read", mainNs[Read]);
    FIGURE("write", mainNs[Write]);
    FIGURE("omp", mainNs[Omp]);
    FIGURE("sync", mainNs[Sync]);
    FIGURE("threadSync", otherNs[Sync]);
    FIGURE("threadRead", otherNs[Read]);
    FIGURE("threadWrite", otherNs[Write]);
    fclose(file);
}
