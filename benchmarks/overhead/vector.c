/* Vector arithmetic in cache. */
#include <stdio.h>

enum { Length = 2048 };
static float a[Length], b[Length], c[Length];

int main(void)
{
    for (int i = 0; i < Length; ++i) {
        b[i] = 1.0f / (float)(i + 1);
        c[i] = 1e-7f * (float)i;
    }
    for (long round = 0; round < 7000000L; ++round)
        for (int i = 0; i < Length; ++i)
            a[i] = a[i] * 0.999f + b[i] * c[i];
    printf("%g\n", (double)a[Length / 2]);
    return 0;
}
