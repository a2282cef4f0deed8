#ifndef TESTS_UNIT_TEMPLATEDATA_TEMPLATEDATATEST_H
#define TESTS_UNIT_TEMPLATEDATA_TEMPLATEDATATEST_H

#include "api/jsongeneration.h"
#include "api/replaceplaceholders.h"
#include "api/reportdefinition.h"
#include "qtprinters.h"

#include <QLoggingCategory>
#include <QStringList>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace templatedatatest {

using quillon::report::ReportDefinition;
using MetricDef = ReportDefinition::MetricDef;
using SummaryDef = ReportDefinition::SummaryDef;
using SummaryEntryDef = ReportDefinition::SummaryEntryDef;
using SubsectionDef = ReportDefinition::SubsectionDef;
using SubsectionEntryDef = ReportDefinition::SubsectionEntryDef;

// A text without meaning, to see whether somebody touches it.
const QString OldError = QStringLiteral("an old error");

inline MetricDef metric(const QString &id, const QString &displayName = QString())
{
    return MetricDef().withId(id).withDisplayName(displayName);
}

// A metric of the catalogue: its id is its JSON id.
inline MetricDef defaultMetric(const QString &id)
{
    return metric(id).withDefaultMetricVersion(quillon::report::DefaultMetricVersion::DefaultMetrics7_1);
}

inline SummaryEntryDef summaryEntry(const QString &metricId)
{
    SummaryEntryDef entry;
    entry.id = QStringLiteral("entry-") + metricId;
    entry.metricDefId = metricId;
    return entry;
}

inline SubsectionEntryDef row(const QString &metricId)
{
    SubsectionEntryDef entry;
    entry.metricDefId = metricId;
    return entry;
}

inline SubsectionEntryDef spacer()
{
    SubsectionEntryDef entry;
    entry.isSpacer = true;
    return entry;
}

inline SubsectionDef subsection(const QString &id, const SubsectionEntryDef::List &entries)
{
    SubsectionDef def;
    def.id = id;
    def.entries = entries;
    return def;
}

inline ReportDefinition definition(const MetricDef::List &metrics, const SummaryDef &summary = SummaryDef(),
    const SubsectionDef::List &subsections = SubsectionDef::List())
{
    ReportDefinition result;
    result.setMetricDefinitionList(metrics);
    result.setSummaryDefinition(summary);
    result.setSubsectionList(subsections);
    return result;
}

// What replacePlaceholders says of this text alone.
inline QString placeholderError(const ReportDefinition &report, const QString &text)
{
    QString error;
    quillon::report::replacePlaceholders(report, text, &error);
    return error;
}

// Collects what goes to Qt's message handler while it lives, debug lines included.
class LogCatcher {
public:
    LogCatcher()
    {
        lines().clear();
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=true"));
        mFormer = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            lines().append(
                (type == QtDebugMsg ? QStringLiteral("debug: ") : QStringLiteral("warning: ")) + text);
        });
    }
    ~LogCatcher()
    {
        qInstallMessageHandler(mFormer);
        QLoggingCategory::setFilterRules(QString());
    }
    LogCatcher(const LogCatcher &) = delete;
    LogCatcher &operator=(const LogCatcher &) = delete;

    static QStringList &lines()
    {
        static QStringList caught;
        return caught;
    }

private:
    QtMessageHandler mFormer;
};

} // namespace templatedatatest

#endif
