#include "cli/fernandquillonreportcommonargs.h"

const QString kSelectRanks = QStringLiteral("select-ranks");
const QString kEnableMetrics = QStringLiteral("enable-metrics");
const QString kDisableMetrics = QStringLiteral("disable-metrics");

FERNAndQuillonReportCommonArgs::FERNAndQuillonReportCommonArgs(BaseArgParser &parser)
    : mParser(parser)
{
    mParser.arg(true, kSelectRanks, {}, QStringLiteral("RANKS"),
        BaseArgParser::tr("profile the MPI ranks RANKS only, numbers and ranges such as 0,4-7"));
    mParser.arg(true, kDisableMetrics, {}, QStringLiteral("METRICS"),
        BaseArgParser::tr("leave these metrics out, ids with commas between; see --list-metrics"));
    mParser.arg(true, kEnableMetrics, {}, QStringLiteral("METRICS"),
        BaseArgParser::tr("record these metrics although the configuration file leaves them out"));
    mParser.endGroup();
}

FERNAndQuillonReportCommonArgs::~FERNAndQuillonReportCommonArgs() = default;

bool FERNAndQuillonReportCommonArgs::findContradictions()
{
    for (const QString &id : mEnabledMetrics) {
        if (mDisabledMetrics.contains(id)) {
            mParser.setError(
                BaseArgParser::tr("metric '%1' is named by both %2 and %3")
                    .arg(id, mParser.getUsedName(kEnableMetrics), mParser.getUsedName(kDisableMetrics)),
                false);
            return true;
        }
    }
    const QStringList words = mParser.positionals();
    if (mParser.boolArg(kSelectRanks) && !words.isEmpty() && mParser.isAutoLoadFile(words.first())) {
        mParser.setError(BaseArgParser::tr("'%1' is loaded and no program run, so that %2 has no meaning")
                             .arg(words.first(), mParser.getUsedName(kSelectRanks)),
            false);
        return true;
    }
    return false;
}

void FERNAndQuillonReportCommonArgs::parseSelectRanks()
{
    if (!mParser.boolArg(kSelectRanks))
        return;
    const QString text = mParser.stringArg(kSelectRanks);
    bool ok = false;
    mSelectRanks = RankSet::fromString(text, &ok);
    if (!ok)
        mParser.setError(BaseArgParser::tr("value '%1' for %2 is no list of ranks such as 0,4-7")
                             .arg(text, mParser.getUsedName(kSelectRanks)),
            false);
}

// The ids of an option that may be given more than once. An empty one is a mistake, of a script mostly.
QStringList FERNAndQuillonReportCommonArgs::metricIds(const QString &option)
{
    QStringList ids;
    for (const QString &value : mParser.listArg(option)) {
        for (const QString &word : value.split(QLatin1Char(','))) {
            const QString id = word.trimmed();
            if (id.isEmpty())
                mParser.setError(
                    BaseArgParser::tr("value '%1' for %2 is no list of metrics such as rss,load_avg")
                        .arg(value, mParser.getUsedName(option)),
                    false);
            else
                ids.append(id);
        }
    }
    return ids;
}

void FERNAndQuillonReportCommonArgs::parseMetrics()
{
    mEnabledMetrics = metricIds(kEnableMetrics);
    mDisabledMetrics = metricIds(kDisableMetrics);
}
