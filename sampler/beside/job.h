#ifndef SAMPLER_BESIDE_JOB_H
#define SAMPLER_BESIDE_JOB_H

#include <string>

namespace fern::beside {

// The job's processes on this node, as the names of their spools tell: NODE-PID-START.spool.
class Job {
public:
    Job(const std::string &spoolFolder, const std::string &node);

    // Whether a process of the job is still there, and somebody to read its spools. Looks into the folder
    // only when the process that it knew is gone.
    bool isRunning();

private:
    int findProcess() const;

    std::string mFolder;
    std::string mBeginning; // of the names
    int mProcess = 0; // one that ran when it was last looked at
};

// Whether there is such a process that hasn't ended.
bool isAlive(int process);

// The process of a spool by its file's name, 0 if it is of another node or no spool's.
int processOfSpool(const std::string &file, const std::string &node);

} // namespace fern::beside

#endif
