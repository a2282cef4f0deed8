/* ompthreads
 *
 * Stands in for an OpenMP runtime that has a thread for itself: it takes the tool that the process offers,
 * tells it of the thread, which works and sleeps in turns, and prints the processor time of both threads in
 * seconds. */
#define _GNU_SOURCE
#include "clock.h"

#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <unistd.h>

typedef void (*Function)(void);
typedef Function (*Lookup)(const char *name);
typedef void (*ThreadBegin)(int kind, void *data);

struct Tool {
    int (*initialize)(Lookup lookup, int device, void *data);
    void (*finalize)(void *data);
    long data;
};

/* As OpenMP numbers them. */
enum { ThreadBeginEvent = 1, OtherThread = 3, Version = 201811 };

static const double AWhile = 0.8;
static ThreadBegin threadBegin;

static int setCallback(int event, Function callback)
{
    if (event == ThreadBeginEvent)
        threadBegin = (ThreadBegin)callback;
    return 5; /* always called */
}

static Function look(const char *name)
{
    for (const char *at = "ompt_set_callback"; *at == *name; ++at, ++name) {
        if (*at == '\0')
            return (Function)setCallback;
    }
    return NULL;
}

static double processorTime(void)
{
    struct timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

static void *watch(void *data)
{
    threadBegin(OtherThread, data);
    compute(AWhile);
    usleep((unsigned)(AWhile * 1e6));
    printf("monitor %f\n", processorTime());
    return NULL;
}

int main(void)
{
    struct Tool *(*start)(unsigned version, const char *runtime) = NULL;
    *(void **)&start = dlsym(RTLD_DEFAULT, "ompt_start_tool");
    struct Tool *tool = start ? start(Version, "stand-in") : NULL;
    if (!tool || !tool->initialize(look, 0, &tool->data) || !threadBegin)
        return 2;
    pthread_t monitor;
    long data = 0;
    if (pthread_create(&monitor, NULL, watch, &data) != 0)
        return 2;
    compute(AWhile);
    printf("main %f\n", processorTime());
    pthread_join(monitor, NULL);
    tool->finalize(&tool->data);
    return 0;
}
