// What ranks have merged, for SpoolMetrics.

#include "profile/instructionmix.h"
#include "profile/mergedspool.h"
#include "profile/spoolmetrics.h"
#include "sampler/core/figurekinds.h"

#include <algorithm>
#include <iterator>
#include <tuple>

using fern::merged::Counter;
using fern::spool::Figure;

void SpoolMetrics::addMerged(const MergedSpool &merged)
{
    endNode();
    for (const SpoolProcess &process : merged.processes()) {
        noteProcess(process);
    }
    const fern::merged::View view = merged.view();
    const fern::merged::Header &header = view.header();
    for (int row = 0; row < mCollected.size(); ++row) {
        const int figure = figureOf(row);
        merged.addColumn(view.figure(quint32(figure)), header.wholeRun[figure], isTotal(row), mTimeline,
            &mCollected[row].wholeRun, &mCollected[row].series);
    }
    for (int i = 0; i < mIntegrals.size(); ++i) {
        const int column = fern::spool::integralOf(fern::spool::FigureId(figureOfIntegral(i)));
        Q_ASSERT(column >= 0); // figureOfIntegral() gives no others
        merged.addColumn(view.integral(quint32(column)), header.integralWholeRun[column], true, mTimeline,
            &mIntegrals[i].wholeRun, &mIntegrals[i].series);
    }
    MergedSpool::join(&mLogicalCores, header.logicalCores);
    MergedSpool::join(&mPhysicalCores, header.physicalCores);
    MergedSpool::join(&mMemory, header.nodeMemory);
    mPerf.addMerged(merged);
    mNodes += header.nodes;
    addMergedInstructions(merged);
}

// Rank by rank, as from the ranks' own spools.
void SpoolMetrics::addMergedInstructions(const MergedSpool &merged)
{
    const fern::merged::View view = merged.view();
    const fern::merged::Header &header = view.header();
    SpoolCode code;
    std::copy_n(view.blocks(), header.codeBlockCount, std::back_inserter(code.blocks));
    InstructionMix mix(code);
    QVector<Counter> counters;
    std::copy_n(view.counters(), header.counterCount, std::back_inserter(counters));
    std::sort(counters.begin(), counters.end(), [](const Counter &a, const Counter &b) {
        return std::tie(a.rank, a.sample, a.bin) < std::tie(b.rank, b.sample, b.bin);
    });

    const SpoolProcess whole = merged.whole();
    for (auto counter = counters.cbegin(); counter != counters.cend();) {
        const quint32 rank = counter->rank;
        QVector<Figures> figures(mCollected.size());
        for (int row = 0; row < figures.size(); ++row) {
            if (isInstructions(row)) {
                figures[row].bySample.fill(Figure{}, mTimeline.numSamples());
            }
        }
        while (counter != counters.cend() && counter->rank == rank) {
            const auto first = counter;
            InstructionMix::Sum sum;
            for (; counter != counters.cend() && counter->rank == rank && counter->sample == first->sample
                 && counter->bin == first->bin;
                 ++counter) {
                mix.add(counter->address, counter->category, &sum);
            }
            fern::spool::Bin bin = {};
            sum.fill(bin.figures);
            const int sample = mTimeline.sampleOf(whole, std::min<int>(first->sample, whole.binCount - 1));
            for (int row = 0; row < figures.size(); ++row) {
                if (isInstructions(row)) {
                    add(&figures[row].bySample[sample], bin.figures[figureOf(row)]);
                    add(&figures[row].total, bin.figures[figureOf(row)]);
                }
            }
        }
        for (int row = 0; row < figures.size(); ++row) {
            if (isInstructions(row)) {
                addGauge(mCollected[row], figures[row]);
            }
        }
    }
}

void PerfMetrics::addMerged(const MergedSpool &merged)
{
    using namespace fern::spool;
    const fern::merged::View view = merged.view();
    const fern::merged::Header &header = view.header();
    for (const SpoolProcess &process : merged.processes()) {
        noteStates(process);
    }
    const auto add = [&](Collected *collected, int figure) {
        merged.addColumn(view.figure(quint32(figure)), header.wholeRun[figure], false, mTimeline,
            &collected->wholeRun, &collected->series);
    };
    add(&mCyclesPerInstruction, FigureCycles);
    const QVector<CountedEvent> events = merged.processes().first().siteEvents; // all ranks count the same
    for (int i = 0; i < events.size(); ++i) {
        add(&mEvents[events[i].name], FigureSiteEvent + i);
    }
}
