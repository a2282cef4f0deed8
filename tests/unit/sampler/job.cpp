#include "job.h"

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Ends in the child only.
[[noreturn]] void become(const Command &command, const Environment &variables)
{
    for (const auto &[name, value] : variables)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe()
    {
        if (pipe(ends) != 0)
            throw std::runtime_error("no pipe");
    }
};

// Reads both pipes until nobody can write there any more.
void drain(int outputFd, int errorsFd, Outcome *outcome)
{
    pollfd waits[2] = {{outputFd, POLLIN, 0}, {errorsFd, POLLIN, 0}};
    std::string *texts[2] = {&outcome->output, &outcome->errors};
    while (waits[0].fd >= 0 || waits[1].fd >= 0) {
        poll(waits, 2, -1);
        for (int i = 0; i < 2; ++i) {
            if (waits[i].fd < 0 || waits[i].revents == 0)
                continue;
            char buffer[65536];
            const ssize_t got = read(waits[i].fd, buffer, sizeof(buffer));
            if (got > 0) {
                texts[i]->append(buffer, static_cast<size_t>(got));
            } else {
                close(waits[i].fd);
                waits[i].fd = -1;
            }
        }
    }
}

} // namespace

Folder::Folder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "sampler-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    mPath = pattern;
}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

bool operator==(const Outcome &a, const Outcome &b)
{
    return a.output == b.output && a.errors == b.errors && a.status == b.status;
}

std::ostream &operator<<(std::ostream &stream, const Outcome &outcome)
{
    return stream << "status " << outcome.status << "\noutput:\n"
                  << outcome.output << "\nerrors:\n"
                  << outcome.errors;
}

Environment samplingInto(const std::string &folder)
{
    return {{"LD_PRELOAD", SAMPLER_LIBRARY}, {"QUILLON_SAMPLER_SPOOL", folder}};
}

pid_t start(const Command &command, const Environment &variables, const std::string &folder)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    if (freopen((folder + "/output").c_str(), "w", stdout) == nullptr)
        _exit(126);
    become(command, variables);
}

Outcome run(const Command &command, const Environment &variables)
{
    Outcome outcome;
    const Pipe output;
    const Pipe errors;
    const pid_t child = fork();
    if (child == 0) {
        dup2(output.ends[1], STDOUT_FILENO);
        dup2(errors.ends[1], STDERR_FILENO);
        for (const int fd : {output.ends[0], output.ends[1], errors.ends[0], errors.ends[1]})
            close(fd);
        become(command, variables);
    }
    close(output.ends[1]);
    close(errors.ends[1]);
    drain(output.ends[0], errors.ends[0], &outcome);
    waitpid(child, &outcome.status, 0);
    return outcome;
}

std::map<std::string, double> numbersIn(const std::string &output)
{
    std::map<std::string, double> numbers;
    std::istringstream lines(output);
    std::string name;
    double value = 0.0;
    while (lines >> name >> value)
        numbers[name] = value;
    return numbers;
}

std::string client(const std::string &name)
{
    return std::string(CLIENTS_DIR) + "/client-" + name;
}
