#include "profile/profilerdata.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace {

// What -1 and -1 stand for, and whether the rest is a range of `size` samples.
bool resolveRange(int size, int *first, int *last)
{
    if (*first == -1 && *last == -1) {
        *first = 0;
        *last = size - 1;
    }
    return *first >= 0 && *first <= *last && *last < size;
}

bool writeAll(QFileDevice &file, const QByteArray &bytes)
{
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

} // namespace

ProfilerData::ProfilerData() = default;
ProfilerData::ProfilerData(const ProfilerData &other) = default;
ProfilerData &ProfilerData::operator=(const ProfilerData &other) = default;
ProfilerData::~ProfilerData() = default;

bool ProfilerData::setSamples(const QVector<HitCounts> &hits, const QVector<int> &times)
{
    const int expectedTimes = hits.isEmpty() ? 0 : hits.size() + 1;
    if (hits.size() > MaxSamples || times.size() != expectedTimes
        || !std::is_sorted(times.begin(), times.end()) || times.value(0) != 0) {
        return false;
    }
    mTimes = times;
    mHitsBefore.clear();
    if (hits.isEmpty()) {
        return true;
    }
    mHitsBefore.reserve(hits.size() + 1);
    HitCounts before;
    mHitsBefore.append(before);
    for (const HitCounts &sample : hits) {
        before += sample;
        mHitsBefore.append(before);
    }
    return true;
}

void ProfilerData::setMetric(const MetricRecord &record)
{
    mMetrics.insert(record.definition.id, record);
    mDefinitions.add(record.definition);
}

void ProfilerData::addMetricError(const QString &id, const QString &error)
{
    MetricRecord record = mMetrics.value(id);
    if (!mMetrics.contains(id)) {
        record.definition = MetricDefinitions::describe(id);
    }
    record.errors.append(error);
    setMetric(record);
}

HitCounts ProfilerData::hitsOfSample(int sample) const
{
    if (sample < 0 || sample >= numSamples()) {
        return HitCounts();
    }
    HitCounts hits = mHitsBefore[sample + 1];
    hits -= mHitsBefore[sample];
    return hits;
}

int ProfilerData::numSamples() const
{
    return mHitsBefore.isEmpty() ? 0 : mHitsBefore.size() - 1;
}

int ProfilerData::timeAt(int sample) const
{
    return mTimes.value(sample);
}

unsigned int ProfilerData::getSampledRuntimeMs() const
{
    return static_cast<unsigned int>(timeAt(numSamples()));
}

MultiSamplePSVModelRootItem *ProfilerData::mergedPSVModelWithoutSourceInfo(
    DataScope::Enum scope, int first, int last) const
{
    Q_UNUSED(scope)
    if (!resolveRange(numSamples(), &first, &last)) {
        return nullptr;
    }
    HitCounts hits = mHitsBefore[last + 1];
    hits -= mHitsBefore[first];
    return new MultiSamplePSVModelRootItem(hits);
}

bool ProfilerData::hasMetric(const QString &id) const
{
    return mMetrics.contains(id);
}

bool ProfilerData::hasMetricNoErrors(const QString &id) const
{
    const MetricRecord *record = find(id);
    return record && record->errors.isEmpty();
}

QString ProfilerData::getFirstMetricError(const QString &id) const
{
    const MetricRecord *record = find(id);
    return record ? record->errors.value(0) : QString();
}

MetricModel *ProfilerData::metricModel(const QString &id, QObject *parent, int first, int last) const
{
    const MetricRecord *record = find(id);
    if (!record || !resolveRange(record->series.size(), &first, &last)) {
        return nullptr;
    }
    return new MetricModel(record->series, first, last, parent);
}

ScalarMetric ProfilerData::getMetricOrEmpty(const QString &id) const
{
    const MetricRecord *record = find(id);
    return record ? ScalarMetric(record->wholeRun) : ScalarMetric();
}

ScalarMetric ProfilerData::metric(const QString &id) const
{
    return ProfilerData::getMetricOrEmpty(id);
}

ScalarMetric ProfilerData::getMetricAt(const QString &id, int sample) const
{
    const MetricRecord *record = find(id);
    if (!record || sample < 0 || sample >= numSamples()) {
        return ScalarMetric();
    }
    if (record->series.isEmpty() && record->definition.kind == Metric::Static) {
        return ScalarMetric(record->wholeRun);
    }
    return ScalarMetric(record->series.value(sample));
}

double ProfilerData::averageActiveCoresPerProcess() const
{
    return ProfilerData::getMetricOrEmpty(METRIC_ACTIVE_CORES).mean().to_double();
}

double ProfilerData::maxAvgActiveCoresPerProc() const
{
    SampleValue highest;
    const MetricRecord *record = find(METRIC_ACTIVE_CORES);
    const QVector<MetricStatistics> series = record ? record->series : QVector<MetricStatistics>();
    for (const MetricStatistics &sample : series) {
        if (sample.count > 0 && (highest.empty() || sample.mean > highest.to_double())) {
            highest = SampleValue(sample.mean);
        }
    }
    return highest.to_double();
}

bool ProfilerData::writeViaPortal(const QString &filename, const QByteArray &bytes)
{
    const QFileInfo info(filename);
    if (info.exists() && !info.isFile()) {
        QFile device(filename); // or a folder, which can't be opened
        return writeAll(device, bytes);
    }
    QSaveFile file(filename);
    return writeAll(file, bytes) && file.commit();
}

const MetricRecord *ProfilerData::find(const QString &id) const
{
    const auto found = mMetrics.constFind(id);
    return found == mMetrics.constEnd() ? nullptr : &*found;
}
