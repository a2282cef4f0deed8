/* Follows pointers through 128 MiB, then streams through as much. */
#include <stdio.h>
#include <stdlib.h>

enum { Count = 16 << 20 };

int main(void)
{
    unsigned long *next = malloc(Count * sizeof *next);
    if (!next)
        return 1;
    /* A step that is odd visits all places once before it comes back, far apart from each other. */
    for (unsigned long i = 0; i < Count; ++i)
        next[i] = (i * 5 + 12345677) % Count;
    unsigned long at = 0;
    for (long i = 0; i < 2500000L; ++i)
        at = next[at];
    for (int round = 0; round < 10; ++round)
        for (unsigned long i = 0; i < Count; ++i)
            next[i] += at;
    printf("%lu\n", next[at % Count]);
    free(next);
    return 0;
}
