// Metrics of a definition that are bound to metrics of the sampler.

#include "filledreport.h"

using namespace quillon::report;
using testing::IsNan;

namespace {

class BoundMetric : public AnalysisTest { };
class BoundMetricWarning : public AnalysisTest { };

using Aggregation = ReportDefinition::AggregationType;
using Sample = ReportDefinition::SampleValueType;

const QString sampled = QStringLiteral("sampled");
const QString own = QStringLiteral("own");

ReportDefinition definitionWith(
    const QString &id, const QString &ref, Sample sampleValue, Aggregation aggregation)
{
    ReportDefinition definition = bareDefinition();
    ReportDefinition::MetricDef::List metrics = definition.getMetricDefinitionList();
    ReportDefinition::MetricDef metric;
    metric.id = id;
    metric.source = QStringLiteral("metric");
    metric.sourceDetails.metricRef = ref;
    metric.sourceDetails.sampleValue = sampleValue;
    metric.sourceDetails.aggregation = aggregation;
    metrics.append(metric);
    definition.setMetricDefinitionList(metrics);
    return definition;
}

// The readings of two processes in each of three samples.
ProfileBuilder job()
{
    return ProfileBuilder(3, 100)
        .main(Category::COMPUTE, 1)
        .readingsBySample(sampled, {{10, 20}, {3, 5}, {40, 60}});
}

double value(const ProfileBuilder &builder, Sample sampleValue, Aggregation aggregation)
{
    const auto report = filledReport(builder, definitionWith(own, sampled, sampleValue, aggregation));
    EXPECT_FALSE(report->hasErrorMessage());
    EXPECT_FALSE(report->hasWarningMessage()) << report->getWarningMessage().toStdString();
    return number(*report, own);
}

// The mean of these samples, aggregated.
double ofSamples(const QVector<double> &samples, Aggregation aggregation)
{
    return value(ProfileBuilder(samples.size(), 100).main(Category::COMPUTE, 1).series(sampled, samples),
        ReportDefinition::SampleValueMean, aggregation);
}

TEST_F(BoundMetric, TakesEachKindOfFigureFromTheSamples)
{
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueMin, ReportDefinition::AggregationMax), 40.0);
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueMax, ReportDefinition::AggregationMax), 60.0);
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueMean, ReportDefinition::AggregationMax), 50.0);
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueSum, ReportDefinition::AggregationMax), 100.0);
    EXPECT_THAT(value(job(), ReportDefinition::SampleValueUnset, ReportDefinition::AggregationMax), IsNan());
}

TEST_F(BoundMetric, AggregatesOverTheSamples)
{
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueMean, ReportDefinition::AggregationMin), 4.0);
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueMean, ReportDefinition::AggregationMax), 50.0);
    EXPECT_EQ(value(job(), ReportDefinition::SampleValueMean, ReportDefinition::AggregationMean), 23.0);
}

TEST_F(BoundMetric, WithoutAggregationIsUnknownWithoutAWarning)
{
    EXPECT_THAT(value(job(), ReportDefinition::SampleValueMean, ReportDefinition::AggregationUnset), IsNan());
}

TEST_F(BoundMetric, HasAnUnknownMeanIfAnySampleIsUnknown)
{
    EXPECT_THAT(ofSamples({1, NotAvailable, 3}, ReportDefinition::AggregationMean), IsNan());
}

TEST_F(BoundMetric, PassesOverUnknownSamplesInAMaximumUnlessTheyComeFirst)
{
    EXPECT_EQ(ofSamples({1, NotAvailable, 3}, ReportDefinition::AggregationMax), 3.0);
    EXPECT_EQ(ofSamples({3, NotAvailable}, ReportDefinition::AggregationMax), 3.0);
    EXPECT_THAT(ofSamples({NotAvailable, 3, 5}, ReportDefinition::AggregationMax), IsNan());
}

TEST_F(BoundMetric, LetsAnUnknownSampleStandInAMinimumOnlyIfItComesLast)
{
    EXPECT_EQ(ofSamples({1, NotAvailable, 3}, ReportDefinition::AggregationMin), 3.0);
    EXPECT_EQ(ofSamples({NotAvailable, 3}, ReportDefinition::AggregationMin), 3.0);
    EXPECT_THAT(ofSamples({1, 3, NotAvailable}, ReportDefinition::AggregationMin), IsNan());
}

// A profile whose merged model doesn't come from samples.
class ProfileWithoutSamples : public ProfilerData {
public:
    MultiSamplePSVModelRootItem *mergedPSVModelWithoutSourceInfo(DataScope::Enum, int, int) const override
    {
        return new MultiSamplePSVModelRootItem(HitCounts());
    }
};

