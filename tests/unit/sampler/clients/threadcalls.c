/* threadcalls
 *
 * Makes every wrapped call that waits, works on threads, or changes what the process is or may do, and prints
 * what it gives. */
#define _GNU_SOURCE
#include "results.h"

#include <fcntl.h>
#include <grp.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <setjmp.h>
#include <stdlib.h>
#include <threads.h>
#include <time.h>

void __longjmp_chk(struct __jmp_buf_tag *place, int value);

static const struct timespec Moment = {0, 1000};
static const struct timespec Past = {1, 0};

static void sleeping(void)
{
    GIVES(sleep, 0);
    GIVES(usleep, 1);
    GIVES(nanosleep, &Moment, NULL);
    GIVES(clock_nanosleep, CLOCK_MONOTONIC, 0, &Moment, NULL);
    GIVES(clock_nanosleep, -1, 0, &Moment, NULL);
    GIVES(thrd_sleep, &Moment, NULL);
}

static struct timespec later(clockid_t clock)
{
    struct timespec time;
    clock_gettime(clock, &time);
    time.tv_sec += 100;
    return time;
}

static void *number(void *pointer)
{
    return (void *)(*(intptr_t *)pointer + 1);
}

static int numberOfC11(void *pointer)
{
    return (int)*(intptr_t *)pointer + 1;
}

