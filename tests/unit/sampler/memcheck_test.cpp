// Sampled programs under valgrind's memcheck: nothing that the sampler does, in their threads or in its own,
// reads memory that nobody wrote, or touches what isn't there or was given back.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

struct Guest {
    const char *name; // of the test
    const char *program;
    Command arguments; // FOLDER in front stands for a folder of the test's own
    Command launcher = {};
    Environment variables = {};
};

void PrintTo(const Guest &guest, std::ostream *stream)
{
    *stream << guest.name;
}

std::string nameOf(const testing::TestParamInfo<Guest> &row)
{
    return row.param.name;
}

// The errors in a report of valgrind's that have a part of the sampler among their calls. A program's own, or
// those of an MPI library, aren't ours. The report of a process that was killed has no end.
std::string errorsOfTheSampler(const std::filesystem::path &report)
{
    std::ifstream file(report);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::string errors;
    std::size_t begin = 0;
    while ((begin = text.find("<error>", begin)) != std::string::npos) {
        const std::size_t end = std::min(text.find("</error>", begin), text.size());
        const std::string error = text.substr(begin, end - begin);
        const bool isLoss = error.find("<kind>Leak_") != std::string::npos;
        if (!isLoss && error.find("libfern-sampler") != std::string::npos)
            errors += error;
        begin = end;
    }
    return errors;
}

class Memcheck : public testing::TestWithParam<Guest> {
protected:
    void SetUp() override
    {
        if (access(client(GetParam().program).c_str(), X_OK) != 0)
            GTEST_SKIP() << "Requires what " << GetParam().program << " is built with";
        if (run({"sh", "-c", "command -v valgrind"}).status != 0)
            GTEST_SKIP() << "Requires valgrind";
    }
    // The client with words in front of it, in a folder.
    static Command command(const Folder &folder, const Command &front = {})
    {
        const std::string mark = "FOLDER";
        Command words = GetParam().launcher;
        words.insert(words.end(), front.begin(), front.end());
        words.push_back(client(GetParam().program));
        for (const std::string &argument : GetParam().arguments)
            words.push_back(
                argument.rfind(mark, 0) == 0 ? folder.path() + argument.substr(mark.size()) : argument);
        return words;
    }
    static Environment variables(Environment others = {})
    {
        for (const auto &[name, value] : GetParam().variables)
            others[name] = value;
        return others;
    }
};

} // namespace

TEST_P(Memcheck, FindsNothingInTheSampler)
{
    const Folder first;
    const Outcome alone = run(command(first), variables());
    // A program that replaces this one isn't followed, so that it doesn't take over the name of its report.
    const Folder reportFolder;
    const Command valgrind{"valgrind", "--tool=memcheck", "--leak-check=no", "--fair-sched=yes", "--xml=yes",
        "--xml-file=" + reportFolder.path() + "/%p.xml"};
    const Folder second;
    const Folder spools;
    const Outcome checked = run(command(second, valgrind), variables(samplingInto(spools.path())));
    EXPECT_EQ(checked.status, alone.status) << checked;
    int reports = 0;
    for (const auto &report : std::filesystem::directory_iterator(reportFolder.path())) {
        EXPECT_EQ(errorsOfTheSampler(report.path()), "");
        ++reports;
    }
    EXPECT_GE(reports, 1) << checked;
    std::uint64_t looks = 0;
    for (const SpoolFile &spool : spoolsOf(std::string("client-") + GetParam().program, spools.path())) {
        EXPECT_EQ(spool.complaint(), "");
        looks += spool.header().ticks;
    }
    // Ranks that merged their profiles leave those instead.
    if (GetParam().variables.count("QUILLON_SAMPLER_MERGE") == 0) {
        EXPECT_GE(looks, 1U) << "it wasn't sampled";
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, Memcheck,
    testing::Values(Guest{"shares", "shares", {"0.3", "0.1", "0.1", "0.1", "FOLDER/data"}},
        Guest{"files", "files", {"results", "FOLDER"}}, Guest{"locks", "locks", {"results"}},
        Guest{"accelerator", "accelerator-CudaRuntime", {"0.1", "0.1", "sleeps"}},
        Guest{"openmp_of_gcc", "openmp-gcc", {}}, Guest{"openmp_of_llvm", "openmp-llvm", {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Processes, Memcheck,
    testing::Values(Guest{"fork", "guest", {"fork"}}, Guest{"exec", "guest", {"exec"}},
        Guest{"spawn", "guest", {"spawn"}}, Guest{"threads", "guest", {"threads"}},
        Guest{"cancel", "guest", {"cancel"}}, Guest{"jump", "guest", {"jump"}}),
    nameOf);

// More bins than there is room for, rings of program counters and counted events.
INSTANTIATE_TEST_SUITE_P(Figures, Memcheck,
    testing::Values(Guest{"bins_and_counters", "loops", {"copy", "2.5"}, {},
        {{"QUILLON_SAMPLER_INTERVAL", "1"}, {"QUILLON_SAMPLER_EVENTS", "page-faults:1:2"}}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(Mpi, Memcheck,
    testing::Values(Guest{"requests", "mpirequests-mpich", {}, {"mpiexec.mpich", "-n", "2"}},
        Guest{"merge_mpich", "mpimerge-mpich", {"plain"}, {"mpiexec.mpich", "-n", "3"},
            {{"QUILLON_SAMPLER_MERGE", "100"}, {"QUILLON_SAMPLER_EPOCH", "1700000000000000000"}}}),
    nameOf);
