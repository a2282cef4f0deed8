/* streamcalls FOLDER
 *
 * Makes every wrapped call that works on streams, and prints what it gives. */
#define _GNU_SOURCE
#include "results.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

/* What compilers and older headers call in the place of others. */
size_t __fread_chk(void *data, size_t room, size_t size, size_t count, FILE *stream);
size_t __fread_unlocked_chk(void *data, size_t room, size_t size, size_t count, FILE *stream);
char *__fgets_chk(char *text, size_t room, int size, FILE *stream);
char *__fgets_unlocked_chk(char *text, size_t room, int size, FILE *stream);
wchar_t *__fgetws_chk(wchar_t *text, size_t room, int size, FILE *stream);
wchar_t *__fgetws_unlocked_chk(wchar_t *text, size_t room, int size, FILE *stream);
int __underflow(FILE *stream);
int __uflow(FILE *stream);
int __overflow(FILE *stream, int c);
int _IO_getc(FILE *stream);
int _IO_putc(int c, FILE *stream);
int _IO_puts(const char *text);
wint_t __wunderflow(FILE *stream);
wint_t __wuflow(FILE *stream);
wint_t __woverflow(FILE *stream, wint_t c);
/* Headers call what C99 made of these. */
int plainFscanf(FILE *stream, const char *format, ...) __asm__("fscanf");
int plainScanf(const char *format, ...) __asm__("scanf");
int plainVfscanf(FILE *stream, const char *format, va_list list) __asm__("vfscanf");
int plainVscanf(const char *format, va_list list) __asm__("vscanf");
int plainFwscanf(FILE *stream, const wchar_t *format, ...) __asm__("fwscanf");
int plainVfwscanf(FILE *stream, const wchar_t *format, va_list list) __asm__("vfwscanf");
int __isoc99_fscanf(FILE *stream, const char *format, ...);
int __isoc99_scanf(const char *format, ...);
int __isoc99_vfscanf(FILE *stream, const char *format, va_list list);
int __isoc99_vscanf(const char *format, va_list list);
int __isoc99_fwscanf(FILE *stream, const wchar_t *format, ...);
int __isoc99_vfwscanf(FILE *stream, const wchar_t *format, va_list list);
int __fprintf_chk(FILE *stream, int flag, const char *format, ...);
int __printf_chk(int flag, const char *format, ...);
int __dprintf_chk(int fd, int flag, const char *format, ...);
int __vfprintf_chk(FILE *stream, int flag, const char *format, va_list list);
int __vprintf_chk(int flag, const char *format, va_list list);
int __vdprintf_chk(int fd, int flag, const char *format, va_list list);
int __fwprintf_chk(FILE *stream, int flag, const wchar_t *format, ...);
int __wprintf_chk(int flag, const wchar_t *format, ...);
int __vfwprintf_chk(FILE *stream, int flag, const wchar_t *format, va_list list);
int __vwprintf_chk(int flag, const wchar_t *format, va_list list);

static char block[100];
static wchar_t wide[100];

#define READS(call, ...)                                                                                     \
    do {                                                                                                     \
        memset(block, 0, sizeof block);                                                                      \
        GIVES(call, __VA_ARGS__);                                                                            \
        fprintf(report, "  %s\n", block);                                                                    \
    } while (0)
#define READS_LINE(call, ...)                                                                                \
    do {                                                                                                     \
        memset(block, 0, sizeof block);                                                                      \
        POINTS(call, __VA_ARGS__);                                                                           \
        fprintf(report, "  %s\n", block);                                                                    \
    } while (0)
#define READS_WIDE(call, ...)                                                                                \
    do {                                                                                                     \
        wmemset(wide, 0, sizeof wide / sizeof wide[0]);                                                      \
        POINTS(call, __VA_ARGS__);                                                                           \
        fprintf(report, "  %ls\n", wide);                                                                    \
    } while (0)

