#ifndef HOST_WORKFLOW_ARGUMENTAPPLIER_H
#define HOST_WORKFLOW_ARGUMENTAPPLIER_H

#include "core/export.h"

class ArgParser;
class KELPConfig;
struct FrontendApplicationProperties;

// Carries the command line over into the configuration. Owns nothing: what it is made from must outlive it.
class BRIVANE_HOST_EXPORT ArgumentApplier {
public:
    // `offline`: the tool runs without a window. `loading`: a file is loaded, no job launched.
    ArgumentApplier(const ArgParser &parser, KELPConfig *config, bool offline, bool loading,
        FrontendApplicationProperties *properties);
    virtual ~ArgumentApplier();

    // Takes over the command, its input file and what is asked of the profile; offline the host is quiet.
    // Tools add to it.
    virtual void apply();

protected:
    // Nodes can be asked of a queue only: without one, the launcher's own arguments decide.
    void checkNumNodes();

    const ArgParser &parser() const { return mParser; }
    KELPConfig &config() const { return *mConfig; }

private:
    void applyProfileOptions();

    const ArgParser &mParser;
    KELPConfig *const mConfig;
    const bool mOffline;
    const bool mLoading;
    FrontendApplicationProperties *const mProperties;
};

#endif
