/* Short parallel regions, one after the other. */
#include <stdio.h>

int main(void)
{
    static double a[4096];
    for (long round = 0; round < 750000L; ++round) {
#pragma omp parallel for
        for (int i = 0; i < 4096; ++i)
            a[i] = a[i] * 0.999 + 1.0;
    }
    printf("%g\n", a[17]);
    return 0;
}
