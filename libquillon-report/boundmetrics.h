#ifndef QUILLON_REPORT_BOUNDMETRICS_H
#define QUILLON_REPORT_BOUNDMETRICS_H

class ProfilerData;
struct quillon_report;

namespace quillon::report {

// Fills the metrics that the report's definition binds to metrics of the sampler. One that wasn't collected
// or has an error becomes NaN, and a warning of the report says why; only a counter outside the enabled set
// of hardware counters, which is what the user chose, stays without one.
void setBoundMetrics(quillon_report &report, const ProfilerData &data);

} // namespace quillon::report

#endif
