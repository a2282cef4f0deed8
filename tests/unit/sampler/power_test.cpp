// Figures of the node from its sensors and file systems: power, energy and Lustre, from a made-up sysfs and
// procfs.

#include "job.h"

#include "profile/profilerdata.h"
#include "profile/spoolmerger.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <thread>

namespace {

// A tree of sensors. Files are rewritten in place, as the sampler keeps them open.
class Sysfs {
public:
    void write(const std::string &path, const std::string &text) const
    {
        const std::filesystem::path file = std::filesystem::path(mFolder.path()) / path;
        std::filesystem::create_directories(file.parent_path());
        // Never empty: the kernel's files aren't, either.
        std::fstream stream(file, std::ios::in | std::ios::out);
        if (!stream.is_open())
            stream.open(file, std::ios::out);
        stream << text << "\n";
    }
    void addPackage(int zone, const std::string &name, long long microjoules) const
    {
        const std::string folder = "class/powercap/intel-rapl:" + std::to_string(zone) + "/";
        write(folder + "name", name);
        write(folder + "max_energy_range_uj", "262143328850");
        setEnergy(zone, microjoules);
    }
    void setEnergy(int zone, long long microjoules) const
    {
        write(
            "class/powercap/intel-rapl:" + std::to_string(zone) + "/energy_uj", std::to_string(microjoules));
    }
    const std::string &path() const { return mFolder.path(); }

private:
    Folder mFolder;
};

class Power : public testing::Test {
protected:
    // Runs a program for some time, with `meanwhile` going on beside it.
    template <typename Action> ProfilerData runFor(const std::string &duration, Action meanwhile)
    {
        return profileOf({"sleep", duration}, meanwhile);
    }
    template <typename Action> ProfilerData profileOf(const Command &command, Action meanwhile)
    {
        const Folder folder;
        Environment environment = samplingInto(folder.path());
        environment["QUILLON_SAMPLER_SYSFS"] = sysfs.path();
        environment["QUILLON_SAMPLER_PROCFS"] = procfs.path();
        std::thread beside(meanwhile);
        const Outcome outcome = run(command, environment);
        beside.join();
        EXPECT_EQ(outcome.status, 0) << outcome;
        ProfilerData profile;
        EXPECT_TRUE(mergeSpools(QString::fromStdString(folder.path()), &profile, nullptr));
        return profile;
    }
    ProfilerData runFor(const std::string &duration)
    {
        return runFor(duration, [] {});
    }
    // A package's counter goes on for some time, at a power in watts.
    void drive(int zone, long long microjoules, double watts, double duration) const
    {
        using namespace std::chrono;
        constexpr long long range = 262143328850;
        const auto begin = steady_clock::now();
        double seconds = 0;
        while (seconds < duration) {
            seconds = duration_cast<std::chrono::duration<double>>(steady_clock::now() - begin).count();
            sysfs.setEnergy(zone, (microjoules + static_cast<long long>(watts * seconds * 1e6)) % range);
            std::this_thread::sleep_for(milliseconds(5));
        }
    }

    Sysfs sysfs;
    Sysfs procfs;
};

// The counters of a mount, which the node reads and writes by so many bytes a second for some time.
class Lustre : public Power {
protected:
    static void drive(const Sysfs &tree, const std::string &mount, double duration)
    {
        using namespace std::chrono;
        const auto begin = steady_clock::now();
        double seconds = 0;
        while (seconds < duration) {
            seconds = duration_cast<std::chrono::duration<double>>(steady_clock::now() - begin).count();
            std::ostringstream text;
            text << std::fixed << std::setprecision(0)
                 << "snapshot_time             1700000000.25 secs.nsecs\n"
                 << "write_bytes               7 samples [bytes] 1 4096 " << 1e10 + WriteRate * seconds
                 << "\n"
                 << "read_bytes                9 samples [bytes] 4096 1048576 " << 5e9 + ReadRate * seconds
                 << " 123456789\nopen                      2 samples [regs]";
            tree.write(mount + "/stats", text.str());
            std::this_thread::sleep_for(milliseconds(5));
        }
    }
    static constexpr double ReadRate = 3e8;
    static constexpr double WriteRate = 1e8;
};

double meanOf(const ProfilerData &profile, const QString &metric)
{
    return profile.getMetricOrEmpty(metric).mean().to_double();
}

} // namespace

TEST_F(Power, OfProcessorsIsWhatTheirCountersGainedInTheTime)
{
    sysfs.addPackage(0, "package-0", 5000000);
    sysfs.addPackage(1, "package-1", 7000000);
    sysfs.addPackage(2, "psys", 0);
    const ProfilerData profile = runFor("2", [&] { drive(0, 5000000, 100.0, 2.2); });
    EXPECT_NEAR(meanOf(profile, METRIC_RAPL_POWER), 100.0, 15.0);
    EXPECT_NEAR(profile.metric(METRIC_RAPL_ENERGY).max().to_double(), 200.0, 30.0);
    EXPECT_TRUE(profile.hasMetricNoErrors(METRIC_RAPL_POWER));
}

