// What is said of MPI and of file I/O.

#include "advicetest.h"

#include "performanceadvice.h"

namespace {

// Bytes per second, one of each class.
constexpr double veryLow = 1e6;
constexpr double low = 5e7;
constexpr double average = 5e8;
constexpr double high = 5e9;
constexpr double veryHigh = 5e10;

const std::string mpiVeryLow
    = "This suggests load imbalance is causing synchronization overhead; use an MPI profiler to investigate.";
const std::string mpiLow
    = "This can be caused by inefficient message sizes, such as many small messages, or by "
      "imbalanced workloads causing processes to wait.";
const std::string mpiAverage
    = "Using larger messages and overlapping communication and computation may increase "
      "the effective transfer rate.";
const std::string mpiHigh = "It may be possible to improve this further by overlapping communication and "
                            "computation or reducing the amount of communication required.";
const std::string mpiVeryHigh = "This suggests asynchronous communication is being well-overlapped with "
                                "computation. To improve further, "
                                "try reducing the amount of communication required.";
const std::string ioLow = "This may be caused by contention for the filesystem or inefficient access "
                          "patterns. Use an I/O profiler to "
                          "investigate which write calls are affected.";
const std::string ioAverage
    = "It may be possible to achieve faster effective transfer rates using asynchronous file operations.";
const std::string ioVeryHigh = "This suggests asynchronous file operations are successfully reducing "
                               "application time spent waiting. To "
                               "improve further, try reducing the amount of data transfer required.";

std::string mostCollective(const std::string &rateClass, const std::string &advice)
{
    return "Most of the time is spent in <span class=\"mpi.collectivePercent\">collective calls</span> with "
           "<span "
           "class=\"mpi.collectiveRate\">"
        + rateClass + "</span> transfer rate. " + advice;
}

std::string mostPointToPoint(const std::string &rateClass, const std::string &advice)
{
    return "Most of the time is spent in <span class=\"mpi.p2pPercent\">point-to-point calls</span> with "
           "<span "
           "class=\"mpi.p2pRate\">"
        + rateClass + "</span> transfer rate. " + advice;
}

std::string mostReads(const std::string &rateClass, const std::string &advice)
{
    return "Most of the time is spent in <span class=\"io.readPercent\">read operations</span> with <span "
           "class=\"io.readRate\">"
        + rateClass + "</span> effective transfer rate. " + advice;
}

std::string mostWrites(const std::string &rateClass, const std::string &advice)
{
    return "Most of the time is spent in <span class=\"io.writePercent\">write operations</span> with <span "
           "class=\"io.writeRate\">"
        + rateClass + "</span> effective transfer rate. " + advice;
}

TEST(MpiRateAdvice, HasASentenceForEachClass)
{
    EXPECT_EQ(said(mpiRateAdvice(RATE_VERY_LOW)), mpiVeryLow);
    EXPECT_EQ(said(mpiRateAdvice(RATE_LOW)), mpiLow);
    EXPECT_EQ(said(mpiRateAdvice(RATE_AVERAGE)), mpiAverage);
    EXPECT_EQ(said(mpiRateAdvice(RATE_HIGH)), mpiHigh);
    EXPECT_EQ(said(mpiRateAdvice(RATE_VERY_HIGH)), mpiVeryHigh);
}

TEST(IoRateAdvice, SharesSentencesBetweenNeighbouringClasses)
{
    EXPECT_EQ(said(ioRateAdvice(RATE_VERY_LOW)), ioLow);
    EXPECT_EQ(said(ioRateAdvice(RATE_LOW)), ioLow);
    EXPECT_EQ(said(ioRateAdvice(RATE_AVERAGE)), ioAverage);
    EXPECT_EQ(said(ioRateAdvice(RATE_HIGH)), ioAverage);
    EXPECT_EQ(said(ioRateAdvice(RATE_VERY_HIGH)), ioVeryHigh);
}

TEST(RateAdvice, NamesTheSupportTeamForAValueThatIsNoClass)
{
    for (const int number : {-1, 5}) {
        EXPECT_EQ(said(mpiRateAdvice(RateClassification(number))),
            "Contact Brivane support for advice on interpreting this result.");
        EXPECT_EQ(said(ioRateAdvice(RateClassification(number))),
            "Contact Brivane support for advice on interpreting this result.");
    }
}

TEST(MpiAdvice, NothingToOptimizeWithoutMpi)
{
    EXPECT_EQ(said(mpiAdvice(0, 60, 40, 0, 0)),
        Sentences("No time is spent in <span class=\"mpi\">MPI</span> operations. There's nothing to "
                  "optimize here!",
            Nothing));
}

TEST(MpiAdvice, SaysNothingWhenARateIsZero)
{
    EXPECT_EQ(said(mpiAdvice(40, 60, 40, 0, low)), Sentences(Nothing, Nothing));
    EXPECT_EQ(said(mpiAdvice(40, 60, 40, low, 0)), Sentences(Nothing, Nothing));
}

TEST(MpiAdvice, SpeaksOfTheKindOfCallThatTakesMoreTime)
{
    EXPECT_EQ(said(mpiAdvice(40, 90, 10, veryLow, low)),
        Sentences(mostCollective("a very low", mpiVeryLow), Nothing));
    EXPECT_EQ(said(mpiAdvice(40, 90, 10, average, low)),
        Sentences(mostCollective("an average", mpiAverage), Nothing));
    EXPECT_EQ(
        said(mpiAdvice(40, 10, 90, low, high)), Sentences(mostPointToPoint("a high", mpiHigh), Nothing));
    EXPECT_EQ(said(mpiAdvice(40, 10, 90, low, veryHigh)),
        Sentences(mostPointToPoint("a very high", mpiVeryHigh), Nothing));
}

TEST(MpiAdvice, TakesThePointToPointWordingWhenBothTakeTheSame)
{
    EXPECT_EQ(said(mpiAdvice(40, 50, 50, high, low)), Sentences(mostPointToPoint("a low", mpiLow), Nothing));
}

TEST(MpiAdvice, AddsSlowPointToPointCalls)
{
    const std::string primary = mostCollective("a high", mpiHigh);
    const std::string lowRate
        = "The point-to-point transfer rate is <span class=\"mpi.p2pRate\">low</span>. " + mpiLow;
    const std::string veryLowRate
        = "The point-to-point transfer rate is <span class=\"mpi.p2pRate\">very low</span>. " + mpiVeryLow;
    EXPECT_EQ(said(mpiAdvice(40, 69, 30, high, low)), Sentences(primary, Nothing));
    EXPECT_EQ(said(mpiAdvice(40, 69, 31, high, low)), Sentences(primary, lowRate));
    EXPECT_EQ(said(mpiAdvice(40, 69, 31, high, veryLow)), Sentences(primary, veryLowRate));
    EXPECT_EQ(said(mpiAdvice(40, 69, 31, high, average)), Sentences(primary, Nothing));
}

TEST(MpiAdvice, AddsSlowCollectiveCalls)
{
    const std::string primary = mostPointToPoint("a high", mpiHigh);
    const std::string lowRate
        = "The collective transfer rate is <span class=\"mpi.collectiveRate\">low</span>. " + mpiLow;
    const std::string veryLowRate
        = "The collective transfer rate is <span class=\"mpi.collectiveRate\">very low</span>. " + mpiVeryLow;
    EXPECT_EQ(said(mpiAdvice(40, 30, 69, low, high)), Sentences(primary, Nothing));
    EXPECT_EQ(said(mpiAdvice(40, 31, 69, low, high)), Sentences(primary, lowRate));
    EXPECT_EQ(said(mpiAdvice(40, 31, 69, veryLow, high)), Sentences(primary, veryLowRate));
    EXPECT_EQ(said(mpiAdvice(40, 31, 69, average, high)), Sentences(primary, Nothing));
}

TEST(MpiAdvice, UnmeasuredFiguresArePointToPointCallsAtAVeryLowRate)
{
    EXPECT_EQ(said(mpiAdvice(NotAvailable, NotAvailable, NotAvailable, NotAvailable, NotAvailable)),
        Sentences(mostPointToPoint("a very low", mpiVeryLow), Nothing));
}

TEST(IoAdvice, NothingToOptimizeWithoutIo)
{
    EXPECT_EQ(said(ioAdvice(0, 60, 40, low, low)),
        Sentences(
            "No time is spent in <span class=\"io\">I/O</span> operations. There's nothing to optimize here!",
            Nothing));
}

TEST(IoAdvice, CallsARateOfZeroVeryLow)
{
    EXPECT_EQ(said(ioAdvice(40, 90, 10, 0, 0)), Sentences(mostReads("a very low", ioLow), Nothing));
    EXPECT_EQ(said(ioAdvice(40, 10, 90, 0, 0)), Sentences(mostWrites("a very low", ioLow), Nothing));
}

TEST(IoAdvice, SpeaksOfTheDirectionThatTakesMoreTime)
{
    EXPECT_EQ(
        said(ioAdvice(40, 90, 10, average, low)), Sentences(mostReads("an average", ioAverage), Nothing));
    EXPECT_EQ(
        said(ioAdvice(40, 90, 10, veryHigh, low)), Sentences(mostReads("a very high", ioVeryHigh), Nothing));
    EXPECT_EQ(said(ioAdvice(40, 10, 90, low, high)), Sentences(mostWrites("a high", ioAverage), Nothing));
}

TEST(IoAdvice, TakesTheWriteWordingWhenBothTakeTheSame)
{
    EXPECT_EQ(said(ioAdvice(40, 50, 50, high, low)), Sentences(mostWrites("a low", ioLow), Nothing));
}

TEST(IoAdvice, AddsSlowWrites)
{
    const std::string primary = mostReads("a high", ioAverage);
    EXPECT_EQ(said(ioAdvice(40, 69, 30, high, low)), Sentences(primary, Nothing));
    EXPECT_EQ(said(ioAdvice(40, 69, 31, high, low)),
        Sentences(primary,
            "The effective write transfer rate is <span class=\"io.writeRate\">low</span>. " + ioLow));
    EXPECT_EQ(said(ioAdvice(40, 69, 31, high, 0)),
        Sentences(primary,
            "The effective write transfer rate is <span class=\"io.writeRate\">very low</span>. " + ioLow));
    EXPECT_EQ(said(ioAdvice(40, 69, 31, high, average)), Sentences(primary, Nothing));
}

TEST(IoAdvice, AddsSlowReads)
{
    const std::string primary = mostWrites("a high", ioAverage);
    EXPECT_EQ(said(ioAdvice(40, 30, 69, low, high)), Sentences(primary, Nothing));
    EXPECT_EQ(said(ioAdvice(40, 31, 69, low, high)),
        Sentences(
            primary, "The effective read transfer rate is <span class=\"io.readRate\">low</span>. " + ioLow));
    EXPECT_EQ(said(ioAdvice(40, 31, 69, veryLow, high)),
        Sentences(primary,
            "The effective read transfer rate is <span class=\"io.readRate\">very low</span>. " + ioLow));
    EXPECT_EQ(said(ioAdvice(40, 31, 69, average, high)), Sentences(primary, Nothing));
}

TEST(IoAdvice, UnmeasuredFiguresAreWritesAtAVeryLowRate)
{
    EXPECT_EQ(said(ioAdvice(NotAvailable, NotAvailable, NotAvailable, NotAvailable, NotAvailable)),
        Sentences(mostWrites("a very low", ioLow), Nothing));
}

} // namespace
