// Computing the figures of a profile, whose costly part is the CPU power by activity: one merged model for
// each sample, four times over. The time must grow with the number of samples and not faster.

#include "computeperformancedata.h"
#include "profilebuilder.h"

#include <benchmark/benchmark.h>

namespace {

// A job that does something of everything, and whose CPU power is known in every sample.
ProfilerData profile(int samples)
{
    ProfileBuilder builder(samples, 100);
    builder.processes(64).nodes(2).cores(64, 32);
    for (int i = 0; i < samples; ++i) {
        builder.mainAt(i, Category::COMPUTE, 400 + i % 7)
            .mainAt(i, Category::MPI_P2P, 100 + i % 5)
            .mainAt(i, Category::MPI_COLLECTIVE, 50 + i % 3)
            .mainAt(i, Category::IO_READ, 20)
            .mainAt(i, Category::OMP, 70)
            .othersAt(i, Category::OMP, 210, 200);
    }
    QVector<double> power(samples);
    QVector<double> energy(samples);
    for (int i = 0; i < samples; ++i) {
        power[i] = 200 + i % 50;
        energy[i] = 40.0 * (i + 1);
    }
    return builder.series(METRIC_RAPL_POWER, power)
        .series(METRIC_RAPL_ENERGY, energy)
        .series(METRIC_RSS, {1e9})
        .series(METRIC_NODE_MEM_USED, {40})
        .wholeRun(METRIC_CHARS_READ, {1e9})
        .build();
}

void computeFigures(benchmark::State &state)
{
    const ProfilerData data = profile(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(quillon::report::computePerformanceData(data));
}

BENCHMARK(computeFigures)->Arg(100)->Arg(ProfilerData::MaxSamples)->Unit(benchmark::kMicrosecond);

} // namespace