static void reading(void)
{
    char *line = NULL;
    size_t size = 0;
    FILE *file = POINTS(fopen, "data", "r");
    /* What a program calls when its macro has found the stream's buffer empty. */
    GIVES(__underflow, file);
    READS(fread, block, 1, 5, file);
    READS(fread_unlocked, block, 1, 5, file);
    READS(__fread_chk, block, sizeof block, 1, 5, file);
    READS(__fread_unlocked_chk, block, sizeof block, 1, 5, file);
    READS_LINE(fgets, block, sizeof block, file);
    READS_LINE(fgets_unlocked, block, sizeof block, file);
    READS_LINE(__fgets_chk, block, sizeof block, 20, file);
    READS_LINE(__fgets_unlocked_chk, block, sizeof block, 20, file);
    GIVES(fgetc, file);
    GIVES(fgetc_unlocked, file);
    GIVES(getc, file);
    GIVES(getc_unlocked, file);
    GIVES(_IO_getc, file);
    GIVES(__uflow, file);
    GIVES(getline, &line, &size, file);
    GIVES(getdelim, &line, &size, '.', file);
    GIVES(__getdelim, &line, &size, '.', file);
    fprintf(report, "  %s\n", line);
    DOES(rewind, file);
    GIVES(fseek, file, 40, SEEK_SET);
    GIVES(fseeko, file, 20, SEEK_CUR);
    GIVES(fseeko64, file, 10, SEEK_CUR);
    GIVES(fgetc, file);
    GIVES(fclose, file);
    free(line);
    file = POINTS(fopen64, "data", "r");
    file = POINTS(freopen, "copy", "w", file);
    GIVES(fgetc, file);
    file = POINTS(freopen64, "data", "r", file);
    GIVES(fgetc, file);
    GIVES(fclose, file);
    POINTS(fopen, "nowhere", "r");
    GIVES(fclose, (FILE *)POINTS(tmpfile));
    GIVES(fclose, (FILE *)POINTS(tmpfile64));
}

static void writing(FILE *file)
{
    GIVES(fwrite, "fwrite\n", 1, 7, file);
    GIVES(fwrite_unlocked, "fwrite_unlocked\n", 1, 16, file);
    GIVES(fflush, file);
    GIVES(fflush_unlocked, file);
    GIVES(fflush, NULL);
    GIVES(fputs, "fputs\n", file);
    GIVES(fputs_unlocked, "fputs_unlocked\n", file);
    GIVES(fputc, '1', file);
    GIVES(fputc_unlocked, '2', file);
    GIVES(putc, '3', file);
    GIVES(putc_unlocked, '4', file);
    GIVES(_IO_putc, '5', file);
    GIVES(__overflow, file, '6');
    GIVES(puts, "puts");
    GIVES(_IO_puts, "_IO_puts");
    GIVES(putchar, '7');
    GIVES(putchar_unlocked, '8');
}

/* The same arguments for each call that takes them, as a list or one by one. */
static void formatting(FILE *file, ...)
{
    va_list list;
#define LISTED(call, ...) va_start(list, file), GIVES(call, __VA_ARGS__, list), va_end(list)
    LISTED(vfprintf, file, "%d %s\n");
    LISTED(vprintf, "%d %s\n");
    LISTED(vdprintf, fileno(file), "%d %s\n");
    LISTED(__vfprintf_chk, file, 1, "%d %s\n");
    LISTED(__vprintf_chk, 1, "%d %s\n");
    LISTED(__vdprintf_chk, fileno(file), 1, "%d %s\n");
    GIVES(fprintf, file, "%d %s %.1f %c\n", 5, "fprintf", 0.5, 'x');
    GIVES(printf, "%d %s %.1f %c\n", 5, "printf", 0.5, 'x');
    GIVES(dprintf, fileno(file), "%d %s %.1f %c\n", 5, "dprintf", 0.5, 'x');
    GIVES(__fprintf_chk, file, 1, "%d %s %.1f %c\n", 5, "fprintf", 0.5, 'x');
    GIVES(__printf_chk, 1, "%d %s %.1f %c\n", 5, "printf", 0.5, 'x');
    GIVES(__dprintf_chk, fileno(file), 1, "%d %s %.1f %c\n", 5, "dprintf", 0.5, 'x');
}

