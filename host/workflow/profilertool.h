#ifndef HOST_WORKFLOW_PROFILERTOOL_H
#define HOST_WORKFLOW_PROFILERTOOL_H

#include "workflow/brivanetool.h"

// A tool that works on the profile of a job.
class BRIVANE_HOST_EXPORT ProfilerTool : public BrivaneTool {
public:
    ~ProfilerTool() override;

    // The complaint, and that the launcher's --help knows more.
    void printCmdLineArgError(const QString &message) override;
};

#endif
