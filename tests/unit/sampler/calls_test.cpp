// Every wrapped call of the C library and of GCC's OpenMP runtime gives what it gives unwatched: results,
// errno, what was read, and files.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <unistd.h>

namespace {

using Names = std::set<std::string>;

// Of the C library.
constexpr const char *Clients[] = {"filecalls", "streamcalls", "threadcalls"};
// Of GCC's OpenMP runtime.
constexpr const char *GompClient = "gompcalls";

std::map<std::string, std::string> filesIn(const Folder &folder)
{
    std::map<std::string, std::string> files;
    for (const auto &entry : std::filesystem::directory_iterator(folder.path())) {
        std::ifstream file(entry.path());
        files[entry.path().filename()] = {std::istreambuf_iterator<char>(file), {}};
    }
    return files;
}

// What a program has other libraries do, without the version behind each name.
Names namesNeededBy(const std::string &program)
{
    std::istringstream lines(run({NM_PROGRAM, "--dynamic", "--undefined-only", program}).output);
    Names names;
    std::string kind;
    std::string name;
    while (lines >> kind >> name)
        names.insert(name.substr(0, name.find('@')));
    return names;
}

Names without(const Names &all, const Names &those)
{
    Names rest;
    std::set_difference(all.begin(), all.end(), those.begin(), those.end(), std::inserter(rest, rest.end()));
    return rest;
}

bool isBuilt(const char *name)
{
    return access(client(name).c_str(), X_OK) == 0;
}

class WrappedCalls : public testing::TestWithParam<const char *> { };

} // namespace

TEST_P(WrappedCalls, GiveWhatTheyGiveUnwatched)
{
    if (!isBuilt(GetParam()))
        GTEST_SKIP() << "Requires GCC 12, to build " << GetParam();
    const Folder first;
    const Folder second;
    const Folder spools;
    const Outcome alone = run({client(GetParam()), first.path()});
    EXPECT_EQ(run({client(GetParam()), second.path()}, samplingInto(spools.path())), alone);
    EXPECT_EQ(alone.status, 0) << alone;
    EXPECT_EQ(filesIn(first), filesIn(second));
    const std::vector<SpoolFile> found = spoolsOf(std::string("client-") + GetParam(), spools.path());
    ASSERT_FALSE(found.empty());
    for (const SpoolFile &spool : found)
        EXPECT_EQ(spool.complaint(), "");
}

INSTANTIATE_TEST_SUITE_P(CLibrary, WrappedCalls, testing::ValuesIn(Clients),
    [](const testing::TestParamInfo<const char *> &row) { return row.param; });
INSTANTIATE_TEST_SUITE_P(OpenMp, WrappedCalls, testing::Values(GompClient),
    [](const testing::TestParamInfo<const char *> &row) { return row.param; });

// A row of a table whose call nobody tries is missing here.
TEST(WrappedCallsOfTheCLibrary, AreAllAmongThoseTried)
{
    Names tried;
    for (const char *name : Clients)
        tried.merge(namesNeededBy(client(name)));
    const Names wrapped{
#define FERN_CALL(result, name, parameters, arguments, category, condition) #name,
#define FERN_ALONE(result, name, parameters, arguments) #name,
#define FERN_SPECIAL(result, name, parameters) #name,
#include "wrappers/calls.def"
    };
    EXPECT_EQ(without(wrapped, tried), Names());
}

TEST(WrappedCallsOfOpenMp, AreAllAmongThoseTried)
{
    if (!isBuilt(GompClient))
        GTEST_SKIP() << "Requires GCC 12, to build " << GompClient;
    const Names wrapped{
#define FERN_GOMP_REGION(name, words) #name,
#define FERN_GOMP_TASKS(name, words) #name,
#define FERN_GOMP_RUNTIME(name, words) #name,
#include "openmp/gompcalls.def"
    };
    EXPECT_EQ(without(wrapped, namesNeededBy(client(GompClient))), Names());
}
