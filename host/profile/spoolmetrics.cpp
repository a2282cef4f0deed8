#include "profile/spoolmetrics.h"

#include "profile/metricreasons.h"
#include "profile/metrictable.h"
#include "profile/powerbudget.h"
#include "profile/profilerdata.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <iterator>

using fern::spool::Bin;
using fern::spool::Figure;

namespace {

constexpr double NsPerSecond = 1e9;

// The metrics that are made of figures of the spools. How a figure is read follows from its metric's scope
// and kind.
const QVector<MetricTable::Row> &rows()
{
    static const QVector<MetricTable::Row> table = [] {
        QVector<MetricTable::Row> withFigure;
        std::copy_if(MetricTable::rows().begin(), MetricTable::rows().end(), std::back_inserter(withFigure),
            [](const MetricTable::Row &row) { return row.figure != MetricTable::NoFigure; });
        return withFigure;
    }();
    return table;
}

// Metrics that are so much of a node's figure by the time: energy is power by time, made here, so that it
// doesn't matter how many processes read the same sensor, nor when they came and went.
struct Integral {
    int figure; // fern::spool::FigureId of a gauge, something a second of a whole node
    QString metric; // of each node, or of its processes, among whom the node's is divided
};

const QVector<Integral> &integrals()
{
    using namespace fern::spool;
    static const QVector<Integral> table = {
        {FigureCpuPower, METRIC_RAPL_ENERGY},
        {FigureSystemPower, METRIC_SYSTEM_ENERGY},
        {FigureLustreRead, METRIC_LUSTRE_CHARS_READ},
        {FigureLustreWritten, METRIC_LUSTRE_CHARS_WRITTEN},
    };
    return table;
}

// Of a rate: what a figure's count of one in a nanosecond stands for. CPU time is counted in nanoseconds.
double perSecond(int figure)
{
    return figure == fern::spool::FigureCpuTime ? 1 : NsPerSecond;
}

// Counters count 0, too: only those that were never read have no count at all.
bool wasRead(const Figure &figure)
{
    return figure.count > 0;
}

bool isSound(const Figure &figure)
{
    return std::isfinite(figure.sum) && std::isfinite(figure.minimum) && std::isfinite(figure.maximum);
}

void collect(StatisticsCollector &collector, const Figure &gauge)
{
    if (wasRead(gauge)) {
        collector.add(gauge.sum / static_cast<double>(gauge.count), gauge.minimum, gauge.maximum);
    }
}

void storeStatic(
    ProfilerData *profile, const QString &id, const StatisticsCollector &collector, const QString &whyNot)
{
    MetricRecord record;
    record.definition = MetricDefinitions::describe(id);
    record.wholeRun = collector.statistics();
    if (record.wholeRun.count == 0) {
        record.errors.append(whyNot);
    }
    profile->setMetric(record);
}

void storeCollected(ProfilerData *profile, const QString &id, const StatisticsCollector &wholeRun,
    const QVector<StatisticsCollector> &series, const QString &whyNot)
{
    MetricRecord record;
    record.definition = MetricDefinitions::describe(id);
    record.wholeRun = wholeRun.statistics();
    for (const StatisticsCollector &sample : series) {
        record.series.append(sample.statistics());
    }
    if (record.wholeRun.count == 0) {
        record.errors.append(whyNot);
    }
    profile->setMetric(record);
}

} // namespace

SpoolMetrics::SpoolMetrics(const SpoolTimeline &timeline)
    : mTimeline(timeline)
    , mCollected(rows().size())
    , mPerf(timeline)
{
    for (Collected &metric : mCollected) {
        metric.series.resize(timeline.numSamples());
    }
    mIntegrals.resize(integrals().size());
    for (Collected &metric : mIntegrals) {
        metric.series.resize(timeline.numSamples());
    }
}

int SpoolMetrics::figureOf(int row)
{
    return rows()[row].figure;
}

int SpoolMetrics::figureOfIntegral(int integral)
{
    return integrals()[integral].figure;
}

bool SpoolMetrics::isTotal(int row)
{
    return rows()[row].metric.kind == Metric::Total;
}

bool SpoolMetrics::isInstructions(int row)
{
    return rows()[row].source == fern::spool::SourceProgramCounters;
}

// As spools add bins up; a figure that a damaged spool holds is passed over.
void SpoolMetrics::add(Figure *total, const Figure &figure)
{
    if (!isSound(figure)) {
        return;
    }
    if (wasRead(figure)) {
        total->minimum = total->count == 0 ? figure.minimum : std::min(total->minimum, figure.minimum);
        total->maximum = total->count == 0 ? figure.maximum : std::max(total->maximum, figure.maximum);
        total->count += figure.count;
    }
    total->sum += figure.sum;
}

