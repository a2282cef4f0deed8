/* guest WHAT [FILE]
 *
 * Does one thing that a guest in the process could disturb, and prints what a program can see of it. The
 * output depends on nothing but the arguments. */
#define _GNU_SOURCE
#include "clock.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <setjmp.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

/* Long enough for the sampler to look several times. */
static const double AWhile = 0.15;

static void say(const char *text)
{
    printf("%s\n", text);
    fflush(stdout);
}

static int waitFor(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    printf("child: exited %d status %d signal %d\n", WIFEXITED(status), WEXITSTATUS(status),
        WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    return 0;
}

static int doFork(void)
{
    for (int i = 0; i < 50; ++i) {
        const pid_t child = fork();
        if (child == 0)
            _exit(i);
        int status;
        waitpid(child, &status, 0);
        if (WEXITSTATUS(status) != i)
            return 1;
    }
    const pid_t child = fork();
    if (child == 0) {
        compute(AWhile);
        say("the child lives on");
        exit(3);
    }
    return waitFor(child);
}

static int doVfork(void)
{
    const pid_t child = vfork();
    if (child == 0) {
        execl("/bin/echo", "echo", "from", "vfork", (char *)NULL);
        _exit(127);
    }
    waitFor(child);
    const pid_t failed = vfork();
    if (failed == 0) {
        execl("/no/such/program", "program", (char *)NULL);
        _exit(127);
    }
    compute(AWhile);
    return waitFor(failed);
}

static int doSpawn(void)
{
    pid_t child;
    char *arguments[] = {"echo", "from", "spawn", NULL};
    const int error = posix_spawn(&child, "/bin/echo", NULL, NULL, arguments, environ);
    waitFor(child);
    printf("spawn: %d\n", error);
    FILE *pipe = popen("echo from popen; exit 5", "r");
    char line[100] = "";
    if (!fgets(line, sizeof line, pipe))
        return 1;
    printf("%s%d\n", line, WEXITSTATUS(pclose(pipe)));
    fflush(stdout);
    return system("echo from system; exit 6") == 6 << 8 ? 0 : 1;
}

static int doExec(void)
{
    compute(AWhile);
    say("before exec");
    execlp("sh", "sh", "-c", "echo from exec; sleep 0.1; exit 9", (char *)NULL);
    return 1;
}

static int doFailedExec(void)
{
    char *arguments[] = {"program", NULL};
    compute(AWhile / 10);
    printf("%d %s\n", execv("/no/such/program", arguments), strerror(errno));
    printf("%d %s\n", execvp("no-such-program-anywhere", arguments), strerror(errno));
    compute(AWhile);
    return 0;
}

static void *computeInThread(void *result)
{
    compute(AWhile);
    *(int *)result += 1;
    return result;
}

static int doThreads(void)
{
    pthread_t threads[4];
    int results[4] = {0, 10, 20, 30};
    for (int i = 0; i < 4; ++i)
        pthread_create(&threads[i], NULL, computeInThread, &results[i]);
    for (int i = 0; i < 4; ++i) {
        void *result;
        pthread_join(threads[i], &result);
        printf("thread %d: %d\n", i, *(int *)result);
    }
    return 0;
}

/* As the helper threads of libraries do that wait for events. */
static void *waitForEvents(void *unused)
{
    (void)unused;
    poll(NULL, 0, 300);
    return NULL;
}

static int doIdleThread(void)
{
    pthread_t thread;
    pthread_create(&thread, NULL, waitForEvents, NULL);
    compute(2 * AWhile);
    pthread_join(thread, NULL);
    say("nothing happened");
    return 0;
}

/* Waits in calls of its own, as runtimes of other languages do, and computes. */
static void *waitByItself(void *unused)
{
    (void)unused;
    static unsigned word;
    const struct timespec time = {0, 250000000};
    const double start = seconds();
    syscall(SYS_futex, &word, 128 /* wait, private */, 0, &time, NULL, 0);
    const double waited = seconds();
    poll(NULL, 0, 250);
    const double polled = seconds();
    const double computed = compute(0.25);
    printf("futex %f\npoll %f\ncompute %f\n", waited - start, polled - waited, computed);
    return NULL;
}

static int doRawWaits(void)
{
    pthread_t thread;
    static unsigned word;
    const struct timespec time = {0, 800000000};
    const double start = seconds();
    pthread_create(&thread, NULL, waitByItself, NULL);
    const double created = seconds();
    syscall(SYS_futex, &word, 128, 0, &time, NULL, 0);
    pthread_join(thread, NULL);
    const double joined = seconds();
    printf("main.wait %f\nmain %f\n", joined - created, joined - start);
    return 0;
}

static void *waitAtBarrier(void *barrier)
{
    pthread_barrier_wait(barrier);
    return NULL;
}

static int waitAtBarrierWith(int count)
{
    static pthread_t threads[10000];
    pthread_attr_t small;
    pthread_barrier_t barrier;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, 1 << 16);
    pthread_barrier_init(&barrier, NULL, count + 1);
    for (int i = 0; i < count; ++i) {
        if (pthread_create(&threads[i], &small, waitAtBarrier, &barrier) != 0)
            abort();
    }
    pthread_barrier_wait(&barrier);
    for (int i = 0; i < count; ++i)
        pthread_join(threads[i], NULL);
    say("all gone");
    return 0;
}

