// How the library comes into a process and leaves it.

#include "core/nodefolder.h"
#include "core/processstate.h"
#include "core/sampler.h"
#include "core/settings.h"
#include "wrappers/examination.h"
#include "wrappers/hooks.h"
#include "wrappers/threads.h"

#include <errno.h>
#include <pthread.h>

namespace fern {

namespace {

void arriveInChild()
{
    const int error = errno;
    sampler::startInChild();
    threads::watchEndOfThisThread();
    errno = error;
}

__attribute__((constructor)) void arrive()
{
    const int error = errno;
    hooks::findAll();
    if (readSettings()) {
        nodefolder::choose();
        wrapping.wrapperPs = timeWrapper();
        findRivals();
        sampler::start();
        threads::prepare();
        pthread_atfork(nullptr, nullptr, arriveInChild);
    }
    errno = error;
}

__attribute__((destructor)) void leave()
{
    sampler::end();
}

} // namespace
} // namespace fern
