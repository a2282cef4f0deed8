// fern-spool-keeper: on a node that doesn't have the host's folder for spools, waits for the end of the job's
// processes and takes what they left to a folder that the host may see. Started by the sampler
// (core/nodefolder.h).

#include "beside/job.h"
#include "beside/program.h"
#include "spoolkeeper/delivery.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr auto LookInterval = 100ms; // at the job
// A network file system may show the host a new folder only after a minute.
constexpr std::chrono::milliseconds Patience = 3min;

volatile std::sig_atomic_t isToEnd = 0;

void noteEnd(int)
{
    isToEnd = 1;
}

// Who ends the session may soon end it by force, so that what is there is handed over at once. The job's
// processes may live on all the same.
void waitForJob(fern::beside::Job &job, fern::spoolkeeper::Delivery &delivery)
{
    while (job.isRunning()) {
        if (isToEnd != 0) {
            isToEnd = 0;
            delivery.copy();
        }
        std::this_thread::sleep_for(LookInterval);
    }
}

} // namespace

int main(int count, char **arguments)
{
    constexpr int Words = 5;
    constexpr int MostWords = 6;
    if (count < Words || count > MostWords) {
        std::fprintf(stderr, "usage: %s FOLDER GATHER CLAIM NODE [PATIENCE]\n", arguments[0]);
        return 2;
    }
    const char *folder = arguments[1];
    const char *claim = arguments[3];
    const char *node = arguments[4];
    const std::chrono::milliseconds patience
        = count > Words ? std::chrono::milliseconds(std::strtoul(arguments[Words], nullptr, 10)) : Patience;

    fern::beside::leaveProgram({SIGTERM, SIGHUP, SIGINT}, noteEnd);
    fern::beside::Job job(folder, node);
    fern::spoolkeeper::Delivery delivery(folder, arguments[2], node);
    do {
        waitForJob(job, delivery);
        delivery.move();
    } while (rmdir(folder) != 0 && errno == ENOTEMPTY && job.isRunning()); // one more has begun
    rmdir(claim);
    delivery.waitUntilSeen(patience);
    return 0;
}