static int doManyThreads(void)
{
    return waitAtBarrierWith(1100);
}

static int doTenThousandThreads(void)
{
    return waitAtBarrierWith(10000);
}

static void *outliveMain(void *unused)
{
    (void)unused;
    compute(AWhile);
    say("the last thread");
    return NULL;
}

static int doMainExits(void)
{
    pthread_t thread;
    pthread_create(&thread, NULL, outliveMain, NULL);
    say("main leaves");
    pthread_exit(NULL);
}

static int doRawExit(void)
{
    say("the only thread ends without a word to the C library");
    syscall(SYS_exit, 0);
    return 1;
}

static void *waitForever(void *pipeEnd)
{
    char c;
    (void)!read(*(int *)pipeEnd, &c, 1);
    return NULL;
}

static int doCancel(void)
{
    int ends[2];
    pthread_t thread;
    void *result;
    if (pipe(ends) != 0)
        return 1;
    pthread_create(&thread, NULL, waitForever, &ends[0]);
    compute(AWhile);
    pthread_cancel(thread);
    pthread_join(thread, &result);
    say(result == PTHREAD_CANCELED ? "cancelled" : "not cancelled");
    return 0;
}

static int doCloseAll(const char *file)
{
    compute(AWhile);
    for (int fd = 3; fd < 1024; ++fd)
        close(fd);
    close_range(3, ~0U, 0);
    printf("first free descriptor: %d\n", open(file, O_WRONLY | O_CREAT, 0600));
    printf("wrote: %zd\n", write(3, "text", 4));
    compute(AWhile);
    return 0;
}

static int doPipeEnd(void)
{
    int ends[2];
    char c;
    if (pipe(ends) != 0)
        return 1;
    compute(AWhile);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        const ssize_t got = read(ends[0], &c, 1); /* 0 once nobody else can write */
        printf("the pipe's end: %zd\n", got);
        exit(0);
    }
    close(ends[1]);
    return waitFor(child);
}

static int doQuickExit(void)
{
    compute(AWhile);
    say("leaving at once");
    _exit(7);
}

static int doDaemon(void)
{
    if (daemon(1, 1) != 0)
        return 1;
    compute(AWhile);
    say("the daemon");
    return 0;
}

static volatile sig_atomic_t alarms;
static sigjmp_buf place;

static void countAlarm(int number)
{
    (void)number;
    ++alarms;
}

static void jumpOut(int number)
{
    (void)number;
    siglongjmp(place, 1);
}

static int doSignals(void)
{
    struct sigaction action = {.sa_handler = countAlarm};
    sigaction(SIGALRM, &action, NULL);
    sigaction(SIGPROF, &action, NULL);
    const struct itimerval once = {{0, 0}, {0, 50000}};
    setitimer(ITIMER_REAL, &once, NULL);
    const struct timespec day = {86400, 0};
    printf("sleep interrupted: %d %s\n", nanosleep(&day, NULL), strerror(errno));
    printf("signals: %d\n", (int)alarms);

    const struct itimerval often = {{0, 2000}, {0, 2000}};
    setitimer(ITIMER_PROF, &often, NULL);
    /* Its clock is that of the CPU time, of which a busy machine gives little. */
    for (int i = 0; alarms <= 5 && i < 100; ++i)
        compute(AWhile);
    const struct itimerval never = {{0, 0}, {0, 0}};
    setitimer(ITIMER_PROF, &never, NULL);
    printf("profiling signals: %d\n", alarms > 5);

    sigset_t set;
    sigset_t before;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR1);
    sigprocmask(SIG_BLOCK, &set, &before);
    kill(getpid(), SIGUSR1);
    int number = 0;
    printf("waited for: %d", sigwait(&set, &number));
    printf(" %d\n", number == SIGUSR1);
    fflush(stdout);
    raise(SIGTERM);
    return 0;
}

static int doJump(void)
{
    int ends[2];
    char c;
    struct sigaction action = {.sa_handler = jumpOut};
    sigaction(SIGALRM, &action, NULL);
    if (pipe(ends) != 0)
        return 1;
    if (sigsetjmp(place, 1) == 0) {
        alarm(1);
        (void)!usleep(900000);
        pause();
    }
    if (sigsetjmp(place, 1) == 0) {
        const struct itimerval once = {{0, 0}, {0, 50000}};
        setitimer(ITIMER_REAL, &once, NULL);
        sleep(100);
        (void)!read(ends[0], &c, 1);
    }
    compute(4 * AWhile);
    say("jumped out of sleep");
    return 0;
}

