#ifndef TESTS_UNIT_ADVICE_INSTALLEDREPORT_H
#define TESTS_UNIT_ADVICE_INSTALLEDREPORT_H

#include "filledreport.h"

#include <QRegularExpression>

// The installed definition of a type of report, which the default one alone is for the type "default"; and
// one more partial report behind it if there is one.
inline quillon::report::ReportDefinition installedDefinition(
    const QString &type, const QString &partialReport = QString())
{
    using quillon::report::ReportDefinition;
    const QString folder = QStringLiteral(REPORT_TEMPLATES_DIR "/");
    QString error;
    const std::unique_ptr<ReportDefinition> definition(
        ReportDefinition::createFromFile(folder + QStringLiteral("report-default.xml"), &error,
            ReportDefinition::SilentValidation, ReportDefinition::Config::withoutPrefixesOrReservedIds()));
    EXPECT_EQ(error, "");
    const auto append = [&](const QString &file) {
        EXPECT_TRUE(
            definition->appendPartialReportFromFile(file, &error, ReportDefinition::SilentValidation));
        EXPECT_EQ(error, "");
    };
    if (type == QLatin1String("trapped") || type == QLatin1String("perfcpumetrics"))
        append(folder + QStringLiteral("report-%1.xml").arg(type));
    if (!partialReport.isEmpty())
        append(partialReport);
    return *definition;
}

// What a reader sees of a sentence: without the spans.
inline QString read(const QString &sentence)
{
    return QString(sentence).remove(QRegularExpression(QStringLiteral("<[^>]*>")));
}

// All sentences under a subsection as a reader sees them, an empty text for a slot without one.
inline QStringList allAdvice(const quillon_report &report, const QString &subsectionId)
{
    QStringList result;
    const int slotCount = report.definition().getSubsection(subsectionId).maxAdviceStrings;
    for (int number = 1; number <= slotCount; ++number)
        result.append(read(text(report, QStringLiteral("%1.advice%2").arg(subsectionId).arg(number))));
    return result;
}

#endif
