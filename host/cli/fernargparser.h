#ifndef HOST_CLI_FERNARGPARSER_H
#define HOST_CLI_FERNARGPARSER_H

#include "cli/argparser.h"
#include "cli/fernandquillonreportcommonargs.h"

// The command line of fern.
class FernArgParser : public ArgParser, public FERNAndQuillonReportCommonArgs {
    Q_OBJECT

public:
    FernArgParser(const QStringList &args, Platform::Enum platform);

    bool isInteractive() const override;
    void parseOnly() override;
    // True, with the error set, if the command line contradicts itself or names nothing to run.
    bool findContradictions() override;
};

#endif
