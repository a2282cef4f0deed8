#include "metrics/powerfigures.h"

#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"

#include <errno.h>

namespace fern {

namespace {

constexpr std::uint64_t MaxMeters = 32;
constexpr double WattsPerMicrojoulePerNs = 1e3;

using Path = TextBuilder<640>;

// The number in a file that is kept open; false if it can't be read.
bool readNumber(int file, std::uint64_t &number)
{
    char text[64];
    const std::size_t length = raw::readAt(file, text, sizeof(text) - 1, 0);
    text[length] = '\0';
    const char *at = text;
    number = takeNumber(at);
    return length > 0 && at != text;
}

// Whether the text of a file begins with a word.
bool startsWith(const char *path, const char *word)
{
    char text[64];
    raw::readTextFile(path, text, sizeof(text));
    const char *at = text;
    while (*word != '\0' && *at == *word) {
        ++at;
        ++word;
    }
    return *word == '\0';
}

} // namespace

void PowerFigures::open()
{
    mIsOpen = true;
    mLastNs = 0;
    openPackages();
    openSystem();
}

void PowerFigures::openPackages()
{
    mPackageCount = 0;
    mCpuState = spool::SourceAbsent;
    for (std::uint64_t zone = 0; zone < MaxPackages; ++zone) {
        Path folder;
        folder << settings.sysfs << "/class/powercap/intel-rapl:" << zone << "/";
        Path name = folder;
        name << "name";
        if (!startsWith(name.text(), "package")) // a zone may be the whole platform
            continue;
        Path energy = folder;
        energy << "energy_uj";
        const int file = raw::open(energy.text());
        if (file < 0) {
            mCpuState = spool::SourceRefused;
            continue;
        }
        Path range = folder;
        range << "max_energy_range_uj";
        char text[64];
        raw::readTextFile(range.text(), text, sizeof(text));
        const char *at = text;
        mPackages[mPackageCount++] = {file, takeNumber(at), 0};
    }
    // A sum that lacks a package would be wrong.
    if (mCpuState != spool::SourceRefused && mPackageCount > 0)
        mCpuState = spool::SourceRead;
}

void PowerFigures::openSystem()
{
    Path cray;
    cray << settings.sysfs << "/cray/pm_counters/power";
    mSystemState = spool::SourceAbsent;
    mSystemFile = raw::open(cray.text());
    if (mSystemFile == -EACCES)
        mSystemState = spool::SourceRefused;
    mSystemUnit = 1.0;
    for (std::uint64_t meter = 0; meter < MaxMeters && mSystemFile < 0; ++meter) {
        Path folder;
        folder << settings.sysfs << "/class/hwmon/hwmon" << meter << "/";
        Path name = folder;
        name << "name";
        if (!startsWith(name.text(), "power_meter") && !startsWith(name.text(), "ipmi"))
            continue;
        // A mean is better than what flows at the moment.
        Path average = folder;
        average << "power1_average";
        mSystemFile = raw::open(average.text());
        if (mSystemFile == -ENOENT) {
            Path input = folder;
            input << "power1_input";
            mSystemFile = raw::open(input.text());
        }
        if (mSystemFile < 0)
            mSystemState = spool::SourceRefused;
        mSystemUnit = 1e-6;
    }
    if (mSystemFile >= 0)
        mSystemState = spool::SourceRead;
}

PowerFigures::Watts PowerFigures::read(std::uint64_t timeNs)
{
    if (!mIsOpen)
        open();
    return {readCpu(timeNs), readSystem()};
}

double PowerFigures::readCpu(std::uint64_t timeNs)
{
    if (mCpuState != spool::SourceRead)
        return -1.0;
    const std::uint64_t passedNs = mLastNs != 0 && timeNs > mLastNs ? timeNs - mLastNs : 0;
    mLastNs = 0; // until all packages have been read
    std::uint64_t microjoules = 0;
    for (int i = 0; i < mPackageCount; ++i) {
        Package &package = mPackages[i];
        std::uint64_t energy = 0;
        if (!readNumber(package.energyFile, energy))
            return -1.0;
        microjoules
            += energy >= package.energy ? energy - package.energy : energy + package.range - package.energy;
        package.energy = energy;
    }
    mLastNs = timeNs;
    return passedNs != 0
        ? static_cast<double>(microjoules) * WattsPerMicrojoulePerNs / static_cast<double>(passedNs)
        : -1.0;
}

double PowerFigures::readSystem()
{
    std::uint64_t power = 0;
    if (mSystemState != spool::SourceRead || !readNumber(mSystemFile, power))
        return -1.0;
    return static_cast<double>(power) * mSystemUnit;
}

} // namespace fern
