#ifndef QUILLON_REPORT_API_REPORTDEFINITION_H
#define QUILLON_REPORT_API_REPORTDEFINITION_H

#include "api/defaultmetricversion.h"
#include "api/export.h"
#include "api/pmetrictype.h"

#include <QColor>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QUrl>

#include <limits>

class QByteArray;
class QXmlStreamReader;

namespace quillon::report {

// The namespace of report definition documents and the target namespace of their schema. A name, never
// fetched.
inline constexpr char ReportXmlNamespace[] = "http://brivane.example/2016/BrivaneReports";

// A report as declared: which metrics it has, which of them the summary shows, and the subsections with
// their rows. Made from one full report document and any number of partial ones, or from a list of metrics;
// read-only from then on. A value: copies are independent of each other.
//
// Wherever an operation takes a `QString *error`, null only silences the text. The text is replaced, never
// appended to, so that the last writer wins; a warning may stand in it although the operation succeeded.
class QUILLON_REPORT_EXPORT ReportDefinition {
public:
    // What an attribute reader does when its attribute is missing or empty.
    enum XmlNecessityType { Mandatory = 0, Optional = 1, OptionalNotEmptyIfExists = 2 };
    // Whether problems found by the schema go to the standard error stream, too.
    enum ValidationErrorMode { SilentValidation = 0, VerboseValidation = 1 };
    enum ReportInputType { FullReport = 0, PartialReport = 1 };
    // Powers of 10 (k, M, G) or of 2 (Ki, Mi, Gi).
    enum UnitPrefixType { PrefixSI = 0, PrefixIEC = 1 };
    // Which figure of one sample a sampled metric stands for...
    enum SampleValueType {
        SampleValueUnset = 0,
        SampleValueMin = 1,
        SampleValueMax = 2,
        SampleValueMean = 3,
        SampleValueSum = 4
    };
    // ... and how the samples of the whole run become one figure.
    enum AggregationType {
        AggregationUnset = 0,
        AggregationMin = 1,
        AggregationMax = 2,
        AggregationMean = 3
    };

    // How ids of the definition become ids in JSON documents and in templates, and which ids are refused.
    struct QUILLON_REPORT_EXPORT Config {
        QString mMetricIdJsonPrefix;
        QString mSummaryJsonPrefix;
        QString mSubsectionJsonPrefix;
        bool mReserveBrivanePrefixedIds = true;

        Config();

        // Whether a document may not declare this id: it starts with "brivane." or "com.brivane.", and such
        // ids are reserved.
        bool isReserved(const QString &id) const;
        // The prefix, a dot and the id; the id alone where the prefix is empty.
        QString metricJsonId(const QString &id) const;
        QString summaryJsonId(const QString &id) const;
        QString subsectionJsonId(const QString &id) const;

        // Ids are JSON ids, and every id is allowed.
        static Config withoutPrefixesOrReservedIds();
    };

    // Where a metric of the source "metric" takes its value from.
    struct SourceDetails {
        QString metricRef;
        SampleValueType sampleValue = SampleValueUnset;
        AggregationType aggregation = AggregationUnset;
    };

    // The declaration of one metric.
    struct QUILLON_REPORT_EXPORT MetricDef {
        using List = QList<MetricDef>;

        QString id;
        QString displayName;
        QString tooltip;
        QString units; // empty for string and boolean metrics
        QColor colour; // invalid: none set
        PMetricType::value_type type = PMetricType::Double;
        DefaultMetricVersion::Enum defaultMetricVersion = DefaultMetricVersion::NonDefaultMetric;
        QString breakdownSubsectionDefId; // the subsection that breaks this metric down
        QString source; // "internal", "metric" or empty
        SourceDetails sourceDetails; // filled for the source "metric" only

