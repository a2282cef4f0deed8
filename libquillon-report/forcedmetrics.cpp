#include "forcedmetrics.h"

#include "api/defaultmetrics.h"
#include "api/quillon-report.h"
#include "performanceadvice.h"
#include "performancedata.h"

#include "profile/metricids.h"
#include "profile/profilerdata.h"

#include <QObject>

#include <limits>

namespace quillon::report {

namespace {

QString memoryErrorMessage(const PerformanceData &perfData, const ProfilerData &data)
{
    const bool haveProcess = perfData.memPeak > 0;
    const bool haveNode = perfData.memNodePeak > 0;
    if (haveProcess && haveNode)
        return QString();
    const QString process = haveProcess ? QString()
                                        : QObject::tr("Process memory usage metrics: %1")
                                              .arg(data.getFirstMetricError(perfData.memProcessMetricName));
    const QString node = haveNode ? QString()
                                  : QObject::tr("Node memory usage metrics: %1")
                                        .arg(data.getFirstMetricError(perfData.memNodePercentMetricName));
    const QString separator = !haveProcess && !haveNode ? QStringLiteral(" ") : QString();
    return process + separator + node;
}

// How the total energy was put together; nothing to say where a sensor measured it.
QString energyBasisMessage(TotalEnergyBasis basis)
{
    switch (basis) {
    case TotalEnergyBasis::None:
        return QStringLiteral("Energy metrics are not available on this system.");
    case TotalEnergyBasis::System:
        return QString();
    case TotalEnergyBasis::CpuPlusAcc:
        return QStringLiteral(
            "The <span class=\"%1\">whole system energy</span> has been calculated using the "
            "<span class=\"%2\">CPU</span> and <span class=\"%3\">accelerator</span> energy usage.")
            .arg(DefaultMetrics::SubsectionEnergy, DefaultMetrics::EnergyCpuPercent,
                DefaultMetrics::EnergyAccPercent);
    case TotalEnergyBasis::CpuOnly:
        return QStringLiteral(
            "The <span class=\"%1\">whole system energy</span> has been calculated using the "
            "<span class=\"%2\">CPU</span> energy usage.")
            .arg(DefaultMetrics::SubsectionEnergy, DefaultMetrics::EnergyCpuPercent);
    case TotalEnergyBasis::AccOnly:
        return QStringLiteral(
            "The <span class=\"%1\">whole system energy</span> has been calculated using the "
            "<span class=\"%2\">accelerator</span> energy usage.")
            .arg(DefaultMetrics::SubsectionEnergy, DefaultMetrics::EnergyAccPercent);
    }
    return QString();
}

bool exceedsBudget(const PerformanceData &perfData)
{
    return perfData.hasTrappedCapacity && perfData.energyTrappedTotalInWh < 0;
}

// Why parts of the energy figures are missing; each is empty if there is nothing to tell.
struct EnergyErrors {
    QString sys;
    QString cpu;
    QString trapped;
};

EnergyErrors energyErrors(const PerformanceData &perfData, const ProfilerData &data)
{
    return {getPowerErrorMessage(QObject::tr("System power metrics"), perfData.sysPowerMetric, data),
        getPowerErrorMessage(QObject::tr("CPU metrics"), perfData.cpuPowerMetric, data),
        getTrappedCapacityBudgetedErrorMessage(perfData, data)};
}

} // namespace

void forceMetric(
    quillon_report &report, QStringList &implicitMetrics, const QString &metricId, const QVariant &value)
{
    if (!report.containsMetricWithId(metricId))
        implicitMetrics.append(metricId);
    report.setMetricValue(metricId, value, quillon_report::CreateIfNotDefined);
}

void forceMetrics(quillon_report &report, QStringList &implicitMetrics, std::initializer_list<Figure> figures)
{
    for (const Figure &figure : figures)
        forceMetric(report, implicitMetrics, figure.metricId, figure.value);
}

void putAdvice(quillon_report &report, const QString &subsectionId, const QPair<QString, QString> &advice)
{
    report.setSubsectionAdvice(subsectionId, 1, advice.first);
    report.setSubsectionAdvice(subsectionId, 2, advice.second);
}

QString getPowerErrorMessage(const QString &label, const QString &metric, const ProfilerData &data)
{
    QString error = data.getFirstMetricError(metric);
    if (error.isEmpty())
        return error;
    // The sampler's sentences begin with their verb or with Not, so that the label can stand before them.
    if (error.startsWith(QLatin1String("Not")))
        return QObject::tr("%1 are ").arg(label) + error.replace(QLatin1String("Not"), QLatin1String("not"));
    if (error.startsWith(QLatin1String("Requires")))
        return QStringLiteral("%1 ").arg(label)
            + error.replace(QLatin1String("Requires"), QLatin1String("requires"));
    return QStringLiteral("%1: ").arg(label) + error;
}

QString getTrappedCapacityBudgetedErrorMessage(const PerformanceData &perfData, const ProfilerData &data)
{
    if (exceedsBudget(perfData)) {
        return QObject::tr(
            "<span class=\"%1\">Trapped capacity</span> information is not available because the "
            "used power exceeded the budgeted power. Check your configuration file.")
            .arg(DefaultMetrics::EnergyTrappedPercent);
    }
    return getPowerErrorMessage(QStringLiteral("Trapped capacity information"), METRIC_BUDGETED_POWER, data);
}

void forceIoMetricsData(quillon_report &report, QStringList &implicitMetrics, const PerformanceData &perfData,
    const ProfilerData &data)
{
    const QString errorString = data.getFirstMetricError(perfData.charsReadMetricName);
    forceMetrics(report, implicitMetrics,
        {
            {DefaultMetrics::IoRateError,
                errorString.isEmpty() ? QString() : QObject::tr("I/O Rate Metrics: %1").arg(errorString)},
            {DefaultMetrics::IoReadPercent, perfData.ioRead},
            {DefaultMetrics::IoWritePercent, perfData.ioWrite},
            {DefaultMetrics::IoReadRate, perfData.ioReadRate},
            {DefaultMetrics::IoWriteRate, perfData.ioWriteRate},
        });
    putAdvice(report, DefaultMetrics::SubsectionIo,
        ioAdvice(perfData.ioPercent, perfData.ioRead, perfData.ioWrite, perfData.ioReadRate,
            perfData.ioWriteRate));
}

void forceMemoryMetricsData(quillon_report &report, QStringList &implicitMetrics,
    const PerformanceData &perfData, const ProfilerData &data)
{
    forceMetrics(report, implicitMetrics,
        {
            {DefaultMetrics::MemError, memoryErrorMessage(perfData, data)},
            {DefaultMetrics::MemNodePeakPercent, perfData.memNodePeak},
            {DefaultMetrics::MemMean, perfData.memMean},
            {DefaultMetrics::MemPeak, perfData.memPeak},
        });
    putAdvice(report, DefaultMetrics::SubsectionMemory,
        memAdvice(perfData.memMean, perfData.memPeak, perfData.memNodePeak, data.numTargetProcs()));
}

void forceEnergyMetricsData(quillon_report &report, QStringList &implicitMetrics,
    const PerformanceData &perfData, const ProfilerData &data)
{
    constexpr double notAvailable = std::numeric_limits<double>::quiet_NaN();
    forceMetrics(report, implicitMetrics,
        {
            {DefaultMetrics::EnergyHasMetrics, !PMetricValue::isNan(perfData.energyTotalInWh)},
            {DefaultMetrics::EnergyHasCpuPower, perfData.isEnergyCpuDefined},
            {DefaultMetrics::EnergyHasAccPower, perfData.isEnergyAccDefined && perfData.enableAccPackMetrics},
            {DefaultMetrics::EnergyTotal, perfData.energyTotalInWh},
            {DefaultMetrics::EnergyCpuTotal, perfData.energyCpuInWh},
            {DefaultMetrics::EnergyAccTotal, perfData.energyAccInWh},
            {DefaultMetrics::EnergyCpuPercent, perfData.energyCpuPercent},
            {DefaultMetrics::EnergyAccPercent, perfData.energyAccPercent},
            {DefaultMetrics::EnergyOtherPercent, perfData.energyOtherPercent},
            {DefaultMetrics::EnergyNodePeakPower,
                perfData.nodePeakPower < 0 ? notAvailable : perfData.nodePeakPower},
            {DefaultMetrics::EnergyNodeMeanPower, perfData.nodeMeanPower},
            {DefaultMetrics::EnergyHasBudgetedMetric, perfData.hasBudgetedMetric},
            {DefaultMetrics::EnergyBudgetedTotal, perfData.energyBudgetedTotalInWh},
            {DefaultMetrics::EnergyHasTrappedCapacity, perfData.hasTrappedCapacity},
            {DefaultMetrics::EnergyTrappedTotal, perfData.energyTrappedTotalInWh},
            {DefaultMetrics::EnergyTrappedPercent, perfData.energyTrappedPercent},
        });
    // Advice is HTML; what a sensor says about its failure is text.
    const EnergyErrors errors = energyErrors(perfData, data);
    const QString trappedError = exceedsBudget(perfData) ? errors.trapped : errors.trapped.toHtmlEscaped();
    putAdvice(report, DefaultMetrics::SubsectionEnergy,
        energyAdvice(perfData.isEnergyCpuDefined, perfData.isEnergyAccDefined,
            energyBasisMessage(perfData.energyTotalBasis), errors.sys.toHtmlEscaped(),
            errors.cpu.toHtmlEscaped(), trappedError, perfData.memNodePeak, perfData.mpiPercent,
            perfData.energyCpuPercent, perfData.cpuMem, perfData.avgGPUsInUse));
}

void setTrappedCapacityMetricsData(
    quillon_report &report, QStringList &, const PerformanceData &perfData, const ProfilerData &data)
{
    const auto percentOfCpuEnergy
        = [&](double energyInWh) { return energyInWh / perfData.energyCpuInWh * 100; };
    const EnergyErrors errors = energyErrors(perfData, data);
    const Figure figures[] = {
        {DefaultMetrics::NodePowerBudget, perfData.nodePowerBudget},
        {DefaultMetrics::EnergyNodeMeanMpiCpuPower, perfData.mpiMeanCpuPower},
        {DefaultMetrics::EnergyNodeMeanIoCpuPower, perfData.ioMeanCpuPower},
        {DefaultMetrics::EnergyNodeMeanOmpCpuPower, perfData.ompMeanCpuPower},
        {DefaultMetrics::EnergyNodeMeanOtherCpuPower, perfData.otherMeanCpuPower},
        {DefaultMetrics::EnergyMpiCpuPercent, percentOfCpuEnergy(perfData.mpiCpuEnergyInWh)},
        {DefaultMetrics::EnergyIoCpuPercent, percentOfCpuEnergy(perfData.ioCpuEnergyInWh)},
        {DefaultMetrics::EnergyOmpCpuPercent, percentOfCpuEnergy(perfData.ompCpuEnergyInWh)},
        {DefaultMetrics::EnergyOtherCpuPercent, percentOfCpuEnergy(perfData.otherCpuEnergyInWh)},
        {DefaultMetrics::EnergyError,
            QStringList{errors.sys, errors.cpu, errors.trapped}.join(QLatin1Char(' ')).trimmed()},
    };
    for (const Figure &figure : figures)
        report.setMetricValue(figure.metricId, figure.value, quillon_report::ErrorIfNotDefined);
}

} // namespace quillon::report
