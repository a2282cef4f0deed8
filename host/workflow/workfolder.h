#ifndef HOST_WORKFLOW_WORKFOLDER_H
#define HOST_WORKFLOW_WORKFOLDER_H

#include <QString>
#include <QTemporaryDir>

#include <memory>

// A private folder for what a run leaves on its way, removed with all that is in it at the end; in /tmp where
// the usual place for temporary files can't be used.
//
// A tool that is killed leaves its folder behind. Whoever makes the next one for the same user on this node
// removes it, once no process of the job is left on this node, and with it the folder elsewhere that it
// names. A folder belongs to a living tool as long as its file "tool.lock" is locked.
class WorkFolder {
public:
    WorkFolder();
    ~WorkFolder();

    bool isValid() const { return mFolder->isValid(); }
    QString path() const { return mFolder->path(); }
    // Notes a private folder, which need not be there, that goes with this one if the tool is killed: one of
    // the same name with a dot before it.
    void takeAlong(const QString &folder) const;
    QString filePath(const QString &name) const { return mFolder->filePath(name); }

private:
    std::unique_ptr<QTemporaryDir> mFolder;
    int mLock = -1;
};

// Removes the folders of killed tools of this user from a folder for temporary files.
void removeAbandonedWorkFolders(const QString &temporary);

#endif