        MetricDef &withId(const QString &value);
        MetricDef &withDisplayName(const QString &value);
        MetricDef &withUnits(const QString &value);
        MetricDef &withColour(const QString &value); // a name or code that QColor understands
        MetricDef &withType(PMetricType::value_type value);
        MetricDef &withDefaultMetricVersion(DefaultMetricVersion::Enum value);

        // Metrics of the catalogue keep their id everywhere, a report's own metrics get the prefix.
        QString jsonId(const Config &config) const;
        // Takes over what `other`, a later declaration of the same id, sets. Tooltip, type and catalogue
        // version stay. False, with nothing changed, if the ids differ.
        bool merge(const MetricDef &other);

        // Reads the <reportMetric> at which the stream stands. A metric whose id is in `existingMetricIds`
        // is going to be merged and needs no name.
        bool readXmlReportMetricElement(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error,
            QSet<QString> existingMetricIds);
        bool readXmlSourceDetailsElement(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error);
    };

    // One line of the summary. `requiresMetric`, here and below, is the id of a metric that must hold for the
    // line to be shown, or "!" and the id of one that must not.
    struct QUILLON_REPORT_EXPORT SummaryEntryDef {
        using List = QList<SummaryEntryDef>;

        QString id;
        QString metricDefId;
        QString chartLabel;
        QString descriptionHtml;
        QString requiresMetric;
        int order = 0;

        // The JSON id that the metric has if it is one of the report's own: no definition is asked.
        QString metricJsonId(const Config &config) const;
        // The metric that holds the advice for this entry.
        static QString adviceJsonValue(const Config &config, const QString &id);
        QString adviceJsonValue(const Config &config) const;

        // Reads the <entry> at which the stream stands; `metricIdSet` holds the metrics declared so far.
        bool readXml(
            QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error, QSet<QString> metricIdSet);
    };

    struct SummaryDef {
        QString heading; // markup
        QString footer; // markup
        SummaryEntryDef::List entries;
    };

    // One row of a subsection.
    struct QUILLON_REPORT_EXPORT SubsectionEntryDef {
        using List = QList<SubsectionEntryDef>;

        QString metricDefId; // empty for a spacer
        QString overrideDisplayName; // replaces the metric's name in this row
        QColor overrideColour; // replaces the metric's colour in this row
        QString requiresMetric;
        QString descriptionHtml; // markup under the row
        UnitPrefixType unitPrefix = PrefixSI;
        bool isMachineReadableOnly = false; // not in the reports that people read
        QString group; // rows of one group share the scale of their bars
        int order = 0;
        double maxBarValue = std::numeric_limits<double>::quiet_NaN(); // full scale of the bar; NaN: no limit
        bool isSpacer = false;

        bool hasMaxBarValue() const; // the limit is finite

        // Reads the <entry> or <spacer> at which the stream stands.
        bool readXml(
            QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error, QSet<QString> metricIdSet);
    };

    struct QUILLON_REPORT_EXPORT SubsectionDef {
        using List = QList<SubsectionDef>;

        QString id;
        QString heading;
        QColor colour;
        QString textHtml; // markup above the rows
        QString errorMetric; // a string metric that holds the subsection's error text
        SubsectionEntryDef::List entries;
        QString requiresMetric;
        int order = 0;
        int maxAdviceStrings = 1; // number of advice slots

        // The metric that holds the advice with this number, counted from 1.
        static QString adviceJsonValue(const Config &config, const QString &id, unsigned int number);
        QString adviceJsonValue(const Config &config, unsigned int number) const;
        // Takes over what `other`, a later declaration of the same id, sets, and appends its rows, without a
        // look for duplicates. False, with nothing changed, if the ids differ.
        bool merge(const SubsectionDef &other);

        // Reads the <subsection> at which the stream stands. One whose id is in `existingSubsectionIds` is
        // going to be merged and needs no heading. `report` tells the type of the error metric.
        bool readXml(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error,
            QSet<QString> metricIdSet, QSet<QString> existingSubsectionIds, const ReportDefinition &report);
    };

