#ifndef QUILLONREPORTARGPARSER_H
#define QUILLONREPORTARGPARSER_H

#include "api/export.h"
#include "cli/argparser.h"
#include "cli/fernandquillonreportcommonargs.h"

// Names of options, without hyphens.
extern QUILLON_REPORT_EXPORT const QString kDcimOutput;
extern QUILLON_REPORT_EXPORT const QString kType;

// The command line of quillon-report.
class QUILLON_REPORT_EXPORT QuillonReportArgParser : public ArgParser, public FERNAndQuillonReportCommonArgs {
    Q_OBJECT

public:
    // Builds the table of options; parseAll() reads the command line `args`, which doesn't hold the
    // program's name.
    QuillonReportArgParser(const QStringList &args, Platform::Enum platform);

    bool isInteractive() const override;

    // Whether the metrics also go to a monitoring connector.
    bool isDcimOutput() const { return boolArg(kDcimOutput); }
    // The type of report: "default", "trapped" or "perfcpumetrics".
    QString type() const { return mType; }
    bool isTypeExplicit() const { return mTypeExplicitlySet; }

    void parseOnly() override;
    // Takes the type of report from the options; a wrong or repeated one is an error and changes nothing.
    void parseType();

    // True, with the error set, if the command line contradicts itself or names nothing to report on.
    bool findContradictions() override;

private:
    bool complainOfBoth(const QString &option, const QString &other);

    QString mType = QStringLiteral("default");
    bool mTypeExplicitlySet = false;
};

#endif