static int doAbort(void)
{
    compute(AWhile);
    say("aborting");
    abort();
}

static int doUnload(const char *library)
{
    void *handle = dlopen(library, RTLD_NOW);
    compute(AWhile);
    printf("unloaded: %d\n", handle ? dlclose(handle) : -1);
    compute(AWhile);
    return 0;
}

static int doRights(void)
{
    compute(AWhile);
    printf("unshare: %d\n", unshare(CLONE_NEWUSER));
    printf("setresuid: %d\n", setresuid(getuid(), getuid(), getuid()));
    printf("setgid: %d\n", setgid(getgid()));
    compute(AWhile);
    return 0;
}

static void *spinUntilTold(void *isOver)
{
    while (!*(volatile int *)isOver)
        ;
    return NULL;
}

/* The processor that the sampling thread is bound to; -1 if there are several. */
static int processorOfSampler(void)
{
    int found = -1;
    struct dirent *entry;
    DIR *const folder = opendir("/proc/self/task");
    while (folder && (entry = readdir(folder))) {
        char path[300];
        char line[300] = "";
        snprintf(path, sizeof path, "/proc/self/task/%s/comm", entry->d_name);
        FILE *file = fopen(path, "r");
        if (!file)
            continue;
        const int isIt = fgets(line, sizeof line, file) && strcmp(line, "fern-sampler\n") == 0;
        fclose(file);
        cpu_set_t processors;
        CPU_ZERO(&processors);
        if (!isIt || sched_getaffinity(atoi(entry->d_name), sizeof processors, &processors) != 0
            || CPU_COUNT(&processors) != 1)
            continue;
        for (int i = 0; i < CPU_SETSIZE; ++i)
            found = CPU_ISSET(i, &processors) ? i : found;
    }
    closedir(folder);
    return found;
}

/* A thread for each processor keeps all of them busy; the main thread is on the first, and then on the last.
 */
static int doFullNode(void)
{
    enum { MaxThreads = 1024 };
    static pthread_t threads[MaxThreads];
    static int isOver;
    const long processors = sysconf(_SC_NPROCESSORS_ONLN);
    const int places[] = {0, (int)processors - 1};
    for (long i = 0; i < processors && i < MaxThreads; ++i)
        pthread_create(&threads[i], NULL, spinUntilTold, &isOver);
    for (int i = 0; i < 2; ++i) {
        cpu_set_t place;
        CPU_ZERO(&place);
        CPU_SET(places[i], &place);
        const int isBound = sched_setaffinity(0, sizeof place, &place) == 0;
        int follows = 0;
        for (int turn = 0; turn < 100 && isBound && !follows; ++turn) {
            compute(AWhile / 4);
            follows = processorOfSampler() == places[i];
        }
        printf("%s\n", !isBound ? "no such processor" : follows ? "follows" : "stays away");
    }
    isOver = 1;
    for (long i = 0; i < processors && i < MaxThreads; ++i)
        pthread_join(threads[i], NULL);
    return 0;
}

int main(int count, char **arguments)
{
    const char *what = count > 1 ? arguments[1] : "";
    static const struct {
        const char *name;
        int (*action)(void);
    } actions[] = {{"fullnode", doFullNode}, {"fork", doFork}, {"vfork", doVfork}, {"spawn", doSpawn},
        {"exec", doExec}, {"failedexec", doFailedExec}, {"threads", doThreads}, {"idlethread", doIdleThread},
        {"rawwaits", doRawWaits}, {"manythreads", doManyThreads},
        {"tenthousandthreads", doTenThousandThreads}, {"mainexits", doMainExits}, {"rawexit", doRawExit},
        {"cancel", doCancel}, {"pipeend", doPipeEnd}, {"quickexit", doQuickExit}, {"daemon", doDaemon},
        {"signals", doSignals}, {"jump", doJump}, {"abort", doAbort}, {"rights", doRights}};
    if (strcmp(what, "closeall") == 0 && count > 2)
        return doCloseAll(arguments[2]);
    if (strcmp(what, "unload") == 0 && count > 2)
        return doUnload(arguments[2]);
    if (strcmp(what, "environment") == 0) {
        for (char **variable = environ; *variable; ++variable)
            puts(*variable);
        return 0;
    }
    for (size_t i = 0; i < sizeof actions / sizeof actions[0]; ++i) {
        if (strcmp(what, actions[i].name) == 0)
            return actions[i].action();
    }
    return 2;
}
