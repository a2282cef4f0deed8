#include "profile/metrictable.h"

#include "profile/perfevents.h"

#include <algorithm>

using namespace fern::spool;

const QVector<MetricTable::Source> &MetricTable::sources()
{
    // One that could be read and gave nothing is told of like one that nobody looked at.
    static const QVector<Source> table = {
#define FERN_SOURCE(source, how, often, unread, absent, limited, refused)                                    \
    {source, QStringLiteral(how), QStringLiteral(often),                                                     \
        {QStringLiteral(unread), QStringLiteral(unread), QStringLiteral(absent), QStringLiteral(limited),    \
            QStringLiteral(refused)}},
#include "profile/metrics.def"
    };
    return table;
}

const QVector<MetricTable::Row> &MetricTable::rows()
{
    static const QVector<Row> table = {
#define FERN_METRIC(constant, id, name, units, scope, kind, source, figure, description)                     \
    {{QStringLiteral(id), QStringLiteral(name), QStringLiteral(units), Metric::scope, Metric::kind,          \
         QStringLiteral(description)},                                                                       \
        source, figure},
#include "profile/metrics.def"
    };
    return table;
}

const MetricTable::Source &MetricTable::sourceOf(const QString &metric)
{
    const auto row = std::find_if(
        rows().begin(), rows().end(), [&](const Row &each) { return each.metric.id == metric; });
    const SourceId otherwise = PerfEvents::isMetricId(metric) ? SourceSiteEvents : SourceNone;
    const SourceId id = row != rows().end() ? row->source : otherwise;
    return *std::find_if(
        sources().begin(), sources().end(), [id](const Source &source) { return source.id == id; });
}
