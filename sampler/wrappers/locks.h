#ifndef SAMPLER_WRAPPERS_LOCKS_H
#define SAMPLER_WRAPPERS_LOCKS_H

// Whether someone has a lock. One that is free is taken without a wait, and to look at it costs less than to
// say that the thread waits. If another thread is quicker, no wrapper says that this one waits, and the
// kernel is asked (core/kernelview.h). What is looked at is in glibc's headers, as programs compiled into
// themselves have it in PTHREAD_MUTEX_INITIALIZER and the like.

#include <pthread.h>
#include <threads.h>

namespace fern {

inline bool isTaken(const pthread_mutex_t *mutex)
{
    return __atomic_load_n(&mutex->__data.__lock, __ATOMIC_RELAXED) != 0;
}

// A mutex of C11 is one of POSIX.
inline bool isTaken(const mtx_t *mutex)
{
    return isTaken(reinterpret_cast<const pthread_mutex_t *>(mutex));
}

// The word of a read-write lock: bit 1 for a writer, from bit 3 on the number of readers.
inline bool isTakenByWriter(const pthread_rwlock_t *lock)
{
    return (__atomic_load_n(&lock->__data.__readers, __ATOMIC_RELAXED) & 2U) != 0;
}

inline bool isTaken(const pthread_rwlock_t *lock)
{
    return (__atomic_load_n(&lock->__data.__readers, __ATOMIC_RELAXED) & ~5U) != 0;
}

inline bool isTaken(const pthread_spinlock_t *lock)
{
    const int value = __atomic_load_n(lock, __ATOMIC_RELAXED);
#if defined(__x86_64__)
    return value != 1;
#else
    return value != 0;
#endif
}

} // namespace fern

#endif
