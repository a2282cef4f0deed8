/* files results|shares FOLDER
 *
 * With "results" makes the rarer calls that work on files, and prints what they give. With "shares" spends a
 * while each in copying, in asking for names, in waiting for asynchronous writes, in wide characters and in
 * computing, and prints the seconds of each. */
#define _GNU_SOURCE
#include "clock.h"

#include <aio.h>
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wchar.h>

enum { BlockSize = 1 << 20 };

static const double AWhile = 0.3;
static char block[BlockSize];

static long sizeOf(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0 ? (long)status.st_size : -1;
}

static void say(const char *call, long result)
{
    printf("%s %ld\n", call, result);
}

static void copies(int from, int to)
{
    off64_t at = 0;
    say("sendfile", sendfile(to, from, &at, 1000));
    at = 0;
    off64_t end = 1000;
    say("copy_file_range", copy_file_range(from, &at, to, &end, 500, 0));
    int ends[2];
    if (pipe(ends) != 0)
        return;
    at = 0;
    say("splice from a file", splice(from, &at, ends[1], NULL, 300, 0));
    end = 1500;
    say("splice to a file", splice(ends[0], NULL, to, &end, 300, 0));
    say("ftruncate", ftruncate(to, 1700));
    say("posix_fallocate", posix_fallocate(to, 0, 100));
    say("flock", flock(to, LOCK_EX));
    say("lockf", lockf(to, F_TLOCK, 0));
    say("syncfs", syncfs(to));
    say("sync_file_range", sync_file_range(to, 0, 0, 0));
}

static void names(void)
{
    say("mkdir", mkdir("folder", 0700));
    say("mkdirat", mkdirat(AT_FDCWD, "folder", 0700));
    say("symlink", symlink("data", "folder/soft"));
    say("link", link("data", "hard"));
    say("rename", rename("hard", "harder"));
    say("renameat2", renameat2(AT_FDCWD, "harder", AT_FDCWD, "data", RENAME_NOREPLACE));
    char text[20] = "";
    say("readlink", readlink("folder/soft", text, sizeof text));
    puts(text);
    struct statx status;
    say("access", access("harder", R_OK));
    say("access", access("nowhere", R_OK));
    say("statx", statx(AT_FDCWD, "harder", 0, STATX_SIZE, &status));
    DIR *folder = opendir("folder");
    long count = 0;
    while (readdir(folder))
        ++count;
    say("readdir", count);
    say("closedir", closedir(folder));
    say("unlink", unlink("harder"));
    say("unlinkat", unlinkat(AT_FDCWD, "folder/soft", 0));
    say("rmdir", rmdir("folder"));
    char pattern[] = "pattern-XXXXXX";
    const int fd = mkstemp(pattern);
    say("mkstemp", fd >= 0);
    say("close", close(fd));
    say("remove", remove(pattern));
}

static void streams(void)
{
    wchar_t text[20];
    int number = 0;
    FILE *file = fopen("wide", "w+");
    say("fputwc", fputwc(L'a', file) == L'a');
    say("fputws", fputws(L"bc\n", file) >= 0);
    say("fwprintf", fwprintf(file, L"%d %ls\n", 5, L"de"));
    rewind(file);
    say("fgetwc", fgetwc(file) == L'a');
    say("fgetws", fgetws(text, 20, file) == text);
    say("fwscanf", fwscanf(file, L"%d", &number));
    say("number", number);
    say("ftell", ftell(file));
    say("fseek", fseek(file, 0, SEEK_END));
    say("fclose", fclose(file));
    file = tmpfile();
    say("fputs", fputs("text", file) >= 0);
    say("fclose", fclose(file));
}

static struct aiocb request;

static int writeAsynchronously(int fd, size_t size)
{
    const struct aiocb *list[] = {&request};
    memset(&request, 0, sizeof request);
    request.aio_fildes = fd;
    request.aio_buf = block;
    request.aio_nbytes = size;
    if (aio_write(&request) != 0)
        return -1;
    while (aio_error(&request) != 0)
        aio_suspend(list, 1, NULL);
    return (int)aio_return(&request);
}

static int results(int from, int to)
{
    copies(from, to);
    names();
    streams();
    say("aio_suspend", writeAsynchronously(to, 2000));
    say("stat", sizeOf("copy"));
    void *mapped = mmap(NULL, 1000, PROT_READ | PROT_WRITE, MAP_SHARED, to, 0);
    say("msync", msync(mapped, 1000, MS_SYNC));
    return 0;
}

static void copyMuch(int from, int to)
{
    off64_t fromAt = 0;
    off64_t toAt = 0;
    (void)!copy_file_range(from, &fromAt, to, &toAt, BlockSize, 0);
    fromAt = 0;
    lseek(to, 0, SEEK_SET);
    (void)!sendfile(to, from, &fromAt, BlockSize);
}

static void askForNames(int from, int to)
{
    (void)from;
    (void)to;
    for (int i = 0; i < 200; ++i) {
        (void)sizeOf("data");
        (void)access("nowhere", R_OK);
    }
}

static void waitForWrites(int from, int to)
{
    (void)from;
    writeAsynchronously(to, BlockSize);
}

static void writeWide(int from, int to)
{
    enum { WideSize = 20000 };
    static wchar_t text[WideSize];
    static FILE *file;
    (void)from;
    (void)to;
    if (!file)
        file = fopen("wide", "w");
    if (text[0] == L'\0')
        wmemset(text, L'x', WideSize - 1);
    rewind(file);
    fputws(text, file);
    fflush(file);
}

static int shares(int from, int to)
{
    static const struct {
        const char *name;
        void (*action)(int from, int to);
    } actions[] = {{"copy", copyMuch}, {"names", askForNames}, {"asynchronous", waitForWrites}, {"wide", writeWide}};
    for (size_t i = 0; i < sizeof actions / sizeof actions[0]; ++i) {
        const double start = seconds();
        while (seconds() - start < AWhile)
            actions[i].action(from, to);
        printf("%s %f\n", actions[i].name, seconds() - start);
    }
    printf("compute %f\n", compute(AWhile));
    return 0;
}

int main(int count, char **arguments)
{
    if (count != 3 || chdir(arguments[2]) != 0)
        return 2;
    const int from = open("data", O_RDWR | O_CREAT, 0600);
    const int to = open("copy", O_RDWR | O_CREAT, 0600);
    if (write(from, block, BlockSize) != BlockSize || lseek(from, 0, SEEK_SET) != 0)
        return 2;
    return strcmp(arguments[1], "results") == 0 ? results(from, to) : shares(from, to);
}
