/* Scalar arithmetic in one loop, some 1 s on a processor of 2.6 GHz. */
#include <stdio.h>

int main(void)
{
    double x = 1.0;
    for (long i = 0; i < 600000000L; ++i)
        x = x * 1.0000000001 + 1e-12;
    printf("%g\n", x);
    return 0;
}
