#ifndef HOST_WORKFLOW_FRONTEND_H
#define HOST_WORKFLOW_FRONTEND_H

#include "core/export.h"

class BrivaneTool;

// The front end that all tools share, from main()'s arguments to the program's exit status. Help, the version
// and lists go to the standard output, messages to the standard error stream.
BRIVANE_HOST_EXPORT int runTool(BrivaneTool &tool, int argc, char **argv);

#endif
