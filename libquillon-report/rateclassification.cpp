#include "rateclassification.h"

#include "api/defaultmetrics.h"

#include <QObject>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

using quillon::report::DefaultMetrics;

namespace {

// In every scale the first row that holds applies, and the last one holds whatever the value is.
constexpr double rest = std::numeric_limits<double>::quiet_NaN();

struct ShareClass {
    double above; // percent
    const char *word;
    const char *hint;
};

constexpr const char *cpuHint = QT_TRANSLATE_NOOP("QObject", "check the %1 for advice");
constexpr const char *mpiHint
    = QT_TRANSLATE_NOOP("QObject", "check the MPI breakdown for advice on reducing it");
constexpr const char *scaleHint
    = QT_TRANSLATE_NOOP("QObject", "this code may benefit from a higher process count");
constexpr const char *ioHint
    = QT_TRANSLATE_NOOP("QObject", "check the I/O breakdown section for optimization advice");

constexpr ShareClass cpuScale[] = {
    {90, QT_TRANSLATE_NOOP("QObject", "very high"), cpuHint},
    {70, QT_TRANSLATE_NOOP("QObject", "high"), cpuHint},
    {50, QT_TRANSLATE_NOOP("QObject", "average"), cpuHint},
    {30, QT_TRANSLATE_NOOP("QObject", "low"),
        QT_TRANSLATE_NOOP("QObject", "consider improving MPI or I/O performance first")},
    {rest, QT_TRANSLATE_NOOP("QObject", "very low"),
        QT_TRANSLATE_NOOP("QObject", "focus on improving MPI or I/O performance first")},
};

constexpr ShareClass mpiScale[] = {
    {70, QT_TRANSLATE_NOOP("QObject", "very high"), mpiHint},
    {50, QT_TRANSLATE_NOOP("QObject", "high"), mpiHint},
    {30, QT_TRANSLATE_NOOP("QObject", "average"), mpiHint},
    {15, QT_TRANSLATE_NOOP("QObject", "low"), scaleHint},
    {rest, QT_TRANSLATE_NOOP("QObject", "very low"), scaleHint},
};

constexpr ShareClass ioScale[] = {
    {50, QT_TRANSLATE_NOOP("QObject", "very high"), ioHint},
    {30, QT_TRANSLATE_NOOP("QObject", "high"), ioHint},
    {15, QT_TRANSLATE_NOOP("QObject", "average"), ioHint},
    {5, QT_TRANSLATE_NOOP("QObject", "low"), ioHint},
    {0, QT_TRANSLATE_NOOP("QObject", "very low"),
        QT_TRANSLATE_NOOP("QObject", "however single-process I/O may cause MPI wait times")},
    {rest, QT_TRANSLATE_NOOP("QObject", "negligible"),
        QT_TRANSLATE_NOOP("QObject", "there's no need to investigate I/O performance")},
};

struct MemoryClass {
    double below; // percent
    const char *word;
};

constexpr MemoryClass memoryScale[] = {
    {30, QT_TRANSLATE_NOOP("QObject", "very low")},
    {50, QT_TRANSLATE_NOOP("QObject", "low")},
    {70, QT_TRANSLATE_NOOP("QObject", "modest")},
    {rest, QT_TRANSLATE_NOOP("QObject", "high")},
};

struct RateClass {
    double above; // bytes per second
    RateClassification rateClass;
};

constexpr RateClass rateScale[] = {
    {1e10, RATE_VERY_HIGH},
    {1e9, RATE_HIGH},
    {1e8, RATE_AVERAGE},
    {1e7, RATE_LOW},
    {rest, RATE_VERY_LOW},
};

struct RateWord {
    const char *plain;
    const char *indefinite;
};

// By class; the last row is for a value that is none.
constexpr RateWord rateWords[] = {
    {QT_TRANSLATE_NOOP("QObject", "very low"), QT_TRANSLATE_NOOP("QObject", "a very low")},
    {QT_TRANSLATE_NOOP("QObject", "low"), QT_TRANSLATE_NOOP("QObject", "a low")},
    {QT_TRANSLATE_NOOP("QObject", "average"), QT_TRANSLATE_NOOP("QObject", "an average")},
    {QT_TRANSLATE_NOOP("QObject", "high"), QT_TRANSLATE_NOOP("QObject", "a high")},
    {QT_TRANSLATE_NOOP("QObject", "very high"), QT_TRANSLATE_NOOP("QObject", "a very high")},
    {QT_TRANSLATE_NOOP("QObject", "surprising"), QT_TRANSLATE_NOOP("QObject", "a surprising")},
};

struct ScalingAdvice {
    double atMost; // percent of time in MPI
    const char *sentence;
};

constexpr ScalingAdvice scalingAdvice[] = {
    {15,
        QT_TRANSLATE_NOOP("QObject",
            "As very little time is spent in <span class=\"%1\">MPI</span> calls, this code may also benefit "
            "from running at larger scales.")},
    {30,
        QT_TRANSLATE_NOOP("QObject",
            "As little time is spent in <span class=\"%1\">MPI</span> calls, this code may also benefit from "
            "running at larger scales.")},
};

template <typename Row, std::size_t size, typename Condition>
const Row &firstThatHolds(const Row (&scale)[size], Condition holds)
{
    return *std::find_if(std::begin(scale), std::end(scale) - 1, holds);
}

template <typename Row, std::size_t size> const Row &classAbove(const Row (&scale)[size], double value)
{
    return firstThatHolds(scale, [=](const Row &row) { return value > row.above; });
}

QPair<QString, QString> wordAndHint(const ShareClass &row)
{
    return {QObject::tr(row.word), QObject::tr(row.hint)};
}

} // namespace

double fround(double value)
{
    constexpr double scale = 1e9;
    return std::round(value * scale) / scale;
}

QPair<QString, QString> classifyCpu(double percent, bool accelerator)
{
    const ShareClass &row = classAbove(cpuScale, percent);
    QPair<QString, QString> result = wordAndHint(row);
    if (row.hint == cpuHint) {
        result.second = result.second.arg(accelerator ? QObject::tr("CPU and accelerators sections")
                                                      : QObject::tr("CPU performance section"));
    }
    return result;
}

QPair<QString, QString> classifyMpi(double percent)
{
    return wordAndHint(classAbove(mpiScale, percent));
}

QPair<QString, QString> classifyIo(double percent)
{
    return wordAndHint(classAbove(ioScale, percent));
}

QString overviewAdvice(double, double mpi, double)
{
    for (const ScalingAdvice &row : scalingAdvice) {
        if (mpi <= row.atMost) {
            return QObject::tr(row.sentence).arg(QString(DefaultMetrics::SubsectionMpi));
        }
    }
    return {};
}

QString classifyMemory(double peak)
{
    return QObject::tr(
        firstThatHolds(memoryScale, [=](const MemoryClass &row) { return peak < row.below; }).word);
}

RateClassification classifyTransferRate(double rate)
{
    return classAbove(rateScale, rate).rateClass;
}

QString stringFromClassification(RateClassification c, bool indefinite)
{
    const bool known = c >= RATE_VERY_LOW && c <= RATE_VERY_HIGH;
    const RateWord &row = rateWords[known ? c : RATE_VERY_HIGH + 1];
    return QObject::tr(indefinite ? row.indefinite : row.plain);
}
