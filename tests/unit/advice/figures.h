#ifndef TESTS_UNIT_ADVICE_FIGURES_H
#define TESTS_UNIT_ADVICE_FIGURES_H

#include "performancedata.h"

// The figures of a job of which only a few are of interest:
//
//   figures([](PerformanceData &job) { job.mpiPercent = 30; })
template <typename Change> quillon::report::PerformanceData figures(Change change)
{
    quillon::report::PerformanceData job;
    change(job);
    return job;
}

#endif