static void joining(void)
{
    const struct timespec end = later(CLOCK_REALTIME);
    const struct timespec monotonicEnd = later(CLOCK_MONOTONIC);
    intptr_t seven = 7;
    void *result = NULL;
    int resultOfC11 = 0;
    pthread_t thread;
    thrd_t threadOfC11;
#define JOINS(call, ...)                                                                                     \
    do {                                                                                                     \
        GIVES(pthread_create, &thread, NULL, number, &seven);                                                \
        GIVES(call, thread, &result, ##__VA_ARGS__);                                                         \
        tell("result", (long)(intptr_t)result);                                                              \
    } while (0)
    JOINS(pthread_join);
    JOINS(pthread_timedjoin_np, &end);
    JOINS(pthread_clockjoin_np, CLOCK_MONOTONIC, &monotonicEnd);
    GIVES(thrd_create, &threadOfC11, numberOfC11, &seven);
    GIVES(thrd_join, threadOfC11, &resultOfC11);
    tell("result", resultOfC11);
}

static void locking(void)
{
    const struct timespec end = later(CLOCK_REALTIME);
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    pthread_spinlock_t spin;
    mtx_t mutexOfC11;
    GIVES(pthread_mutex_lock, &mutex);
    GIVES(pthread_mutex_timedlock, &mutex, &Past);
    GIVES(pthread_mutex_clocklock, &mutex, CLOCK_MONOTONIC, &Past);
    pthread_mutex_unlock(&mutex);
    GIVES(pthread_mutex_timedlock, &mutex, &end);
    GIVES(pthread_rwlock_rdlock, &lock);
    GIVES(pthread_rwlock_timedrdlock, &lock, &end);
    GIVES(pthread_rwlock_clockrdlock, &lock, CLOCK_MONOTONIC, &end);
    GIVES(pthread_rwlock_timedwrlock, &lock, &Past);
    GIVES(pthread_rwlock_clockwrlock, &lock, CLOCK_MONOTONIC, &Past);
    for (int i = 0; i < 3; ++i)
        pthread_rwlock_unlock(&lock);
    GIVES(pthread_rwlock_wrlock, &lock);
    pthread_spin_init(&spin, PTHREAD_PROCESS_PRIVATE);
    GIVES(pthread_spin_lock, &spin);
    mtx_init(&mutexOfC11, mtx_timed);
    GIVES(mtx_lock, &mutexOfC11);
    GIVES(mtx_timedlock, &mutexOfC11, &Past);
}

static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
static mtx_t mutexOfC11;
static cnd_t conditionOfC11;
static int isReady;

static void *wake(void *nothing)
{
    pthread_mutex_lock(&mutex);
    isReady = 1;
    pthread_cond_signal(&condition);
    pthread_mutex_unlock(&mutex);
    return nothing;
}

static int wakeOfC11(void *nothing)
{
    (void)nothing;
    mtx_lock(&mutexOfC11);
    isReady = 1;
    cnd_signal(&conditionOfC11);
    mtx_unlock(&mutexOfC11);
    return 0;
}

static void awaiting(void)
{
    pthread_barrier_t barrier;
    sem_t semaphore;
    pthread_t thread;
    thrd_t threadOfC11;
    errno = 0;
    pthread_mutex_lock(&mutex);
    pthread_create(&thread, NULL, wake, NULL);
    int result = 0;
    while (!isReady)
        result = pthread_cond_wait(&condition, &mutex);
    tell("pthread_cond_wait", result);
    GIVES(pthread_cond_timedwait, &condition, &mutex, &Past);
    GIVES(pthread_cond_clockwait, &condition, &mutex, CLOCK_MONOTONIC, &Past);
    pthread_mutex_unlock(&mutex);
    pthread_join(thread, NULL);
    isReady = 0;
    mtx_init(&mutexOfC11, mtx_plain);
    cnd_init(&conditionOfC11);
    mtx_lock(&mutexOfC11);
    thrd_create(&threadOfC11, wakeOfC11, NULL);
    while (!isReady)
        result = cnd_wait(&conditionOfC11, &mutexOfC11);
    tell("cnd_wait", result);
    GIVES(cnd_timedwait, &conditionOfC11, &mutexOfC11, &Past);
    mtx_unlock(&mutexOfC11);
    thrd_join(threadOfC11, NULL);
    pthread_barrier_init(&barrier, NULL, 1);
    GIVES(pthread_barrier_wait, &barrier);
    sem_init(&semaphore, 0, 2);
    GIVES(sem_wait, &semaphore);
    GIVES(sem_timedwait, &semaphore, &Past);
    GIVES(sem_timedwait, &semaphore, &Past);
    GIVES(sem_clockwait, &semaphore, CLOCK_MONOTONIC, &Past);
}

static void ending(void)
{
    const char *echo = "/bin/echo";
    char *const words[] = {"echo", "from", "a", "list", NULL};
    const int fd = open(echo, O_RDONLY);
    ENDS(_exit, 3);
    ENDS(_Exit, 4);
    ENDS(execl, echo, "echo", "one", "by", "one", (char *)NULL);
    ENDS(execlp, "echo", "echo", "looked", "for", (char *)NULL);
    ENDS(execle, echo, "echo", "with", "an environment", (char *)NULL, environ);
    ENDS(execv, echo, words);
    ENDS(execvp, "echo", words);
    ENDS(execve, echo, words, environ);
    ENDS(execvpe, "echo", words, environ);
    ENDS(fexecve, fd, words, environ);
    ENDS(execveat, AT_FDCWD, echo, words, environ, 0);
    GIVES(execv, "nowhere", words);
}

static void jumping(void)
{
    jmp_buf place;
#define JUMPS(call)                                                                                          \
    do {                                                                                                     \
        if (setjmp(place) == 0)                                                                              \
            (call)(place, 5);                                                                                \
        else                                                                                                 \
            tell(#call, 5);                                                                                  \
    } while (0)
    errno = 0;
    JUMPS(longjmp);
    JUMPS(_longjmp);
    JUMPS(siglongjmp);
    JUMPS(__longjmp_chk);
}

/* Each leaves what it sets as it is. */
static void belonging(void)
{
    enum { Room = 100 };
    const uid_t sameUser = (uid_t)-1;
    const gid_t sameGroup = (gid_t)-1;
    gid_t groups[Room];
    const int count = getgroups(Room, groups);
    GIVES(setuid, getuid());
    GIVES(seteuid, geteuid());
    GIVES(setreuid, sameUser, sameUser);
    GIVES(setresuid, sameUser, sameUser, sameUser);
    GIVES(setgid, getgid());
    GIVES(setegid, getegid());
    GIVES(setregid, sameGroup, sameGroup);
    GIVES(setresgid, sameGroup, sameGroup, sameGroup);
    GIVES(setgroups, (size_t)count, groups);
    GIVES(initgroups, "root", 0);
    GIVES(unshare, 0);
    GIVES(setns, -1, 0);
}

int main(void)
{
    openReport();
    sleeping();
    joining();
    locking();
    awaiting();
    ending();
    jumping();
    belonging();
    return 0;
}
