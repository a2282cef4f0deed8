/* shares COMPUTE WRITE READ SLEEP FILE
 *
 * Computes, writes and reads FILE, and sleeps, for so many seconds each and in turns, and prints what it
 * measured itself: the seconds of each and the whole, the bytes that it read and wrote, and its CPU time. */
#include "clock.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

enum { Rounds = 5, BlockSize = 1 << 20 };

static char block[BlockSize];
static long long bytesWritten;
static long long bytesRead;

static double writeFor(FILE *file, double duration)
{
    const double start = seconds();
    double now = start;
    for (int i = 0; now - start < duration; ++i) {
        if (i % 2 == 0) {
            rewind(file);
            bytesWritten += (long long)fwrite(block, 1, BlockSize, file);
            fflush(file);
        } else {
            bytesWritten += pwrite(fileno(file), block, BlockSize, 0);
        }
        now = seconds();
    }
    return now - start;
}

static double readFor(int fd, double duration)
{
    const double start = seconds();
    double now = start;
    while (now - start < duration) {
        lseek(fd, 0, SEEK_SET);
        bytesRead += read(fd, block, BlockSize);
        now = seconds();
    }
    return now - start;
}

static double sleepFor(double duration)
{
    const double start = seconds();
    usleep((useconds_t)(duration * 1e6));
    return seconds() - start;
}

static double cpuSeconds(void)
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return (double)(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + (double)(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

int main(int count, char **arguments)
{
    const double begin = seconds();
    if (count != 6)
        return 2;
    FILE *file = fopen(arguments[5], "w+");
    const int fd = open(arguments[5], O_RDONLY);
    if (!file || fd < 0 || fwrite(block, 1, BlockSize, file) != BlockSize || fflush(file) != 0)
        return 2;
    bytesWritten += BlockSize;
    double sums[4] = {0, 0, 0, 0};
    for (int i = 0; i < Rounds; ++i) {
        sums[0] += compute(atof(arguments[1]) / Rounds);
        sums[1] += writeFor(file, atof(arguments[2]) / Rounds);
        sums[2] += readFor(fd, atof(arguments[3]) / Rounds);
        sums[3] += sleepFor(atof(arguments[4]) / Rounds);
    }
    printf("compute %f\nwrite %f\nread %f\nsleep %f\n", sums[0], sums[1], sums[2], sums[3]);
    printf("bytesWritten %lld\nbytesRead %lld\n", bytesWritten, bytesRead);
    printf("cpu %f\nwhole %f\n", cpuSeconds(), seconds() - begin);
    return 0;
}
