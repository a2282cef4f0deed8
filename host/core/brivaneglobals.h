#ifndef HOST_CORE_BRIVANEGLOBALS_H
#define HOST_CORE_BRIVANEGLOBALS_H

#include "core/export.h"
#include "core/pathstring.h"

// Where the installation and the user keep their files.
class BRIVANE_HOST_EXPORT BrivaneGlobals {
public:
    static BrivaneGlobals *instance();

    BrivaneGlobals(const BrivaneGlobals &) = delete;
    BrivaneGlobals &operator=(const BrivaneGlobals &) = delete;

    // The folder of the installation's data, usually <prefix>/share. It is found from the place of the
    // library or program that holds this code, so that an installed tree can be moved, and a build tree
    // serves as one.
    PathString installPath() const { return mInstallPath; }
    // For programs that lie outside any installation, such as tests. To be called before anything asks for
    // the path.
    void setInstallPath(const PathString &path) { mInstallPath = path; }

    // The folder of the user's configuration: "brivane" in $XDG_CONFIG_HOME if that is an absolute path, else
    // in
    // ~/.config. It needn't exist. The environment is asked at each call.
    PathString localConfigDir() const;

private:
    BrivaneGlobals();

    PathString mInstallPath;
};

#endif
