/* loops NAME SECONDS
 *
 * Runs one loop whose instructions are known, and prints how many of each kind are in a turn of it:
 * what its listing says. */
#include "clock.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(__x86_64__)

struct Mix {
    int scalarFp, vectorFp, scalarInt, vectorInt, memory, branch, other;
};

static char source[4096] __attribute__((aligned(64)));
static char target[4096] __attribute__((aligned(64)));
static void *chain[4096];

#define REPEAT4(text) text text text text

static void scalarFp(long turns)
{
    __asm__ volatile("1: mulsd %%xmm1, %%xmm0\n\t"
                     "addsd %%xmm2, %%xmm0\n\t"
                     "mulsd %%xmm1, %%xmm3\n\t"
                     "subsd %%xmm2, %%xmm3\n\t"
                     "movsd (%1), %%xmm4\n\t"
                     "addsd %%xmm4, %%xmm5\n\t"
                     "sub $1, %0\n\t"
                     "jnz 1b"
                     : "+r"(turns)
                     : "r"(source)
                     : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "cc");
}

static void vectorFp(long turns)
{
    __asm__ volatile("1: movups (%1), %%xmm0\n\t"
                     "mulps %%xmm1, %%xmm0\n\t"
                     "addps (%2), %%xmm0\n\t"
                     "mulpd %%xmm2, %%xmm3\n\t"
                     "addpd %%xmm2, %%xmm3\n\t"
                     "movups %%xmm0, (%2)\n\t"
                     "add $1, %%rax\n\t"
                     "sub $1, %0\n\t"
                     "jnz 1b"
                     : "+r"(turns)
                     : "r"(source), "r"(target)
                     : "xmm0", "xmm1", "xmm2", "xmm3", "rax", "cc", "memory");
}

static void scalarInt(long turns)
{
    __asm__ volatile("1: imul $3, %%rax, %%rax\n\t"
                     "lea 5(%%rax,%%rcx), %%rdx\n\t"
                     "xor %%rdx, %%rax\n\t"
                     "shl $3, %%rcx\n\t"
                     "mov %%rdx, %%r8\n\t"
                     "or $1, %%r8\n\t"
                     "sub $1, %0\n\t"
                     "jnz 1b"
                     : "+r"(turns)
                     :
                     : "rax", "rcx", "rdx", "r8", "cc");
}

static void vectorInt(long turns)
{
    __asm__ volatile("1: paddd %%xmm1, %%xmm0\n\t"
                     "pmullw %%xmm1, %%xmm2\n\t"
                     "pxor %%xmm0, %%xmm2\n\t"
                     "movdqa %%xmm2, %%xmm3\n\t"
                     "pshufd $27, %%xmm3, %%xmm4\n\t"
                     "sub $1, %0\n\t"
                     "jnz 1b"
                     : "+r"(turns)
                     :
                     : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "cc");
}

/* Two of five instructions load, and each waits for the one before: no sample ever meets them. */
static void chase(long turns)
{
    void *at = chain;
    __asm__ volatile("1: mov (%1), %1\n\t"
                     "mov (%1), %1\n\t"
                     "add $1, %%rax\n\t"
                     "sub $1, %0\n\t"
                     "jnz 1b"
                     : "+r"(turns), "+r"(at)
                     :
                     : "rax", "cc", "memory");
}

static void copy(long turns)
{
    __asm__ volatile("1: mov (%1), %%rax\n\t"
                     "mov 8(%1), %%rdx\n\t"
                     "mov %%rax, (%2)\n\t"
                     "mov %%rdx, 8(%2)\n\t"
                     "movups 16(%1), %%xmm0\n\t"
                     "movups %%xmm0, 16(%2)\n\t"
                     "sub $1, %0\n\t"
                     "jnz 1b"
                     : "+r"(turns)
                     : "r"(source), "r"(target)
                     : "rax", "rdx", "xmm0", "cc", "memory");
}

static void branchy(long turns)
{
    __asm__ volatile("1: test $1, %b0\n\t"
                     "js 2f\n\t"
                     "2: cmp $7, %0\n\t"
                     "jmp 3f\n\t"
                     "ud2\n\t"
                     "3: sub $1, %0\n\t"
                     "jnz 1b"
                     : "+q"(turns)
                     :
                     : "cc");
}

/* Longer than a window, with a slow instruction in it. */
static void lengthy(long turns)
{
    __asm__ volatile("1: " REPEAT4("mulsd %%xmm1, %%xmm0\n\t"
                                   "add $1, %%rax\n\t"
                                   "mov (%1), %%rdx\n\t"
                                   "xor %%rdx, %%rax\n\t"
                                   "mov %%rax, 8(%1)\n\t") "sub $1, %0\n\t"
                                                           "jnz 1b"
                     : "+r"(turns)
                     : "r"(source)
                     : "xmm0", "xmm1", "rax", "rdx", "cc", "memory");
}

static const struct {
    const char *name;
    void (*run)(long);
    struct Mix mix;
} loops[] = {
    {"scalar-fp", scalarFp, {.scalarFp = 5, .memory = 1, .scalarInt = 1, .branch = 1}},
    {"vector-fp", vectorFp, {.vectorFp = 4, .memory = 2, .scalarInt = 2, .branch = 1}},
    {"scalar-int", scalarInt, {.scalarInt = 6, .other = 1, .branch = 1}},
    {"vector-int", vectorInt, {.vectorInt = 4, .other = 1, .scalarInt = 1, .branch = 1}},
    {"chase", chase, {.memory = 2, .scalarInt = 2, .branch = 1}},
    {"copy", copy, {.memory = 6, .scalarInt = 1, .branch = 1}},
    {"branchy", branchy, {.scalarInt = 3, .branch = 3}},
    {"lengthy", lengthy, {.scalarFp = 4, .scalarInt = 9, .memory = 8, .branch = 1}},
};

int main(int count, char **arguments)
{
    enum { Length = sizeof(chain) / sizeof(chain[0]), Step = 1021 };
    for (int i = 0; i < Length; ++i)
        chain[i] = &chain[(i + Step) % Length];
    for (size_t i = 0; count == 3 && i < sizeof(loops) / sizeof(loops[0]); ++i) {
        if (strcmp(loops[i].name, arguments[1]) != 0)
            continue;
        const double begin = seconds();
        while (seconds() - begin < atof(arguments[2]))
            loops[i].run(1000000);
        const struct Mix *mix = &loops[i].mix;
        printf("scalarFp %d\nvectorFp %d\nscalarInt %d\nvectorInt %d\nmemory %d\nbranch %d\nother %d\n",
            mix->scalarFp, mix->vectorFp, mix->scalarInt, mix->vectorInt, mix->memory, mix->branch,
            mix->other);
        return 0;
    }
    return 2;
}

#else

int main(void)
{
    return 77; /* the loops are written for one machine */
}

#endif
