// One job in which everything was measured, its report of the installed definition, and the JSON that comes
// out.

#include "filledreport.h"

#include "performanceadvice.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>

using namespace quillon::report;

namespace {

// An hour of 2 processes on a node of 8 hardware threads, 4 cores and 2 GPUs, in 10 samples. In each sample
// the main threads have 100 hits, and the 8 hardware threads might have had 400.
ProfileBuilder job()
{
    return ProfileBuilder(10, 360000)
        .processes(2)
        .cores(8, 4)
        .main(Category::COMPUTE, 40)
        .main(Category::MPI_COLLECTIVE, 5)
        .main(Category::MPI_P2P, 15)
        .main(Category::MPI_OTHER, 5)
        .main(Category::IO_READ, 10)
        .main(Category::IO_WRITE, 5)
        .main(Category::OMP, 10)
        .main(Category::OMP_RUNTIME_IN_REGION, 4)
        .main(Category::OMP_RUNTIME_OUT_OF_REGION, 2)
        .main(Category::ACCELERATOR, 4)
        .others(Category::OMP, 50)
        .others(Category::OMP_RUNTIME_IN_REGION, 10)
        .others(Category::OMP_MONITOR, 10, 4)
        .others(Category::PTHREAD_COMPUTE, 60)
        .others(Category::PTHREAD_SYNC, 20)
        .activeCores(1.5, 1.8)
        .series(METRIC_INSTR_VECTOR_FP, {10})
        .series(METRIC_INSTR_VECTOR_INT, {5})
        .series(METRIC_INSTR_FP, {20})
        .series(METRIC_INSTR_INT, {20})
        .series(METRIC_INSTR_MEM, {20})
        .series(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, {1e6})
        .series(METRIC_MPI_P2P_BYTES_PER_SEC, {6e6})
        .wholeRun(METRIC_CHARS_READ, {6e9, 8.4e9})
        .wholeRun(METRIC_CHARS_WRITTEN, {9e9, 9e9})
        .readingsBySample(METRIC_RSS, {{1e9, 2e9}})
        .series(METRIC_NODE_MEM_USED, {40.5})
        .series(METRIC_LOAD_AVG, {90})
        .wholeRun(METRIC_MEMORY_PER_NODE, {64e9})
        .wholeRun(METRIC_NVIDIA_GPUS_COUNT, {2})
        .series(METRIC_NVIDIA_GPU_USAGE, {60})
        .series(METRIC_NVIDIA_POWER, {100e3})
        .wholeRun(METRIC_NVIDIA_TOTAL_MEMORY, {16e9})
        .series(METRIC_NVIDIA_MEMORY_USED, {8e9, 4e9})
        .series(METRIC_NVIDIA_MEMORY_SYS_USAGE, {35})
        .series(METRIC_RAPL_POWER, {200})
        .series(METRIC_RAPL_ENERGY, {72e3, 720e3})
        .series(METRIC_SYSTEM_POWER, {600, 500})
        .series(METRIC_SYSTEM_ENERGY, {180e3, 1.8e6})
        .wholeRun(METRIC_BUDGETED_POWER, {625});
}

struct Expected {
    QString id;
    QVariant value;
};

// Every figure of the report, worked out by hand.
QVector<Expected> expectedFigures()
{
    return {
        {"overview.cpu.percent", 60.0},
        {"overview.mpi.percent", 25.0},
        {"overview.io.percent", 15.0},
        // Application
        {"applicationDetails.commandLine", "mpirun -n 2 prog"},
        {"applicationDetails.exeName", "prog"},
        {"applicationDetails.exePath", "/opt/code.example/bin"},
        {"applicationDetails.processes.plain", 2},
        {"applicationDetails.nodes.plain", 1},
        {"applicationDetails.physicalCoresPerNode", 4},
        {"applicationDetails.logicalCoresPerNode", 8},
        {"applicationDetails.ompNumThreads", "1"},
        {"applicationDetails.hostname", "node1.example"},
        {"applicationDetails.startDate", "Fri Mar 6 14:05:09 2026"},
        {"applicationDetails.gpusPerNode.plain", DoublePrecision(2, 0).toQVariant()},
        {"applicationDetails.profiledRanks", "All"},
        {"applicationDetails.time.plain", 3600},
        {"applicationDetails.notes", QString()},
        {"applicationDetails.inputFile", QString()},
        {"applicationDetails.hostMemory.plain", DoublePrecision(64e9, 0).toQVariant()},
        {"applicationDetails.isOpenMp", true},
        {"applicationDetails.hasGpu", true},
        {"applicationDetails.hasAcceleratorMetricsEnabled", true},
        {"applicationDetails.hasEnergyMetricsEnabled", true},
        // CPU: 44 and 16 of 60 % outside and inside OpenMP; 25, 15 and 20 % scalar, vector and memory
        // instructions and 4 % waiting, which fill the time, since MPI and I/O take more than the others.
        {"cpu.showWaitingAcc", true},
        {"cpu.singleCorePercent", 220.0 / 3},
        {"cpu.openMpPercent", 80.0 / 3},
        {"cpu.scalarNumPercent", 39.0625},
        {"cpu.vectorNumPercent", 23.4375},
        {"cpu.memPercent", 31.25},
        {"cpu.waitingAccPercent", 4.0},
        // MPI: in 5 and 15 % of the time.
        {"mpi.rateError", QString()},
        {"mpi.collectivePercent", 25.0},
        {"mpi.p2pPercent", 75.0},
        {"mpi.collectiveRate", 2e7},
        {"mpi.p2pRate", 4e7},
        // I/O: 7.2 GB in 360 s, 9 GB in 180 s.
        {"io.rateError", QString()},
        {"io.readPercent", 200.0 / 3},
        {"io.writePercent", 100.0 / 3},
        {"io.readRate", 2e7},
        {"io.writeRate", 5e7},
        {"memory.error", QString()},
        {"memory.nodePeakPercent", 40.0},
        {"memory.mean", 1.5e9},
        {"memory.peak", 2e9},
        {"overview.systemLoadAvgError", QString()},
        {"overview.systemLoadPercent", 90.0},
        // OpenMP: 60 hits computing, 14 + 2 + 4 in the runtime; a process has 2 cores.
        {"openmp.computePercent", 75.0},
        {"openmp.overheadPercent", 25.0},
        {"openmp.physicalCoreUtilizationPercent", 90.0},
        {"threads.computePercent", 75.0},
        {"threads.syncPercent", 25.0},
        {"threads.physicalCoreUtilizationPercent", 75.0},
        {"cuda.error", QString()},
        {"cuda.gpusInUsePercent", 60.0},
        {"cuda.peakMemoryPercent", 50.0},
        {"cuda.meanMemoryPercent", 27.5},
        {"cuda.globalMemoryAccessPercent", 35.0},
        {"applicationDetails.hostGpuMemory.plain", DoublePrecision(8e9, 0).toQVariant()},
        // Energy: 500 Wh of the system, 200 of the CPUs, 100 of the GPUs; a budget of 625.
        {"energy.hasMetrics", true},
        {"energy.hasCpuPower", true},
        {"energy.hasAccPower", true},
        {"energy.total.plain", 500.0},
        {"energy.cpuTotal.plain", 200.0},
        {"energy.accTotal.plain", 100.0},
        {"energy.cpuPercent", 40.0},
        {"energy.accPercent", 20.0},
        {"energy.otherPercent", 40.0},
        {"energy.nodePeakPower", 600.0},
        {"energy.nodeMeanPower", 510.0},
        {"energy.hasBudgetedMetric", true},
        {"energy.budgetedTotal", 625.0},
        {"energy.hasTrappedCapacity", true},
        {"energy.trapped", 125.0},
        {"energy.trappedPercent", 20.0},
        // What bound it.
        {"overview.bound1.type", "overview.cpu.percent"},
        {"overview.bound1.subsectionId", "cpu"},
        {"overview.bound2.long", "Accelerator-bound"},
        {"overview.bound2.type", "cuda"},
        {"report.src.values", "brivane:/prog_2p_1n_1t_2026-03-06_14-05"},
    };
}

class WholeReport : public AnalysisTest {
protected:
    void SetUp() override
    {
        QString error;
        const std::unique_ptr<ReportDefinition> definition(ReportDefinition::createFromFile(
            QStringLiteral(QUILLON_DEFAULT_DEFINITION), ReportDefinition::DefaultSchemaFilename, &error,
            ReportDefinition::SilentValidation, ReportDefinition::Config::withoutPrefixesOrReservedIds()));
        ASSERT_TRUE(definition) << error.toStdString();
        ASSERT_TRUE(error.isEmpty()) << error.toStdString();
        mReport = filledReport(job(), *definition);
        ASSERT_FALSE(mReport->hasErrorMessage()) << mReport->getErrorMessage();
        ASSERT_FALSE(mReport->hasWarningMessage()) << mReport->getWarningMessage().toStdString();
    }

