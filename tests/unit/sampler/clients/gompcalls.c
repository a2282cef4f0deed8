/* gompcalls
 *
 * Makes every wrapped call of GCC's OpenMP runtime, those that only other versions of the compiler make among
 * them, and prints what comes of it. */
#include <omp.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

/* Ways to share out a loop, as the runtime numbers them. */
enum { Static = 1, Dynamic = 2 };
enum { Threads = 2, Turns = 100, Chunk = 7, Sections = 5 };

typedef unsigned long long Ull;

/* No header declares these calls: compilers know them. Those without a chunk take it from OMP_SCHEDULE. */
typedef bool Start(long first, long end, long step, long chunk, long *from, long *to);
typedef bool RuntimeStart(long first, long end, long step, long *from, long *to);
typedef bool AnyStart(long first, long end, long step, long schedule, long chunk, long *from, long *to,
    uintptr_t *reductions, void **memory);
typedef bool Across(unsigned loops, long *turns, long chunk, long *from, long *to);
typedef bool RuntimeAcross(unsigned loops, long *turns, long *from, long *to);
typedef bool AnyAcross(unsigned loops, long *turns, long schedule, long chunk, long *from, long *to,
    uintptr_t *reductions, void **memory);
typedef bool Next(long *from, long *to);
typedef bool UllStart(bool up, Ull first, Ull end, Ull step, Ull chunk, Ull *from, Ull *to);
typedef bool UllRuntimeStart(bool up, Ull first, Ull end, Ull step, Ull *from, Ull *to);
typedef bool UllAnyStart(bool up, Ull first, Ull end, Ull step, long schedule, Ull chunk, Ull *from, Ull *to,
    uintptr_t *reductions, void **memory);
typedef bool UllAcross(unsigned loops, Ull *turns, Ull chunk, Ull *from, Ull *to);
typedef bool UllRuntimeAcross(unsigned loops, Ull *turns, Ull *from, Ull *to);
typedef bool UllAnyAcross(unsigned loops, Ull *turns, long schedule, Ull chunk, Ull *from, Ull *to,
    uintptr_t *reductions, void **memory);
typedef bool UllNext(Ull *from, Ull *to);
typedef void ParallelLoop(void (*body)(void *), void *data, unsigned threads, long first, long end, long step,
    long chunk, unsigned flags);
typedef void ParallelRuntimeLoop(
    void (*body)(void *), void *data, unsigned threads, long first, long end, long step, unsigned flags);

Start GOMP_loop_static_start, GOMP_loop_dynamic_start, GOMP_loop_guided_start,
    GOMP_loop_nonmonotonic_dynamic_start, GOMP_loop_nonmonotonic_guided_start, GOMP_loop_ordered_static_start,
    GOMP_loop_ordered_dynamic_start, GOMP_loop_ordered_guided_start;
RuntimeStart GOMP_loop_runtime_start, GOMP_loop_nonmonotonic_runtime_start,
    GOMP_loop_maybe_nonmonotonic_runtime_start, GOMP_loop_ordered_runtime_start;
AnyStart GOMP_loop_start, GOMP_loop_ordered_start;
Across GOMP_loop_doacross_static_start, GOMP_loop_doacross_dynamic_start, GOMP_loop_doacross_guided_start;
RuntimeAcross GOMP_loop_doacross_runtime_start;
AnyAcross GOMP_loop_doacross_start;
Next GOMP_loop_static_next, GOMP_loop_dynamic_next, GOMP_loop_guided_next, GOMP_loop_runtime_next,
    GOMP_loop_nonmonotonic_dynamic_next, GOMP_loop_nonmonotonic_guided_next,
    GOMP_loop_nonmonotonic_runtime_next, GOMP_loop_maybe_nonmonotonic_runtime_next,
    GOMP_loop_ordered_static_next, GOMP_loop_ordered_dynamic_next, GOMP_loop_ordered_guided_next,
    GOMP_loop_ordered_runtime_next;
UllStart GOMP_loop_ull_static_start, GOMP_loop_ull_dynamic_start, GOMP_loop_ull_guided_start,
    GOMP_loop_ull_nonmonotonic_dynamic_start, GOMP_loop_ull_nonmonotonic_guided_start,
    GOMP_loop_ull_ordered_static_start, GOMP_loop_ull_ordered_dynamic_start,
    GOMP_loop_ull_ordered_guided_start;
UllRuntimeStart GOMP_loop_ull_runtime_start, GOMP_loop_ull_nonmonotonic_runtime_start,
    GOMP_loop_ull_maybe_nonmonotonic_runtime_start, GOMP_loop_ull_ordered_runtime_start;
