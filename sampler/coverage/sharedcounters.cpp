// Only in builds that count lines. GCC's own runtime writes the counters when a process ends: through the
// program's files and the sampler's wrappers, and not at all when the process is killed, becomes another
// program, or has shut itself in. So the counters of all processes are the same pages, those of one file, and
// the processes touch no files after they have begun. With QUILLON_WRITE_COVERAGE in its environment a
// process turns what the file holds into what gcov reads; scripts/coverage runs one when the tests are over.

#include "core/rawsystem.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>

extern "C" {
#include <gcov.h>

#pragma GCC visibility push(hidden)
// Places that counters.ld names.
extern char quillon_counters_begin[];
extern char quillon_counters_end[];
// One pointer for each object file, written by the compiler.
extern const struct gcov_info *const quillon_infos_begin[];
extern const struct gcov_info *const quillon_infos_end[];
#pragma GCC visibility pop
}

namespace fern {

namespace {

void openOutput(const char *path, void *fd)
{
    *static_cast<int *>(fd) = raw::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
}

void write(const void *data, unsigned size, void *fd)
{
    raw::call(SYS_write, *static_cast<int *>(fd), raw::address(data), size);
}

void *allocate(unsigned size, void *)
{
    return std::malloc(size);
}

void writeCoverage()
{
    for (const gcov_info *const *info = quillon_infos_begin; info != quillon_infos_end; ++info) {
        int fd = -1;
        __gcov_info_to_gcda(*info, openOutput, write, allocate, &fd);
        raw::close(fd);
    }
}

// Before the sampler's own constructor, which has lines to count.
__attribute__((constructor(101))) void shareCounters()
{
    // cppcheck-suppress comparePointers; the linker made them the ends of one room
    const long size = quillon_counters_end - quillon_counters_begin;
    const int fd = raw::open(QUILLON_COVERAGE_COUNTERS, O_RDWR | O_CREAT, 0666);
    if (fd < 0)
        return;
    if (raw::call(SYS_ftruncate, fd, size) == 0)
        raw::call(SYS_mmap, raw::address(quillon_counters_begin), size, PROT_READ | PROT_WRITE,
            MAP_SHARED | MAP_FIXED, fd, 0);
    raw::close(fd);
    if (std::getenv("QUILLON_WRITE_COVERAGE") != nullptr)
        writeCoverage();
}

} // namespace
} // namespace fern