    void expectAdvice(const QString &subsectionId, const QPair<QString, QString> &expected)
    {
        EXPECT_EQ(advice(*mReport, subsectionId), QStringList({expected.first, expected.second}));
    }

    std::unique_ptr<quillon_report> mReport;
};

// Doubles that differ in their last bits are the same figure.
bool isSame(const QVariant &value, const QVariant &expected)
{
    if (value.type() != expected.type())
        return false;
    if (value.type() != QVariant::Double)
        return value == expected;
    return std::fabs(value.toDouble() - expected.toDouble()) <= 1e-12 * std::fabs(expected.toDouble());
}

TEST_F(WholeReport, HasEveryFigure)
{
    for (const Expected &figure : expectedFigures()) {
        const QVariant value = mReport->getMetricValue(figure.id);
        EXPECT_TRUE(isSame(value, figure.value))
            << figure.id.toStdString() << " is " << testing::PrintToString(value) << " instead of "
            << testing::PrintToString(figure.value);
    }
}

TEST_F(WholeReport, HasTheAdviceOnItsFigures)
{
    expectAdvice(DefaultMetrics::SubsectionCpu, cpuAdvice(60, 73.3, 39.1, 23.4, 31.25, 4));
    expectAdvice(DefaultMetrics::SubsectionMpi, mpiAdvice(25, 25, 75, 2e7, 4e7));
    expectAdvice(DefaultMetrics::SubsectionIo, ioAdvice(15, 66.7, 33.3, 2e7, 5e7));
    expectAdvice(DefaultMetrics::SubsectionMemory, memAdvice(1.5e9, 2e9, 40, 2));
    expectAdvice(DefaultMetrics::SubsectionOpenmp, openmpAdvice(16, 75, 25, 90, 90));
    expectAdvice(DefaultMetrics::SubsectionThreads, threadsAdvice(75, 25, 75, 90));
    expectAdvice(DefaultMetrics::SubsectionAccelerator, cudaAdvice(60, 35, 50));
    expectAdvice(DefaultMetrics::SubsectionEnergy, {"Energy usage appears to be optimal.", ""});
}

TEST_F(WholeReport, BecomesAJsonDocumentWithTheSameFigures)
{
    QByteArray json;
    ASSERT_EQ(mReport->generateAndWrite(json, JsonReport), 0) << mReport->getErrorMessage();
    const QJsonObject data = QJsonDocument::fromJson(json).object()[QStringLiteral("data")].toObject();
    for (const Expected &figure : expectedFigures()) {
        QJsonValue value = data;
        for (const QString &part : figure.id.split(QLatin1Char('.')))
            value = value.toObject()[part];
        if (figure.value.type() == QVariant::Double)
            EXPECT_NEAR(value.toDouble(), figure.value.toDouble(), 1e-12 * figure.value.toDouble())
                << figure.id.toStdString();
        else
            EXPECT_EQ(value, QJsonValue::fromVariant(figure.value)) << figure.id.toStdString();
    }
}

} // namespace
