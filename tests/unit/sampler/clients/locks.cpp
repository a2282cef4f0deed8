// locks results|shares
//
// With "results" takes locks in ways that fail or are told apart, and prints what the calls give. With
// "shares" one thread waits in turns for a lock or an event of each kind while the main thread computes, then
// computes while the main thread waits for its end, and each prints the seconds that it measured.
extern "C" {
#include "clock.h"
}

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <pthread.h>
#include <semaphore.h>
#include <shared_mutex>
#include <thread>
#include <threads.h>

namespace {

constexpr double Turn = 0.06;

double waited = 0;
double computed = 0;
std::mutex gate; // held by the main thread while the other is to wait
std::shared_mutex shared;
std::timed_mutex timed;
std::condition_variable condition;
bool isTold = false;
pthread_spinlock_t spin;
sem_t semaphore;
sem_t turns;
pthread_barrier_t barrier;
mtx_t plain;
cnd_t plainCondition;

// What the other thread does in each turn, and the main thread before and after it computes.
struct Kind {
    void (*take)();
    void (*hold)();
    void (*release)();
};

const Kind Kinds[] = {
    {[] { gate.lock(), gate.unlock(); }, [] { gate.lock(); }, [] { gate.unlock(); }},
    {[] { shared.lock(), shared.unlock(); }, [] { shared.lock(); }, [] { shared.unlock(); }},
    {[] { shared.lock_shared(), shared.unlock_shared(); }, [] { shared.lock(); }, [] { shared.unlock(); }},
    {[] {
         if (timed.try_lock_for(std::chrono::seconds(9)))
             timed.unlock();
     },
        [] { timed.lock(); }, [] { timed.unlock(); }},
    {[] {
         std::unique_lock<std::mutex> lock(gate);
         condition.wait(lock, [] { return isTold; });
     },
        [] {},
        [] {
            const std::lock_guard<std::mutex> lock(gate);
            isTold = true;
            condition.notify_one();
        }},
    {[] { pthread_spin_lock(&spin), pthread_spin_unlock(&spin); }, [] { pthread_spin_lock(&spin); },
        [] { pthread_spin_unlock(&spin); }},
    {[] { sem_wait(&semaphore); }, [] {}, [] { sem_post(&semaphore); }},
    {[] { pthread_barrier_wait(&barrier); }, [] {}, [] { pthread_barrier_wait(&barrier); }},
    {[] { mtx_lock(&plain), mtx_unlock(&plain); }, [] { mtx_lock(&plain); }, [] { mtx_unlock(&plain); }},
    {[] {
         mtx_lock(&plain);
         cnd_wait(&plainCondition, &plain);
         mtx_unlock(&plain);
     },
        [] {},
        [] {
            mtx_lock(&plain);
            cnd_signal(&plainCondition);
            mtx_unlock(&plain);
        }},
};

int otherThread(void *)
{
    for (const Kind &kind : Kinds) {
        sem_wait(&turns);
        const double start = seconds();
        kind.take();
        waited += seconds() - start;
    }
    computed = compute(0.5);
    return 5;
}

int shares()
{
    thrd_t thread;
    pthread_spin_init(&spin, PTHREAD_PROCESS_PRIVATE);
    sem_init(&semaphore, 0, 0);
    sem_init(&turns, 0, 0);
    pthread_barrier_init(&barrier, nullptr, 2);
    mtx_init(&plain, mtx_plain);
    cnd_init(&plainCondition);
    thrd_create(&thread, otherThread, nullptr);
    double mainComputed = 0;
    for (const Kind &kind : Kinds) {
        kind.hold();
        sem_post(&turns);
        mainComputed += compute(Turn);
        kind.release();
    }
    const double start = seconds();
    int result = 0;
    thrd_join(thread, &result);
    std::printf("main.sync %f\nmain.compute %f\nother.sync %f\nother.compute %f\nresult %d\n",
        seconds() - start, mainComputed, waited, computed, result);
    return 0;
}

void say(const char *what, int result)
{
    std::printf("%s: %d %s\n", what, result, std::strerror(result));
}

int results()
{
    pthread_mutexattr_t attributes;
    pthread_mutex_t mutex;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(&mutex, &attributes);
    say("first", pthread_mutex_lock(&mutex));
    say("again", pthread_mutex_lock(&mutex));
    pthread_mutex_unlock(&mutex);

    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    say("recursive", pthread_mutex_lock(&mutex) + pthread_mutex_lock(&mutex));
    say("back", pthread_mutex_unlock(&mutex) + pthread_mutex_unlock(&mutex));
    say("too far back", pthread_mutex_unlock(&mutex));

    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_NORMAL);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&mutex, &attributes);
    std::thread([&mutex] { pthread_mutex_lock(&mutex); }).join();
    say("of a thread that is gone", pthread_mutex_lock(&mutex));
    pthread_mutex_unlock(&mutex);
    say("lost", pthread_mutex_lock(&mutex));

    pthread_rwlock_t lock;
    pthread_rwlock_init(&lock, nullptr);
    say("written", pthread_rwlock_wrlock(&lock));
    say("written again", pthread_rwlock_wrlock(&lock));
    say("read meanwhile", pthread_rwlock_rdlock(&lock));
    pthread_rwlock_unlock(&lock);
    say("read twice", pthread_rwlock_rdlock(&lock) + pthread_rwlock_rdlock(&lock));

    const timespec past{0, 0};
    sem_init(&semaphore, 0, 0);
    errno = 0;
    say("semaphore", sem_timedwait(&semaphore, &past) + errno + 1);
    thrd_t thread;
    int result = 0;
    thrd_create(
        &thread, [](void *) -> int { thrd_exit(7); }, nullptr);
    thrd_join(thread, &result);
    std::printf("C11 thread: %d\n", result);
    return 0;
}

} // namespace

int main(int count, char **arguments)
{
    return count > 1 && std::strcmp(arguments[1], "results") == 0 ? results() : shares();
}
