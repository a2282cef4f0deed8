// Why a machine can't deliver a metric.

#include "profile/metricids.h"
#include "profile/metricreasons.h"
#include "sampler/core/spoolformat.h"

#include "qtprinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class MetricReasonsOfAMachine : public testing::Test {
protected:
    void write(const QString &path, const QByteArray &text) const
    {
        const QString file = mSysfs.filePath(path);
        QDir().mkpath(QFileInfo(file).path());
        QFile output(file);
        ASSERT_TRUE(output.open(QIODevice::WriteOnly));
        output.write(text);
    }
    QString reason(const QString &metric) const
    {
        return MetricReasons::onThisMachine(metric, mSysfs.path());
    }

private:
    QTemporaryDir mSysfs;
};

TEST_F(MetricReasonsOfAMachine, AreThereWithoutSensors)
{
    EXPECT_TRUE(reason(METRIC_RAPL_POWER).startsWith("Not supported"));
    EXPECT_TRUE(reason(METRIC_RAPL_ENERGY).startsWith("Not supported"));
    EXPECT_TRUE(reason(METRIC_SYSTEM_POWER).startsWith("Not supported"));
    EXPECT_TRUE(reason(METRIC_SYSTEM_ENERGY).startsWith("Not supported"));
    EXPECT_TRUE(reason(METRIC_RSS).isNull());
}

TEST_F(MetricReasonsOfAMachine, ArentThereWithSensors)
{
    write("class/powercap/intel-rapl:0/name", "package-0\n");
    write("class/powercap/intel-rapl:0/energy_uj", "1\n");
    write("class/hwmon/hwmon3/name", "power_meter\n");
    write("class/hwmon/hwmon3/power1_average", "1\n");
    EXPECT_TRUE(reason(METRIC_RAPL_POWER).isNull());
    EXPECT_TRUE(reason(METRIC_SYSTEM_POWER).isNull());
}

TEST_F(MetricReasonsOfAMachine, TakeAMeterOfTheMoment)
{
    write("class/hwmon/hwmon0/name", "ipmi_power");
    write("class/hwmon/hwmon0/power1_input", "1\n");
    EXPECT_TRUE(reason(METRIC_SYSTEM_POWER).isNull());
}

TEST_F(MetricReasonsOfAMachine, TellALustreThatIsClosedFromNone)
{
    if (QDir("/proc/fs/lustre/llite").exists())
        GTEST_SKIP() << "this machine has a Lustre file system of its own";
    EXPECT_TRUE(reason(METRIC_LUSTRE_CHARS_READ).startsWith("Not available"));
    write("fs/lustre/version", "2.15.0\n");
    EXPECT_TRUE(reason(METRIC_LUSTRE_CHARS_READ).startsWith("Requires permission"));
    write("kernel/debug/lustre/llite/scratch/stats", "read_bytes\n");
    EXPECT_TRUE(reason(METRIC_LUSTRE_CHARS_READ).isNull());
}

TEST_F(MetricReasonsOfAMachine, DontTakeAnyMeterForTheNodesOwn)
{
    write("class/powercap/intel-rapl:0/name", "psys\n");
    write("class/powercap/intel-rapl:0/energy_uj", "1\n");
    write("class/hwmon/hwmon0/name", "gpu\n");
    write("class/hwmon/hwmon0/power1_average", "1\n");
    EXPECT_FALSE(reason(METRIC_RAPL_POWER).isNull());
    EXPECT_FALSE(reason(METRIC_SYSTEM_POWER).isNull());
}

TEST_F(MetricReasonsOfAMachine, BudgetIsThereWhereTheSiteHasSetANumberOfWatts)
{
    for (const char *value : {"plenty", "-1", "0", "inf", ""}) {
        qputenv("FERN_POWER_BUDGET", value);
        EXPECT_EQ(
            reason(METRIC_BUDGETED_POWER), "Requires a number of watts for a node in FERN_POWER_BUDGET.")
            << value;
    }
    qputenv("FERN_POWER_BUDGET", "350.5");
    EXPECT_TRUE(reason(METRIC_BUDGETED_POWER).isNull());
    qunsetenv("FERN_POWER_BUDGET");
}

TEST(MetricReasons, SayWhatTheUserCanDo)
{
    const auto reason = [](quint32 state) { return MetricReasons::ofState(METRIC_INSTR_FP, state); };
    EXPECT_TRUE(reason(fern::spool::SourceRefused).startsWith("Requires permission"));
    EXPECT_TRUE(reason(fern::spool::SourceRefused).contains("kernel.perf_event_paranoid"));
    EXPECT_TRUE(reason(fern::spool::SourceAbsent).startsWith("Not supported"));
    EXPECT_TRUE(reason(fern::spool::SourceLimited).startsWith("Requires"));
}

TEST(MetricReasons, StateThatNoRowKnowsIsToldAsNotRead)
{
    EXPECT_EQ(MetricReasons::ofState(METRIC_RSS, fern::spool::SourceRefused),
        "Requires a readable /proc/self/statm.");
    EXPECT_EQ(MetricReasons::ofState(METRIC_RSS, 4711), "Requires a readable /proc/self/statm.");
}

} // namespace
