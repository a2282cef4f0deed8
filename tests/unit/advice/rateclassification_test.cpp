// The scales, each from both sides of every threshold.

#include "advicetest.h"

#include "rateclassification.h"

#include <cmath>

namespace {

// The next number above and below a threshold.
double above(double threshold)
{
    return std::nextafter(threshold, std::numeric_limits<double>::infinity());
}
double below(double threshold)
{
    return std::nextafter(threshold, -std::numeric_limits<double>::infinity());
}

TEST(Rounding, KeepsNineDecimalPlaces)
{
    EXPECT_EQ(fround(1.0000000004), 1.0);
    EXPECT_EQ(fround(1.000000001), 1.000000001);
    EXPECT_EQ(fround(2.9999999999), 3.0);
    EXPECT_EQ(fround(0.0), 0.0);
}

TEST(Rounding, RoundsHalvesAwayFromZero)
{
    // 2^-10 / 1e-9 is 976562.5.
    EXPECT_EQ(fround(1.0 / 1024), 976563 / 1e9);
    EXPECT_EQ(fround(-1.0 / 1024), -976563 / 1e9);
}

TEST(Rounding, LeavesNanAlone)
{
    EXPECT_TRUE(std::isnan(fround(NotAvailable)));
}

TEST(CpuClass, HasFiveWords)
{
    EXPECT_EQ(said(classifyCpu(100, false).first), "very high");
    EXPECT_EQ(said(classifyCpu(above(90), false).first), "very high");
    EXPECT_EQ(said(classifyCpu(90.0, false).first), "high");
    EXPECT_EQ(said(classifyCpu(above(70), false).first), "high");
    EXPECT_EQ(said(classifyCpu(70, false).first), "average");
    EXPECT_EQ(said(classifyCpu(above(50), false).first), "average");
    EXPECT_EQ(said(classifyCpu(50, false).first), "low");
    EXPECT_EQ(said(classifyCpu(above(30), false).first), "low");
    EXPECT_EQ(said(classifyCpu(30, false).first), "very low");
    EXPECT_EQ(said(classifyCpu(0, false).first), "very low");
}

TEST(CpuClass, PointsToTheCpuSectionWhenComputeDominates)
{
    for (const double percent : {95.0, 90.0, above(50)}) {
        EXPECT_EQ(said(classifyCpu(percent, false).second), "check the CPU performance section for advice");
    }
}

TEST(CpuClass, PointsToTheAcceleratorsSectionToo)
{
    for (const double percent : {95.0, 90.0, above(50)}) {
        EXPECT_EQ(
            said(classifyCpu(percent, true).second), "check the CPU and accelerators sections for advice");
    }
}

TEST(CpuClass, PointsElsewhereWhenLittleIsComputed)
{
    for (const bool accelerator : {false, true}) {
        EXPECT_EQ(
            said(classifyCpu(50, accelerator).second), "consider improving MPI or I/O performance first");
        EXPECT_EQ(
            said(classifyCpu(30, accelerator).second), "focus on improving MPI or I/O performance first");
    }
}

TEST(CpuClass, OfNanIsVeryLow)
{
    EXPECT_EQ(said(classifyCpu(NotAvailable, false)),
        Sentences("very low", "focus on improving MPI or I/O performance first"));
}

TEST(MpiClass, HasFiveWordsAndTwoHints)
{
    const std::string reduce = "check the MPI breakdown for advice on reducing it";
    const std::string scale = "this code may benefit from a higher process count";
    EXPECT_EQ(said(classifyMpi(above(70))), Sentences("very high", reduce));
    EXPECT_EQ(said(classifyMpi(70)), Sentences("high", reduce));
    EXPECT_EQ(said(classifyMpi(above(50))), Sentences("high", reduce));
    EXPECT_EQ(said(classifyMpi(50)), Sentences("average", reduce));
    EXPECT_EQ(said(classifyMpi(above(30))), Sentences("average", reduce));
    EXPECT_EQ(said(classifyMpi(30)), Sentences("low", scale));
    EXPECT_EQ(said(classifyMpi(above(15))), Sentences("low", scale));
    EXPECT_EQ(said(classifyMpi(15)), Sentences("very low", scale));
    EXPECT_EQ(said(classifyMpi(NotAvailable)), Sentences("very low", scale));
}

TEST(IoClass, HasSixWords)
{
    const std::string check = "check the I/O breakdown section for optimization advice";
    const std::string waits = "however single-process I/O may cause MPI wait times";
    const std::string fine = "there's no need to investigate I/O performance";
    EXPECT_EQ(said(classifyIo(above(50))), Sentences("very high", check));
    EXPECT_EQ(said(classifyIo(50)), Sentences("high", check));
    EXPECT_EQ(said(classifyIo(above(30))), Sentences("high", check));
    EXPECT_EQ(said(classifyIo(30)), Sentences("average", check));
    EXPECT_EQ(said(classifyIo(above(15))), Sentences("average", check));
    EXPECT_EQ(said(classifyIo(15)), Sentences("low", check));
    EXPECT_EQ(said(classifyIo(above(5))), Sentences("low", check));
    EXPECT_EQ(said(classifyIo(5)), Sentences("very low", waits));
    EXPECT_EQ(said(classifyIo(above(0))), Sentences("very low", waits));
    EXPECT_EQ(said(classifyIo(0.0)), Sentences("negligible", fine));
    EXPECT_EQ(said(classifyIo(NotAvailable)), Sentences("negligible", fine));
}

TEST(OverviewAdvice, SuggestsLargerScalesWhenMpiIsCheap)
{
    const std::string veryLittle = "As very little time is spent in <span class=\"mpi\">MPI</span> calls, "
                                   "this code may also benefit from "
                                   "running at larger scales.";
    const std::string little
        = "As little time is spent in <span class=\"mpi\">MPI</span> calls, this code may "
          "also benefit from running at larger scales.";
    EXPECT_EQ(said(overviewAdvice(80, 0, 20)), veryLittle);
    EXPECT_EQ(said(overviewAdvice(80, 15, 5)), veryLittle);
    EXPECT_EQ(said(overviewAdvice(80, above(15), 5)), little);
    EXPECT_EQ(said(overviewAdvice(70, 30, 0)), little);
    EXPECT_EQ(said(overviewAdvice(70, above(30), 0)), Nothing);
}

TEST(OverviewAdvice, KeepsSilentAboutNan)
{
    EXPECT_EQ(said(overviewAdvice(80, NotAvailable, 20)), Nothing);
}

TEST(OverviewAdvice, LooksAtMpiAlone)
{
    EXPECT_EQ(overviewAdvice(0, 10, 90), overviewAdvice(90, 10, 0));
    EXPECT_EQ(overviewAdvice(NotAvailable, 10, NotAvailable), overviewAdvice(90, 10, 0));
}

TEST(MemoryClass, PutsThresholdsIntoTheHigherClass)
{
    EXPECT_EQ(said(classifyMemory(0)), "very low");
    EXPECT_EQ(said(classifyMemory(below(30))), "very low");
    EXPECT_EQ(said(classifyMemory(30.0)), "low");
    EXPECT_EQ(said(classifyMemory(below(50))), "low");
    EXPECT_EQ(said(classifyMemory(50)), "modest");
    EXPECT_EQ(said(classifyMemory(below(70))), "modest");
    EXPECT_EQ(said(classifyMemory(70)), "high");
    EXPECT_EQ(said(classifyMemory(100)), "high");
}

TEST(MemoryClass, OfNanIsHigh)
{
    EXPECT_EQ(said(classifyMemory(NotAvailable)), "high");
}

TEST(TransferRateClass, StepsByPowersOfTen)
{
    EXPECT_EQ(classifyTransferRate(above(1e10)), RATE_VERY_HIGH);
    EXPECT_EQ(classifyTransferRate(1e10), RATE_HIGH);
    EXPECT_EQ(classifyTransferRate(above(1e9)), RATE_HIGH);
    EXPECT_EQ(classifyTransferRate(1e9), RATE_AVERAGE);
    EXPECT_EQ(classifyTransferRate(above(1e8)), RATE_AVERAGE);
    EXPECT_EQ(classifyTransferRate(1e8), RATE_LOW);
    EXPECT_EQ(classifyTransferRate(above(1e7)), RATE_LOW);
    EXPECT_EQ(classifyTransferRate(1e7), RATE_VERY_LOW);
    EXPECT_EQ(classifyTransferRate(0), RATE_VERY_LOW);
}

TEST(TransferRateClass, OfNanIsVeryLow)
{
    EXPECT_EQ(classifyTransferRate(NotAvailable), RATE_VERY_LOW);
}

TEST(TransferRateClass, HasFixedNumbers)
{
    EXPECT_EQ(RATE_VERY_LOW, 0);
    EXPECT_EQ(RATE_LOW, 1);
    EXPECT_EQ(RATE_AVERAGE, 2);
    EXPECT_EQ(RATE_HIGH, 3);
    EXPECT_EQ(RATE_VERY_HIGH, 4);
}

TEST(ClassName, IsAWord)
{
    EXPECT_EQ(said(stringFromClassification(RATE_VERY_LOW, false)), "very low");
    EXPECT_EQ(said(stringFromClassification(RATE_LOW, false)), "low");
    EXPECT_EQ(said(stringFromClassification(RATE_AVERAGE, false)), "average");
    EXPECT_EQ(said(stringFromClassification(RATE_HIGH, false)), "high");
    EXPECT_EQ(said(stringFromClassification(RATE_VERY_HIGH, false)), "very high");
}

TEST(ClassName, HasAnArticleWhenIndefinite)
{
    EXPECT_EQ(said(stringFromClassification(RATE_VERY_LOW, true)), "a very low");
    EXPECT_EQ(said(stringFromClassification(RATE_LOW, true)), "a low");
    EXPECT_EQ(said(stringFromClassification(RATE_AVERAGE, true)), "an average");
    EXPECT_EQ(said(stringFromClassification(RATE_HIGH, true)), "a high");
    EXPECT_EQ(said(stringFromClassification(RATE_VERY_HIGH, true)), "a very high");
}

TEST(ClassName, IsSurprisingForAValueThatIsNoClass)
{
    for (const int number : {-1, 5, 99}) {
        EXPECT_EQ(said(stringFromClassification(RateClassification(number), false)), "surprising");
        EXPECT_EQ(said(stringFromClassification(RateClassification(number), true)), "a surprising");
    }
}

} // namespace
