/* filecalls FOLDER
 *
 * Makes every wrapped call that works on descriptors or on names of files, and prints what it gives. */
#define _GNU_SOURCE
#include "results.h"

#include <aio.h>
#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/uio.h>

/* What compilers and older headers call in the place of others. */
ssize_t __read_chk(int fd, void *data, size_t size, size_t room);
ssize_t __pread_chk(int fd, void *data, size_t size, off_t at, size_t room);
ssize_t __pread64_chk(int fd, void *data, size_t size, off64_t at, size_t room);
int __open_2(const char *path, int flags);
int __open64_2(const char *path, int flags);
int __openat_2(int folder, const char *path, int flags);
int __openat64_2(int folder, const char *path, int flags);
int __xstat(int version, const char *path, struct stat *status);
int __lxstat(int version, const char *path, struct stat *status);
int __xstat64(int version, const char *path, struct stat64 *status);
int __lxstat64(int version, const char *path, struct stat64 *status);

static char block[100];

#define READS(call, ...)                                                                                     \
    do {                                                                                                     \
        memset(block, 0, sizeof block);                                                                      \
        GIVES(call, __VA_ARGS__);                                                                            \
        fprintf(report, "  %s\n", block);                                                                    \
    } while (0)

static void reading(void)
{
    const struct iovec parts[] = {{block, 4}, {block + 4, 5}};
    const int fd = open("data", O_RDONLY);
    READS(read, fd, block, 10);
    READS(__read_chk, fd, block, 10, sizeof block);
    READS(readv, fd, parts, 2);
    READS(pread, fd, block, 10, 20);
    READS(pread64, fd, block, 10, 30);
    READS(__pread_chk, fd, block, 10, 40, sizeof block);
    READS(__pread64_chk, fd, block, 10, 50, sizeof block);
    READS(preadv, fd, parts, 2, 60);
    READS(preadv64, fd, parts, 2, 70);
    READS(preadv2, fd, parts, 2, 80, 0);
    READS(preadv64v2, fd, parts, 2, 90, 0);
    READS(read, -1, block, 10);
    close(fd);
}

/* What is in a file so far, its gaps as dots: what follows may go over it. */
static void showFile(int fd)
{
    char text[200];
    const ssize_t size = pread(fd, text, sizeof text, 0);
    for (ssize_t i = 0; i < size; ++i)
        fputc(text[i] != '\0' ? text[i] : '.', report);
    fputc('\n', report);
}

static void writing(int fd)
{
    const struct iovec parts[] = {{"four", 4}, {"five5", 5}};
    GIVES(write, fd, "written", 7);
    GIVES(writev, fd, parts, 2);
    GIVES(pwrite, fd, "10", 2, 20);
    GIVES(pwrite64, fd, "11", 2, 30);
    GIVES(pwritev, fd, parts, 2, 40);
    GIVES(pwritev64, fd, parts, 2, 50);
    GIVES(pwritev2, fd, parts, 2, 60, 0);
    GIVES(pwritev64v2, fd, parts, 2, 70, 0);
    showFile(fd);
    GIVES(fsync, fd);
    GIVES(fdatasync, fd);
    GIVES(write, -1, "nothing", 7);
}

static void opening(void)
{
    GIVES(close, (int)GIVES(open, "data", O_RDONLY));
    GIVES(close, (int)GIVES(open, "made by open", O_WRONLY | O_CREAT, 0640));
    GIVES(close, (int)GIVES(open64, "made by open64", O_WRONLY | O_CREAT, 0604));
    GIVES(close, (int)GIVES(openat, AT_FDCWD, "made by openat", O_WRONLY | O_CREAT, 0600));
    GIVES(close, (int)GIVES(openat64, AT_FDCWD, "made by openat64", O_WRONLY | O_CREAT, 0444));
    GIVES(close, (int)GIVES(creat, "made by creat", 0600));
    GIVES(close, (int)GIVES(creat64, "made by creat64", 0600));
    GIVES(close, (int)GIVES(__open_2, "data", O_RDONLY));
    GIVES(close, (int)GIVES(__open64_2, "data", O_RDONLY));
    GIVES(close, (int)GIVES(__openat_2, AT_FDCWD, "data", O_RDONLY));
    GIVES(close, (int)GIVES(__openat64_2, AT_FDCWD, "data", O_RDONLY));
    GIVES(open, "nowhere", O_RDONLY);
    GIVES(close, (int)GIVES(dup2, STDIN_FILENO, 50));
    GIVES(close, (int)GIVES(dup3, STDIN_FILENO, 51, O_CLOEXEC));
    GIVES(close, 50);
}