UllAnyStart GOMP_loop_ull_start, GOMP_loop_ull_ordered_start;
UllAcross GOMP_loop_ull_doacross_static_start, GOMP_loop_ull_doacross_dynamic_start,
    GOMP_loop_ull_doacross_guided_start;
UllRuntimeAcross GOMP_loop_ull_doacross_runtime_start;
UllAnyAcross GOMP_loop_ull_doacross_start;
UllNext GOMP_loop_ull_static_next, GOMP_loop_ull_dynamic_next, GOMP_loop_ull_guided_next,
    GOMP_loop_ull_runtime_next, GOMP_loop_ull_nonmonotonic_dynamic_next,
    GOMP_loop_ull_nonmonotonic_guided_next, GOMP_loop_ull_nonmonotonic_runtime_next,
    GOMP_loop_ull_maybe_nonmonotonic_runtime_next, GOMP_loop_ull_ordered_static_next,
    GOMP_loop_ull_ordered_dynamic_next, GOMP_loop_ull_ordered_guided_next, GOMP_loop_ull_ordered_runtime_next;
ParallelLoop GOMP_parallel_loop_static, GOMP_parallel_loop_dynamic, GOMP_parallel_loop_guided,
    GOMP_parallel_loop_nonmonotonic_dynamic, GOMP_parallel_loop_nonmonotonic_guided;
ParallelRuntimeLoop GOMP_parallel_loop_runtime, GOMP_parallel_loop_nonmonotonic_runtime,
    GOMP_parallel_loop_maybe_nonmonotonic_runtime;
void GOMP_parallel_sections(
    void (*body)(void *), void *data, unsigned threads, unsigned count, unsigned flags);
void GOMP_loop_end(void);
bool GOMP_loop_end_cancel(void);
void GOMP_loop_end_nowait(void);
bool GOMP_barrier_cancel(void);
void GOMP_ordered_start(void);
void GOMP_ordered_end(void);
void GOMP_atomic_start(void);
void GOMP_atomic_end(void);
unsigned GOMP_sections_start(unsigned count);
unsigned GOMP_sections2_start(unsigned count, uintptr_t *reductions, void **memory);
unsigned GOMP_sections_next(void);
void GOMP_sections_end(void);
bool GOMP_sections_end_cancel(void);
void GOMP_sections_end_nowait(void);
void omp_init_lock_(uintptr_t *lock);
void omp_set_lock_(uintptr_t *lock);
void omp_unset_lock_(uintptr_t *lock);
void omp_init_nest_lock_(uintptr_t *lock);
void omp_set_nest_lock_(uintptr_t *lock);
void omp_unset_nest_lock_(uintptr_t *lock);

/* What the turns of a loop come to in their order. */
static Ull sequence;

/* In which order turns are taken matters in ordered loops only, and there it is given. */
#define ANYHOW (sum += (Ull)i)
#define IN_TURN (GOMP_ordered_start(), sequence = sequence * 31 + (Ull)i, GOMP_ordered_end())

