// Lists of rules, and the conditions that the rules of trapped capacity are made of.

#include "advicetest.h"
#include "figures.h"

#include "advicegenerator.h"

#include <QVector>

using namespace quillon::report;

namespace {

// --- Lists of rules

TEST(AdviceGenerator, SaysNothingWithoutRules)
{
    EXPECT_TRUE(AdviceGenerator().adviceStrings(PerformanceData()).isEmpty());
}

TEST(AdviceGenerator, SaysWhatHoldsInTheOrderOfTheRulesWithoutALimit)
{
    AdviceGenerator generator;
    const auto always = [](const PerformanceData &) { return true; };
    const auto never = [](const PerformanceData &) { return false; };
    generator.addAdvice(QStringLiteral("d"), always);
    generator.addAdvice(QStringLiteral("x"), never);
    generator.addAdvice(QStringLiteral("b"), always);
    generator.addAdvice(QStringLiteral("c"), always);
    generator.addAdvice(QStringLiteral("b"), always);
    generator.addAdvice(QStringLiteral("a"), always);
    EXPECT_EQ(generator.adviceStrings(PerformanceData()).join(QLatin1Char(' ')).toStdString(), "d b c b a");
}

TEST(AdviceGenerator, AsksFunctionsAndFunctorsAboutTheFiguresThatItIsGiven)
{
    AdviceGenerator generator;
    generator.addAdvice(QStringLiteral("function"), noMpiTime);
    generator.addAdvice(QStringLiteral("functor"), EnergyBasisIs(TotalEnergyBasis::CpuOnly));
    PerformanceData job;
    EXPECT_EQ(generator.adviceStrings(job), QStringList({"function"}));
    job.energyTotalBasis = TotalEnergyBasis::CpuOnly;
    EXPECT_EQ(generator.adviceStrings(job), QStringList({"function", "functor"}));
    job.mpiPercent = 1;
    EXPECT_EQ(generator.adviceStrings(job), QStringList({"functor"}));
}

// A condition that counts how many of it are alive.
class Counted {
public:
    explicit Counted(int *alive)
        : mAlive(alive)
    {
        ++*mAlive;
    }
    Counted(const Counted &other)
        : mAlive(other.mAlive)
    {
        ++*mAlive;
    }
    ~Counted() { --*mAlive; }
    bool operator()(const PerformanceData &) const { return true; }

private:
    int *mAlive;
};

TEST(AdviceGenerator, OwnsItsRules)
{
    int alive = 0;
    {
        AdviceGenerator generator;
        generator.addAdvice(QStringLiteral("one"), Counted(&alive));
        generator.addAdvice(QStringLiteral("two"), Counted(&alive));
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
}

static_assert(!std::is_copy_constructible_v<AdviceGenerator> && !std::is_copy_assignable_v<AdviceGenerator>);

// --- Power

PerformanceData peaking(double peak, TotalEnergyBasis basis, int ms = 60000)
{
    return figures([=](PerformanceData &job) {
        job.nodeMeanPower = 100;
        job.nodePeakPower = peak;
        job.energyTotalBasis = basis;
        job.msAtEnd = ms;
    });
}

TEST(PeakPower, ExceedsTheBudgetIfItWouldHaveUsedMoreThanThatInTheSameTime)
{
    // 200 W for an hour.
    auto job = figures([](PerformanceData &data) {
        data.hasBudgetedMetric = true;
        data.msAtEnd = 3600000;
        data.nodePeakPower = 200;
        data.energyBudgetedTotalInWh = 199.9;
    });
    EXPECT_TRUE(peakPowerWouldExceedBudget(job));
    job.energyBudgetedTotalInWh = 200;
    EXPECT_FALSE(peakPowerWouldExceedBudget(job));
    job.energyBudgetedTotalInWh = NotAvailable;
    EXPECT_FALSE(peakPowerWouldExceedBudget(job));
    job.energyBudgetedTotalInWh = 199.9;
    job.hasBudgetedMetric = false;
    EXPECT_FALSE(peakPowerWouldExceedBudget(job));
}

TEST(PeakPower, OfOneNodeIsComparedWithTheBudgetOfAll)
{
    // Two nodes of 100 W each are allowed 200 Wh in an hour. A peak of 150 W on both would be too much.
    EXPECT_FALSE(peakPowerWouldExceedBudget(figures([](PerformanceData &job) {
        job.hasBudgetedMetric = true;
        job.msAtEnd = 3600000;
        job.nodePeakPower = 150;
        job.energyBudgetedTotalInWh = 200;
    })));
}

TEST(MeanPower, IsLowIfThePeakIsMoreThanATenthHigher)
{
    for (const double peak : {110.5, 111.0, 500.0}) {
        EXPECT_TRUE(meanPowerIsLow(peaking(peak, TotalEnergyBasis::System))) << peak;
        EXPECT_FALSE(powerIsConsistent(peaking(peak, TotalEnergyBasis::System))) << peak;
    }
    for (const double peak : {0.0, 100.0, 109.5, 100 * 1.1}) {
        EXPECT_FALSE(meanPowerIsLow(peaking(peak, TotalEnergyBasis::System))) << peak;
        EXPECT_TRUE(powerIsConsistent(peaking(peak, TotalEnergyBasis::System))) << peak;
    }
}

TEST(MeanPower, OfTheSystemIsTrustedFromAMinuteOn)
{
    EXPECT_FALSE(meanPowerIsLow(peaking(200, TotalEnergyBasis::System, 59999)));
    EXPECT_FALSE(powerIsConsistent(peaking(100, TotalEnergyBasis::System, 59999)));
    EXPECT_TRUE(meanPowerIsLow(peaking(200, TotalEnergyBasis::System, 60000)));
    EXPECT_TRUE(powerIsConsistent(peaking(100, TotalEnergyBasis::System, 60000)));
}

TEST(MeanPower, OfPartsOfTheSystemIsTrustedAtOnce)
{
    for (const auto basis :
        {TotalEnergyBasis::CpuOnly, TotalEnergyBasis::AccOnly, TotalEnergyBasis::CpuPlusAcc}) {
        EXPECT_TRUE(meanPowerIsLow(peaking(200, basis, 1)));
        EXPECT_TRUE(powerIsConsistent(peaking(100, basis, 1)));
    }
}

TEST(MeanPower, IsNeitherLowNorConsistentWithoutASensor)
{
    EXPECT_FALSE(meanPowerIsLow(peaking(200, TotalEnergyBasis::None)));
    EXPECT_FALSE(powerIsConsistent(peaking(100, TotalEnergyBasis::None)));
}

TEST(MeanPower, ThatIsUnknownCountsAsConsistent)
{
    PerformanceData job = peaking(200, TotalEnergyBasis::CpuOnly);
    job.nodeMeanPower = NotAvailable;
    EXPECT_FALSE(meanPowerIsLow(job));
    EXPECT_TRUE(powerIsConsistent(job));
}

TEST(EnergyBasis, IsTheOneAskedFor)
{
    const QVector<TotalEnergyBasis::ValueType> all = {TotalEnergyBasis::None, TotalEnergyBasis::System,
        TotalEnergyBasis::CpuPlusAcc, TotalEnergyBasis::CpuOnly, TotalEnergyBasis::AccOnly};
    for (const auto asked : all) {
        for (const auto actual : all) {
            EXPECT_EQ(EnergyBasisIs(asked)(peaking(0, actual)), asked == actual);
        }
    }
}

// --- Conditions on one or two figures

using Condition = bool (*)(const PerformanceData &);
using Figure = double PerformanceData::*;

// For which values of a figure a condition holds, the others staying as they are.
std::string held(Condition condition, PerformanceData job, Figure figure, const QVector<double> &values)
{
    std::string result;
    for (const double value : values) {
        job.*figure = value;
        result += condition(job) ? '1' : '0';
    }
    return result;
}

PerformanceData withAccelerators()
{
    return figures([](PerformanceData &job) { job.enableAccPackMetrics = true; });
}

TEST(Accelerators, AreUnusedOrLittleUsedOnlyWhereThereAreAny)
{
    const QVector<double> usages = {0, 0.001, 74.9, 75, 100, NotAvailable};
    const Figure usage = &PerformanceData::avgGPUsInUse;
    EXPECT_EQ(held(acceleratorsAreUnused, withAccelerators(), usage, usages), "100000");
    EXPECT_EQ(held(acceleratorUsageIsLow, withAccelerators(), usage, usages), "011000");
    EXPECT_EQ(held(acceleratorsAreUnused, PerformanceData(), usage, usages), "000000");
    EXPECT_EQ(held(acceleratorUsageIsLow, PerformanceData(), usage, usages), "000000");
}

TEST(Accelerators, AreWaitedForMostOrMuchOfTheTime)
{
    const QVector<double> waits = {10, 10.1, 50, 50.1, NotAvailable};
    const Figure wait = &PerformanceData::cpuWaitingTimePercent;
    EXPECT_EQ(held(waitingForAcceleratorsIsDominant, withAccelerators(), wait, waits), "00010");
    EXPECT_EQ(held(waitingForAcceleratorsIsHigh, withAccelerators(), wait, waits), "01100");
    EXPECT_EQ(held(waitingForAcceleratorsIsDominant, PerformanceData(), wait, waits), "00000");
    EXPECT_EQ(held(waitingForAcceleratorsIsHigh, PerformanceData(), wait, waits), "00000");
}

TEST(FewerNodes, AreEnoughForLittleMemoryAndMuchMpi)
{
    const auto job = figures([](PerformanceData &data) {
        data.memNodePeak = 49;
        data.mpiPercent = 31;
    });
    EXPECT_EQ(held(lowMemoryAndHighMpi, job, &PerformanceData::memNodePeak, {49, 50, NotAvailable}), "100");
    EXPECT_EQ(held(lowMemoryAndHighMpi, job, &PerformanceData::mpiPercent, {30, 30.1, NotAvailable}), "010");
}

TEST(SerialCode, IsDominantOrHighOnlyInOpenMpJobs)
{
    const QVector<double> shares = {10, 10.1, 50, 50.1, 98.9, 99, NotAvailable};
    const Figure share = &PerformanceData::singleCorePercent;
    const auto openMp = figures([](PerformanceData &job) { job.isOpenMP = true; });
    EXPECT_EQ(held(serialCodeIsDominant, openMp, share, shares), "0001100");
    EXPECT_EQ(held(serialCodeIsHigh, openMp, share, shares), "0110000");
    EXPECT_EQ(held(serialCodeIsDominant, PerformanceData(), share, shares), "0000000");
    EXPECT_EQ(held(serialCodeIsHigh, PerformanceData(), share, shares), "0000000");
}

TEST(VectorInstructions, AreUnusedBelowATwentiethOfAPercent)
{
    const Figure vector = &PerformanceData::cpuVecNum;
    EXPECT_EQ(
        held(vectorInstructionsAreUnused, PerformanceData(), vector, {0.049, 0.05, NotAvailable}), "100");
    const auto scalar = figures([](PerformanceData &job) { job.cpuScalarNum = 20; });
    EXPECT_EQ(
        held(vectorInstructionUsageIsLow, scalar, vector, {0.049, 0.05, 39.9, 40, NotAvailable}), "01100");
    EXPECT_FALSE(vectorInstructionUsageIsLow(figures([](PerformanceData &job) {
        job.cpuVecNum = 10;
        job.cpuScalarNum = NotAvailable;
    })));
}

TEST(MemoryInstructions, AreDominantAboveArithmeticAndOtherwiseHighAboveAThird)
{
    const auto job = figures([](PerformanceData &data) {
        data.cpuVecNum = 15;
        data.cpuScalarNum = 25;
    });
    const Figure memory = &PerformanceData::cpuMem;
    const QVector<double> shares = {33, 33.1, 40, 40.1, NotAvailable};
    EXPECT_EQ(held(memoryInstructionsAreDominant, job, memory, shares), "00010");
    EXPECT_EQ(held(memoryInstructionsAreHigh, job, memory, shares), "01100");
}

TEST(MemoryInstructions, BesideUnknownArithmeticAreNeverDominant)
{
    const auto job = figures([](PerformanceData &data) {
        data.cpuVecNum = NotAvailable;
        data.cpuMem = 60;
    });
    EXPECT_FALSE(memoryInstructionsAreDominant(job));
    EXPECT_TRUE(memoryInstructionsAreHigh(job));
}

// --- Transfers

// MPI and I/O have the same conditions on figures of their own.
struct Transfer {
    const char *name;
    Condition significant, none, insignificant;
    Figure percent, meanPower;
};

const Transfer Transfers[] = {
    {"MPI", mpiTimeIsSignificant, noMpiTime, mpiTimeIsInsignificant, &PerformanceData::mpiPercent,
        &PerformanceData::mpiMeanCpuPower},
    {"I/O", ioTimeIsSignificant, noIoTime, ioTimeIsInsignificant, &PerformanceData::ioPercent,
        &PerformanceData::ioMeanCpuPower},
};

TEST(TransferTime, IsSignificantAboveAFifth)
{
    const QVector<double> percents = {0, 0.049, 0.05, 20, 20.1, NotAvailable};
    for (const Transfer &transfer : Transfers) {
        SCOPED_TRACE(transfer.name);
        EXPECT_EQ(held(transfer.significant, {}, transfer.percent, percents), "000010");
        EXPECT_EQ(held(transfer.none, {}, transfer.percent, percents), "110000");
        EXPECT_EQ(held(transfer.insignificant, {}, transfer.percent, percents), "001101");
    }
}

TEST(TransferTime, WithoutACpuSensorIsJudgedByItsShareAlone)
{
    for (const Transfer &transfer : Transfers) {
        PerformanceData job;
        job.*transfer.percent = 30;
        job.*transfer.meanPower = 200;
        job.otherMeanCpuPower = 100;
        EXPECT_TRUE(transfer.significant(job)) << transfer.name;
    }
}

TEST(TransferTime, WithACpuSensorMustTakeLessPowerThanComputing)
{
    for (const Transfer &transfer : Transfers) {
        SCOPED_TRACE(transfer.name);
        PerformanceData job;
        job.*transfer.percent = 30;
        job.isEnergyCpuDefined = true;
        job.otherMeanCpuPower = 100;
        const QVector<double> powers = {89.9, 90, 100, NotAvailable};
        EXPECT_EQ(held(transfer.significant, job, transfer.meanPower, powers), "1000");
        EXPECT_EQ(held(transfer.insignificant, job, transfer.meanPower, powers), "0111");
        job.*transfer.meanPower = 50;
        job.otherMeanCpuPower = NotAvailable;
        EXPECT_FALSE(transfer.significant(job));
    }
}

struct Kind {
    const char *name;
    Condition rateIsLow;
    Figure total, share, rate;
};

const Kind Kinds[] = {
    {"point-to-point", p2pRateIsLow, &PerformanceData::mpiPercent, &PerformanceData::mpiP2p,
        &PerformanceData::mpiP2pRate},
    {"collective", collectiveRateIsLow, &PerformanceData::mpiPercent, &PerformanceData::mpiCollective,
        &PerformanceData::mpiCollectiveRate},
    {"read", readRateIsLow, &PerformanceData::ioPercent, &PerformanceData::ioRead,
        &PerformanceData::ioReadRate},
    {"write", writeRateIsLow, &PerformanceData::ioPercent, &PerformanceData::ioWrite,
        &PerformanceData::ioWriteRate},
};

TEST(TransferRate, IsLowBelowAnAverageOneIfItsKindMattersInASignificantTime)
{
    for (const Kind &kind : Kinds) {
        SCOPED_TRACE(kind.name);
        PerformanceData job;
        job.*kind.total = 30;
        job.*kind.share = 30;
        EXPECT_EQ(held(kind.rateIsLow, job, kind.rate, {0, 1e7, 1e8, 1.1e8, 1e11, NotAvailable}), "111001");
        EXPECT_EQ(held(kind.rateIsLow, job, kind.share, {20, 20.1, NotAvailable}), "010");
        EXPECT_EQ(held(kind.rateIsLow, job, kind.total, {20, 20.1, NotAvailable}), "010");
    }
}

// --- Threads

// Sets the figures that rules on threads look at, for both kinds of threads at once.
PerformanceData threads(double compute, double overhead, double utilization, double loadAvg)
{
    return figures([=](PerformanceData &job) {
        job.threadsCompute = job.openmpCompute = compute;
        job.threadsSync = job.openmpOverhead = overhead;
        job.threadsPhysicalCoreUtilization = job.openmpPhysicalCoreUtilization = utilization;
        job.loadAvg = loadAvg;
    });
}

TEST(ThreadFigures, AreThoseOfThreadsOrOfOpenMp)
{
    const auto job = figures([](PerformanceData &data) {
        data.threadsCompute = 1;
        data.threadsSync = 2;
        data.threadsPhysicalCoreUtilization = 3;
        data.openmpCompute = 4;
        data.openmpOverhead = 5;
        data.openmpPhysicalCoreUtilization = 6;
    });
    const ThreadMetrics plain;
    const OpenMpMetrics openMp;
    const ThreadMetrics *const both[] = {&plain, &openMp};
    double expected = 1;
    for (const ThreadMetrics *metrics : both) {
        EXPECT_EQ(metrics->compute(job), expected++);
        EXPECT_EQ(metrics->overhead(job), expected++);
        EXPECT_EQ(metrics->physicalCoreUtilization(job), expected++);
    }
}

class ThreadRules : public testing::TestWithParam<const ThreadMetrics *> { };

TEST_P(ThreadRules, OverheadIsHighAboveAQuarter)
{
    const OverheadIsHigh rule(GetParam());
    EXPECT_FALSE(rule(threads(75, 25, 100, 100)));
    EXPECT_TRUE(rule(threads(74, 25.1, 100, 100)));
    EXPECT_FALSE(rule(threads(74, NotAvailable, 100, 100)));
}

TEST_P(ThreadRules, AffinityIsBadIfCoresIdleInAnOverloadedSystem)
{
    const BadThreadAffinity rule(GetParam());
    EXPECT_TRUE(rule(threads(70, 30, 59.9, 125.1)));
    EXPECT_FALSE(rule(threads(70, 25, 59.9, 125.1)));
    EXPECT_FALSE(rule(threads(70, 30, 60, 125.1)));
    EXPECT_FALSE(rule(threads(70, 30, 59.9, 125)));
    EXPECT_FALSE(rule(threads(70, 30, NotAvailable, 125.1)));
    EXPECT_FALSE(rule(threads(70, 30, 59.9, NotAvailable)));
}

TEST_P(ThreadRules, UtilizationIsLowWithThreads)
{
    const PhysicalCoreUtilisationIsLowAndMultiCore rule(GetParam());
    EXPECT_TRUE(rule(threads(0.05, 0.001, 89, 0)));
    EXPECT_TRUE(rule(threads(90, 10, 79.9, 0)));
    EXPECT_FALSE(rule(threads(90, 10, 80, 0)));
    EXPECT_FALSE(rule(threads(0.04, 0, 50, 0)));
    EXPECT_FALSE(rule(threads(90, 10, NotAvailable, 0)));
}

TEST_P(ThreadRules, UtilizationIsLowWithoutThreads)
{
    const PhysicalCoreUtilisationIsLowAndSingleCore rule(GetParam());
    EXPECT_TRUE(rule(threads(0.04, 0, 89, 124.9)));
    EXPECT_FALSE(rule(threads(0.04, 0, 90, 124.9)));
    EXPECT_FALSE(rule(threads(0.04, 0, 89, 125)));
    EXPECT_FALSE(rule(threads(0.04, 0.02, 89, 124.9)));
    EXPECT_FALSE(rule(threads(NotAvailable, 0, 89, 124.9)));
    EXPECT_FALSE(rule(threads(0.04, 0, 89, NotAvailable)));
}

TEST_P(ThreadRules, UtilizationIsNeitherAtTheBorderBetweenThreadsAndNone)
{
    EXPECT_FALSE(PhysicalCoreUtilisationIsLowAndMultiCore(GetParam())(threads(0.05, 0, 10, 100)));
    EXPECT_FALSE(PhysicalCoreUtilisationIsLowAndSingleCore(GetParam())(threads(0.05, 0, 10, 100)));
}

const ThreadMetrics PlainThreads;
const OpenMpMetrics OpenMpThreads;

INSTANTIATE_TEST_SUITE_P(Kinds, ThreadRules, testing::Values(&PlainThreads, &OpenMpThreads),
    [](const auto &test) { return test.param == &PlainThreads ? "Plain" : "OpenMp"; });

} // namespace
