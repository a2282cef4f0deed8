/* 4,000,000 writes of 64 bytes to a file in memory. */
#include <fcntl.h>
#include <unistd.h>

int main(void)
{
    static const char name[] = "/dev/shm/overhead-writes";
    const char block[64] = {0};
    const int file = open(name, O_CREAT | O_TRUNC | O_WRONLY, 0600);
    for (int i = 0; i < 4000000; ++i) {
        if (i % 100000 == 0)
            lseek(file, 0, SEEK_SET);
        if (write(file, block, sizeof block) < 0)
            return 1;
    }
    return unlink(name);
}
