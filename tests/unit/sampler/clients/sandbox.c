/* sandbox refuse COMMAND...   runs a command in which the kernel refuses perf_event_open
 * sandbox shutin              computes for a while, shuts itself in so that perf_event_open kills it, and
 *                             goes on computing in another thread
 * Ends with 77 where there are no filters of system calls. */
#include "clock.h"

#include <errno.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

static int filter(unsigned action)
{
    struct sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_perf_event_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, action),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    struct sock_fprog program = {sizeof(rules) / sizeof(rules[0]), rules};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
        && syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program) == 0;
}

static void *computeHere(void *unused)
{
    compute(0.5);
    return unused;
}

int main(int count, char **arguments)
{
    if (count > 2 && strcmp(arguments[1], "refuse") == 0) {
        if (!filter(SECCOMP_RET_ERRNO | EACCES))
            return 77;
        execvp(arguments[2], arguments + 2);
        return 2;
    }
    compute(0.4);
    if (!filter(SECCOMP_RET_KILL_PROCESS))
        return 77;
    pthread_t thread;
    pthread_create(&thread, NULL, computeHere, NULL);
    pthread_join(thread, NULL);
    puts("alive");
    return 0;
}
