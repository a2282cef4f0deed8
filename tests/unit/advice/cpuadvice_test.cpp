// What is said of computation.

#include "advicetest.h"

#include "performanceadvice.h"

namespace {

const std::string noComputation
    = "No measurable time is spent in <span class=\"cpu\">application code</span>. Either this was an MPI or "
      "I/O "
      "benchmark, or something strange has happened; a debugger might be useful here!";
const std::string memoryBound = "The per-core performance is <span "
                                "class=\"cpu.memPercent\">memory-bound</span>. Use a profiler to identify "
                                "time-consuming loops and check their cache performance.";
const std::string noVectors
    = "No time is spent in <span class=\"cpu.vectorNumPercent\">vectorized instructions</span>. Check the "
      "compiler's vectorization advice to see why key loops could not be vectorized.";
const std::string fewVectors
    = "Little time is spent in <span class=\"cpu.vectorNumPercent\">vectorized instructions</span>. Check "
      "the "
      "compiler's vectorization advice to see why key loops could not be vectorized.";
const std::string arithmeticBound
    = "The per-core performance is <span class=\"cpu.scalarNumPercent\">arithmetic-bound</span>. Try to "
      "increase "
      "the amount of time spent in <span class=\"cpu.vectorNumPercent\">vectorized instructions</span> by "
      "analyzing the compiler's vectorization reports.";
const std::string wellOptimized
    = "The CPU performance appears well-optimized for <span class=\"cpu.scalarNumPercent\">numerical "
      "computation</span>. The biggest gains may now come from running at larger scales.";
const std::string memoryAccesses
    = "Significant time is spent on <span class=\"cpu.memPercent\">memory accesses</span>. Use a profiler to "
      "identify time-consuming loops and check their cache performance.";
const std::string serialSections
    = "Per-process performance is dominated by <span class=\"cpu.singleCorePercent\">serial sections</span> "
      "of "
      "computation. Use a profiler to find these or run with fewer threads and more processes.";
const std::string acceleratorWaits
    = "Most of the time is spent <span class=\"cpu.waitingAccPercent\">waiting for accelerators</span>. Use "
      "asynchronous calls to overlap CPU and accelerator workloads.";

// A job that computes on all cores without waiting for anything: only its instruction mix counts.
Sentences ofMix(double scalar, double vector, double memory)
{
    return said(cpuAdvice(90, 100, scalar, vector, memory, 0));
}

TEST(CpuAdvice, LooksAtNothingElseWithoutMeasurableComputation)
{
    EXPECT_EQ(said(cpuAdvice(0.04, 60, 10, 10, 80, 90)), Sentences(noComputation, Nothing));
}

TEST(CpuAdvice, GoesOnFromTheSmallestMeasurableShare)
{
    EXPECT_EQ(said(cpuAdvice(0.05, 100, 10, 40, 10, 0)), Sentences(wellOptimized, Nothing));
}

TEST(CpuAdvice, MemoryBoundWithoutVectors)
{
    EXPECT_EQ(ofMix(20, 0.04, 60), Sentences(memoryBound, noVectors));
}

TEST(CpuAdvice, MemoryBoundWithFewVectors)
{
    EXPECT_EQ(ofMix(20, 0.05, 60), Sentences(memoryBound, fewVectors));
    EXPECT_EQ(ofMix(5.1, 10, 60), Sentences(memoryBound, fewVectors));
}

TEST(CpuAdvice, MemoryBoundWithManyVectors)
{
    EXPECT_EQ(ofMix(5, 10, 60), Sentences(memoryBound, Nothing));
}

TEST(CpuAdvice, NotMemoryBoundWhenArithmeticTakesAsMuch)
{
    EXPECT_EQ(ofMix(20, 10, 30), Sentences(arithmeticBound, Nothing));
    EXPECT_EQ(ofMix(20, 10, 30.1), Sentences(memoryBound, fewVectors));
}

TEST(CpuAdvice, ArithmeticBoundFromMoreThanHalfAsMuchScalarAsVector)
{
    EXPECT_EQ(ofMix(20.1, 40, 10), Sentences(arithmeticBound, Nothing));
    EXPECT_EQ(ofMix(20, 40, 10), Sentences(wellOptimized, Nothing));
}

TEST(CpuAdvice, MemoryAccessesComeSecondAboveAThird)
{
    EXPECT_EQ(ofMix(40, 20, 33), Sentences(arithmeticBound, Nothing));
    EXPECT_EQ(ofMix(40, 20, 33.1), Sentences(arithmeticBound, memoryAccesses));
    EXPECT_EQ(ofMix(10, 40, 34), Sentences(wellOptimized, memoryAccesses));
}

TEST(CpuAdvice, SerialSectionsBetweenHalfAndNearlyAllTheTime)
{
    EXPECT_EQ(said(cpuAdvice(90, 99, 10, 40, 10, 0)), Sentences(wellOptimized, Nothing));
    EXPECT_EQ(said(cpuAdvice(90, 98.9, 10, 40, 10, 0)), Sentences(serialSections, wellOptimized));
    EXPECT_EQ(said(cpuAdvice(90, 51, 10, 40, 10, 0)), Sentences(serialSections, wellOptimized));
    EXPECT_EQ(said(cpuAdvice(90, 50, 10, 40, 10, 0)), Sentences(wellOptimized, Nothing));
}

TEST(CpuAdvice, SerialSectionsDisplaceTheSecondSentence)
{
    EXPECT_EQ(said(cpuAdvice(90, 60, 20, 0, 60, 0)), Sentences(serialSections, memoryBound));
}

TEST(CpuAdvice, AcceleratorWaitsFromHalfOfTheTime)
{
    EXPECT_EQ(said(cpuAdvice(90, 100, 10, 40, 10, 49.9)), Sentences(wellOptimized, Nothing));
    EXPECT_EQ(said(cpuAdvice(90, 100, 10, 40, 10, 50)), Sentences(acceleratorWaits, wellOptimized));
}

TEST(CpuAdvice, AcceleratorWaitsComeBeforeSerialSections)
{
    EXPECT_EQ(said(cpuAdvice(90, 60, 20, 0, 60, 50)), Sentences(acceleratorWaits, serialSections));
}

TEST(CpuAdvice, UnmeasuredInstructionsLookOptimized)
{
    EXPECT_EQ(said(cpuAdvice(90, NotAvailable, NotAvailable, NotAvailable, NotAvailable, NotAvailable)),
        Sentences(wellOptimized, Nothing));
    EXPECT_EQ(said(cpuAdvice(NotAvailable, 100, 40, 20, 10, 0)), Sentences(arithmeticBound, Nothing));
}

} // namespace
