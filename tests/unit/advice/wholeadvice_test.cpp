// Whole profiles, and the advice that their reports give: a job for each outcome under each heading.

#include "installedreport.h"

using namespace quillon::report;

namespace {

const QString perf = QStringLiteral("com.brivane.metrics.perf.cycles_per_instruction");

// A second of 2 processes on a node of 8 hardware threads and 4 cores: 2 cores for each process. The main
// threads have 100 hits in each of the 10 samples.
ProfileBuilder job()
{
    return ProfileBuilder(10, 100).processes(2).cores(8, 4);
}

// Computes all the time, with these shares of instructions.
ProfileBuilder mix(double scalar, double vector, double memory)
{
    return job()
        .main(Category::COMPUTE, 100)
        .series(METRIC_INSTR_VECTOR_FP, {vector})
        .series(METRIC_INSTR_VECTOR_INT, {0})
        .series(METRIC_INSTR_FP, {scalar + vector})
        .series(METRIC_INSTR_INT, {0})
        .series(METRIC_INSTR_MEM, {memory});
}

// The same mix with something else in place of a part of the computing.
ProfileBuilder mixed(Category::Enum other, int hits)
{
    return mix(10, 40, 10).main(Category::COMPUTE, -hits).main(other, hits);
}

// Communicates for half of the time, at these rates while it does so.
ProfileBuilder mpi(int collective, int p2p, double collectiveRate, double p2pRate)
{
    return job()
        .main(Category::COMPUTE, 100 - collective - p2p)
        .main(Category::MPI_COLLECTIVE, collective)
        .main(Category::MPI_P2P, p2p)
        .series(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, {collectiveRate * collective / 100})
        .series(METRIC_MPI_P2P_BYTES_PER_SEC, {p2pRate * p2p / 100});
}

// Uses files for a part of the second, at these rates while it does so.
ProfileBuilder io(int reads, int writes, double readRate, double writeRate)
{
    return job()
        .main(Category::COMPUTE, 100 - reads - writes)
        .main(Category::IO_READ, reads)
        .main(Category::IO_WRITE, writes)
        .wholeRun(METRIC_CHARS_READ, {readRate * reads / 100})
        .wholeRun(METRIC_CHARS_WRITTEN, {writeRate * writes / 100});
}

ProfileBuilder memory(int processes, double mean, double peak, double node)
{
    // Two readings a sample: their mean and the larger one.
    return job()
        .processes(processes)
        .main(Category::COMPUTE, 100)
        .readingsBySample(METRIC_RSS, {{2 * mean - peak, peak}})
        .series(METRIC_NODE_MEM_USED, {node});
}

// Utilization in percent of the cores of a process.
ProfileBuilder cores(ProfileBuilder builder, double utilization, double load)
{
    const double active = utilization * 2 / 100;
    return builder.activeCores(active, active).series(METRIC_LOAD_AVG, {load});
}

ProfileBuilder openMp(int overhead, double utilization, double load)
{
    return cores(job()
                     .main(Category::COMPUTE, 50)
                     .main(Category::OMP, 50)
                     .others(Category::OMP, 50 - overhead)
                     .others(Category::OMP_RUNTIME_IN_REGION, overhead),
        utilization, load);
}

ProfileBuilder threads(int compute, int sync, double utilization, double load)
{
    return cores(job()
                     .main(Category::COMPUTE, 100)
                     .others(Category::PTHREAD_COMPUTE, compute)
                     .others(Category::PTHREAD_SYNC, sync),
        utilization, load);
}

ProfileBuilder gpus(double usage, double accesses, double peakMemory)
{
    return job()
        .main(Category::COMPUTE, 100)
        .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {1})
        .series(METRIC_NVIDIA_GPU_USAGE, {usage})
        .series(METRIC_NVIDIA_MEMORY_SYS_USAGE, {accesses})
        .wholeRun(METRIC_NVIDIA_TOTAL_MEMORY, {100})
        .series(METRIC_NVIDIA_MEMORY_USED, {peakMemory});
}

ProfileBuilder withCpuEnergy(ProfileBuilder builder)
{
    return builder.series(METRIC_RAPL_POWER, {100}).series(METRIC_RAPL_ENERGY, {0, 100});
}

ProfileBuilder withSystemEnergy(ProfileBuilder builder, double joules = 1000)
{
    return builder.series(METRIC_SYSTEM_POWER, {joules}).series(METRIC_SYSTEM_ENERGY, {0, joules});
}

ProfileBuilder withGpuPower(ProfileBuilder builder)
{
    return builder.series(METRIC_NVIDIA_POWER, {50e3});
}

ProfileBuilder cycles(double perInstruction)
{
    return job().main(Category::COMPUTE, 100).series(perf, {perInstruction});
}

