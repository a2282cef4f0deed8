// The table of MPI calls against the headers of the implementations that are there.

#include "job.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace {

struct Row {
    std::size_t words;
    std::size_t fortranWords; // 0 if the call isn't there in Fortran
};

using Rows = std::map<std::string, Row>;
using Parameters = std::vector<std::string>;

const Rows &table()
{
    static const Rows rows{
#define FERN_MPI(Name, name, words, fortranWords, category, payload) {"MPI_" #Name, {words, fortranWords}},
#define FERN_MPI_C(Name, words) {"MPI_" #Name, {words, 0}},
#define FERN_MPI_SPECIAL(Name, name, words, fortranWords) {"MPI_" #Name, {words, fortranWords}},
#include "mpi/mpicalls.def"
    };
    return rows;
}

// Names of both cases, row by row.
const std::map<std::string, std::string> &fortranNames()
{
    static const std::map<std::string, std::string> names{
#define FERN_MPI(Name, name, words, fortranWords, category, payload) {#Name, #name},
#define FERN_MPI_SPECIAL(Name, name, words, fortranWords) {#Name, #name},
#include "mpi/mpicalls.def"
    };
    return names;
}

// What the compiler sees of an implementation's header, removed calls included; nothing if the implementation
// isn't there.
std::string headerOf(const std::string &flavour)
{
    return run({"bash", "-c",
                   "echo '#include <mpi.h>' | mpicc." + flavour
                       + " -DOMPI_OMIT_MPI1_COMPAT_DECLS=0 -DOMPI_REMOVED_USE_STATIC_ASSERT=0 -E -P -x c - "
                         "2>/dev/null"})
        .output;
}

Parameters parametersIn(const std::string &list)
{
    Parameters parameters;
    std::istringstream stream(list);
    std::string parameter;
    while (std::getline(stream, parameter, ','))
        parameters.push_back(parameter);
    return parameters == Parameters{"void"} ? Parameters{} : parameters;
}

// Every declared function whose name begins with MPI_ and goes on in mixed case.
std::map<std::string, Parameters> declarationsIn(std::string header)
{
    std::replace(header.begin(), header.end(), '\n', ' ');
    const std::regex declaration("\\b(MPI_[A-Z]\\w*[a-z]\\w*) *\\(([^()]*)\\)");
    std::map<std::string, Parameters> declarations;
    for (auto it = std::sregex_iterator(header.begin(), header.end(), declaration);
         it != std::sregex_iterator(); ++it)
        declarations.emplace((*it)[1], parametersIn((*it)[2]));
    return declarations;
}

// One word each, the result code, and the length of each text.
std::size_t fortranWords(const Parameters &parameters)
{
    const auto texts = std::count_if(parameters.begin(), parameters.end(),
        [](const std::string &parameter) { return parameter.find("char") != std::string::npos; });
    return parameters.size() + 1 + static_cast<std::size_t>(texts);
}

// Calls of later versions of the standard, of its large counts, and those that are left out on purpose.
bool isLeftOut(const std::string &name)
{
    static const std::set<std::string> names{
        "MPI_Pcontrol", "MPI_Wtime", "MPI_Wtick", "MPI_Aint_add", "MPI_Aint_diff"};
    return names.count(name) != 0
        || std::regex_search(name, std::regex("_(c2f|f2c|c2f08|f082c|f082f|f2f08)$|_fn$|_function$"));
}

class MpiTable : public testing::TestWithParam<const char *> { };

} // namespace

TEST_P(MpiTable, HasTheArgumentCountsOfTheHeader)
{
    const std::string header = headerOf(GetParam());
    if (header.empty())
        GTEST_SKIP() << "Requires " << GetParam();
    const std::map<std::string, Parameters> declarations = declarationsIn(header);
    EXPECT_GE(declarations.size(), 380U);
    // What these take in Fortran differs from C.
    const std::map<std::string, std::size_t> ownWords{{"MPI_Init", 1}, {"MPI_Init_thread", 3}};
    for (const auto &[name, row] : table()) {
        const auto found = declarations.find(name);
        ASSERT_NE(found, declarations.end()) << name;
        EXPECT_EQ(row.words, found->second.size()) << name;
        if (row.fortranWords == 0)
            continue;
        const auto own = ownWords.find(name);
        EXPECT_EQ(row.fortranWords, own != ownWords.end() ? own->second : fortranWords(found->second))
            << name;
    }
}

TEST(MpiNames, MissesNoCallThatBothImplementationsHave)
{
    const std::map<std::string, Parameters> first = declarationsIn(headerOf("openmpi"));
    const std::map<std::string, Parameters> second = declarationsIn(headerOf("mpich"));
    if (first.empty() || second.empty())
        GTEST_SKIP() << "Requires openmpi and mpich";
    for (const auto &[name, parameters] : first) {
        if (second.count(name) != 0 && !isLeftOut(name)) {
            EXPECT_EQ(table().count(name), 1U) << name;
        }
    }
}

TEST(MpiNames, HasFortransNamesInLowerCase)
{
    for (const auto &[name, fortran] : fortranNames()) {
        std::string lower = name;
        std::transform(
            lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
        EXPECT_EQ(fortran, lower);
    }
}

INSTANTIATE_TEST_SUITE_P(Sampler, MpiTable, testing::Values("openmpi", "mpich"),
    [](const testing::TestParamInfo<const char *> &row) { return std::string(row.param); });