void SpoolMetrics::addProcess(const SpoolProcess &process, const QVector<Bin> &bins)
{
    if (!mInNode || mNode.hostname != process.hostname) {
        endNode();
        beginNode(process);
    }
    mNode.logicalCores = std::max(mNode.logicalCores, process.logicalCores);
    mNode.physicalCores = std::max(mNode.physicalCores, process.physicalCores);
    mNode.memory = std::max(mNode.memory, process.nodeMemory);
    if (process.sourceStates[fern::spool::SourceGpus] == fern::spool::SourceAbsent) {
        mNode.gpus = std::max(mNode.gpus, 0);
    }
    ++mNode.processes;
    for (int row = 0; row < integrals().size(); ++row) {
        addToNode(mNode.integrands[row], figuresOf(process, bins, integrals()[row].figure));
    }
    mPerf.addProcess(process, bins);
    noteProcess(process);

    for (int row = 0; row < rows().size(); ++row) {
        const Metric &definition = rows()[row].metric;
        const Figures figures = figuresOf(process, bins, rows()[row].figure);
        if (definition.scope == Metric::PerNode) {
            addToNode(mNode.figures[row], figures);
        } else if (!wasRead(figures.total)) {
            continue;
        } else if (definition.kind == Metric::Rate) {
            addRate(mCollected[row], figures, process, row);
        } else if (definition.kind == Metric::Total) {
            addTotal(mCollected[row], figures, process);
        } else {
            addGauge(mCollected[row], figures);
        }
    }
}

void SpoolMetrics::addReader(const SpoolProcess &reader, const QVector<Bin> &bins)
{
    noteSources(reader);
    mNode.gpus = std::max(mNode.gpus, reader.gpus);
    mNode.gpuMemory = std::max(mNode.gpuMemory, reader.gpuMemory);
    for (int bin = 0; bin < bins.size(); ++bin) {
        const auto [first, last] = mTimeline.samplesOf(reader, bin);
        for (int row = 0; row < rows().size() && first <= last; ++row) {
            const Figure &figure = bins[bin].figures[rows()[row].figure];
            Figures &ofNode = mNode.figures[row];
            add(&ofNode.total, figure);
            for (int sample = first; sample <= last; ++sample) {
                add(&ofNode.bySample[sample], figure);
            }
        }
    }
}

// What counts for each process, however its figures came.
void SpoolMetrics::noteProcess(const SpoolProcess &process)
{
    mSampler.addProcess(process);
    mTicks += process.ticks;
    noteSources(process);
}

void SpoolMetrics::beginReaders(const QString &hostname)
{
    endNode();
    SpoolProcess node;
    node.hostname = hostname;
    beginNode(node);
}

void SpoolMetrics::endReaders()
{
    --mNodes; // it was counted with its ranks
    endNode();
}

void SpoolMetrics::noteSources(const SpoolProcess &process)
{
    for (std::size_t source = 0; source < mSourceStates.size(); ++source) {
        mSourceStates[source] = std::max(mSourceStates[source], process.sourceStates[source]);
    }
}

void SpoolMetrics::store(ProfilerData *profile)
{
    endNode();
    for (int row = 0; row < rows().size(); ++row) {
        const QString &id = rows()[row].metric.id;
        storeCollected(profile, id, mCollected[row].wholeRun, mCollected[row].series, whyNot(id));
    }
    for (int row = 0; row < integrals().size(); ++row) {
        const QString &id = integrals()[row].metric;
        storeCollected(profile, id, mIntegrals[row].wholeRun, mIntegrals[row].series, whyNot(id));
    }
    const auto storeFact = [&](const QString &id, const StatisticsCollector &collector) {
        storeStatic(profile, id, collector, whyNot(id));
    };
    storeFact(METRIC_NUM_CORES_PER_NODE, mLogicalCores);
    storeFact(METRIC_NUM_PHYSICAL_CORES_PER_NODE, mPhysicalCores);
    storeFact(METRIC_MEMORY_PER_NODE, mMemory);
    storeFact(METRIC_NVIDIA_GPUS_COUNT, mHasGpus ? mGpus : StatisticsCollector());
    storeFact(METRIC_NVIDIA_TOTAL_MEMORY, mHasGpus ? mGpuMemory : StatisticsCollector());
    storeBudget(profile);
    mSampler.store(profile);
    mPerf.store(profile);
}

// The site's configuration says what power a node may use; without it there is no such metric.
void SpoolMetrics::storeBudget(ProfilerData *profile) const
{
    if (!PowerBudget::isSet()) {
        return;
    }
    const double watts = PowerBudget::watts();
    StatisticsCollector budget;
    for (int node = 0; node < mNodes && !std::isnan(watts); ++node) {
        budget.add(watts);
    }
    storeStatic(profile, METRIC_BUDGETED_POWER, budget,
        MetricReasons::ofState(METRIC_BUDGETED_POWER, fern::spool::SourceUnknown));
}

// What to tell a user where no process could read a figure.
QString SpoolMetrics::whyNot(const QString &metric) const
{
    if (mTicks == 0) {
        return QCoreApplication::translate("SpoolMetrics", "The job ended before anything could be read.");
    }
    return MetricReasons::ofState(metric, mSourceStates[MetricTable::sourceOf(metric).id]);
}