TEST_F(Power, CounterThatWrapsAroundGoesOn)
{
    sysfs.addPackage(0, "package-0", 262143328850 - 50000000);
    const ProfilerData profile = runFor("2", [&] { drive(0, 262143328850 - 50000000, 100.0, 2.2); });
    EXPECT_NEAR(meanOf(profile, METRIC_RAPL_POWER), 100.0, 15.0);
}

TEST_F(Power, OfAWholeNodeComesFromItsCounters)
{
    sysfs.write("cray/pm_counters/power", "345 W");
    const ProfilerData profile = runFor("1.2");
    EXPECT_DOUBLE_EQ(meanOf(profile, METRIC_SYSTEM_POWER), 345.0);
    EXPECT_NEAR(profile.metric(METRIC_SYSTEM_ENERGY).max().to_double(), 345.0 * 1.2, 345.0 * 0.2);
}

TEST_F(Power, OfAWholeNodeComesFromItsPowerMeter)
{
    sysfs.write("class/hwmon/hwmon0/name", "coretemp");
    sysfs.write("class/hwmon/hwmon0/power1_average", "1000000");
    sysfs.write("class/hwmon/hwmon1/name", "power_meter");
    sysfs.write("class/hwmon/hwmon1/power1_average", "212500000");
    EXPECT_DOUBLE_EQ(meanOf(runFor("1.2"), METRIC_SYSTEM_POWER), 212.5);
}

TEST_F(Power, OfAWholeNodeIsThatOfTheMomentWhereTheMeterKnowsNoMean)
{
    sysfs.write("class/hwmon/hwmon2/name", "ipmi_power");
    sysfs.write("class/hwmon/hwmon2/power1_input", "99000000");
    EXPECT_DOUBLE_EQ(meanOf(runFor("1.2"), METRIC_SYSTEM_POWER), 99.0);
}

TEST_F(Lustre, IsWhatTheNodesMountsGainedDividedAmongItsProcesses)
{
    const std::string mount = "fs/lustre/llite/scratch-ffff8800";
    drive(procfs, mount, 0.0);
    const ProfilerData profile
        = profileOf({"sh", "-c", "sleep 2 & sleep 2; wait"}, [&] { drive(procfs, mount, 2.3); });
    ASSERT_EQ(profile.numTargetProcs(), 2);
    ASSERT_TRUE(profile.hasMetricNoErrors(METRIC_LUSTRE_CHARS_READ));
    const ScalarMetric read = profile.metric(METRIC_LUSTRE_CHARS_READ);
    EXPECT_NEAR(read.exactSum().to_double(), 2 * ReadRate, 0.3 * ReadRate);
    EXPECT_NEAR(read.mean().to_double(), ReadRate, 0.15 * ReadRate);
    const ScalarMetric written = profile.metric(METRIC_LUSTRE_CHARS_WRITTEN);
    EXPECT_NEAR(written.exactSum().to_double(), 2 * WriteRate, 0.3 * WriteRate);
}

TEST_F(Lustre, OfANewerReleaseIsInAnotherPlace)
{
    const std::string mount = "kernel/debug/lustre/llite/home-ffff8801";
    drive(sysfs, mount, 0.0);
    const ProfilerData profile = runFor("1.5", [&] { drive(sysfs, mount, 1.8); });
    EXPECT_NEAR(profile.metric(METRIC_LUSTRE_CHARS_READ).max().to_double(), 1.5 * ReadRate, 0.3 * ReadRate);
}

TEST_F(Lustre, ThatIsntThereOrClosedHasItsReason)
{
    EXPECT_EQ(runFor("0.5").getFirstMetricError(METRIC_LUSTRE_CHARS_READ),
        "Not available: this system has no Lustre file system.");
    sysfs.write("fs/lustre/version", "2.15.0");
    EXPECT_TRUE(
        runFor("0.5").getFirstMetricError(METRIC_LUSTRE_CHARS_WRITTEN).startsWith("Requires permission"));
}

TEST_F(Power, WithoutSensorsHasItsReason)
{
    const ProfilerData profile = runFor("0.5");
    EXPECT_EQ(profile.getFirstMetricError(METRIC_RAPL_POWER),
        "Not supported on this system, which has no energy counters in /sys/class/powercap.");
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_RAPL_ENERGY).startsWith("Not supported"));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_SYSTEM_POWER).startsWith("Not supported"));
    EXPECT_TRUE(profile.getFirstMetricError(METRIC_SYSTEM_ENERGY).startsWith("Not supported"));
}

TEST_F(Power, CountersThatMayNotBeReadSayWhoCanHelp)
{
    sysfs.addPackage(0, "package-0", 0);
    // A link to itself can't be opened by anyone, whatever rights the tests have.
    const std::filesystem::path energy
        = std::filesystem::path(sysfs.path()) / "class/powercap/intel-rapl:0/energy_uj";
    std::filesystem::remove(energy);
    std::filesystem::create_symlink(energy, energy);
    EXPECT_TRUE(runFor("0.5").getFirstMetricError(METRIC_RAPL_POWER).startsWith("Requires permission"));
}
