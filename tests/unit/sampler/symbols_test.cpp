// What the library shows to a program: its wrappers and nothing else, and nothing of the C++ runtime.

#include "job.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
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
#define FERN_ALONE(result, name, parameters, arguments) #name,
#define FERN_SPECIAL(result, name, parameters) #name,
#include "wrappers/calls.def"
#define FERN_GOMP_REGION(name, words) #name,
#define FERN_GOMP_TASKS(name, words) #name,
#define FERN_GOMP_RUNTIME(name, words) #name,
#include "openmp/gompcalls.def"
#define FERN_ACCELERATOR(library, name, words) #name,
#include "accelerator/acceleratorcalls.def"
    };
    std::ifstream mpi(MPI_SYMBOLS);
    std::string name;
    while (mpi >> name)
        names.push_back(name);
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

} // namespace

TEST(Symbols, TheLibraryExportsItsWrappersAlone)
{
    EXPECT_GE(wrappedCalls().size(), 2000U);
    const Names calls = wrappedCalls();
    Names symbols = exportedSymbols();
    // The name of the version itself.
    symbols.erase(std::remove(symbols.begin(), symbols.end(), "FERN_LATER"), symbols.end());
    Names missing;
    Names surplus;
    std::set_difference(
        calls.begin(), calls.end(), symbols.begin(), symbols.end(), std::back_inserter(missing));
    std::set_difference(
        symbols.begin(), symbols.end(), calls.begin(), calls.end(), std::back_inserter(surplus));
    EXPECT_EQ(missing, Names());
    EXPECT_EQ(surplus, Names());
}

// Whoever looks for a call by its name, to find out whether MPI is new enough, mustn't find the wrapper.
TEST(Symbols, CallsThatNotEveryMpiHasAreHiddenFromThoseWhoLookForThem)
{
    const Environment preloaded{{"LD_PRELOAD", SAMPLER_LIBRARY}};
    const auto look = [&](const char *name) { return run({client("lookup"), name}, preloaded).output; };
    EXPECT_EQ(look("MPI_Session_init"), "missing\n");
    EXPECT_EQ(look("MPI_Send_c"), "missing\n");
    EXPECT_EQ(look("mpi_session_init_"), "missing\n");
    EXPECT_EQ(look("MPI_Isendrecv"), "missing\n");
    EXPECT_EQ(look("read"), "there\n");
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
