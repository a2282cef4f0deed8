// What the library shows to a program: its wrappers and nothing else, and nothing of the C++ runtime.

#include "job.h"

#include <gtest/gtest.h>

#include <algorithm>
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
    return sorted({
#define FERN_CALL(result, name, parameters, arguments, category, condition) #name,
#define FERN_ALONE(result, name, parameters, arguments) #name,
#define FERN_SPECIAL(result, name, parameters) #name,
#include "wrappers/calls.def"
#define FERN_MPI(name, argumentCount, category, payload) "MPI_" #name,
#define FERN_MPI_SPECIAL(name, argumentCount) "MPI_" #name,
#include "mpi/mpicalls.def"
    });
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

Names namesInMap()
{
    std::ifstream map(SAMPLER_MAP);
    Names names;
    std::string line;
    std::smatch match;
    while (std::getline(map, line)) {
        if (std::regex_match(line, match, std::regex(" *(\\w+);")))
            names.push_back(match[1]);
    }
    return sorted(names);
}

} // namespace

TEST(Symbols, TheLibraryExportsItsWrappersAlone)
{
    EXPECT_GE(wrappedCalls().size(), 200U);
    EXPECT_EQ(exportedSymbols(), wrappedCalls());
}

TEST(Symbols, TheMapListsTheTables)
{
    EXPECT_EQ(namesInMap(), wrappedCalls());
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
