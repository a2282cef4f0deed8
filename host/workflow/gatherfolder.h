#ifndef HOST_WORKFLOW_GATHERFOLDER_H
#define HOST_WORKFLOW_GATHERFOLDER_H

#include "core/export.h"

#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>

// The folder to which nodes that don't have our folder for spools hand over theirs: in the working directory,
// which a job's nodes mostly share, with a hidden name. The first process that needs it makes it, so that it
// isn't there for jobs that don't.
class BRIVANE_HOST_EXPORT GatherFolder {
public:
    // Its name follows from that of `workFolder`, which nobody else has and nobody can guess. From now on
    // looks once a second whether there is one, and tells the nodes that it is seen.
    explicit GatherFolder(const QString &workFolder);
    // What is left of it is removed.
    ~GatherFolder();
    GatherFolder(const GatherFolder &) = delete;
    GatherFolder &operator=(const GatherFolder &) = delete;

    // Absolute; empty if there can't be one, since there is a file of that name or launchers would take the
    // path apart.
    const QString &path() const { return mPath; }

    // After the job: moves what was handed over to `spoolFolder`. Waits for nodes that have said that there
    // is something to come, for `patienceMs` at most. Gives how many have not handed it over then.
    int fetchInto(const QString &spoolFolder, int patienceMs = 10000);

private:
    void watch();
    void endWatching();
    bool isOurs() const;
    void markAsSeen() const;
    int countClaims() const;

    QString mPath;
    std::mutex mMutex;
    std::condition_variable mOver;
    bool mIsOver = false; // under the mutex
    std::thread mThread;
};

#endif
