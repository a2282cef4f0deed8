#ifndef QUILLON_REPORT_API_BRIVANE_REPORT_PRIVATE_H
#define QUILLON_REPORT_API_BRIVANE_REPORT_PRIVATE_H

namespace quillon::report {

// Qt's script engine needs an application object. In the tool's build the program has one. In the build for
// outside callers one is made where there is none: on the calling thread, and for as long as the process
// lives. True when there is one now.
bool ensureQCoreApplicationExists();

} // namespace quillon::report

#endif