/* The name is another one each time. */
#define MAKES(call, ...)                                                                                     \
    do {                                                                                                     \
        char pattern[] = "made-XXXXXX";                                                                      \
        GIVES(close, (int)GIVES(call, pattern, ##__VA_ARGS__));                                              \
        unlink(pattern);                                                                                     \
    } while (0)

#define SIZES(call, ...)                                                                                     \
    do {                                                                                                     \
        struct stat status;                                                                                  \
        GIVES(call, __VA_ARGS__);                                                                            \
        fstat(fd, &status);                                                                                  \
        fprintf(report, "  %ld bytes\n", (long)status.st_size);                                              \
    } while (0)

static void sizing(int fd)
{
    SIZES(ftruncate, fd, 1000);
    SIZES(ftruncate64, fd, 1100);
    SIZES(truncate, "copy", 1200);
    SIZES(truncate64, "copy", 1300);
    SIZES(fallocate, fd, 0, 0, 1400);
    SIZES(fallocate64, fd, 0, 0, 1500);
    SIZES(posix_fallocate, fd, 0, 1600);
    SIZES(posix_fallocate64, fd, 0, 1700);
    GIVES(lockf, fd, F_TLOCK, 0);
    GIVES(lockf64, fd, F_ULOCK, 0);
    GIVES(flock, fd, LOCK_EX);
    MAKES(mkstemp);
    MAKES(mkstemp64);
    MAKES(mkostemp, O_CLOEXEC);
    MAKES(mkostemp64, O_CLOEXEC);
    GIVES(syncfs, fd);
    GIVES(sync_file_range, fd, 0, 0, 0);
    DOES(sync);
    void *mapped = mmap(NULL, 1000, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    GIVES(msync, mapped, 1000, MS_SYNC);
}

static void copying(int to)
{
    const int from = open("data", O_RDONLY);
    off64_t at = 0;
    off64_t end = 2000;
    off_t start = 5;
    int ends[2];
    GIVES(copy_file_range, from, &at, to, &end, 50, 0);
    GIVES(sendfile, to, from, &start, 20);
    at = 7;
    GIVES(sendfile64, to, from, &at, 30);
    if (pipe(ends) == 0) {
        GIVES(splice, from, NULL, ends[1], NULL, 40, 0);
        GIVES(splice, ends[0], NULL, to, &end, 40, 0);
    }
    close(from);
}

static void waiting(int fd)
{
    struct aiocb one = {.aio_fildes = fd, .aio_buf = "asynchronous", .aio_nbytes = 12, .aio_offset = 3000};
    struct aiocb64 two = {.aio_fildes = fd, .aio_buf = "asynchronous", .aio_nbytes = 12, .aio_offset = 3100};
    one.aio_lio_opcode = LIO_WRITE;
    two.aio_lio_opcode = LIO_WRITE;
    struct aiocb *list[] = {&one};
    struct aiocb64 *list64[] = {&two};
    GIVES(lio_listio, LIO_WAIT, list, 1, NULL);
    GIVES(lio_listio64, LIO_WAIT, list64, 1, NULL);
    GIVES(aio_suspend, (const struct aiocb *const *)list, 1, NULL);
    GIVES(aio_suspend64, (const struct aiocb64 *const *)list64, 1, NULL);
    tell("aio_return", aio_return(&one));
    tell("aio_return64", aio_return64(&two));
}

static void naming(void)
{
    GIVES(mkdir, "folder", 0700);
    GIVES(mkdir, "folder", 0700);
    GIVES(mkdirat, AT_FDCWD, "folder/inner", 0700);
    GIVES(link, "data", "hard");
    GIVES(linkat, AT_FDCWD, "data", AT_FDCWD, "hard too", 0);
    GIVES(symlink, "data", "soft");
    GIVES(symlinkat, "data", AT_FDCWD, "soft too");
    READS(readlink, "soft", block, sizeof block);
    GIVES(rename, "hard", "harder");
    GIVES(renameat, AT_FDCWD, "harder", AT_FDCWD, "hardest");
    GIVES(renameat2, AT_FDCWD, "hardest", AT_FDCWD, "data", RENAME_NOREPLACE);
    GIVES(chmod, "hard too", 0640);
    GIVES(access, "data", R_OK);
    GIVES(access, "nowhere", R_OK);
    GIVES(faccessat, AT_FDCWD, "soft", W_OK, AT_EACCESS);
    GIVES(unlink, "hardest");
    GIVES(unlink, "hardest");
    GIVES(unlinkat, AT_FDCWD, "soft too", 0);
    GIVES(remove, "folder/inner");
    void *folder = POINTS(opendir, "folder");
    POINTS(readdir, folder);
    POINTS(readdir64, folder);
    POINTS(readdir, folder);
    GIVES(closedir, folder);
    POINTS(opendir, "nowhere");
    GIVES(rmdir, "folder");
}

#define ASKS(size, call, ...)                                                                                \
    do {                                                                                                     \
        GIVES(call, __VA_ARGS__);                                                                            \
        fprintf(report, "  %ld bytes\n", (long)(size));                                                      \
    } while (0)

static void asking(void)
{
    enum { Version = 1 };
    struct stat status;
    struct stat64 status64;
    struct statx extended;
    ASKS(status.st_size, stat, "data", &status);
    ASKS(status.st_size, lstat, "soft", &status);
    ASKS(status.st_size, fstatat, AT_FDCWD, "data", &status, 0);
    ASKS(status.st_size, __xstat, Version, "soft", &status);
    ASKS(status.st_size, __lxstat, Version, "soft", &status);
    ASKS(status64.st_size, stat64, "data", &status64);
    ASKS(status64.st_size, lstat64, "soft", &status64);
    ASKS(status64.st_size, fstatat64, AT_FDCWD, "data", &status64, 0);
    ASKS(status64.st_size, __xstat64, Version, "soft", &status64);
    ASKS(status64.st_size, __lxstat64, Version, "soft", &status64);
    ASKS(extended.stx_size, statx, AT_FDCWD, "data", 0, STATX_SIZE, &extended);
    GIVES(stat, "nowhere", &status);
}

int main(int count, char **arguments)
{
    if (count != 2 || chdir(arguments[1]) != 0)
        return 2;
    openReport();
    umask(022);
    FILE *data = fopen("data", "w");
    for (int i = 0; i < 100; ++i)
        fprintf(data, "%03d.", i);
    fclose(data);
    const int copy = open("copy", O_RDWR | O_CREAT, 0600);
    reading();
    writing(copy);
    opening();
    sizing(copy);
    copying(copy);
    waiting(copy);
    naming();
    asking();
    return 0;
}
