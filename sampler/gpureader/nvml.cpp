#include "gpureader/nvml.h"

#include <dlfcn.h>

namespace fern::gpureader {

namespace {

// Codes of the library's interface.
constexpr int Success = 0;
constexpr int NotSupported = 3;
constexpr int NoPermission = 4;

spool::SourceState stateOf(int code)
{
    switch (code) {
    case Success:
        return spool::SourceRead;
    case NotSupported:
    case NoPermission:
        return spool::SourceRefused;
    default:
        return spool::SourceLimited; // a driver that isn't loaded, of another version, a GPU that is lost
    }
}

template <typename Function> bool findFunction(void *library, const char *name, Function *function)
{
    *function = reinterpret_cast<Function>(dlsym(library, name));
    return *function != nullptr;
}

// A source that gave something once stays read.
void note(spool::SourceState *state, int code)
{
    if (*state != spool::SourceRead)
        *state = stateOf(code);
}

} // namespace

bool Nvml::open(const char *library)
{
    const auto fail = [this](spool::SourceState state) {
        mStates = {state, state, state, state};
        return false;
    };
    mLibrary = dlopen(library, RTLD_NOW);
    if (mLibrary == nullptr || !findFunctions())
        return fail(spool::SourceLimited);
    if (const Code code = mInit(); code != Success)
        return fail(stateOf(code));
    if (!findDevices())
        return fail(mStates.gpus);
    std::uint64_t total = 0;
    readMemory(&total);
    mMemory = total;
    return true;
}

// A driver that is too old for one of the figures has the others still.
bool Nvml::findFunctions()
{
    if (!findFunction(mLibrary, "nvmlDeviceGetUtilizationRates", &mUtilization))
        mStates.usage = spool::SourceLimited;
    if (!findFunction(mLibrary, "nvmlDeviceGetMemoryInfo", &mMemoryInfo))
        mStates.memory = spool::SourceLimited;
    if (!findFunction(mLibrary, "nvmlDeviceGetPowerUsage", &mPower))
        mStates.power = spool::SourceLimited;
    findFunction(mLibrary, "nvmlShutdown", &mShutdown);
    return findFunction(mLibrary, "nvmlInit_v2", &mInit)
        && findFunction(mLibrary, "nvmlDeviceGetCount_v2", &mCount)
        && findFunction(mLibrary, "nvmlDeviceGetHandleByIndex_v2", &mHandle);
}

// A GPU that can't be had at all, by its rights or since it is lost, isn't one of the job's.
bool Nvml::findDevices()
{
    unsigned count = 0;
    Code code = mCount(&count);
    mStates.gpus = code == Success ? spool::SourceAbsent : stateOf(code);
    for (unsigned i = 0; code == Success && i < count; ++i) {
        Device device = nullptr;
        const Code found = mHandle(i, &device);
        if (found == Success)
            mDevices.push_back(device);
        else
            mStates.gpus = stateOf(found);
    }
    if (!mDevices.empty())
        mStates.gpus = spool::SourceRead;
    return !mDevices.empty();
}

// Bytes in use on all GPUs; negative if one of them doesn't tell.
double Nvml::readMemory(std::uint64_t *total)
{
    double used = 0;
    *total = 0;
    for (const Device device : mDevices) {
        Memory memory{};
        if (mMemoryInfo == nullptr)
            return -1;
        const Code code = mMemoryInfo(device, &memory);
        note(&mStates.memory, code);
        if (code != Success) {
            *total = 0;
            return -1;
        }
        used += static_cast<double>(memory.used);
        *total += memory.total;
    }
    return used;
}

Reading Nvml::read()
{
    Reading reading{0, 0, 0, 0};
    int telling = 0;
    for (const Device device : mDevices) {
        Utilization utilization{};
        if (mUtilization != nullptr) {
            const Code code = mUtilization(device, &utilization);
            note(&mStates.usage, code);
            if (code == Success) {
                ++telling;
                reading.usage += utilization.gpu;
                reading.memoryAccess += utilization.memory;
            }
        }
        unsigned power = 0;
        if (mPower != nullptr && reading.power >= 0) {
            const Code code = mPower(device, &power);
            note(&mStates.power, code);
            reading.power = code == Success ? reading.power + power : -1;
        }
    }
    reading.usage = telling > 0 ? reading.usage / telling : -1;
    reading.memoryAccess = telling > 0 ? reading.memoryAccess / telling : -1;
    if (mPower == nullptr)
        reading.power = -1;
    std::uint64_t total = 0;
    reading.memoryUsed = readMemory(&total);
    return reading;
}

void Nvml::close()
{
    if (mShutdown != nullptr && !mDevices.empty())
        mShutdown();
}

} // namespace fern::gpureader
