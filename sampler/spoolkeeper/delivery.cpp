#include "spoolkeeper/delivery.h"

#include "beside/job.h"
#include "core/gathering.h"

#include <algorithm>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace fern::spoolkeeper {

namespace {

using namespace std::chrono_literals;

constexpr auto LookInterval = 100ms;

// Closes it at the end.
class Descriptor {
public:
    explicit Descriptor(int number)
        : mNumber(number)
    {
    }
    ~Descriptor()
    {
        if (mNumber >= 0)
            close(mNumber);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int number() const { return mNumber; }
    bool isOpen() const { return mNumber >= 0; }

private:
    int mNumber;
};

std::vector<std::string> namesIn(const std::string &path)
{
    std::vector<std::string> names;
    DIR *folder = opendir(path.c_str());
    while (const dirent *entry = folder != nullptr ? readdir(folder) : nullptr)
        names.emplace_back(entry->d_name);
    if (folder != nullptr)
        closedir(folder);
    names.erase(std::remove_if(names.begin(), names.end(),
                    [](const std::string &name) { return name == "." || name == ".."; }),
        names.end());
    return names;
}

// A folder that is ours, not a link to one.
int openFolder(const std::string &path)
{
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status;
    if (folder >= 0 && (fstat(folder, &status) != 0 || status.st_uid != geteuid())) {
        close(folder);
        return -1;
    }
    return folder;
}

// Spools are mostly holes: nothing is sent for them.
bool copyBytes(int source, int target)
{
    char block[4096];
    off_t offset = 0;
    for (;;) {
        const ssize_t size = pread(source, block, sizeof(block), offset);
        if (size <= 0)
            return size == 0 && ftruncate(target, offset) == 0;
        const bool isHole = std::all_of(block, block + size, [](char byte) { return byte == '\0'; });
        if (!isHole && pwrite(target, block, static_cast<std::size_t>(size), offset) != size)
            return false;
        offset += size;
    }
}

bool endsIn(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

Delivery::Delivery(std::string from, std::string to, std::string node)
    : mFrom(std::move(from))
    , mTo(std::move(to))
    , mNode(std::move(node))
{
}

void Delivery::copy()
{
    for (const std::string &file : files())
        copyFile(file);
}

void Delivery::move()
{
    for (const std::string &file : files()) {
        if (!isWritten(file))
            copyFile(file);
    }
    // What isn't for the host as well: processes that were killed leave notes for others.
    for (const std::string &name : namesIn(mFrom)) {
        const std::string path = mFrom + '/' + name;
        if (!isWritten(name) && unlink(path.c_str()) != 0)
            rmdir(path.c_str());
    }
}

std::vector<std::string> Delivery::files() const
{
    std::vector<std::string> names = namesIn(mFrom);
    names.erase(std::remove_if(names.begin(), names.end(),
                    [](const std::string &name) {
                        return name.front() == '.' || (!endsIn(name, ".spool") && !endsIn(name, ".merged"));
                    }),
        names.end());
    return names;
}

bool Delivery::isWritten(const std::string &file) const
{
    const int process = beside::processOfSpool(file, mNode);
    return process != 0 && beside::isAlive(process);
}

// Under a temporary name at first: the host sees it whole or not at all.
bool Delivery::copyFile(const std::string &file)
{
    const Descriptor folder(openFolder(mTo));
    const Descriptor source(open((mFrom + '/' + file).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    const std::string temporary = '.' + file;
    if (!folder.isOpen() || !source.isOpen())
        return false;
    bool isCopied = false;
    {
        const Descriptor target(openat(folder.number(), temporary.c_str(),
            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!target.isOpen())
            return false;
        // A network file system may say only now that it is full.
        isCopied = copyBytes(source.number(), target.number()) && fsync(target.number()) == 0;
    }
    isCopied = isCopied && renameat(folder.number(), temporary.c_str(), folder.number(), file.c_str()) == 0;
    if (!isCopied)
        unlinkat(folder.number(), temporary.c_str(), 0);
    else
        mDelivered.push_back(file);
    return isCopied;
}

void Delivery::waitUntilSeen(std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    bool isSeen = this->isSeen();
    while (!isSeen && !mDelivered.empty() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(LookInterval);
        isSeen = this->isSeen();
    }
    if (isSeen)
        return;
    if (const Descriptor folder(openFolder(mTo)); folder.isOpen()) {
        for (const std::string &file : mDelivered)
            unlinkat(folder.number(), file.c_str(), 0);
        rmdir(mTo.c_str()); // unless there is something of another node
    }
}

// The host says so by a folder of its own, and takes the whole of it away when the job is over.
bool Delivery::isSeen() const
{
    const std::vector<std::string> names = namesIn(mTo);
    return std::find(names.begin(), names.end(), gathering::SeenMark) != names.end()
        || access(mTo.c_str(), F_OK) != 0;
}

} // namespace fern::spoolkeeper
