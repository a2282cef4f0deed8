#ifndef QUILLON_REPORT_TRAPPEDCAPACITYADVICE_H
#define QUILLON_REPORT_TRAPPEDCAPACITYADVICE_H

#include <QString>
#include <QStringList>

struct quillon_report;

namespace quillon::report {

class AdviceGenerator;
struct PerformanceData;
class ThreadMetrics;

// Fills all advice of a report on trapped capacity, power that was set aside for a job and not used: what to
// change first in the summary, and in each subsection every sentence that applies. Advice that stood there
// is gone. A subsection that the report lacks is an error of the report, as in its setSubsectionAdvice().
void trappedCapacityAdvice(quillon_report &report, const PerformanceData &perfData);

// Something that might use trapped capacity.
struct SummaryAdvice {
    SummaryAdvice(double value_, const QString &metric_, const QString &section_)
        : value(value_)
        , metric(metric_)
        , section(section_)
    {
    }

    double value; // an estimate of the energy to gain, much like a percentage
    QString metric; // the words for what to look at
    QString section; // the section of the report to read, as a span
};

bool sortSummaryAdviceDescending(const SummaryAdvice &a, const SummaryAdvice &b);

// Adds the rules on threads. The sentences name the metrics of threads outside OpenMP whatever `metrics` is;
// it has to outlive the generator.
void addCommonThreadAdvice(const ThreadMetrics *metrics, AdviceGenerator &generator);

// A list in words: "a", "a and b", "a, b, and c"; the null string for none.
QString listToString(const QStringList &list);

} // namespace quillon::report

#endif
