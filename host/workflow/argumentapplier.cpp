#include "workflow/argumentapplier.h"

#include "cli/argparser.h"
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
    if (mLoading)
        return;
    mConfig->setInputFile(mParser.getInputFile());
    if (mParser.programIndex() >= 0)
        mConfig->setCommand(mProperties->arguments.mid(mParser.programIndex()));
}

void ArgumentApplier::checkNumNodes()
{
    if (!mConfig->isQueueUsed())
        mConfig->setNumNodes(0);
}
