#ifndef QUILLONREPORTMAINGUI_H
#define QUILLONREPORTMAINGUI_H

#include "api/export.h"
#include "api/quillon-report.h"
#include "api/reportdefinition.h"
#include "workflow/fernmaingui.h"

#include <QByteArray>
#include <QMap>
#include <QScopedPointer>
#include <QStringList>

class QuillonReportArgParser;

// The logic of quillon-report. It adds two steps to the host's workflow: before the run it assembles the
// definition of the report and checks it against the metrics that there can be, and when the profile is
// complete it writes the report files.
class QUILLON_REPORT_EXPORT QuillonReportMainGUI : public FERNMainGUI {
    Q_OBJECT

public:
    // `parser` must be a QuillonReportArgParser.
    QuillonReportMainGUI(MainWindow &window, const ArgParser *parser);
    ~QuillonReportMainGUI() override;

    void initWorkflow() override;
    ArgumentApplier *createArgumentApplier(const ArgParser &parser, KELPConfig *config, bool offline,
        bool loading, FrontendApplicationProperties *properties) const override;

    // The step before the run. On failure says why on the standard error stream and sets `*ok` to false; else
    // leaves it alone.
    Q_SLOT void loadAndCheckReportDefinitions(const MetricDefinitions &metricDefinitions, bool *ok);
    // The step after the run. Failures have been said when it returns.
    Q_SLOT void writeQuillonReports();

private:
    void loadReportDefinitions(const MetricDefinitions &metricDefinitions, QString &error);
    QStringList partialReportFiles(const MetricDefinitions &metricDefinitions, QString &error) const;
    bool cpuCounterReportApplies(const MetricDefinitions &metricDefinitions) const;
    void checkReportDefinitions(const MetricDefinitions &metricDefinitions, QString &error) const;
    void addPartialReportsFromPath(QStringList &files, const QString &path) const;
    void removeDuplicatePartialReportFileNames(QStringList &files) const;

    QMap<QString, QuillonReportType> reportFiles(const ProfilerData &data) const;
    bool writeQuillonReports(
        const ProfilerData &data, const QString &type, const QMap<QString, QuillonReportType> &reports);
    bool writeQuillonReport(const QString &filename, const QByteArray &bytes);
    bool writeExtraReport(const ProfilerData &data, const QString &type, const QString &prefix);
    const QuillonReportArgParser &args() const;

    QScopedPointer<quillon::report::ReportDefinition> reportDefinition;
};

#endif
