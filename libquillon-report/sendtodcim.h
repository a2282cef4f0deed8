#ifndef QUILLON_REPORT_SENDTODCIM_H
#define QUILLON_REPORT_SENDTODCIM_H

#include "api/export.h"

class ProfilerData;
namespace quillon::report {
class ReportDefinition;
}

// Hands the figures of a profile to the site's connector script, which passes them to a data centre's
// monitoring, and waits until the script has ended.
//
// The script is the one that DCIM_SCRIPT in the environment names (see core/environment.h), by default the
// installed one. It gets all metrics on one command line, as docs/monitoring.md describes. What it writes to
// its standard error stream is shown; its standard output only if `isVerbose`.
//
// A report that can't be filled is said and nothing more happens. A script that is missing, can't be run, or
// fails is said too, and the tool ends with an error (QShutdownGroup): with the script's exit code, or -1.
QUILLON_REPORT_EXPORT void sendToDcim(
    const ProfilerData &data, bool isVerbose, const quillon::report::ReportDefinition &reportDefinition);

#endif
