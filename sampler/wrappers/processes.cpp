// Calls that end the process, make it another program, or leave functions without returning.

#include "core/sampler.h"
#include "core/threadregistry.h"
#include "wrappers/hooks.h"

namespace sampler = fern::sampler;

#define FERN_EXIT(name)                                                                                      \
    FERN_WRAPPER(void, name, (int status))                                                                   \
    {                                                                                                        \
        sampler::end();                                                                                      \
        FERN_REAL(name)(status);                                                                             \
        __builtin_unreachable();                                                                             \
    }

FERN_EXIT(_exit)
FERN_EXIT(_Exit)

// A jump leaves the wrapped calls that it jumps out of, and nobody ends their scopes.
#define FERN_JUMP(name)                                                                                      \
    FERN_WRAPPER(void, name, (struct __jmp_buf_tag * place, int value))                                      \
    {                                                                                                        \
        if (fern::Slot *slot = fern::currentSlot)                                                            \
            slot->category.store(slot->ownCategory, std::memory_order_relaxed);                              \
        FERN_REAL(name)(place, value);                                                                       \
        __builtin_unreachable();                                                                             \
    }

FERN_JUMP(longjmp)
FERN_JUMP(_longjmp)
FERN_JUMP(siglongjmp)
FERN_JUMP(__longjmp_chk)

// The kernel would end the sampling thread at exec, but only after it has been found asleep somewhere;
// and the spool would lack its last figures. Exec returns only if it failed.
#define FERN_EXEC(name, parameters, ...)                                                                     \
    FERN_WRAPPER(int, name, parameters)                                                                      \
    {                                                                                                        \
        const bool wasStopped = sampler::beforeExec();                                                       \
        const int result = FERN_REAL(name)(__VA_ARGS__);                                                     \
        sampler::afterExec(wasStopped);                                                                      \
        return result;                                                                                       \
    }

FERN_EXEC(execve, (const char *path, char *const *arguments, char *const *environment), path, arguments,
    environment)
FERN_EXEC(execv, (const char *path, char *const *arguments), path, arguments)
FERN_EXEC(execvp, (const char *file, char *const *arguments), file, arguments)
FERN_EXEC(execvpe, (const char *file, char *const *arguments, char *const *environment), file, arguments,
    environment)
FERN_EXEC(fexecve, (int fd, char *const *arguments, char *const *environment), fd, arguments, environment)
FERN_EXEC(execveat,
    (int folder, const char *path, char *const *arguments, char *const *environment, int flags), folder, path,
    arguments, environment, flags)

namespace {

// Arguments up to the terminating null, it included.
unsigned countArguments(va_list list)
{
    va_list copy;
    va_copy(copy, list);
    unsigned count = 2; // the first one and the null
    while (va_arg(copy, char *) != nullptr)
        ++count;
    va_end(copy);
    return count;
}

} // namespace

// On the stack, since a vfork child has no heap of its own. `environment` stands behind the null.
#define FERN_COLLECT_ARGUMENTS(arguments)                                                                    \
    va_list list;                                                                                            \
    va_start(list, first);                                                                                   \
    const unsigned count = first != nullptr ? countArguments(list) : 1;                                      \
    auto **arguments = static_cast<char **>(__builtin_alloca(count * sizeof(char *)));                       \
    arguments[0] = const_cast<char *>(first);                                                                \
    for (unsigned i = 1; i < count; ++i)                                                                     \
        arguments[i] = va_arg(list, char *);

FERN_WRAPPER(int, execl, (const char *path, const char *first, ...))
{
    FERN_COLLECT_ARGUMENTS(arguments)
    va_end(list);
    return wrapped_execv(path, arguments);
}

FERN_WRAPPER(int, execlp, (const char *file, const char *first, ...))
{
    FERN_COLLECT_ARGUMENTS(arguments)
    va_end(list);
    return wrapped_execvp(file, arguments);
}

FERN_WRAPPER(int, execle, (const char *path, const char *first, ...))
{
    FERN_COLLECT_ARGUMENTS(arguments)
    auto **environment = va_arg(list, char **);
    va_end(list);
    return wrapped_execve(path, arguments, environment);
}
