#ifndef HOST_PROFILE_METRICTABLE_H
#define HOST_PROFILE_METRICTABLE_H

#include "core/export.h"
#include "profile/metricdefinitions.h"
#include "sampler/core/spoolformat.h"

#include <QString>
#include <QVector>

// The table of profile/metrics.def as data.
namespace MetricTable {

constexpr int NoFigure = -1;

struct Source {
    fern::spool::SourceId id;
    QString how; // what is read
    QString often;
    // What to tell a user whom it gave nothing, in English, by fern::spool::SourceState; empty where that
    // doesn't happen.
    QString whyNot[fern::spool::SourceStateCount];
};

struct Row {
    Metric metric;
    fern::spool::SourceId source;
    int figure; // fern::spool::FigureId, or NoFigure
};

BRIVANE_HOST_EXPORT const QVector<Source> &sources();
BRIVANE_HOST_EXPORT const QVector<Row> &rows();

// The source of a metric, one of a site's own events included; SourceNone for an id that nobody knows.
BRIVANE_HOST_EXPORT const Source &sourceOf(const QString &metric);

} // namespace MetricTable

#endif