    // Collects what the schema says about a document; see reportdefinitionmessagehandler.h.
    class MessageHandler;

    // The resource that holds the schema of definitions.
    static const QString DefaultSchemaFilename;

    const Config &config() const { return mConfig; }
    void setConfig(const Config &config) { mConfig = config; }
    const QString &reportName() const { return mReportName; }
    const QUrl &sourceDocumentUrl() const { return mReportDocumentUrl; }
    const QString &reportLogo() const { return mReportLogo; }
    void setReportLogo(const QString &logo) { mReportLogo = logo; }
    const QString &reportLogoLink() const { return mReportLogoLink; }
    void setReportLogoLink(const QString &link) { mReportLogoLink = link; }

    QSet<QString> metricIds() const;
    // A metric with an empty id if there is none of that id.
    MetricDef getMetric(QString id) const;
    // In the order of declaration.
    const MetricDef::List &getMetricDefinitionList() const { return mMetrics; }
    // Entries in their order; equal orders keep that of declaration and merging.
    SummaryDef getSummaryDefinition() const;
    // Subsections, and the rows of each, in their order.
    SubsectionDef::List getSubsectionList() const;
    // Rows as declared; a subsection with an empty id if there is none of that id.
    SubsectionDef getSubsection(QString id) const;

    void setMetricDefinitionList(const MetricDef::List &metrics);
    void setSummaryDefinition(const SummaryDef &summary);
    void setSubsectionList(const SubsectionDef::List &subsections);

    // A place for checks of the whole definition while debugging. Reports nothing; true.
    bool assertSanity() const;

    // Ids are dotted paths, and none may be a prefix path of another, since both couldn't stand in one JSON
    // document. The first metric's id that clashes with `metricId`, or an empty string. With `error` given,
    // empty parts in either id end the search with an error text.
    QString getClashingMetricId(const QString &metricId, QString *error) const;
    // Name and document of the report and of each partial report merged into it, one a line, each line
    // indented by that many blanks.
    QString listDefinitionFiles(int indent) const;

    static bool summaryEntryOrderingLessThan(const SummaryEntryDef &left, const SummaryEntryDef &right);
    static bool subsectionOrderingLessThan(const SubsectionDef &left, const SubsectionDef &right);
    static bool subsectionEntryOrderingLessThan(
        const SubsectionEntryDef &left, const SubsectionEntryDef &right);

    // Whether the document fits the schema. Uniqueness of ids and references between them are left to the
    // reader. All problems found are joined in `*error`, separated by blank lines.
    static bool validate(const QByteArray &xml, const QUrl &documentUrl, QString schemaFilename,
        QString *error, ValidationErrorMode validationErrorMode);

    // A new definition that belongs to the caller, or null. An empty schema file name skips the schema.
    static ReportDefinition *createFromXml(const QByteArray &xml, const QUrl &documentUrl,
        QString schemaFilename, QString *error, ValidationErrorMode validationErrorMode,
        const Config &config);
    static ReportDefinition *createFromXml(const QByteArray &xml, const QUrl &documentUrl, QString *error,
        ValidationErrorMode validationErrorMode, const Config &config);
    static ReportDefinition *createFromFile(const QString &xmlFilename, const QString &schemaFilename,
        QString *error, ValidationErrorMode validationErrorMode, const Config &config);
    static ReportDefinition *createFromFile(const QString &xmlFilename, QString *error,
        ValidationErrorMode validationErrorMode, const Config &config);
    // Neither summary nor subsections, ids used as they are. No checks.
    static ReportDefinition *createFromMetrics(
        const MetricDef::List &metrics, const QString &reportName, const QUrl &documentUrl);

