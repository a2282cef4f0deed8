#include "core/nodefolder.h"

#include "core/gathering.h"
#include "core/orphan.h"
#include "core/rawsystem.h"
#include "core/settings.h"
#include "core/text.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>

namespace fern::nodefolder {

namespace {

using Path = TextBuilder<sizeof(settings.spoolFolder)>;

bool isNodes = false; // the folder is the node's
bool hasMade = false; // by this process, and the keeper isn't started yet

// A folder that this user may not look into isn't missing.
bool isMissing(const char *path)
{
    constexpr long Exists = 0;
    const long result = raw::call(SYS_faccessat, AT_FDCWD, raw::address(path), Exists);
    return result == -ENOENT || result == -ENOTDIR;
}

// Whether it is a folder, not a link to one, that only we can look into.
bool isOurs(const char *path)
{
    const int folder = raw::open(path, O_PATH | O_DIRECTORY | O_NOFOLLOW);
    struct stat status { };
    const bool isKnown = folder >= 0 && raw::call(SYS_fstat, folder, raw::address(&status)) == 0;
    raw::close(folder);
    return isKnown && status.st_uid == static_cast<uid_t>(raw::call(SYS_geteuid))
        && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

enum class Making { Made, WasThere, Failed };

Making makeOurs(const char *path)
{
    const long made = raw::call(SYS_mkdirat, AT_FDCWD, raw::address(path), S_IRWXU);
    if (made == 0) {
        raw::call(SYS_fchmodat, AT_FDCWD, raw::address(path), S_IRWXU); // whatever the program's mask is
        return Making::Made;
    }
    return made == -EEXIST && isOurs(path) ? Making::WasThere : Making::Failed;
}

const char *lastPart(const char *path)
{
    const char *name = path;
    for (; *path != '\0'; ++path)
        name = *path == '/' ? path + 1 : name;
    return name;
}

bool chooseIn(const char *folder, const utsname &node)
{
    const char *job = lastPart(settings.gatherFolder);
    while (*job == '.')
        ++job;
    Path path;
    path << folder << "/" << job << "-" << node.nodename;
    if (folder[0] != '/' || isMissing(folder) || path.text() == nullptr)
        return false;
    copyText(settings.spoolFolder, path.text());
    return true;
}

// Tells the host that something is to come from this node. It can't be told where it sees no such folder.
bool claim(const char *path)
{
    constexpr int Attempts = 2; // another node's keeper may just be removing the folder
    for (int i = 0; i < Attempts; ++i) {
        if (makeOurs(settings.gatherFolder) == Making::Failed)
            return false;
        if (raw::call(SYS_mkdirat, AT_FDCWD, raw::address(path), S_IRWXU) == 0)
            return true;
    }
    return false;
}

} // namespace

void choose()
{
    if (settings.gatherFolder[0] != '/' || !isMissing(settings.spoolFolder))
        return;
    utsname node{};
    raw::call(SYS_uname, raw::address(&node));
    isNodes = chooseIn(settings.temporaryFolder, node) || chooseIn("/tmp", node);
}

bool isChosen()
{
    return isNodes;
}

bool prepare()
{
    if (!isNodes)
        return true;
    const Making making = makeOurs(settings.spoolFolder);
    hasMade = hasMade || making == Making::Made;
    return making != Making::Failed;
}

void startKeeper()
{
    if (!hasMade)
        return;
    hasMade = false;
    utsname node{};
    raw::call(SYS_uname, raw::address(&node));
    Path claimed;
    claimed << settings.gatherFolder << "/" << node.nodename << "-"
            << static_cast<std::uint64_t>(raw::getpid()) << gathering::ClaimSuffix;
    if (claimed.text() == nullptr || settings.spoolKeeper[0] != '/')
        return;
    const bool isClaimed = claim(claimed.text());
    char *const arguments[] = {settings.spoolKeeper, settings.spoolFolder, settings.gatherFolder,
        const_cast<char *>(claimed.text()), node.nodename, nullptr};
    char *const environment[] = {nullptr};
    if (!startOrphan(settings.spoolKeeper, arguments, environment) && isClaimed) {
        raw::call(SYS_unlinkat, AT_FDCWD, raw::address(claimed.text()), AT_REMOVEDIR);
        raw::call(SYS_unlinkat, AT_FDCWD, raw::address(settings.gatherFolder), AT_REMOVEDIR);
    }
}

} // namespace fern::nodefolder
