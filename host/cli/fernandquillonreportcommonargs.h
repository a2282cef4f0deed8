#ifndef HOST_CLI_FERNANDQUILLONREPORTCOMMONARGS_H
#define HOST_CLI_FERNANDQUILLONREPORTCOMMONARGS_H

#include "cli/argparser.h"
#include "cli/rankset.h"

extern BRIVANE_HOST_EXPORT const QString kSelectRanks;
extern BRIVANE_HOST_EXPORT const QString kEnableMetrics;
extern BRIVANE_HOST_EXPORT const QString kDisableMetrics;

// What the two profiling tools ask for in the same words, beside what all tools have: which ranks and which
// metrics. A second base of their parsers.
class BRIVANE_HOST_EXPORT FERNAndQuillonReportCommonArgs {
public:
    // `parser` is the parser that this is a part of. Declares the options in it.
    explicit FERNAndQuillonReportCommonArgs(BaseArgParser &parser);
    virtual ~FERNAndQuillonReportCommonArgs();

    // The ranks to profile; empty: all.
    RankSet getSelectRanks() const { return mSelectRanks; }
    // Ids of metrics that were asked for or refused by name.
    QStringList getEnabledMetrics() const { return mEnabledMetrics; }
    QStringList getDisabledMetrics() const { return mDisabledMetrics; }

    // True, with the parser's error set, if a metric is both asked for and refused.
    virtual bool findContradictions();

protected:
    // Look at the values that the parser has read. A text that isn't a set of ranks, or a list with an empty
    // id, is an error.
    void parseSelectRanks();
    void parseMetrics();

private:
    QStringList metricIds(const QString &option);

    BaseArgParser &mParser;
    RankSet mSelectRanks;
    QStringList mEnabledMetrics;
    QStringList mDisabledMetrics;
};

#endif