/* A loop whose turns the threads of a team share out among themselves. */
#define LOOP(type, turn, start, next, ...)                                                                   \
    do {                                                                                                     \
        Ull sum = 0;                                                                                         \
        sequence = 0;                                                                                        \
        _Pragma("omp parallel num_threads(Threads) reduction(+ : sum)")                                      \
        {                                                                                                    \
            type from;                                                                                       \
            type to;                                                                                         \
            if (GOMP_loop_##start(__VA_ARGS__)) {                                                            \
                do {                                                                                         \
                    for (type i = from; i < to; ++i)                                                         \
                        turn;                                                                                \
                } while (GOMP_loop_##next(&from, &to));                                                      \
            }                                                                                                \
            GOMP_loop_end();                                                                                 \
        }                                                                                                    \
        printf("%s %llu %llu\n", #start, sum, sequence);                                                     \
    } while (0)

#define SPAN 0, Turns, 1
#define PLACE &from, &to

static void loops(void)
{
    LOOP(long, ANYHOW, static_start, static_next, SPAN, Chunk, PLACE);
    LOOP(long, ANYHOW, dynamic_start, dynamic_next, SPAN, Chunk, PLACE);
    LOOP(long, ANYHOW, guided_start, guided_next, SPAN, Chunk, PLACE);
    LOOP(long, ANYHOW, runtime_start, runtime_next, SPAN, PLACE);
    LOOP(long, ANYHOW, nonmonotonic_dynamic_start, nonmonotonic_dynamic_next, SPAN, Chunk, PLACE);
    LOOP(long, ANYHOW, nonmonotonic_guided_start, nonmonotonic_guided_next, SPAN, Chunk, PLACE);
    LOOP(long, ANYHOW, nonmonotonic_runtime_start, nonmonotonic_runtime_next, SPAN, PLACE);
    LOOP(long, ANYHOW, maybe_nonmonotonic_runtime_start, maybe_nonmonotonic_runtime_next, SPAN, PLACE);
    LOOP(long, ANYHOW, start, dynamic_next, SPAN, Dynamic, Chunk, PLACE, NULL, NULL);
    LOOP(long, IN_TURN, ordered_static_start, ordered_static_next, SPAN, Chunk, PLACE);
    LOOP(long, IN_TURN, ordered_dynamic_start, ordered_dynamic_next, SPAN, Chunk, PLACE);
    LOOP(long, IN_TURN, ordered_guided_start, ordered_guided_next, SPAN, Chunk, PLACE);
    LOOP(long, IN_TURN, ordered_runtime_start, ordered_runtime_next, SPAN, PLACE);
    LOOP(long, IN_TURN, ordered_start, ordered_static_next, SPAN, Static, Chunk, PLACE, NULL, NULL);
    long turns = Turns;
    LOOP(long, ANYHOW, doacross_static_start, static_next, 1, &turns, Chunk, PLACE);
    LOOP(long, ANYHOW, doacross_dynamic_start, dynamic_next, 1, &turns, Chunk, PLACE);
    LOOP(long, ANYHOW, doacross_guided_start, guided_next, 1, &turns, Chunk, PLACE);
    LOOP(long, ANYHOW, doacross_runtime_start, runtime_next, 1, &turns, PLACE);
    LOOP(long, ANYHOW, doacross_start, static_next, 1, &turns, Static, Chunk, PLACE, NULL, NULL);
}

static void ullLoops(void)
{
    LOOP(Ull, ANYHOW, ull_static_start, ull_static_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_dynamic_start, ull_dynamic_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_guided_start, ull_guided_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_runtime_start, ull_runtime_next, true, SPAN, PLACE);
    LOOP(
        Ull, ANYHOW, ull_nonmonotonic_dynamic_start, ull_nonmonotonic_dynamic_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_nonmonotonic_guided_start, ull_nonmonotonic_guided_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_nonmonotonic_runtime_start, ull_nonmonotonic_runtime_next, true, SPAN, PLACE);
    LOOP(Ull, ANYHOW, ull_maybe_nonmonotonic_runtime_start, ull_maybe_nonmonotonic_runtime_next, true, SPAN,
        PLACE);
    LOOP(Ull, ANYHOW, ull_start, ull_dynamic_next, true, SPAN, Dynamic, Chunk, PLACE, NULL, NULL);
    LOOP(Ull, IN_TURN, ull_ordered_static_start, ull_ordered_static_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, IN_TURN, ull_ordered_dynamic_start, ull_ordered_dynamic_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, IN_TURN, ull_ordered_guided_start, ull_ordered_guided_next, true, SPAN, Chunk, PLACE);
    LOOP(Ull, IN_TURN, ull_ordered_runtime_start, ull_ordered_runtime_next, true, SPAN, PLACE);
    LOOP(Ull, IN_TURN, ull_ordered_start, ull_ordered_static_next, true, SPAN, Static, Chunk, PLACE, NULL,
        NULL);
    Ull turns = Turns;
    LOOP(Ull, ANYHOW, ull_doacross_static_start, ull_static_next, 1, &turns, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_doacross_dynamic_start, ull_dynamic_next, 1, &turns, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_doacross_guided_start, ull_guided_next, 1, &turns, Chunk, PLACE);
    LOOP(Ull, ANYHOW, ull_doacross_runtime_start, ull_runtime_next, 1, &turns, PLACE);
    LOOP(Ull, ANYHOW, ull_doacross_start, ull_static_next, 1, &turns, Static, Chunk, PLACE, NULL, NULL);
}

static Ull total;

static void add(Ull value)
{
    __atomic_fetch_add(&total, value, __ATOMIC_RELAXED);
}

static void tell(const char *call)
{
    printf("%s %llu\n", call, total);
    total = 0;
}

static void takeTurns(void *next)
{
    long from;
    long to;
    while ((*(Next **)next)(&from, &to)) {
        for (long i = from; i < to; ++i)
            add((Ull)i);
    }
    GOMP_loop_end_nowait();
}

static void parallelLoops(void)
{
    Next *next;
#define PARALLEL_LOOP(call, nextCall, ...)                                                                   \
    (next = GOMP_loop_##nextCall, GOMP_parallel_loop_##call(takeTurns, &next, Threads, SPAN, __VA_ARGS__),   \
        tell("parallel_loop_" #call))
    PARALLEL_LOOP(static, static_next, Chunk, 0);
    PARALLEL_LOOP(dynamic, dynamic_next, Chunk, 0);
    PARALLEL_LOOP(guided, guided_next, Chunk, 0);
    PARALLEL_LOOP(runtime, runtime_next, 0);
    PARALLEL_LOOP(nonmonotonic_dynamic, nonmonotonic_dynamic_next, Chunk, 0);
    PARALLEL_LOOP(nonmonotonic_guided, nonmonotonic_guided_next, Chunk, 0);
    PARALLEL_LOOP(nonmonotonic_runtime, nonmonotonic_runtime_next, 0);
    PARALLEL_LOOP(maybe_nonmonotonic_runtime, maybe_nonmonotonic_runtime_next, 0);
}

static void takeSections(unsigned section)
{
    for (; section != 0; section = GOMP_sections_next())
        add(section);
}

static void sectionsOfRegion(void *nothing)
{
    (void)nothing;
    takeSections(GOMP_sections_next());
    GOMP_sections_end_nowait();
}

static void sections(void)
{
    GOMP_parallel_sections(sectionsOfRegion, NULL, Threads, Sections, 0);
    tell("parallel_sections");
#pragma omp parallel num_threads(Threads)
    {
        takeSections(GOMP_sections_start(Sections));
        GOMP_sections_end();
        takeSections(GOMP_sections2_start(Sections, NULL, NULL));
        add(GOMP_sections_end_cancel());
    }
    tell("sections");
}

static void takingTurns(void)
{
    omp_lock_t lock;
    omp_nest_lock_t nested;
    uintptr_t lockOfFortran = 0;
    uintptr_t nestedOfFortran = 0;
    Ull plain = 0;
    omp_init_lock(&lock);
    omp_init_nest_lock(&nested);
    omp_init_lock_(&lockOfFortran);
    omp_init_nest_lock_(&nestedOfFortran);
#pragma omp parallel num_threads(Threads)
    for (int i = 0; i < Turns; ++i) {
#define LOCKED(take, leave) (take, ++plain, leave)
        LOCKED(omp_set_lock(&lock), omp_unset_lock(&lock));
#pragma omp barrier
        LOCKED(omp_set_nest_lock(&nested), omp_unset_nest_lock(&nested));
#pragma omp barrier
        LOCKED(omp_set_lock_(&lockOfFortran), omp_unset_lock_(&lockOfFortran));
#pragma omp barrier
        LOCKED(omp_set_nest_lock_(&nestedOfFortran), omp_unset_nest_lock_(&nestedOfFortran));
        add(GOMP_barrier_cancel());
        LOCKED(GOMP_atomic_start(), GOMP_atomic_end());
#pragma omp barrier
#pragma omp critical
        ++plain;
#pragma omp barrier
#pragma omp critical(named)
        ++plain;
#pragma omp barrier
    }
    add(plain);
    tell("locks");
#pragma omp parallel num_threads(Threads)
    {
        Ull copied = 0;
#pragma omp single
        add(1);
#pragma omp single copyprivate(copied)
        copied = 7;
        add(copied);
        long from;
        long to;
        if (GOMP_loop_static_start(SPAN, Chunk, PLACE))
            add(1);
        add(GOMP_loop_end_cancel());
    }
    tell("single");
}

static void tasks(void)
{
    Ull sum = 0;
    Ull sumOfScope = 0;
#pragma omp parallel num_threads(Threads) reduction(task, + : sum)
    {
#pragma omp task in_reduction(+ : sum)
        sum += 3;
    }
#pragma omp parallel num_threads(Threads)
#pragma omp scope reduction(task, + : sumOfScope)
    sumOfScope += 5;
    add(sum + sumOfScope);
    tell("reductions");
#pragma omp parallel num_threads(Threads)
#pragma omp single
    {
        int order = 0;
        (void)order;
        /* With a bound that it knows to fit, the compiler would count in signed numbers. */
        volatile Ull turns = Turns;
#pragma omp taskgroup
        {
#pragma omp task
            add(1);
#pragma omp taskloop
            for (int i = 0; i < Turns; ++i)
                add((Ull)i);
#pragma omp taskloop
            for (Ull i = 0; i < turns; ++i)
                add(i);
        }
#pragma omp task depend(out : order)
        add(5);
#pragma omp taskyield
#pragma omp taskwait depend(in : order)
#pragma omp taskwait
    }
    tell("tasks");
}

int main(void)
{
    loops();
    ullLoops();
    parallelLoops();
    sections();
    takingTurns();
    tasks();
    return 0;
}
