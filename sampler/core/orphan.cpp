#include "core/orphan.h"

#include "core/rawsystem.h"

#include <cstddef>
#include <fcntl.h>

namespace fern {

namespace {

constexpr std::size_t StackSize = std::size_t(16) * 1024;
alignas(64) char helperStack[StackSize];
alignas(64) char orphanStack[StackSize];

// It is started from our memory.
struct Start {
    const char *path;
    char *const *arguments;
    char *const *environment;
    bool isDone;
};
Start theStart;

// In a process of its own that is to become the program. Descriptors of the sampling thread's are closed by
// exec.
void becomeProgram()
{
    constexpr long FirstFree = 3;
    const int nothing = raw::open("/dev/null", O_RDWR);
    const long above = raw::call(SYS_fcntl, nothing, F_DUPFD_CLOEXEC, FirstFree);
    for (long fd = 0; fd < FirstFree; ++fd)
        raw::call(SYS_dup3, above, fd, 0);
    raw::call(SYS_chdir, raw::address("/"));
    theStart.isDone = true; // who comes back from the next line says otherwise
    raw::call(SYS_execve, raw::address(theStart.path), raw::address(theStart.arguments),
        raw::address(theStart.environment));
    theStart.isDone = false;
}

// In a process between the job's program and the new one, which makes the latter an orphan by its end.
void startAndEnd()
{
    raw::call(SYS_setsid);
    raw::startProcess(becomeProgram, orphanStack + StackSize);
}

} // namespace

bool startOrphan(const char *path, char *const *arguments, char *const *environment)
{
    theStart = {path, arguments, environment, false};
    const long helper = raw::startProcess(startAndEnd, helperStack + StackSize);
    if (helper > 0)
        raw::forgetProcess(helper);
    return theStart.isDone;
}

} // namespace fern
