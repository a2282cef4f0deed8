// fern-gpu-reader: reads the figures of a node's GPUs twice a second while processes of the job run there,
// and keeps them in a spool of its own. Started by the sampler (metrics/gpureader.cpp). With --check it
// prints what this machine's GPUs tell, as numbers of spool::SourceState.

#include "beside/job.h"
#include "beside/program.h"
#include "core/processstate.h"
#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/spool.h"
#include "gpureader/claim.h"
#include "gpureader/nvml.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

#ifdef QUILLON_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace fern {

ProcessState processState;
Wrapping wrapping;

namespace gpureader {

namespace {

using namespace std::chrono_literals;

constexpr auto ReadingInterval = 500ms; // the library itself takes means of up to a second
constexpr auto LookInterval = 250ms; // at the job
constexpr auto Patience = 1s; // with a device that doesn't answer
constexpr unsigned CheckSeconds = 20;

const char *libraryName()
{
    const char *ofTests = std::getenv("QUILLON_SAMPLER_NVML");
    return ofTests != nullptr ? ofTests : "libnvidia-ml.so.1";
}

void noteStates(spool::Header &header, const States &states)
{
    header.sourceStates[spool::SourceGpus] = states.gpus;
    header.sourceStates[spool::SourceGpuUsage] = states.usage;
    header.sourceStates[spool::SourceGpuMemory] = states.memory;
    header.sourceStates[spool::SourceGpuPower] = states.power;
}

// Reads in a thread of its own, since a reading can wait for its device for good.
class Reader {
public:
    bool start()
    {
        mStartNs = raw::clockNs(CLOCK_REALTIME);
        mStartMonotonicNs = raw::clockNs(CLOCK_MONOTONIC);
        processState.flags.store(spool::FlagReader, std::memory_order_relaxed);
        if (!mSpool.create(mStartNs))
            return false;
        std::thread([this] { readUntilStopped(); }).detach();
        return true;
    }

    // Waits for the thread, but not for long.
    void stop()
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mMustStop = true;
        mChanged.notify_all();
        mChanged.wait_for(lock, Patience, [this] { return mHasStopped; });
        mSpool.header().flags |= spool::FlagEnded;
    }

private:
    void readUntilStopped()
    {
        spool::Header &header = mSpool.header();
        const bool isOpen = mNvml.open(libraryName());
        noteStates(header, mNvml.states());
        header.gpus = mNvml.count();
        header.gpuMemory = mNvml.memory();
        std::uint64_t before = mStartNs;
        std::unique_lock<std::mutex> lock(mMutex);
        while (isOpen && !mMustStop) {
            lock.unlock();
            const Reading reading = mNvml.read();
            lock.lock();
            // cppcheck-suppress knownConditionTrueFalse; another thread sets it
            if (mMustStop) // the job ended meanwhile: this one may tell of another
                break;
            const std::uint64_t now = mStartNs + raw::clockNs(CLOCK_MONOTONIC) - mStartMonotonicNs;
            keep(reading, before, now);
            before = now;
            mChanged.wait_for(lock, ReadingInterval, [this] { return mMustStop; });
        }
        lock.unlock();
        mNvml.close();
        lock.lock();
        mHasStopped = true;
        mChanged.notify_all();
    }

    void keep(const Reading &reading, std::uint64_t fromNs, std::uint64_t toNs)
    {
        const auto add = [&](spool::FigureId figure, double value) {
            if (value >= 0)
                mSpool.addReading(figure, fromNs, toNs, value);
        };
        add(spool::FigureGpuUsage, reading.usage);
        add(spool::FigureGpuMemoryAccess, reading.memoryAccess);
        add(spool::FigureGpuMemoryUsed, reading.memoryUsed);
        add(spool::FigureGpuPower, reading.power);
        noteStates(mSpool.header(), mNvml.states());
        mSpool.header().lastNs = toNs;
        ++mSpool.header().ticks;
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mMustStop = false;
    bool mHasStopped = false;
    std::uint64_t mStartNs = 0;
    std::uint64_t mStartMonotonicNs = 0;
    Nvml mNvml;
    Spool mSpool;
};

int check()
{
    alarm(CheckSeconds);
    Nvml nvml;
    if (nvml.open(libraryName()))
        nvml.read();
    const States &states = nvml.states();
    std::printf("%d %d %d %d\n", states.gpus, states.usage, states.memory, states.power);
    return 0;
}

int readWhileTheJobRuns()
{
    beside::leaveProgram();
    if (!readSettings())
        return 2;
    utsname node{};
    uname(&node);
    ClaimPath claim;
    claim << settings.spoolFolder << "/" << node.nodename << ClaimSuffix;
    beside::Job job(settings.spoolFolder, node.nodename);
    static Reader reader; // outlives main(), as its thread may
    if (reader.start()) {
        while (job.isRunning())
            std::this_thread::sleep_for(LookInterval);
        reader.stop();
    }
    if (claim.text() != nullptr)
        rmdir(claim.text());
#ifdef QUILLON_COVERAGE
    __gcov_dump(); // which an exit without destructors leaves out
#endif
    _exit(0); // destructors of a library that hangs would hang, too
}

} // namespace
} // namespace gpureader
} // namespace fern

int main(int count, char **arguments)
{
    if (count == 2 && std::strcmp(arguments[1], "--check") == 0)
        return fern::gpureader::check();
    if (count > 1) {
        std::fprintf(stderr, "usage: %s [--check]\n", arguments[0]);
        return 2;
    }
    return fern::gpureader::readWhileTheJobRuns();
}