// A job, and how the sentences under a heading begin.
struct Row {
    const char *name;
    ProfileBuilder job;
    QString subsection;
    QStringList beginnings;
};

QVector<Row> cpuRows()
{
    const QString optimized = QStringLiteral("The CPU performance appears well-optimized");
    const QString memoryBound = QStringLiteral("The per-core performance is memory-bound.");
    const QString arithmetic = QStringLiteral("The per-core performance is arithmetic-bound.");
    return {
        {"NoComputation", job().main(Category::MPI_P2P, 100), "cpu",
            {"No measurable time is spent in application code."}},
        {"MemoryBoundWithoutVectors", mix(20, 0, 60), "cpu",
            {memoryBound, "No time is spent in vectorized instructions."}},
        {"MemoryBoundWithFewVectors", mix(20, 10, 60), "cpu",
            {memoryBound, "Little time is spent in vectorized instructions."}},
        {"MemoryBoundWithVectors", mix(5, 10, 60), "cpu", {memoryBound}},
        {"ArithmeticBound", mix(40, 10, 10), "cpu", {arithmetic}},
        {"ArithmeticBoundWithMemoryAccesses", mix(40, 20, 35), "cpu",
            {arithmetic, "Significant time is spent on memory accesses."}},
        {"Vectorized", mix(10, 40, 10), "cpu", {optimized}},
        {"VectorizedWithMemoryAccesses", mix(10, 40, 35), "cpu",
            {optimized, "Significant time is spent on memory accesses."}},
        {"Serial", mixed(Category::OMP, 40), "cpu",
            {"Per-process performance is dominated by serial sections", optimized}},
        {"WaitsForAccelerators", mixed(Category::ACCELERATOR, 50), "cpu",
            {"Most of the time is spent waiting for accelerators.", optimized}},
        {"Unmeasured", job().main(Category::COMPUTE, 100), "cpu", {optimized}},
    };
}

QVector<Row> transferRows()
{
    const QString collective
        = QStringLiteral("Most of the time is spent in collective calls with %1 transfer rate.");
    const QString p2p
        = QStringLiteral("Most of the time is spent in point-to-point calls with %1 transfer rate.");
    const QString reads
        = QStringLiteral("Most of the time is spent in read operations with %1 effective transfer rate.");
    const QString writes
        = QStringLiteral("Most of the time is spent in write operations with %1 effective transfer rate.");
    return {
        {"None", job().main(Category::COMPUTE, 100), "mpi", {"No time is spent in MPI operations."}},
        {"WithoutData", mpi(50, 0, 0, 0), "mpi", {}},
        {"VeryLowCollective", mpi(49, 1, 1e6, 1e9), "mpi", {collective.arg("a very low")}},
        {"LowCollective", mpi(49, 1, 5e7, 1e9), "mpi", {collective.arg("a low")}},
        {"AverageCollective", mpi(49, 1, 5e8, 1e9), "mpi", {collective.arg("an average")}},
        {"HighCollective", mpi(49, 1, 5e9, 1e9), "mpi", {collective.arg("a high")}},
        {"VeryHighCollective", mpi(49, 1, 5e10, 1e9), "mpi", {collective.arg("a very high")}},
        {"LowPointToPoint", mpi(1, 49, 1e9, 5e7), "mpi", {p2p.arg("a low")}},
        {"SlowPointToPointBesideCollective", mpi(30, 20, 5e9, 5e7), "mpi",
            {collective.arg("a high"), "The point-to-point transfer rate is low."}},
        {"SlowCollectiveBesidePointToPoint", mpi(20, 30, 1e6, 5e8), "mpi",
            {p2p.arg("an average"), "The collective transfer rate is very low."}},
        {"None", job().main(Category::COMPUTE, 100), "io", {"No time is spent in I/O operations."}},
        {"WithoutData", io(0, 50, 0, 0), "io", {writes.arg("a very low")}},
        {"VeryHighReads", io(49, 1, 5e10, 1e9), "io", {reads.arg("a very high")}},
        {"HighReads", io(49, 1, 5e9, 1e9), "io", {reads.arg("a high")}},
        {"AverageWrites", io(1, 49, 1e9, 5e8), "io", {writes.arg("an average")}},
        {"SlowWritesBesideReads", io(30, 20, 5e8, 5e7), "io",
            {reads.arg("an average"), "The effective write transfer rate is low."}},
        {"SlowReadsBesideWrites", io(20, 30, 1e6, 5e7), "io",
            {writes.arg("a low"), "The effective read transfer rate is very low."}},
    };
}