static void formattingWide(FILE *file, ...)
{
    va_list list;
    LISTED(vfwprintf, file, L"%d %s\n");
    LISTED(vwprintf, L"%d %s\n");
    LISTED(__vfwprintf_chk, file, 1, L"%d %s\n");
    LISTED(__vwprintf_chk, 1, L"%d %s\n");
    GIVES(fwprintf, file, L"%d %s %.1f %c\n", 5, "fwprintf", 0.5, 'x');
    GIVES(wprintf, L"%d %s %.1f %c\n", 5, "wprintf", 0.5, 'x');
    GIVES(__fwprintf_chk, file, 1, L"%d %s %.1f %c\n", 5, "fwprintf", 0.5, 'x');
    GIVES(__wprintf_chk, 1, L"%d %s %.1f %c\n", 5, "wprintf", 0.5, 'x');
}

static int number;

/* `file` and standard input hold lines of a number and a word. */
static void scanning(FILE *file, ...)
{
    va_list list;
#define SCANS(form, call, ...)                                                                               \
    do {                                                                                                     \
        form(call, __VA_ARGS__);                                                                             \
        fprintf(report, "  %d %s\n", number, block);                                                         \
    } while (0)
    SCANS(LISTED, plainVfscanf, file, "%d %99s");
    SCANS(LISTED, plainVscanf, "%d %99s");
    SCANS(LISTED, __isoc99_vfscanf, file, "%d %99s");
    SCANS(LISTED, __isoc99_vscanf, "%d %99s");
    SCANS(GIVES, plainFscanf, file, "%d %99s", &number, block);
    SCANS(GIVES, plainScanf, "%d %99s", &number, block);
    SCANS(GIVES, __isoc99_fscanf, file, "%d %99s", &number, block);
    SCANS(GIVES, __isoc99_scanf, "%d %99s", &number, block);
    GIVES(getchar);
    GIVES(getchar_unlocked);
}

static void scanningWide(FILE *file, ...)
{
    va_list list;
    SCANS(LISTED, plainVfwscanf, file, L"%d %99s");
    SCANS(LISTED, __isoc99_vfwscanf, file, L"%d %99s");
    SCANS(GIVES, plainFwscanf, file, L"%d %99s", &number, block);
    SCANS(GIVES, __isoc99_fwscanf, file, L"%d %99s", &number, block);
}

static void readingWide(FILE *file)
{
    GIVES(__wunderflow, file);
    GIVES(fgetwc, file);
    GIVES(fgetwc_unlocked, file);
    GIVES(getwc, file);
    GIVES(getwc_unlocked, file);
    GIVES(__wuflow, file);
    READS_WIDE(fgetws, wide, 100, file);
    READS_WIDE(fgetws_unlocked, wide, 100, file);
    READS_WIDE(__fgetws_chk, wide, 100, 20, file);
    READS_WIDE(__fgetws_unlocked_chk, wide, 100, 20, file);
    GIVES(getwchar);
    GIVES(getwchar_unlocked);
}

static void writingWide(FILE *file)
{
    GIVES(fputws, L"fputws\n", file);
    GIVES(fputws_unlocked, L"fputws_unlocked\n", file);
    GIVES(fputwc, L'1', file);
    GIVES(fputwc_unlocked, L'2', file);
    GIVES(putwc, L'3', file);
    GIVES(putwc_unlocked, L'4', file);
    GIVES(__woverflow, file, L'5');
    GIVES(putwchar, L'6');
    GIVES(putwchar_unlocked, L'7');
}

int main(int count, char **arguments)
{
    if (count != 2 || chdir(arguments[1]) != 0)
        return 2;
    openReport();
    FILE *file = fopen("data", "w");
    for (int i = 0; i < 30; ++i)
        fprintf(file, "%d line%d.\n", i, i);
    fclose(file);

    if (!freopen("data", "r", stdin) || !freopen("output", "w", stdout))
        return 2;
    reading();
    file = fopen("copy", "w");
    writing(file);
    formatting(file, 42, "text");
    fclose(file);
    file = fopen("data", "r");
    scanning(file, &number, block);
    fclose(file);

    /* A stream is for bytes or for wide characters until it is opened anew. */
    if (!freopen("data", "r", stdin) || !freopen("wide output", "w", stdout))
        return 2;
    file = fopen("wide copy", "w");
    writingWide(file);
    formattingWide(file, 42, "text");
    fclose(file);
    file = fopen("data", "r");
    readingWide(file);
    scanningWide(file, &number, block);
    fclose(file);
    return 0;
}
