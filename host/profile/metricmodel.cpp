#include "profile/metricmodel.h"

#include <algorithm>

namespace {

QVector<MetricStatistics> cutOut(const QVector<MetricStatistics> &series, int first, int last)
{
    if (first < 0 || last < first || last >= series.size()) {
        return {};
    }
    const bool whole = first == 0 && last == series.size() - 1;
    const QVector<MetricStatistics> samples = whole ? series : series.mid(first, last - first + 1);
    const bool anyReading = std::any_of(
        samples.begin(), samples.end(), [](const MetricStatistics &sample) { return sample.count > 0; });
    return anyReading ? samples : QVector<MetricStatistics>();
}

void assign(SampleValue *output, const SampleValue &value)
{
    if (output) {
        *output = value;
    }
}

} // namespace

MetricModel::MetricModel(const QVector<MetricStatistics> &series, int first, int last, QObject *parent)
    : QAbstractTableModel(parent)
    , mSamples(cutOut(series, first, last))
    , mWhole(summarise(0, mSamples.size() - 1))
{
}

int MetricModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : mSamples.size();
}

int MetricModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant MetricModel::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= mSamples.size()
        || mSamples[index.row()].count == 0) {
        return QVariant();
    }
    const MetricStatistics &sample = mSamples[index.row()];
    switch (index.column()) {
    case MinimumColumn:
        return sample.minimum;
    case MaximumColumn:
        return sample.maximum;
    case MeanColumn:
        return sample.mean;
    case SumColumn:
        return sample.sum;
    default:
        return QVariant();
    }
}

SampleValue MetricModel::mean() const
{
    return mWhole.mean;
}

SampleValue MetricModel::exactSumMean() const
{
    return mWhole.sumMean;
}

SampleValue MetricModel::overallMax() const
{
    return mWhole.maximum;
}

SampleValue MetricModel::maxOfTheSum() const
{
    return mWhole.sumMaximum;
}

void MetricModel::dataForRange(int first, int last, SampleValue *minimum, SampleValue *maximum,
    SampleValue *mean, SampleValue *sumMean, SampleValue *sumMaximum) const
{
    const Range range = summarise(first, last);
    assign(minimum, range.minimum);
    assign(maximum, range.maximum);
    assign(mean, range.mean);
    assign(sumMean, range.sumMean);
    assign(sumMaximum, range.sumMaximum);
}

MetricModel::Range MetricModel::summarise(int first, int last) const
{
    if (first < 0 || last >= mSamples.size()) {
        return Range();
    }
    StatisticsCollector means;
    StatisticsCollector sums;
    for (int i = first; i <= last; ++i) {
        const MetricStatistics &sample = mSamples[i];
        if (sample.count > 0) {
            means.add(sample.mean, sample.minimum, sample.maximum);
            sums.add(sample.sum);
        }
    }
    const MetricStatistics mean = means.statistics();
    const MetricStatistics sum = sums.statistics();
    if (mean.count == 0) {
        return Range();
    }
    return {SampleValue(mean.minimum), SampleValue(mean.maximum), SampleValue(mean.mean),
        SampleValue(sum.mean), SampleValue(sum.maximum)};
}
