#ifndef SAMPLER_CORE_RAWSYSTEM_H
#define SAMPLER_CORE_RAWSYSTEM_H

// System calls without the C library. The sampling thread shares the thread-local storage of the
// thread that made it, and with it `errno`; the wrappers must leave `errno` alone, too. So both
// speak to the kernel directly. All calls return what the kernel returns: a negative error number
// on failure.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <sys/syscall.h>

namespace fern::raw {

inline long call(long number, long a = 0, long b = 0, long c = 0, long d = 0, long e = 0, long f = 0)
{
#if defined(__x86_64__)
    long result;
    register long r10 __asm__("r10") = d;
    register long r8 __asm__("r8") = e;
    register long r9 __asm__("r9") = f;
    __asm__ volatile("syscall"
                     : "=a"(result)
                     : "0"(number), "D"(a), "S"(b), "d"(c), "r"(r10), "r"(r8), "r"(r9)
                     : "rcx", "r11", "memory");
    return result;
#elif defined(__aarch64__)
    register long x8 __asm__("x8") = number;
    register long x0 __asm__("x0") = a;
    register long x1 __asm__("x1") = b;
    register long x2 __asm__("x2") = c;
    register long x3 __asm__("x3") = d;
    register long x4 __asm__("x4") = e;
    register long x5 __asm__("x5") = f;
    __asm__ volatile("svc 0" : "+r"(x0) : "r"(x8), "r"(x1), "r"(x2), "r"(x3), "r"(x4), "r"(x5) : "memory");
    return x0;
#else
#error "The sampler knows the system calls of x86-64 and AArch64 only"
#endif
}

template <typename T> long address(T *pointer)
{
    return reinterpret_cast<long>(pointer);
}

inline int getpid()
{
    return static_cast<int>(call(SYS_getpid));
}

inline int gettid()
{
    return static_cast<int>(call(SYS_gettid));
}

// Opens a file for reading or, with `flags`, otherwise; the descriptor is closed by exec.
int open(const char *path, int flags = 0, int mode = 0);
void close(int fd);
// Reads at `offset` until the buffer is full or the file ends. Gives the bytes read, 0 on failure.
std::size_t readAt(int fd, char *buffer, std::size_t size, std::int64_t offset);
// The same by one call, which gives less where the file has less at a time.
std::size_t readOnceAt(int fd, char *buffer, std::size_t size, std::int64_t offset);
// Reads what is there, once. Gives the bytes read, 0 on failure.
std::size_t read(int fd, char *buffer, std::size_t size);
// All that was ever read so; the kernel books it on the process. The sampling thread's alone.
extern std::uint64_t bytesRead;
// Opens, reads and closes; always terminates the text. Gives its length, 0 on failure.
std::size_t readTextFile(const char *path, char *buffer, std::size_t size);

// Nanoseconds of a clock, 0 where the kernel refuses.
std::uint64_t clockNs(int clockId);
// The id of the clock that counts a thread's CPU time; valid inside its own process.
int threadCpuClock(int tid);

// Wakes everyone who waits for a change of `word`.
void wake(std::atomic<std::uint32_t> &word);
enum class Waited {
    Woken, // `word` changed, or for no reason at all
    TooLong, // the deadline was reached
    Refused // there is no waiting here
};
// Waits until `word` is no longer `value`, or CLOCK_MONOTONIC has reached `deadlineNs`.
Waited waitUntil(std::atomic<std::uint32_t> &word, std::uint32_t value, std::uint64_t deadlineNs);
// The same for a word that the kernel clears at a thread's end, with a time limit in nanoseconds.
void waitForKernel(std::atomic<std::uint32_t> &word, std::uint32_t value, std::uint64_t limitNs);

// Runs `body` in a new thread of this process on a stack that ends below `stackEnd` (aligned to 16
// bytes). All signals are blocked there. The C library knows nothing of it, so programs stay on its
// single-threaded fast paths and end when their own last thread ends. The thread's id is stored in
// `tid`, which the kernel clears when the thread is gone. Gives false if there can't be one.
bool startThread(void (*body)(), void *stackEnd, std::atomic<std::uint32_t> &tid);

// Runs `body` as a process of its own on such a stack and waits until it has become another program, or has
// ended: until then it works in our memory, so that nothing is copied, whatever the size of this process. Its
// descriptors are a copy of the caller's, all signals are blocked if the caller's are, and its end sends no
// signal and isn't seen by wait(). Gives its id, or an error number.
long startProcess(void (*body)(), void *stackEnd);
// Takes note of the end of a process that startProcess() made; waits for it.
void forgetProcess(long pid);

} // namespace fern::raw

#endif