QVector<Row> openMpRows()
{
    const QString waits = QStringLiteral("Significant time is spent synchronizing threads in parallel");
    const QString unused = QStringLiteral("Physical core utilization is low and some cores may be unused.");
    return {
        {"None", threads(0, 0, 100, 100), "openmp", {"No measurable time is spent in OpenMP regions."}},
        {"UnknownLoad", openMp(0, 100, 0), "openmp", {}},
        {"Oversubscribed", openMp(40, 110, 100), "openmp",
            {waits, "Multiple OpenMP threads per physical core can cause this."}},
        {"SharedCores", openMp(40, 30, 130), "openmp",
            {waits, "Physical core utilization is low and multiple threads may be sharing one core."}},
        {"BackgroundLoad", openMp(40, 95, 130), "openmp",
            {waits, "The system load is high. Ensure background system processes are not running."}},
        {"FineGrained", openMp(40, 95, 100), "openmp", {waits, "This may be a sign of overly fine-grained"}},
        {"UnusedAndLoaded", openMp(0, 30, 130), "openmp",
            {unused, "The system load is high - multiple threads may be sharing one core."}},
        {"Unused", openMp(0, 30, 100), "openmp", {unused}},
        {"Loaded", openMp(0, 95, 130), "openmp", {"The system load is high. Check that other jobs"}},
        {"Good", openMp(0, 95, 100), "openmp", {"OpenMP thread performance looks good."}},
    };
}

QVector<Row> threadRows()
{
    const QString waits
        = QStringLiteral("Significant time is spent synchronizing threads. Check which locks");
    const QString none = QStringLiteral("No measurable time is spent in multithreaded code.");
    const QString low = QStringLiteral("Physical core utilization is low. Try increasing the number of ");
    return {
        {"UnknownLoad", threads(60, 40, 30, 0), "threads", {}},
        {"NoneInALoadedSystem", threads(0, 0, 30, 130), "threads",
            {none, "The system load is high - multiple processes may be sharing one core."}},
        {"NoneAndIdleCores", threads(0, 0, 30, 100), "threads", {none, low + "processes to improve"}},
        {"NoneBesideOtherJobs", threads(0, 0, 95, 130), "threads",
            {none, "The system load is high. Check that other jobs"}},
        {"None", threads(0, 0, 95, 100), "threads", {none}},
        {"Oversubscribed", threads(60, 40, 110, 130), "threads",
            {waits, "Multiple threads per physical core may be causing contention."}},
        {"SharedCores", threads(60, 40, 30, 130), "threads",
            {waits, "Physical core utilization is low and multiple threads may be sharing one core."}},
        {"BackgroundLoad", threads(60, 40, 95, 130), "threads",
            {waits, "The system load is high. Ensure background system processes"}},
        {"FineGrained", threads(60, 40, 95, 100), "threads",
            {waits, "This may be a sign of overly fine-grained parallelism or of workload imbalance"}},
        {"UnusedAndLoaded", threads(100, 0, 30, 130), "threads",
            {low + "threads or processes", "The system load is high - multiple threads may be sharing"}},
        {"Unused", threads(100, 0, 30, 100), "threads", {low + "threads or processes"}},
        {"Loaded", threads(100, 0, 95, 130), "threads", {"The system load is high. Check that other jobs"}},
        {"Good", threads(100, 0, 95, 100), "threads", {"Thread usage appears to be well-optimized."}},
    };
}

QVector<Row> resourceRows()
{
    return {
        {"Unknown", job().main(Category::COMPUTE, 100), "memory", {}},
        {"FullAndBalanced", memory(2, 1e9, 1.2e9, 80), "memory",
            {"The memory usage is high and well-balanced between processes."}},
        {"FullAndUnbalanced", memory(2, 1e9, 1.8e9, 80), "memory",
            {"There is significant variation between peak and mean memory usage."}},
        {"Balanced", memory(2, 1e9, 1.2e9, 60), "memory",
            {"The peak node memory usage is modest. Running with fewer MPI processes"}},
        {"Unbalanced", memory(2, 1e9, 1.8e9, 40), "memory",
            {"There is significant variation", "The peak node memory usage is low. Running with fewer"}},
        {"FullOfOneProcess", memory(1, 1e9, 1.2e9, 80), "memory",
            {"The peak node memory usage is high. You can use a memory debugger"}},
        {"OneProcess", memory(1, 1e9, 1.2e9, 20), "memory",
            {"The peak node memory usage is very low. Larger problem sets"}},
        {"Absent", job().main(Category::COMPUTE, 100), "cuda", {}},
        {"Unused", gpus(0, 0, 0), "cuda", {"GPUs are available but are not used."}},
        {"LittleUsed", gpus(30, 40, 60), "cuda",
            {"GPU utilization is low;", "Significant time is spent in global memory accesses."}},
        {"LittleMemory", gpus(30, 0, 40), "cuda",
            {"GPU utilization is low;", "The peak GPU memory usage is low."}},
        {"MemoryAccessesAndLittleMemory", gpus(75, 40, 40), "cuda",
            {"Significant time is spent in global memory accesses.", "The peak GPU memory usage is low."}},
        {"Acceptable", gpus(60, 0, 60), "cuda", {"GPU utilization is acceptable."}},
        {"Good", gpus(80, 0, 60), "cuda", {"GPU utilization is acceptable.", "GPU utilization is good."}},
    };
}

