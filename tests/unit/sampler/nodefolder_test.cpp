// Nodes that don't see the host's folder for spools: what becomes of them there, by the sampler and by the
// keeper.

#include "job.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string nodeName()
{
    utsname node{};
    uname(&node);
    return node.nodename;
}

template <typename Condition> bool comesTrue(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    return condition();
}

int filesIn(const std::string &folder, const std::string &extension)
{
    int count = 0;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(folder, error))
        count += entry.path().extension() == extension ? 1 : 0;
    return count;
}

unsigned modeOf(const std::string &path)
{
    struct stat status { };
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
}

class NodeFolder : public testing::Test {
protected:
    void SetUp() override
    {
        fs::create_directory(temporary());
        fs::create_directory(mFolder.path() + "/begun");
        fs::create_directory(elsewhere());
    }
    // Keepers don't outlive the test.
    void TearDown() override
    {
        EXPECT_TRUE(comesTrue([this] { return filesIn(gather(), ".keeper") == 0; }));
    }

    std::string temporary() const { return mFolder.path() + "/tmp"; }
    std::string gather() const { return mFolder.path() + "/begun/.fern-abcdef"; }
    std::string elsewhere() const { return mFolder.path() + "/elsewhere"; }
    std::string ofNode() const { return temporary() + "/fern-abcdef-" + nodeName(); }
    // As the host does when it sees it.
    void seeGatherFolder() const
    {
        fs::create_directory(gather());
        fs::permissions(gather(), fs::perms::owner_all);
        fs::create_directory(gather() + "/host");
    }
    Outcome runJob(const Command &command) const
    {
        Environment variables = samplingInto(mFolder.path() + "/missing/spool");
        variables["QUILLON_SAMPLER_GATHER"] = gather();
        variables["QUILLON_SAMPLER_KEEPER"] = SPOOL_KEEPER;
        variables["TMPDIR"] = temporary();
        return run(command, variables);
    }
    Command keeper(const std::string &patience) const
    {
        return {SPOOL_KEEPER, ofNode(), gather(), gather() + "/n-1.keeper", nodeName(), patience};
    }
    // A spool of a process of the node.
    std::string makeSpool(pid_t process) const
    {
        const std::string name = nodeName() + '-' + std::to_string(process) + "-1.spool";
        fs::create_directory(ofNode());
        std::ofstream(ofNode() + '/' + name) << "bytes";
        return name;
    }

    Folder mFolder;
};

} // namespace

TEST_F(NodeFolder, SpoolsAreBroughtAndNothingStays)
{
    seeGatherFolder();
    const Outcome outcome = runJob({"sh", "-c",
        "umask 777; sleep 0.2 & sleep 0.3; stat -c %a \"$TMPDIR\"/fern-abcdef-* "
        "\"$TMPDIR\"/fern-abcdef-*/*.spool"
        " | sort -u; wait"});
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.output, "600\n700\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(comesTrue([this] { return !fs::exists(ofNode()); }));
    EXPECT_TRUE(comesTrue([this] { return filesIn(gather(), ".keeper") == 0; }));
    EXPECT_GE(filesIn(gather(), ".spool"), 3);
    EXPECT_EQ(modeOf(gather()), 0700U);
}

TEST_F(NodeFolder, IsNotMadeWhereTheHostsIs)
{
    fs::create_directories(mFolder.path() + "/missing/spool");
    EXPECT_EQ(runJob({"sleep", "0.1"}).status, 0);
    EXPECT_EQ(filesIn(mFolder.path() + "/missing/spool", ".spool"), 1);
    EXPECT_FALSE(fs::exists(ofNode()));
    EXPECT_FALSE(fs::exists(gather()));
}

TEST_F(NodeFolder, LinksAndFoldersOfOthersAreLeftAlone)
{
    fs::create_directory_symlink(elsewhere(), ofNode());
    EXPECT_EQ(runJob({"sleep", "0.1"}).status, 0);
    EXPECT_TRUE(fs::is_empty(elsewhere()));
    fs::remove(ofNode());

    fs::create_directory(ofNode());
    fs::permissions(ofNode(), fs::perms::all);
    EXPECT_EQ(runJob({"sleep", "0.1"}).status, 0);
    EXPECT_TRUE(fs::is_empty(ofNode()));
    EXPECT_FALSE(fs::exists(gather()));
}

TEST_F(NodeFolder, NothingIsBroughtThroughALink)
{
    fs::create_directory_symlink(elsewhere(), gather());
    EXPECT_EQ(runJob({"sleep", "0.1"}).status, 0);
    EXPECT_TRUE(comesTrue([this] { return !fs::exists(ofNode()); }));
    EXPECT_TRUE(fs::is_empty(elsewhere()));
}

TEST_F(NodeFolder, WithoutAKeeperTheProgramIsUnharmed)
{
    Environment variables = samplingInto(mFolder.path() + "/missing/spool");
    variables["QUILLON_SAMPLER_GATHER"] = gather();
    variables["QUILLON_SAMPLER_KEEPER"] = "/missing/keeper";
    variables["TMPDIR"] = temporary();
    const Outcome outcome = run({"sleep", "0.1"}, variables);
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_FALSE(fs::exists(gather()));
}

TEST_F(NodeFolder, TheKeeperTakesBackWhatNobodySees)
{
    makeSpool(0x7ffffff0); // there are none with such numbers
    std::ofstream(ofNode() + "/notes.ranks") << "left by a process that was killed";
    fs::create_directory(gather());
    const Outcome outcome = run(keeper("100"));
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_FALSE(fs::exists(ofNode()));
    EXPECT_FALSE(fs::exists(gather()));
}

TEST_F(NodeFolder, AKeeperThatIsAskedToEndBringsWhatIsThere)
{
    seeGatherFolder();
    const Folder outputs;
    const pid_t program = start({"sleep", "60"}, {}, outputs.path());
    const std::string spool = makeSpool(program);
    const pid_t process = start(keeper("100"), {}, outputs.path());
    std::this_thread::sleep_for(300ms);
    EXPECT_FALSE(fs::exists(gather() + '/' + spool));
    kill(process, SIGTERM);
    EXPECT_TRUE(comesTrue([&] { return fs::exists(gather() + '/' + spool); }));
    EXPECT_TRUE(fs::exists(ofNode() + '/' + spool));

    kill(program, SIGKILL); // and is a zombie until the test's end
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(fs::exists(ofNode()));
    EXPECT_EQ(fs::file_size(gather() + '/' + spool), 5U);
    EXPECT_EQ(waitpid(program, &status, 0), program);
}
