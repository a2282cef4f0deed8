// What comes from outside, given to what reads it. Each program has one reader, chosen by
// QUILLON_FUZZ_TARGET; none may crash, hang or write where it must not. libFuzzer finds inputs; without it
// (replay.cpp) kept ones are run again.

#include "api/brivane-report.h"
#include "api/embedresources.h"
#include "api/htmltotext.h"
#include "api/performancemetric.h"
#include "api/replaceplaceholders.h"
#include "api/reportdefinition.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace {

using quillon::report::ReportDefinition;

[[maybe_unused]] void readDefinition(const QByteArray &input)
{
    quillon_report_free(quillon_report_create(input.constData()));
}

[[maybe_unused]] void readHtml(const QByteArray &input)
{
    const QString html = QString::fromUtf8(input);
    quillon::report::validateHtmlSnippet(html, quillon::report::HtmlToTextOptions());
    quillon::report::htmlToText(html, quillon::report::HtmlToTextOptions().wrap(20));
}

[[maybe_unused]] void readMetrics(const QByteArray &input)
{
    quillon::report::PMetricValues values;
    QString error;
    values.fromJson(QString::fromUtf8(input), &error);
}

[[maybe_unused]] void readPlaceholders(const QByteArray &input)
{
    ReportDefinition::MetricDef metric;
    metric.id = QStringLiteral("m");
    ReportDefinition definition;
    definition.setMetricDefinitionList({metric});
    QString error;
    quillon::report::replacePlaceholders(definition, QString::fromUtf8(input), &error);
}

[[maybe_unused]] void readPage(const QByteArray &input)
{
    quillon::report::embedResources(QString::fromUtf8(input), QStringLiteral(":quillon-report/custom/"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QUILLON_FUZZ_TARGET(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    return 0;
}
