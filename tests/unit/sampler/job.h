#ifndef TESTS_SAMPLER_JOB_H
#define TESTS_SAMPLER_JOB_H

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

// A folder for one test, gone with it.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    const std::string &path() const { return mPath; }

private:
    std::string mPath;
};

using Command = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

struct Outcome {
    std::string output; // standard output until its last writer is gone
    std::string errors; // standard error, likewise
    int status = 0; // as waitpid() gives it
};

bool operator==(const Outcome &a, const Outcome &b);
std::ostream &operator<<(std::ostream &stream, const Outcome &outcome);

// What the host sets to have a job sampled into a folder.
Environment samplingInto(const std::string &folder);

// Starts a command with variables added to the environment, its outputs going into files of `folder`.
pid_t start(const Command &command, const Environment &variables, const std::string &folder);
// Runs a command to its end; a daemon that it leaves behind holds the output open and is waited for.
Outcome run(const Command &command, const Environment &variables = {});

// Numbers that a client printed as lines of a name and a value.
std::map<std::string, double> numbersIn(const std::string &output);

// Path of a program of clients/.
std::string client(const std::string &name);

#endif