SpoolMetrics::Figures SpoolMetrics::figuresOf(
    const SpoolProcess &process, const QVector<Bin> &bins, int figure) const
{
    Figures figures;
    figures.bySample.fill(Figure{}, mTimeline.numSamples());
    for (int bin = 0; bin < bins.size(); ++bin) {
        add(&figures.bySample[mTimeline.sampleOf(process, bin)], bins[bin].figures[figure]);
        add(&figures.total, bins[bin].figures[figure]);
    }
    return figures;
}

void SpoolMetrics::addToNode(Figures &node, const Figures &process)
{
    for (int sample = 0; sample < node.bySample.size(); ++sample) {
        add(&node.bySample[sample], process.bySample[sample]);
    }
    add(&node.total, process.total);
}

void SpoolMetrics::addGauge(Collected &metric, const Figures &figures) const
{
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample) {
        collect(metric.series[sample], figures.bySample[sample]);
    }
    collect(metric.wholeRun, figures.total);
}

void SpoolMetrics::addRate(
    Collected &metric, const Figures &figures, const SpoolProcess &process, int row) const
{
    const auto rate = [&](const Figure &figure, qint64 ns) {
        const double value = figure.sum * perSecond(rows()[row].figure) / static_cast<double>(ns);
        const bool isCores = rows()[row].figure == fern::spool::FigureCpuTime && process.maxThreads > 0;
        return isCores ? std::min(value, static_cast<double>(process.maxThreads)) : value;
    };
    const qint64 livedNs = std::max<qint64>(process.endNs - process.beginNs, 1);
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample) {
        if (mTimeline.isLongEnough(process, sample)) {
            metric.series[sample].add(rate(figures.bySample[sample], mTimeline.livedNs(process, sample)));
        }
    }
    metric.wholeRun.add(rate(figures.total, livedNs));
}

// A count goes on being true when its process has ended.
void SpoolMetrics::addTotal(Collected &metric, const Figures &figures, const SpoolProcess &process) const
{
    double soFar = 0;
    const int first = mTimeline.sampleOf(process, 0);
    for (int sample = first; sample < mTimeline.numSamples(); ++sample) {
        soFar += figures.bySample[sample].sum;
        metric.series[sample].add(soFar);
    }
    metric.wholeRun.add(figures.total.sum);
}

// What a node had so far: its mean in each sample by the time that this took.
void SpoolMetrics::addIntegral(Collected &integral, const Figures &perSecond, int processes) const
{
    if (!wasRead(perSecond.total)) {
        return;
    }
    constexpr double secondsPerMs = 1e-3;
    const auto add = [processes](StatisticsCollector &collector, double amount) {
        for (int process = 0; process < processes; ++process) {
            collector.add(amount / processes);
        }
    };
    const QVector<int> times = mTimeline.timesMs();
    double soFar = 0;
    for (int sample = 0; sample < mTimeline.numSamples(); ++sample) {
        const Figure &figure = perSecond.bySample[sample];
        if (wasRead(figure)) {
            soFar += figure.sum / static_cast<double>(figure.count) * (times[sample + 1] - times[sample])
                * secondsPerMs;
        }
        add(integral.series[sample], soFar);
    }
    add(integral.wholeRun, soFar);
}

void SpoolMetrics::beginNode(const SpoolProcess &process)
{
    mNode = Node();
    mNode.hostname = process.hostname;
    Figures none;
    none.bySample.fill(Figure{}, mTimeline.numSamples());
    mNode.figures.fill(none, rows().size());
    mNode.integrands.fill(none, integrals().size());
    mInNode = true;
}

void SpoolMetrics::endNode()
{
    if (!mInNode) {
        return;
    }
    for (int row = 0; row < rows().size(); ++row) {
        if (rows()[row].metric.scope == Metric::PerNode) {
            addGauge(mCollected[row], mNode.figures[row]);
        }
    }
    for (int row = 0; row < integrals().size(); ++row) {
        const bool isOfNode = MetricDefinitions::describe(integrals()[row].metric).scope == Metric::PerNode;
        addIntegral(mIntegrals[row], mNode.integrands[row], isOfNode ? 1 : mNode.processes);
    }
    if (mNode.logicalCores > 0) {
        mLogicalCores.add(mNode.logicalCores);
    }
    if (mNode.physicalCores > 0) {
        mPhysicalCores.add(mNode.physicalCores);
    }
    if (mNode.memory > 0) {
        mMemory.add(static_cast<double>(mNode.memory));
    }
    // Where others have some, a node without counts.
    if (mNode.gpus == 0 || mNode.gpuMemory > 0) {
        mGpuMemory.add(static_cast<double>(mNode.gpuMemory));
    }
    if (mNode.gpus >= 0) {
        mGpus.add(mNode.gpus);
    }
    mHasGpus = mHasGpus || mNode.gpus > 0;
    ++mNodes;
    mInNode = false;
}
