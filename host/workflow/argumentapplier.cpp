#include "workflow/argumentapplier.h"

#include "cli/argparser.h"
#include "cli/fernandquillonreportcommonargs.h"
#include "workflow/frontendapplicationproperties.h"
#include "workflow/kelpconfig.h"

ArgumentApplier::ArgumentApplier(const ArgParser &parser, KELPConfig *config, bool offline, bool loading,
    FrontendApplicationProperties *properties)
    : mParser(parser)
    , mConfig(config)
    , mOffline(offline)
    , mLoading(loading)
    , mProperties(properties)
{
}

ArgumentApplier::~ArgumentApplier() = default;

void ArgumentApplier::apply()
{
    mConfig->setQuiet(mOffline);
    applyProfileOptions();
    if (mLoading)
        return;
    mConfig->setInputFile(mParser.getInputFile());
    if (mParser.programIndex() >= 0)
        mConfig->setCommand(mProperties->arguments.mid(mParser.programIndex()));
}

// What stands on the command line prevails over what is configured.
void ArgumentApplier::applyProfileOptions()
{
    FERNConfig &fern = mConfig->fernConfig();
    if (mParser.getSamples() > 0)
        fern.setSamples(mParser.getSamples());
    if (mParser.getInterval() > 0)
        fern.setInterval(mParser.getInterval());
    if (const auto *common = dynamic_cast<const FERNAndQuillonReportCommonArgs *>(&mParser)) {
        QStringList disabled = fern.getDisabledMetrics() + common->getDisabledMetrics();
        for (const QString &id : common->getEnabledMetrics())
            disabled.removeAll(id);
        disabled.removeDuplicates();
        fern.setDisabledMetrics(disabled);
    }
}

void ArgumentApplier::checkNumNodes()
{
    if (!mConfig->isQueueUsed())
        mConfig->setNumNodes(0);
}