TEST_F(BoundMetric, WithoutAnySampleHasAnUnknownMean)
{
    ProfileWithoutSamples profile;
    ProfileBuilder(0).wholeRun(sampled, {1}).fill(profile);
    for (const Aggregation aggregation : {ReportDefinition::AggregationMean, ReportDefinition::AggregationMin,
             ReportDefinition::AggregationMax}) {
        const std::unique_ptr<quillon_report> report(convertToReport(profile,
            definitionWith(own, sampled, ReportDefinition::SampleValueMean, aggregation),
            DefaultMetrics::templateName(), nullptr));
        EXPECT_THAT(number(*report, own), IsNan());
    }
}

TEST_F(BoundMetric, IsOnlyOneThatSaysSo)
{
    ReportDefinition definition
        = definitionWith(own, sampled, ReportDefinition::SampleValueMean, ReportDefinition::AggregationMax);
    ReportDefinition::MetricDef::List metrics = definition.getMetricDefinitionList();
    metrics.last().source = QStringLiteral("internal");
    definition.setMetricDefinitionList(metrics);
    EXPECT_FALSE(filledReport(job(), definition)->getMetricValue(own).isValid());
}

TEST_F(BoundMetric, MustBeANumberOfTheReport)
{
    ReportDefinition definition
        = definitionWith(own, sampled, ReportDefinition::SampleValueMean, ReportDefinition::AggregationMax);
    definition.setConfig(ReportDefinition::Config()); // the report knows it by a longer id
    EXPECT_STREQ(filledReport(job(), definition)->getErrorMessage(), "unknown metric: \"own\"");
}

// The warning for a metric with this error; its value has to be unknown.
QString warning(const QString &error, const QString &id = own, const QString &ref = sampled)
{
    const auto report = filledReport(job().series(ref, {1}).error(ref, error),
        definitionWith(id, ref, ReportDefinition::SampleValueMean, ReportDefinition::AggregationMax));
    EXPECT_THAT(number(*report, id), IsNan());
    EXPECT_FALSE(report->hasErrorMessage());
    return report->getWarningMessage();
}

TEST_F(BoundMetricWarning, SaysThatAMetricWasNotCollected)
{
    const auto report = filledReport(job(),
        definitionWith(own, QStringLiteral("other"), ReportDefinition::SampleValueMean,
            ReportDefinition::AggregationMax));
    EXPECT_THAT(number(*report, own), IsNan());
    EXPECT_EQ(report->getWarningMessage(),
        "\nMetric other (referenced by report metric own) was not collected when .fern file was "
        "generated.\n");
}

TEST_F(BoundMetricWarning, IsMildForAMetricThatSomebodySwitchedOff)
{
    EXPECT_EQ(warning("GPU counters: Disabled by the configuration."),
        "\nMetric sampled (referenced by report metric own) has a warning: "
        "GPU counters: Disabled by the configuration.\n");
    EXPECT_EQ(warning("Disabled by the user. See --help."),
        "\nMetric sampled (referenced by report metric own) has a warning: Disabled by the user. See "
        "--help.\n");
}

TEST_F(BoundMetricWarning, TellsTheErrorOfAMetric)
{
    EXPECT_EQ(warning("Only %1 of %2 ranks."),
        "\nMetric sampled (referenced by report metric own) has an error: Only %1 of %2 ranks.\n");
}

TEST_F(BoundMetricWarning, LeavesOutHardwareCountersThatThePlatformLacks)
{
    const QString counter = QStringLiteral("com.brivane.metrics.perf.instructions");
    EXPECT_EQ(warning("The counter is not supported on this platform.", own, counter),
        "\nMetric com.brivane.metrics.perf.instructions (referenced by report metric own) is not included "
        "because "
        "underlying performance counter is not supported on this platform.\n");
    EXPECT_EQ(warning("Too many counters.", own, counter),
        "\nMetric com.brivane.metrics.perf.instructions (referenced by report metric own) has an error: "
        "Too many counters.\n");
    EXPECT_EQ(warning("Sampling is not supported on this platform."),
        "\nMetric sampled (referenced by report metric own) has an error: "
        "Sampling is not supported on this platform.\n");
}

TEST_F(BoundMetricWarning, IsNotGivenForACounterOutsideTheEnabledSet)
{
    const QString papi = QStringLiteral("com.brivane.metrics.papi.cycles");
    const QString begin
        = QStringLiteral("Disabled by PAPI.config\nThis metric is not in the currently enabled metric set");
    const QString end = QStringLiteral("Edit PAPI.config to enable a different set of metrics.");
    const QString error = begin + QStringLiteral(" (L1). ") + end;
    EXPECT_EQ(warning(error, papi, papi), QString());

    // Each condition counts.
    EXPECT_THAT(warning(error, own, papi).toStdString(), testing::HasSubstr("has an error"));
    EXPECT_THAT(warning(error, papi, sampled).toStdString(), testing::HasSubstr("has an error"));
    EXPECT_THAT(warning(begin, papi, papi).toStdString(), testing::HasSubstr("has an error"));
    EXPECT_THAT(warning(end, papi, papi).toStdString(), testing::HasSubstr("has an error"));
}

} // namespace
