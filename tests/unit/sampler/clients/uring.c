/* uring
 *
 * Waits a while for requests of io_uring by system calls of its own, as libraries for it do that are linked
 * statically, and computes a while; prints the seconds of each. Ends with 3 where the kernel has no io_uring,
 * or doesn't let us have it. */
#define _GNU_SOURCE
#include "clock.h"

#include <errno.h>
#include <linux/io_uring.h>
#include <linux/time_types.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

static const double AWhile = 0.8;

static void *map(int ring, size_t size, off_t what)
{
    return mmap(NULL, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, ring, what);
}

static unsigned *at(void *ring, unsigned offset)
{
    return (unsigned *)((char *)ring + offset);
}

int main(void)
{
    struct io_uring_params parameters = {0};
    const int ring = (int)syscall(SYS_io_uring_setup, 1, &parameters);
    if (ring < 0)
        return errno == ENOSYS || errno == EPERM ? 3 : 2;
    void *submissions
        = map(ring, parameters.sq_off.array + parameters.sq_entries * sizeof(unsigned), IORING_OFF_SQ_RING);
    void *completions = map(ring,
        parameters.cq_off.cqes + parameters.cq_entries * sizeof(struct io_uring_cqe), IORING_OFF_CQ_RING);
    struct io_uring_sqe *request = map(ring, sizeof *request, IORING_OFF_SQES);
    if (submissions == MAP_FAILED || completions == MAP_FAILED || request == MAP_FAILED)
        return 2;

    /* A request that is complete after a time of its own: no disk is quick or slow enough for a test. */
    const struct __kernel_timespec time = {.tv_nsec = 50 * 1000 * 1000};
    const double start = seconds();
    while (seconds() - start < AWhile) {
        memset(request, 0, sizeof *request);
        request->opcode = IORING_OP_TIMEOUT;
        request->fd = -1;
        request->addr = (unsigned long)&time;
        request->len = 1;
        unsigned *tail = at(submissions, parameters.sq_off.tail);
        *at(submissions, parameters.sq_off.array) = 0;
        __atomic_store_n(tail, *tail + 1, __ATOMIC_RELEASE);
        if (syscall(SYS_io_uring_enter, ring, 1, 1, IORING_ENTER_GETEVENTS, NULL, 0) != 1)
            return 2;
        __atomic_store_n(at(completions, parameters.cq_off.head),
            __atomic_load_n(at(completions, parameters.cq_off.tail), __ATOMIC_ACQUIRE), __ATOMIC_RELEASE);
    }
    printf("wait %f\n", seconds() - start);
    printf("compute %f\n", compute(AWhile));
    return 0;
}
