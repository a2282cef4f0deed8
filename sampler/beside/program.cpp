#include "beside/program.h"

#include <cstring>
#include <sched.h>
#include <unistd.h>

namespace fern::beside {

void leaveProgram(std::initializer_list<int> handled, void (*handler)(int))
{
    for (const int signal : {SIGALRM, SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGCHLD})
        ::signal(signal, SIG_DFL);
    for (const int signal : handled)
        ::signal(signal, handler);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    cpu_set_t all;
    std::memset(&all, 0xff, sizeof(all));
    sched_setaffinity(0, sizeof(all), &all); // what the node allows us of them
    constexpr int Gentle = 10;
    if (nice(Gentle) < 0) // no matter
        return;
}

} // namespace fern::beside
