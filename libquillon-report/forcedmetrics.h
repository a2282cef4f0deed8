#ifndef QUILLON_REPORT_FORCEDMETRICS_H
#define QUILLON_REPORT_FORCEDMETRICS_H

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <initializer_list>

class ProfilerData;
struct quillon_report;

namespace quillon::report {

struct PerformanceData;

// A metric's id and what is to be written into it.
struct Figure {
    QString metricId;
    QVariant value;
};

// Writes a figure into the report whether or not its definition declares the metric, since sentences may
// refer to figures that a definition leaves out. The id of a metric that wasn't declared joins
// implicitMetrics.
void forceMetric(
    quillon_report &report, QStringList &implicitMetrics, const QString &metricId, const QVariant &value);

// Does so with each figure, in their order.
void forceMetrics(
    quillon_report &report, QStringList &implicitMetrics, std::initializer_list<Figure> figures);

// Puts a pair of sentences into the first two advice slots of a subsection.
void putAdvice(quillon_report &report, const QString &subsectionId, const QPair<QString, QString> &advice);

// I/O figures, why they are missing, and the advice on them.
// Only the read metric is asked for an error: one of the write metric alone goes unreported.
void forceIoMetricsData(quillon_report &report, QStringList &implicitMetrics, const PerformanceData &perfData,
    const ProfilerData &data);

// Memory figures, why they are missing, and the advice on them.
// A peak of 0 counts as missing: one that was measured isn't told from one that wasn't.
void forceMemoryMetricsData(quillon_report &report, QStringList &implicitMetrics,
    const PerformanceData &perfData, const ProfilerData &data);

// Energy figures, what the total was made from, and the advice on them; errors come before advice.
void forceEnergyMetricsData(quillon_report &report, QStringList &implicitMetrics,
    const PerformanceData &perfData, const ProfilerData &data);

// CPU power and energy shares by activity, and why energy figures are missing. The report's definition must
// declare these metrics: one that it lacks is an error of the report.
void setTrappedCapacityMetricsData(quillon_report &report, QStringList &implicitMetrics,
    const PerformanceData &perfData, const ProfilerData &data);

// A metric's first error as a sentence that begins with label, the plural name of a group of metrics;
// empty if the metric has no error.
QString getPowerErrorMessage(const QString &label, const QString &metric, const ProfilerData &data);

// Why trapped capacity can't be told; empty if it can, or if there is no budget to tell it from.
QString getTrappedCapacityBudgetedErrorMessage(const PerformanceData &perfData, const ProfilerData &data);

} // namespace quillon::report

#endif
