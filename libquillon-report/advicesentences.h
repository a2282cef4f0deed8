#ifndef QUILLON_REPORT_ADVICESENTENCES_H
#define QUILLON_REPORT_ADVICESENTENCES_H

#include "advicesentence.h"

// What performanceadvice says, apart from when it says it. Internal to the advice modules.
namespace advicesentences {

// CPU

constexpr Sentence noComputation
    = {QT_TRANSLATE_NOOP("QObject",
           "No measurable time is spent in <span class=\"%1\">application code</span>. Either this was an "
           "MPI or I/O benchmark, or something strange has happened; a debugger might be useful here!"),
        DefaultMetrics::SubsectionCpu};
constexpr Sentence memoryBound
    = {QT_TRANSLATE_NOOP("QObject",
           "The per-core performance is <span class=\"%1\">memory-bound</span>. Use a profiler to identify "
           "time-consuming loops and check their cache performance."),
        DefaultMetrics::CpuMemPercent};
constexpr Sentence notVectorized
    = {QT_TRANSLATE_NOOP("QObject",
           "No time is spent in <span class=\"%1\">vectorized instructions</span>. Check the compiler's "
           "vectorization advice to see why key loops could not be vectorized."),
        DefaultMetrics::CpuVectorNumPercent};
constexpr Sentence littleVectorized
    = {QT_TRANSLATE_NOOP("QObject",
           "Little time is spent in <span class=\"%1\">vectorized instructions</span>. Check the compiler's "
           "vectorization advice to see why key loops could not be vectorized."),
        DefaultMetrics::CpuVectorNumPercent};
constexpr Sentence arithmeticBound
    = {QT_TRANSLATE_NOOP("QObject",
           "The per-core performance is <span class=\"%1\">arithmetic-bound</span>. Try to increase the "
           "amount of time spent in <span class=\"%2\">vectorized instructions</span> by analyzing the "
           "compiler's vectorization reports."),
        DefaultMetrics::CpuScalarNumPercent, DefaultMetrics::CpuVectorNumPercent};
constexpr Sentence wellOptimized
    = {QT_TRANSLATE_NOOP("QObject",
           "The CPU performance appears well-optimized for <span class=\"%1\">numerical computation</span>. "
           "The biggest gains may now come from running at larger scales."),
        DefaultMetrics::CpuScalarNumPercent};
constexpr Sentence memoryAccesses
    = {QT_TRANSLATE_NOOP("QObject",
           "Significant time is spent on <span class=\"%1\">memory accesses</span>. Use a profiler to "
           "identify time-consuming loops and check their cache performance."),
        DefaultMetrics::CpuMemPercent};
constexpr Sentence serialSections
    = {QT_TRANSLATE_NOOP("QObject",
           "Per-process performance is dominated by <span class=\"%1\">serial sections</span> of "
           "computation. Use a profiler to find these or run with fewer threads and more processes."),
        DefaultMetrics::CpuSingleCorePercent};
constexpr Sentence waitingForAccelerators
    = {QT_TRANSLATE_NOOP("QObject",
           "Most of the time is spent <span class=\"%1\">waiting for accelerators</span>. Use asynchronous "
           "calls to overlap CPU and accelerator workloads."),
        DefaultMetrics::CpuWaitingAccPercent};

// Load of the system, for OpenMP and other threads

constexpr Sentence loadIsBackground = {QT_TRANSLATE_NOOP(
    "QObject", "The system load is high. Ensure background system processes are not running.")};
constexpr Sentence loadIsOtherJobs = {QT_TRANSLATE_NOOP("QObject",
    "The system load is high. Check that other jobs or system processes are not running on the same nodes.")};
constexpr Sentence loadIsSharedByThreads = {QT_TRANSLATE_NOOP("QObject",
    "The system load is high - multiple threads may be sharing one core. Check your thread affinity "
    "settings.")};
constexpr Sentence loadIsSharedByProcesses
    = {QT_TRANSLATE_NOOP("QObject", "The system load is high - multiple processes may be sharing one core.")};

// OpenMP

constexpr Sentence openmpIdle
    = {QT_TRANSLATE_NOOP("QObject", "No measurable time is spent in OpenMP regions.")};
constexpr Sentence openmpSynchronizing
    = {QT_TRANSLATE_NOOP("QObject",
           "Significant time is spent <span class=\"%1\">synchronizing</span> threads in parallel regions. "
           "Check the affected regions with a profiler."),
        DefaultMetrics::OpenMpOverheadPercent};
constexpr Sentence openmpOversubscribed
    = {QT_TRANSLATE_NOOP("QObject",
           "Multiple <span class=\"%1\">OpenMP threads per physical core</span> can cause this. Reducing "
           "OMP_NUM_THREADS may improve performance."),
        DefaultMetrics::OpenMpPhysicalCoreUtilizationPercent};
// Also said of threads outside OpenMP.
constexpr const char *lowAndShared = QT_TRANSLATE_NOOP("QObject",
    "<span class=\"%1\">Physical core utilization</span> is low and multiple threads may be sharing one "
    "core. Check your thread affinity settings.");
constexpr Sentence openmpLowAndShared = {lowAndShared, DefaultMetrics::OpenMpPhysicalCoreUtilizationPercent};
constexpr Sentence openmpFineGrained = {QT_TRANSLATE_NOOP("QObject",
    "This may be a sign of overly fine-grained parallelism (OpenMP regions in tight loops) or workload "
    "imbalance.")};
constexpr Sentence openmpUnusedCores
    = {QT_TRANSLATE_NOOP("QObject",
           "<span class=\"%1\">Physical core utilization</span> is low and some cores may be unused. Try "
           "increasing OMP_NUM_THREADS to improve performance."),
        DefaultMetrics::OpenMpPhysicalCoreUtilizationPercent};
constexpr Sentence openmpGood = {QT_TRANSLATE_NOOP("QObject",
    "OpenMP thread performance looks good. Check the CPU breakdown for advice on improving code "
    "efficiency.")};

// Threads

constexpr Sentence threadsIdle
    = {QT_TRANSLATE_NOOP("QObject", "No measurable time is spent in multithreaded code.")};
constexpr Sentence threadsSynchronizing
    = {QT_TRANSLATE_NOOP("QObject",
           "Significant time is spent <span class=\"%1\">synchronizing</span> threads. Check which locks "
           "cause the most overhead with a profiler."),
        DefaultMetrics::ThreadsSyncPercent};
constexpr Sentence threadsOversubscribed
    = {QT_TRANSLATE_NOOP("QObject",
           "Multiple <span class=\"%1\">threads per physical core</span> may be causing contention. Using "
           "fewer threads may improve performance for some codes."),
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent};
constexpr Sentence threadsLowAndShared
    = {lowAndShared, DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent};
constexpr Sentence threadsFineGrained = {QT_TRANSLATE_NOOP("QObject",
    "This may be a sign of overly fine-grained parallelism or of workload imbalance between threads.")};
constexpr Sentence threadsUnusedCores
    = {QT_TRANSLATE_NOOP("QObject",
           "<span class=\"%1\">Physical core utilization</span> is low. Try increasing the number of threads "
           "or processes to improve performance."),
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent};
constexpr Sentence threadsTooFewProcesses
    = {QT_TRANSLATE_NOOP("QObject",
           "<span class=\"%1\">Physical core utilization</span> is low. Try increasing the number of "
           "processes to improve performance."),
        DefaultMetrics::ThreadsPhysicalCoreUtilizationPercent};
constexpr Sentence threadsGood = {QT_TRANSLATE_NOOP("QObject",
    "Thread usage appears to be well-optimized. Check the CPU breakdown for advice on further improving "
    "performance.")};

// MPI and I/O

constexpr Sentence noMpi
    = {QT_TRANSLATE_NOOP("QObject",
           "No time is spent in <span class=\"%1\">MPI</span> operations. There's nothing to optimize here!"),
        DefaultMetrics::SubsectionMpi};
constexpr Sentence noIo
    = {QT_TRANSLATE_NOOP("QObject",
           "No time is spent in <span class=\"%1\">I/O</span> operations. There's nothing to optimize here!"),
        DefaultMetrics::SubsectionIo};

// Memory

constexpr Sentence memoryGood
    = {QT_TRANSLATE_NOOP("QObject",
           "The memory usage is <span class=\"%1\">high</span> and <span class=\"%2\">well-balanced</span> "
           "between processes. The only way to further improve memory usage is to reduce the amount of "
           "memory required by using a memory debugger to show the most significant allocations."),
        DefaultMetrics::MemNodePeakPercent, DefaultMetrics::MemMean};
constexpr Sentence memoryUnbalanced
    = {QT_TRANSLATE_NOOP("QObject",
           "There is <span class=\"%1\">significant variation</span> between peak and mean memory usage. "
           "This may be a sign of workload imbalance or a memory leak."),
        DefaultMetrics::MemMean};

// Accelerators

constexpr Sentence gpusUnused
    = {QT_TRANSLATE_NOOP("QObject",
           "<span class=\"%1\">GPUs are available</span> but are not used. Identify suitable hot loops with "
           "a profiler and try offloading them to the accelerator."),
        DefaultMetrics::CudaGpusInUsePercent};
constexpr Sentence gpusLow = {QT_TRANSLATE_NOOP("QObject",
                                  "<span class=\"%1\">GPU utilization</span> is low; identify CPU "
                                  "bottlenecks with a profiler and offload them to the accelerator."),
    DefaultMetrics::CudaGpusInUsePercent};
constexpr Sentence gpuMemoryAccesses
    = {QT_TRANSLATE_NOOP("QObject",
           "Significant time is spent in <span class=\"%1\">global memory accesses</span>. Try modifying "
           "kernels to use shared memory instead and check for bad striding patterns."),
        DefaultMetrics::CudaGlobalMemoryAccessPercent};
constexpr Sentence gpusAcceptable = {QT_TRANSLATE_NOOP("QObject",
                                         "<span class=\"%1\">GPU utilization</span> is acceptable. Use the "
                                         "NVIDIA Visual Profiler to improve kernel performance."),
    DefaultMetrics::CudaGpusInUsePercent};
constexpr Sentence gpusGood = {QT_TRANSLATE_NOOP("QObject",
                                   "<span class=\"%1\">GPU utilization</span> is good. Use the NVIDIA Visual "
                                   "Profiler to improve kernel performance."),
    DefaultMetrics::CudaGpusInUsePercent};

// Energy

constexpr Sentence energyLostInMpi = {QT_TRANSLATE_NOOP("QObject",
    "Significant energy is wasted during MPI communications. It may be more efficient to use fewer nodes "
    "with more data on each node.")};
constexpr Sentence energyLostOnMemory
    = {QT_TRANSLATE_NOOP("QObject",
           "Significant time is spent waiting for memory accesses. Reducing the <span "
           "class=\"%1\">CPU</span> clock frequency could reduce overall energy usage."),
        DefaultMetrics::EnergyCpuPercent};
constexpr Sentence acceleratorsUnused = {QT_TRANSLATE_NOOP("QObject",
    "Accelerators are available but are not used. It may be more efficient to make use of accelerators or "
    "run on nodes without them.")};
constexpr Sentence acceleratorsLow
    = {QT_TRANSLATE_NOOP("QObject",
           "The <span class=\"%1\">accelerator</span> usage is low. Increasing the <span "
           "class=\"%1\">accelerator</span> usage could reduce the total energy usage."),
        DefaultMetrics::EnergyAccPercent};
constexpr Sentence energyOptimal = {QT_TRANSLATE_NOOP("QObject", "Energy usage appears to be optimal.")};

} // namespace advicesentences

#endif
