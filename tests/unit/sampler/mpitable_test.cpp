// The table of MPI calls against the headers of the implementations that are there, and against the document.

#include "job.h"
#include "mpi/generator/calltable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

using fern::mpi::generator::CallRow;
using fern::mpi::generator::CallTable;
using fern::mpi::generator::readCallTable;

namespace {

using Parameters = std::vector<std::string>;
using Declarations = std::map<std::string, Parameters>;

const std::vector<CallRow> &table()
{
    static const CallTable read = [] {
        std::ifstream file(MPI_TABLE);
        return readCallTable(file);
    }();
    EXPECT_EQ(read.complaint, "");
    return read.rows;
}

// What the compiler sees of an implementation's header, removed calls included; nothing if the implementation
// isn't there.
std::string headerOf(const std::string &flavour)
{
    return run({"bash", "-c",
                   "echo '#include <mpi.h>\nversion is MPI_VERSION' | mpicc." + flavour
                       + " -DOMPI_OMIT_MPI1_COMPAT_DECLS=0 -DOMPI_REMOVED_USE_STATIC_ASSERT=0 -E -P -x c - "
                         "2>/dev/null"})
        .output;
}

// Of the standard that a header follows, without what is behind the point.
int versionIn(const std::string &header)
{
    std::smatch match;
    return std::regex_search(header, match, std::regex("version is (\\d+)")) ? std::stoi(match[1]) : 0;
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
Declarations declarationsIn(std::string header)
{
    std::replace(header.begin(), header.end(), '\n', ' ');
    const std::regex declaration("\\bint (MPI_[A-Z]\\w*[a-z]\\w*) *\\(([^()]*)\\)");
    Declarations declarations;
    for (auto it = std::sregex_iterator(header.begin(), header.end(), declaration);
         it != std::sregex_iterator(); ++it)
        declarations.emplace((*it)[1], parametersIn((*it)[2]));
    return declarations;
}

std::size_t textsIn(const Parameters &parameters)
{
    return static_cast<std::size_t>(std::count_if(parameters.begin(), parameters.end(),
        [](const std::string &parameter) { return parameter.find("char") != std::string::npos; }));
}

// Those that are left out on purpose.
bool isLeftOut(const std::string &name)
{
    static const std::set<std::string> names{"MPI_Pcontrol"};
    return names.count(name) != 0
        || std::regex_search(name, std::regex("_(c2f|f2c|c2f08|f082c|f082f|f2f08)$|_fn$|_function$"));
}

void checkArguments(const Declarations &declarations, const std::string &name, const CallRow &row)
{
    const auto found = declarations.find(name);
    ASSERT_NE(found, declarations.end()) << name;
    EXPECT_EQ(static_cast<std::size_t>(row.arguments), found->second.size()) << name;
    if (!row.isInFortran())
        return;
    // In Fortran these know nothing of main()'s arguments.
    static const std::map<std::string, int> own{{"Init", 1}, {"Init_thread", 3}, {"Info_create_env", 2}};
    const auto isOwn = own.find(row.name);
    EXPECT_EQ(row.fortranArguments, isOwn != own.end() ? isOwn->second : row.arguments + 1) << name;
    EXPECT_EQ(static_cast<std::size_t>(row.texts), isOwn != own.end() ? 0 : textsIn(found->second)) << name;
}

class MpiTable : public testing::TestWithParam<const char *> { };

} // namespace

TEST_P(MpiTable, HasTheArgumentsOfTheHeader)
{
    const std::string header = headerOf(GetParam());
    if (header.empty())
        GTEST_SKIP() << "Requires " << GetParam();
    const Declarations declarations = declarationsIn(header);
    EXPECT_GE(declarations.size(), 380U);
    const int version = versionIn(header);
    ASSERT_GE(version, 3);
    for (const CallRow &row : table()) {
        // A library may be ahead of the version that it states.
        const std::string name = "MPI_" + row.name;
        if (row.since.front() - '0' <= version && row.since != "4.1")
            checkArguments(declarations, name, row);
        else if (declarations.count(name) != 0)
            checkArguments(declarations, name, row);
        if (row.hasLarge && declarations.count(name + "_c") != 0)
            checkArguments(declarations, name + "_c", row);
        else
            EXPECT_FALSE(row.hasLarge && version >= 4 && row.since != "4.1") << name;
    }
}

TEST_P(MpiTable, MissesNoCallOfTheHeader)
{
    const std::string header = headerOf(GetParam());
    if (header.empty())
        GTEST_SKIP() << "Requires " << GetParam();
    std::set<std::string> names;
    for (const CallRow &row : table()) {
        names.insert("MPI_" + row.name);
        if (row.hasLarge)
            names.insert("MPI_" + row.name + "_c");
    }
    for (const auto &[name, parameters] : declarationsIn(header))
        EXPECT_TRUE(names.count(name) == 1 || isLeftOut(name)) << name;
}

INSTANTIATE_TEST_SUITE_P(Sampler, MpiTable, testing::Values("openmpi", "mpich"),
    [](const testing::TestParamInfo<const char *> &row) { return std::string(row.param); });

// Rows "| rule | calls | ... |" of the document, each rule with its calls.
TEST(MpiTableInTheDocument, NamesTheCallsOfEachRule)
{
    std::map<std::string, std::set<std::string>> expected;
    for (const CallRow &row : table()) {
        if (!row.rule.empty())
            expected[row.rule].insert(row.name);
    }
    std::map<std::string, std::set<std::string>> written;
    std::ifstream document(SAMPLER_DOCUMENT);
    std::string line;
    std::smatch match;
    while (std::getline(document, line)) {
        if (!std::regex_match(line, match, std::regex("\\| `(\\w+)` \\| ([^|]*) \\| [^|]+ \\|")))
            continue;
        const std::string calls = match[2];
        const std::regex call("`(\\w+)`");
        for (auto it = std::sregex_iterator(calls.begin(), calls.end(), call); it != std::sregex_iterator();
             ++it)
            written[match[1]].insert((*it)[1]);
    }
    EXPECT_EQ(written, expected);
}