QVector<Row> energyRows()
{
    const QString madeFrom = QStringLiteral("The whole system energy has been calculated using the ");
    const ProfileBuilder noSensor
        = job().main(Category::COMPUTE, 100).error(METRIC_RAPL_POWER, "Not supported.");
    return {
        {"Unavailable", job().main(Category::COMPUTE, 100), "energy",
            {"Energy metrics are not available on this system."}},
        {"UnavailableWithAReason", noSensor, "energy",
            {"Energy metrics are not available on this system.", "CPU metrics are not supported."}},
        {"OfTheSystem", withSystemEnergy(job().main(Category::COMPUTE, 100)), "energy",
            {"Energy usage appears to be optimal."}},
        {"OfTheCpu", withCpuEnergy(job().main(Category::COMPUTE, 100)), "energy",
            {madeFrom + "CPU energy usage."}},
        {"OfAccelerators", withGpuPower(gpus(80, 0, 60)), "energy", {madeFrom + "accelerator energy usage."}},
        {"OfBoth", withGpuPower(withCpuEnergy(gpus(80, 0, 60))), "energy",
            {madeFrom + "CPU and accelerator energy usage."}},
        {"LostInMpi", withSystemEnergy(withCpuEnergy(mpi(40, 0, 1, 1))), "energy",
            {"Significant energy is wasted during MPI communications."}},
        {"LostOnMemory", withSystemEnergy(withCpuEnergy(mix(20, 0, 60)), 150), "energy",
            {"Significant time is spent waiting for memory accesses."}},
        {"AcceleratorsUnused", withSystemEnergy(withGpuPower(gpus(0, 0, 0))), "energy",
            {"Accelerators are available but are not used."}},
        {"AcceleratorsLittleUsed", withSystemEnergy(withGpuPower(gpus(10, 0, 0))), "energy",
            {"The accelerator usage is low. Increasing the accelerator usage could reduce the total"}},
        {"BudgetUnreadable",
            withSystemEnergy(job().main(Category::COMPUTE, 100))
                .error(METRIC_BUDGETED_POWER, "Requires a file."),
            "energy", {"Trapped capacity information requires a file."}},
    };
}

QVector<Row> counterRows()
{
    const QString verdict = QStringLiteral("Cycles per instruction is ");
    return {
        {"Many", cycles(2.5), "perf", {verdict + "high."}},
        {"Some", cycles(1.5), "perf", {verdict + "moderate."}},
        {"Few", cycles(0.5), "perf", {verdict + "low, which is good."}},
        {"None", cycles(0), "perf", {}},
    };
}

// A heading's advice doesn't depend on the type of report, but for the one on trapped capacity.
class WholeAdvice : public AnalysisTest, public testing::WithParamInterface<Row> { };

TEST_P(WholeAdvice, FillsBothSlots)
{
    const Row &row = GetParam();
    const bool counters = row.subsection == QLatin1String("perf");
    const QString type = counters ? QStringLiteral("perfcpumetrics") : QStringLiteral("default");
    for (const QString &name : {type, QStringLiteral("mine")}) {
        const auto report = filledReport(row.job, installedDefinition(type), name);
        const QStringList advice = allAdvice(*report, row.subsection);
        ASSERT_EQ(advice.size(), 2);
        for (int i = 0; i < 2; ++i) {
            const QString beginning = row.beginnings.value(i);
            EXPECT_TRUE(advice.at(i).startsWith(beginning)) << advice.at(i).toStdString();
            EXPECT_EQ(advice.at(i).isEmpty(), beginning.isEmpty()) << advice.at(i).toStdString();
        }
        EXPECT_FALSE(report->hasErrorMessage()) << report->getErrorMessage();
    }
}

std::string nameOf(const testing::TestParamInfo<Row> &test)
{
    return test.param.subsection.toStdString() + test.param.name;
}

INSTANTIATE_TEST_SUITE_P(Cpu, WholeAdvice, testing::ValuesIn(cpuRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Transfers, WholeAdvice, testing::ValuesIn(transferRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(OpenMp, WholeAdvice, testing::ValuesIn(openMpRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Threads, WholeAdvice, testing::ValuesIn(threadRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Resources, WholeAdvice, testing::ValuesIn(resourceRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Energy, WholeAdvice, testing::ValuesIn(energyRows()), nameOf);
INSTANTIATE_TEST_SUITE_P(Counters, WholeAdvice, testing::ValuesIn(counterRows()), nameOf);

} // namespace
