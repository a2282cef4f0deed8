// Streams: the calls with arguments of their own number, which are handed on as lists, and those that
// change what a stream's descriptor is. The C library's own reads and writes for a stream don't pass
// through the wrappers of descriptors, hence all of stdio is wrapped.

#include "wrappers/files.h"
#include "wrappers/hooks.h"

using fern::CategoryScope;
using fern::isFile;

#define FERN_FORMATTED(name, listForm, kind, subject, parameters, ...)                                       \
    FERN_WRAPPER(int, name, parameters)                                                                      \
    {                                                                                                        \
        const CategoryScope scope(fern::spool::kind, isFile(subject));                                       \
        va_list list;                                                                                        \
        va_start(list, format);                                                                              \
        const int result = FERN_REAL(listForm)(__VA_ARGS__, list);                                           \
        va_end(list);                                                                                        \
        return result;                                                                                       \
    }

FERN_FORMATTED(fprintf, vfprintf, IoWrite, stream, (FILE * stream, const char *format, ...), stream, format)
FERN_FORMATTED(printf, vprintf, IoWrite, stdout, (const char *format, ...), format)
FERN_FORMATTED(dprintf, vdprintf, IoWrite, fd, (int fd, const char *format, ...), fd, format)
FERN_FORMATTED(__fprintf_chk, __vfprintf_chk, IoWrite, stream,
    (FILE * stream, int flag, const char *format, ...), stream, flag, format)
FERN_FORMATTED(
    __printf_chk, __vprintf_chk, IoWrite, stdout, (int flag, const char *format, ...), flag, format)
FERN_FORMATTED(
    __dprintf_chk, __vdprintf_chk, IoWrite, fd, (int fd, int flag, const char *format, ...), fd, flag, format)
FERN_FORMATTED(fscanf, vfscanf, IoRead, stream, (FILE * stream, const char *format, ...), stream, format)
FERN_FORMATTED(scanf, vscanf, IoRead, stdin, (const char *format, ...), format)
FERN_FORMATTED(__isoc99_fscanf, __isoc99_vfscanf, IoRead, stream, (FILE * stream, const char *format, ...),
    stream, format)
FERN_FORMATTED(__isoc99_scanf, __isoc99_vscanf, IoRead, stdin, (const char *format, ...), format)
FERN_FORMATTED(fwscanf, vfwscanf, IoRead, stream, (FILE * stream, const wchar_t *format, ...), stream, format)
FERN_FORMATTED(__isoc99_fwscanf, __isoc99_vfwscanf, IoRead, stream,
    (FILE * stream, const wchar_t *format, ...), stream, format)
FERN_FORMATTED(
    fwprintf, vfwprintf, IoWrite, stream, (FILE * stream, const wchar_t *format, ...), stream, format)
FERN_FORMATTED(wprintf, vwprintf, IoWrite, stdout, (const wchar_t *format, ...), format)
FERN_FORMATTED(__fwprintf_chk, __vfwprintf_chk, IoWrite, stream,
    (FILE * stream, int flag, const wchar_t *format, ...), stream, flag, format)
FERN_FORMATTED(
    __wprintf_chk, __vwprintf_chk, IoWrite, stdout, (int flag, const wchar_t *format, ...), flag, format)

namespace {

// To be called while the stream is still open.
void forgetDescriptor(const FILE *stream)
{
    fern::descriptors::forget(stream->_fileno);
}

} // namespace

FERN_WRAPPER(int, fclose, (FILE * stream))
{
    const CategoryScope scope(fern::spool::IoOther, isFile(stream));
    forgetDescriptor(stream);
    return FERN_REAL(fclose)(stream);
}

FERN_WRAPPER(FILE *, freopen, (const char *path, const char *mode, FILE *stream))
{
    const CategoryScope scope(fern::spool::IoOther);
    forgetDescriptor(stream);
    return FERN_REAL(freopen)(path, mode, stream);
}

FERN_WRAPPER(FILE *, freopen64, (const char *path, const char *mode, FILE *stream))
{
    const CategoryScope scope(fern::spool::IoOther);
    forgetDescriptor(stream);
    return FERN_REAL(freopen64)(path, mode, stream);
}