    // Merge a partial report into this one. After a failure what was merged before it stays merged.
    bool appendPartialReportFromXml(const QByteArray &xml, const QUrl &documentUrl,
        const QString &schemaFilename, QString *error, ValidationErrorMode validationErrorMode);
    bool appendPartialReportFromXml(const QByteArray &xml, const QUrl &documentUrl, QString *error,
        ValidationErrorMode validationErrorMode);
    bool appendPartialReportFromFile(const QString &xmlFilename, const QString &schemaFilename,
        QString *error, ValidationErrorMode validationErrorMode);
    bool appendPartialReportFromFile(
        const QString &xmlFilename, QString *error, ValidationErrorMode validationErrorMode);

    // Text that says in which document, line and column the stream stands.
    static void writeError(
        QString *error, const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, const QString &message);
    static void writeWarning(
        QString *error, const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, const QString &message);

    // One reader per element. Each stops at the first failure and leaves the definition as it then stands.
    bool readXml(
        QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, ReportInputType inputType, QString *error);
    bool readXmlReportMetricsElement(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error);
    bool readXmlSummaryElement(
        QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, ReportInputType inputType, QString *error);
    bool readXmlSubsectionsElement(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error);

    // One reader per kind of attribute, for the element at which the stream stands. `out` gets the kind's
    // empty value where an attribute that isn't mandatory is missing. A mandatory attribute that is there
    // and empty fails without a message.
    static bool readStringAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString &out, QString *error);
    static bool readIntAttribute(const QString &name, XmlNecessityType necessity, const QXmlStreamReader &xml,
        const QUrl &xmlDocumentUrl, int &out, QString *error);
    static bool readDoubleAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, double &out, QString *error);
    static bool readMetricTypeAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, PMetricType::value_type &out,
        QString &typeString, QString *error);
    static bool readMetricVersionAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, DefaultMetricVersion::Enum &out,
        QString *error);
    static bool readUnitPrefixAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, UnitPrefixType &out, QString *error);
    static bool readSampleValueAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, SampleValueType &out, QString *error);
    static bool readAggregationAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, AggregationType &out, QString *error);
    // A condition on a metric of `metricIdSet` or of those that every report has.
    static bool readRequiresAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString &out, QSet<QString> metricIdSet,
        QString *error);
    // A name or hex code, or rgb(R,G,B) with 0-255, hsl(H,S,L) or hsv(H,S,V) with 0-359, 0-100 and 0-100.
    // Not to be called from two threads at once.
    static bool readColourAttribute(const QString &name, XmlNecessityType necessity,
        const QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QColor &out, QString *error);
    static bool readBoolAttribute(const QString &name, bool defaultValue, const QXmlStreamReader &xml,
        const QUrl &xmlDocumentUrl, bool &out, QString *error);

private:
    bool readXmlFullReport(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error);
    bool readXmlPartialReport(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error);
    // Take in what a reader read, as far as what is there already lets them.
    bool addMetric(
        const MetricDef &metric, QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error);
    bool addSummaryEntry(const SummaryEntryDef &entry, const QSet<QString> &metricIdSet,
        const QSet<QString> &idSetFromBeforeThisXmlStream, QXmlStreamReader &xml, const QUrl &xmlDocumentUrl,
        QString *error);
    bool addSubsection(const SubsectionDef &subsection, bool overwrite,
        const QSet<QString> &idSetFromBeforeThisXmlStream, QXmlStreamReader &xml, const QUrl &xmlDocumentUrl,
        QString *error);
    bool checkBreakdownSubsections(QXmlStreamReader &xml, const QUrl &xmlDocumentUrl, QString *error) const;
    // The message filled with the id, followed by the documents merged so far.
    QString mergeMessage(const QString &message, const QString &id) const;

    Config mConfig;
    QString mReportName;
    QString mReportLogo;
    QString mReportLogoLink;
    QUrl mReportDocumentUrl;
    MetricDef::List mMetrics;
    SummaryDef mSummary;
    SubsectionDef::List mSubsections;
    QMap<QString, QUrl> mPartialReportContributions;
};

} // namespace quillon::report

#endif
