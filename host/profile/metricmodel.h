#ifndef HOST_PROFILE_METRICMODEL_H
#define HOST_PROFILE_METRICMODEL_H

#include "core/export.h"
#include "profile/metricstatistics.h"
#include "profile/samplevalue.h"

#include <QAbstractTableModel>
#include <QVector>

// A metric over a range of samples, one row a sample. Samples without a reading take no part in the
// figures over the run.
class BRIVANE_HOST_EXPORT MetricModel : public QAbstractTableModel {
public:
    enum Column { MinimumColumn, MaximumColumn, MeanColumn, SumColumn, ColumnCount };

    // Takes the samples `first` to `last` of `series`; an invalid range gives a model without data.
    MetricModel(const QVector<MetricStatistics> &series, int first, int last, QObject *parent = nullptr);

    // Samples in the range; 0 if none of them has a reading.
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    // A sample's figure as a number; an invalid variant where nothing was read.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    SampleValue mean() const; // over the samples, of each sample's mean
    SampleValue exactSumMean() const; // over the samples, of each sample's sum
    SampleValue overallMax() const; // greatest reading of any process or node in any sample
    SampleValue maxOfTheSum() const; // greatest sum of a sample

    // The samples `first` to `last`, counted from the model's own first one: the least and the greatest
    // reading, the mean of the samples' means, and the mean and the greatest of their sums. Outputs may be
    // null; those without a reading, and all of an invalid range, become empty.
    void dataForRange(int first, int last, SampleValue *minimum, SampleValue *maximum, SampleValue *mean,
        SampleValue *sumMean = nullptr, SampleValue *sumMaximum = nullptr) const;

private:
    struct Range {
        SampleValue minimum, maximum, mean, sumMean, sumMaximum;
    };
    Range summarise(int first, int last) const;

    QVector<MetricStatistics> mSamples;
    Range mWhole;
};

#endif
