/* A library that is preloaded before the sampler and takes calls first. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <unistd.h>

__attribute__((visibility("default"))) ssize_t write(int fd, const void *data, size_t size)
{
    ssize_t (*next)(int, const void *, size_t);
    *(void **)&next = dlsym(RTLD_NEXT, "write");
    return next(fd, data, size);
}
