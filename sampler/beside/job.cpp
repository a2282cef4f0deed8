#include "beside/job.h"

#include "core/text.h"

#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fstream>
#include <unistd.h>

namespace fern::beside {

namespace {

// Whether a process has ended and only waits for its parent to take note: some containers' first process
// never does. False if that can't be known.
bool isZombie(int process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t name = text.rfind(") "); // the name may hold anything
    return name != std::string::npos && text[name + 2] == 'Z';
}

} // namespace

bool isAlive(int process)
{
    return (kill(process, 0) == 0 || errno == EPERM) && !isZombie(process);
}

int processOfSpool(const std::string &file, const std::string &node)
{
    if (file.compare(0, node.size() + 1, node + "-") != 0)
        return 0;
    const char *text = file.c_str() + node.size() + 1;
    const std::uint64_t process = isDigit(*text) ? takeNumber(text) : 0;
    if (*text != '-' || !isDigit(text[1]))
        return 0;
    ++text;
    takeNumber(text);
    constexpr std::uint64_t Highest = 0x7fffffff;
    return equal(text, ".spool") && process <= Highest ? static_cast<int>(process) : 0;
}

Job::Job(const std::string &spoolFolder, const std::string &node)
    : mFolder(spoolFolder)
    , mBeginning(node)
{
}

bool Job::isRunning()
{
    if (mProcess == 0 || !isAlive(mProcess) || access(mFolder.c_str(), F_OK) != 0)
        mProcess = findProcess();
    return mProcess != 0;
}

int Job::findProcess() const
{
    DIR *folder = opendir(mFolder.c_str());
    if (folder == nullptr)
        return 0;
    int found = 0;
    while (const dirent *entry = found == 0 ? readdir(folder) : nullptr) {
        const int process = processOfSpool(entry->d_name, mBeginning);
        if (process != 0 && process != getpid() && isAlive(process))
            found = process;
    }
    closedir(folder);
    return found;
}

} // namespace fern::beside
