#include "core/rawsystem.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>

namespace fern::raw {

std::uint64_t bytesRead = 0;

namespace {

constexpr std::uint64_t NsPerSecond = 1000000000;

timespec toTimespec(std::uint64_t ns)
{
    timespec result;
    result.tv_sec = static_cast<time_t>(ns / NsPerSecond);
    result.tv_nsec = static_cast<long>(ns % NsPerSecond);
    return result;
}

// The clone system call. In the child the stack's top word is the function to run; it never returns
// from here, since nothing lies above it on its stack.
long cloneThread(void (*body)(), void *stackEnd, long flags, std::atomic<std::uint32_t> &tid)
{
#if defined(__x86_64__)
    // After `pop` the stack is aligned to 16 bytes again, as a call wants it.
    auto **stack = static_cast<void **>(stackEnd) - 1;
    *stack = reinterpret_cast<void *>(body);
    long result;
    register long childTid __asm__("r10") = address(&tid);
    register long tls __asm__("r8") = 0;
    __asm__ volatile("syscall\n\t"
                     "testq %%rax, %%rax\n\t"
                     "jnz 1f\n\t"
                     "xorl %%ebp, %%ebp\n\t"
                     "popq %%rax\n\t"
                     "call *%%rax\n\t"
                     "xorl %%edi, %%edi\n\t"
                     "movl %[exit], %%eax\n\t"
                     "syscall\n\t"
                     "hlt\n"
                     "1:"
                     : "=a"(result)
                     : "0"(static_cast<long>(SYS_clone)), "D"(flags), "S"(stack), "d"(address(&tid)),
                     "r"(childTid), "r"(tls), [exit] "i"(SYS_exit)
                     : "rcx", "r11", "memory");
    return result;
#else
    auto **stack = static_cast<void **>(stackEnd) - 2;
    *stack = reinterpret_cast<void *>(body);
    register long x8 __asm__("x8") = SYS_clone;
    register long x0 __asm__("x0") = flags;
    register long x1 __asm__("x1") = address(stack);
    register long x2 __asm__("x2") = address(&tid);
    register long x3 __asm__("x3") = 0;
    register long x4 __asm__("x4") = address(&tid);
    __asm__ volatile("svc 0\n\t"
                     "cbnz x0, 1f\n\t"
                     "mov x29, xzr\n\t"
                     "ldr x1, [sp], #16\n\t"
                     "blr x1\n\t"
                     "mov x0, xzr\n\t"
                     "mov x8, %[exit]\n\t"
                     "svc 0\n\t"
                     "brk 0\n"
                     "1:"
                     : "+r"(x0)
                     : "r"(x8), "r"(x1), "r"(x2), "r"(x3), "r"(x4), [exit] "i"(SYS_exit)
                     : "x30", "memory");
    return x0;
#endif
}

} // namespace

int open(const char *path, int flags, int mode)
{
    return static_cast<int>(call(SYS_openat, AT_FDCWD, address(path), flags | O_CLOEXEC, mode));
}

void close(int fd)
{
    if (fd >= 0)
        call(SYS_close, fd);
}

std::size_t readAt(int fd, char *buffer, std::size_t size, std::int64_t offset)
{
    std::size_t done = 0;
    while (done < size) {
        const long got = call(SYS_pread64, fd, address(buffer + done), static_cast<long>(size - done),
            static_cast<long>(offset) + static_cast<long>(done));
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    bytesRead += done;
    return done;
}

std::size_t readOnceAt(int fd, char *buffer, std::size_t size, std::int64_t offset)
{
    const long got
        = call(SYS_pread64, fd, address(buffer), static_cast<long>(size), static_cast<long>(offset));
    if (got <= 0)
        return 0;
    bytesRead += static_cast<std::uint64_t>(got);
    return static_cast<std::size_t>(got);
}

std::size_t read(int fd, char *buffer, std::size_t size)
{
    const long got = call(SYS_read, fd, address(buffer), static_cast<long>(size));
    if (got <= 0)
        return 0;
    bytesRead += static_cast<std::size_t>(got);
    return static_cast<std::size_t>(got);
}

std::size_t readTextFile(const char *path, char *buffer, std::size_t size)
{
    const int fd = open(path);
    const std::size_t length = fd >= 0 ? readAt(fd, buffer, size - 1, 0) : 0;
    buffer[length] = '\0';
    close(fd);
    return length;
}

std::uint64_t clockNs(int clockId)
{
    timespec now{};
    if (call(SYS_clock_gettime, clockId, address(&now)) != 0)
        return 0;
    return static_cast<std::uint64_t>(now.tv_sec) * NsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
}

int threadCpuClock(int tid)
{
    // The kernel's encoding of dynamic clocks: the inverted id, then "a thread's" and "as scheduled".
    constexpr unsigned PerThread = 4;
    constexpr unsigned Scheduled = 2;
    return static_cast<int>((~static_cast<unsigned>(tid) << 3) | PerThread | Scheduled);
}

void wake(std::atomic<std::uint32_t> &word)
{
    call(SYS_futex, address(&word), FUTEX_WAKE_PRIVATE, 1 << 30);
}

Waited waitUntil(std::atomic<std::uint32_t> &word, std::uint32_t value, std::uint64_t deadlineNs)
{
    const timespec deadline = toTimespec(deadlineNs);
    const long result = call(SYS_futex, address(&word), FUTEX_WAIT_BITSET_PRIVATE, value, address(&deadline),
        0, static_cast<long>(FUTEX_BITSET_MATCH_ANY));
    if (result == -ETIMEDOUT)
        return Waited::TooLong;
    return result == 0 || result == -EAGAIN || result == -EINTR ? Waited::Woken : Waited::Refused;
}

void waitForKernel(std::atomic<std::uint32_t> &word, std::uint32_t value, std::uint64_t limitNs)
{
    const timespec limit = toTimespec(limitNs);
    call(SYS_futex, address(&word), FUTEX_WAIT, value, address(&limit));
}

bool startThread(void (*body)(), void *stackEnd, std::atomic<std::uint32_t> &tid)
{
    constexpr long Flags = CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SIGHAND | CLONE_THREAD | CLONE_SYSVSEM
        | CLONE_PARENT_SETTID | CLONE_CHILD_CLEARTID;
    // The C library's own way to block signals spares two that it needs itself; a thread that it
    // doesn't know must not get those either.
    const std::uint64_t all = ~std::uint64_t(0);
    std::uint64_t before = 0;
    call(SYS_rt_sigprocmask, SIG_SETMASK, address(&all), address(&before), sizeof(all));
    const long result = cloneThread(body, stackEnd, Flags, tid);
    call(SYS_rt_sigprocmask, SIG_SETMASK, address(&before), 0, sizeof(before));
    return result > 0;
}

long startProcess(void (*body)(), void *stackEnd)
{
    // No signal for the parent: such children are for those who ask for them by name (__WCLONE).
    constexpr long Flags = CLONE_VM | CLONE_VFORK;
    std::atomic<std::uint32_t> unused{0};
    return cloneThread(body, stackEnd, Flags, unused);
}

void forgetProcess(long pid)
{
    long result = -EINTR;
    while (result == -EINTR)
        result = call(SYS_wait4, pid, 0, static_cast<long>(__WCLONE));
}

} // namespace fern::raw
