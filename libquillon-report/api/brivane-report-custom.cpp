// The part of the C interface that differs between its two builds, as programs outside the tool get it.

#include "api/brivane-report-private.h"

#include "api/quillon-report.h"

#include "api/brivane-report.h"
#include "commit.h"

#include <QCoreApplication>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <mutex>

// It is never deleted: reports and other threads may be at work until the process ends, and a static object
// would go while they are.
bool quillon::report::ensureQCoreApplicationExists()
{
    static std::mutex mutex;
    static int argumentCount = 1;
    static char name[] = "custom-quillon-reports";
    static char *arguments[] = {name, nullptr};

    static bool hasBroken = false;

    const std::lock_guard<std::mutex> lock(mutex);
    if (QCoreApplication::instance() || hasBroken)
        return !hasBroken;
    // Where memory runs out while Qt sets itself up, locks of its own can stay locked: better no report,
    // ever, than one that hangs.
    hasBroken = true;
    // Qt would take over the locale of the environment.
    const QByteArray locale = std::setlocale(LC_ALL, nullptr);
    new QCoreApplication(argumentCount, arguments);
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): Qt keeps the application, as its instance().
    std::setlocale(LC_ALL, locale.constData());
    // Reports need no plugins. Qt's schema classes would load those for networks, which talk to D-Bus and
    // start threads in a program that knows nothing of Qt.
    QCoreApplication::setLibraryPaths(QStringList());
    hasBroken = QCoreApplication::instance() == nullptr;
    return !hasBroken;
}

namespace {

int writeHtml(quillon_report *report, char **output)
{
    quillon::report::ensureQCoreApplicationExists();
    // A null pointer is refused there, in the report's words.
    if (!output)
        return report->generateAndWrite(output, HtmlReport);
    QByteArray page;
    const int result = report->generateAndWrite(page, HtmlReport);
    if (result != BRIVANE_REPORT_OK)
        return result;
    // A byte array has a NUL behind its end, and C wants it.
    const size_t size = static_cast<size_t>(page.size()) + 1;
    *output = static_cast<char *>(std::malloc(size));
    if (!*output) {
        report->setErrorMessage(
            "memory allocation (%d bytes) failed in %s", static_cast<int>(size), "quillon_report_write_html");
        return BRIVANE_REPORT_OUT_OF_MEMORY;
    }
    std::memcpy(*output, page.constData(), size);
    return BRIVANE_REPORT_OK;
}

} // namespace

int quillon_report_write_html(quillon_report *report, char **output)
{
    if (output)
        *output = nullptr;
    if (!report)
        return BRIVANE_REPORT_NULL_REPORT;
    if (report->hasErrorMessage())
        return BRIVANE_REPORT_ALREADY_FAILED;
    try {
        return writeHtml(report, output);
    } catch (...) {
        return report->handleException(__func__);
    }
}

const char *quillon_report_library_id_string()
{
    return "Custom Quillon Reports " QUILLON_VERSION " (" QUILLON_COMMIT ")";
}
