/* Preloaded into the tool to try what seldom happens. It reads two variables:
 *
 *     FAULT_DISK=N      from the Nth time on that a file is made, written, synced or renamed, the disk is
 * full FAULT_CLOCK=N     from the Nth time on that the time of day is asked for, it is an hour earlier
 *
 * and does nothing in programs of other names than FAULT_PROGRAM. How often it was asked goes to descriptor 9
 * at the end, if that is open.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

static long fullFrom = -1;
static long earlierFrom = -1;
static long changes;
static long questions;

static void __attribute__((constructor)) begin(void)
{
    const char *const program = getenv("FAULT_PROGRAM");
    if (!program || strcmp(program, program_invocation_short_name) != 0)
        return;
    if (getenv("FAULT_DISK"))
        fullFrom = atol(getenv("FAULT_DISK"));
    if (getenv("FAULT_CLOCK"))
        earlierFrom = atol(getenv("FAULT_CLOCK"));
}

static int isFull(void)
{
    if (fullFrom < 0 || ++changes < fullFrom)
        return 0;
    errno = ENOSPC;
    return 1;
}

static int isFile(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

#define NEXT(name, ...) (__extension__(__typeof__(&name)) dlsym(RTLD_NEXT, #name))(__VA_ARGS__)

/* dprintf() would lose its buffer where the descriptor isn't open. */
static void tell(long number)
{
    char text[32];
    const int size = snprintf(text, sizeof(text), "%ld\n", number);
    const ssize_t told = NEXT(write, 9, text, (size_t)size);
    (void)told;
}

static void __attribute__((destructor)) end(void)
{
    if (fullFrom >= 0)
        tell(changes);
    if (earlierFrom >= 0)
        tell(questions);
}

ssize_t write(int file, const void *data, size_t size)
{
    return isFile(file) && isFull() ? -1 : NEXT(write, file, data, size);
}

ssize_t pwrite64(int file, const void *data, size_t size, off64_t where)
{
    return isFile(file) && isFull() ? -1 : NEXT(pwrite64, file, data, size, where);
}

int fsync(int file)
{
    return isFile(file) && isFull() ? -1 : NEXT(fsync, file);
}

int fdatasync(int file)
{
    return isFile(file) && isFull() ? -1 : NEXT(fdatasync, file);
}

int rename(const char *from, const char *to)
{
    return isFull() ? -1 : NEXT(rename, from, to);
}

int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    return isFull() ? -1 : NEXT(linkat, fromFolder, from, toFolder, to, flags);
}

int mkdir(const char *path, mode_t mode)
{
    return isFull() ? -1 : NEXT(mkdir, path, mode);
}

int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if ((flags & O_CREAT) != 0 && isFull())
        return -1;
    return NEXT(open64, path, flags, mode);
}

int clock_gettime(clockid_t clock, struct timespec *time)
{
    const int result = NEXT(clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME && earlierFrom >= 0 && ++questions >= earlierFrom)
        time->tv_sec -= 3600;
    return result;
}

int gettimeofday(struct timeval *restrict time, void *restrict zone)
{
    const int result = NEXT(gettimeofday, time, zone);
    if (earlierFrom >= 0 && ++questions >= earlierFrom)
        time->tv_sec -= 3600;
    return result;
}
