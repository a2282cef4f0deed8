#include "workflow/kelpconfig.h"

namespace {

KELPConfig *theConfig = nullptr;

} // namespace

KELPConfig *KELPConfig::getInstance()
{
    return theConfig;
}

void KELPConfig::setInstance(KELPConfig *config)
{
    theConfig = config;
}
