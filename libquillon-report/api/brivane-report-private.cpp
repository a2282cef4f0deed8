// The part of the C interface that differs between its two builds, as the tool's build has it: the tool
// renders its reports itself and has an application object.

#include "api/brivane-report-private.h"

#include "api/brivane-report.h"

#include <QDebug>

bool quillon::report::ensureQCoreApplicationExists()
{
    return true;
}

namespace {

void refuse(const char *signature)
{
    qCritical() << "The function" << signature << "is not yet implemented in the Quillon Report library."
                << "Were you intending on using the Custom Quillon Reports library instead?";
}

} // namespace

int quillon_report_write_html(quillon_report *, char **)
{
    refuse("int quillon_report_write_html(quillon_report*, char**)");
    return BRIVANE_REPORT_EXCEPTION;
}

const char *quillon_report_library_id_string()
{
    refuse("const char* quillon_report_library_id_string()");
    return "";
}
