#ifndef HOST_WORKFLOW_QSHUTDOWNGROUP_H
#define HOST_WORKFLOW_QSHUTDOWNGROUP_H

#include "core/export.h"

#include <mutex>
#include <optional>

// The tool's end, in good order. Whoever finds that the tool must end with an error says so here and returns;
// the step of the workflow at hand is finished, so that nothing is left half-done and a job's report isn't
// lost for what happened beside it, and then the program exits.
class BRIVANE_HOST_EXPORT QShutdownGroup {
public:
    static QShutdownGroup *globalInstance();

    QShutdownGroup(const QShutdownGroup &) = delete;
    QShutdownGroup &operator=(const QShutdownGroup &) = delete;

    // Ends the tool with that exit status, of which the system keeps the lowest eight bits (-1 becomes 255).
    // Where the end was asked for before, the first status stays. Any thread may call it.
    void errorShutdown(int exitStatus);

    // The status that was asked for, if any, which is forgotten then.
    std::optional<int> takeExitStatus();

private:
    QShutdownGroup() = default;

    std::mutex mMutex;
    std::optional<int> mExitStatus;
};

#endif
