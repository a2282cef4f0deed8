// What the library shows to a program: its wrappers and nothing else, and nothing of the C++ runtime.

#include "job.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fnmatch.h>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

using Names = std::vector<std::string>;

Names sorted(Names names)
{
    std::sort(names.begin(), names.end());
    return names;
}

Names wrappedCalls()
{
    Names names{
        "ompt_start_tool",
#define FERN_CALL(result, name, parameters, arguments, category, condition) #name,
#define FERN_LOCK(result, name, parameters, arguments, tryCall, busy) #name,
#define FERN_ALONE(result, name, parameters, arguments) #name,
#define FERN_SPECIAL(result, name, parameters) #name,
#include "wrappers/calls.def"
#define FERN_MPI(Name, name, words, fortranWords, category, payload)                                         \
    "MPI_" #Name, "mpi_" #name "_", "mpi_" #name "_f08_",
#define FERN_MPI_C(Name, words) "MPI_" #Name,
#define FERN_MPI_SPECIAL(Name, name, words, fortranWords)                                                    \
    "MPI_" #Name, "mpi_" #name "_", "mpi_" #name "_f08_",
#include "mpi/mpicalls.def"
#define FERN_GOMP_REGION(name, words) #name,
#define FERN_GOMP_TASKS(name, words) #name,
#define FERN_GOMP_RUNTIME(name, words) #name,
#include "openmp/gompcalls.def"
#define FERN_ACCELERATOR(library, name, words) #name,
#include "accelerator/acceleratorcalls.def"
    };
    return sorted(names);
}

Names exportedSymbols()
{
    std::istringstream lines(run({NM_PROGRAM, "--dynamic", "--defined-only", SAMPLER_LIBRARY}).output);
    Names names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind >> name)
        names.push_back(name);
    return sorted(names);
}

// Names, or patterns of the shell's kind.
Names patternsInMap()
{
    std::ifstream map(SAMPLER_MAP);
    Names patterns;
    std::string line;
    std::smatch match;
    while (std::getline(map, line)) {
        if (std::regex_match(line, match, std::regex(" +([\\w*]*\\w[\\w*]*);")))
            patterns.push_back(match[1]);
    }
    return patterns;
}

bool isMatch(const std::string &pattern, const std::string &name)
{
    return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

} // namespace

TEST(Symbols, TheLibraryExportsItsWrappersAlone)
{
    EXPECT_GE(wrappedCalls().size(), 200U);
    EXPECT_EQ(exportedSymbols(), wrappedCalls());
}

TEST(Symbols, TheMapListsTheTables)
{
    const Names patterns = patternsInMap();
    const Names calls = wrappedCalls();
    for (const std::string &call : calls)
        EXPECT_TRUE(std::any_of(patterns.begin(), patterns.end(), [&](const std::string &pattern) {
            return isMatch(pattern, call);
        })) << call;
    for (const std::string &pattern : patterns)
        EXPECT_TRUE(std::any_of(calls.begin(), calls.end(), [&](const std::string &call) {
            return isMatch(pattern, call);
        })) << pattern;
}

TEST(Symbols, NeitherTheCxxRuntimeNorMpiIsNeeded)
{
    std::istringstream lines(run({NM_PROGRAM, "--dynamic", "--undefined-only", SAMPLER_LIBRARY}).output);
    std::string line;
    while (std::getline(lines, line)) {
        EXPECT_EQ(line.find(" _Z"), std::string::npos) << line;
        EXPECT_EQ(line.find("MPI_"), std::string::npos) << line;
    }
}
