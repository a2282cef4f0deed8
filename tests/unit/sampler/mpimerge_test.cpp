// Ranks that merge their profiles where they end MPI, under each implementation that is there.

#include "job.h"
#include "spoolfile.h"

#include "core/mergedformat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

namespace merged = fern::merged;

struct Flavour {
    const char *name;
    Command launcher;
};

void PrintTo(const Flavour &flavour, std::ostream *stream)
{
    *stream << flavour.name;
}

// What a job of so many ranks left behind.
struct Job {
    Folder folder;
    Outcome outcome;
    std::vector<std::string> merged;
    std::vector<SpoolFile> spools; // of the ranks

    Job(const Flavour &flavour, int ranks, const Command &program, Environment environment = {})
    {
        for (const auto &[name, value] : samplingInto(folder.path()))
            environment.emplace(name, value);
        environment.emplace("QUILLON_SAMPLER_EPOCH", "1700000000000000000");
        environment.emplace("QUILLON_SAMPLER_MERGE", "1000");
        outcome = runAlone(flavour, ranks, program, environment);
        for (const auto &file : std::filesystem::directory_iterator(folder.path())) {
            if (file.path().extension() == ".merged")
                merged.push_back(file.path());
        }
        for (const SpoolFile &spool : spoolsIn(folder.path())) {
            if (spool.complaint().empty() && spool.has(spool::FlagMpi))
                spools.push_back(spool);
        }
    }
    static Outcome runAlone(
        const Flavour &flavour, int ranks, const Command &program, Environment environment = {})
    {
        Command command = flavour.launcher;
        command.insert(command.end(), {"-n", std::to_string(ranks)});
        command.insert(command.end(), program.begin(), program.end());
        environment["OMPI_ALLOW_RUN_AS_ROOT"] = "1";
        environment["OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"] = "1";
        return run(command, environment);
    }
};

std::vector<std::uint64_t> bytesOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::vector<std::uint64_t> bytes((text.size() + 7) / 8); // for their alignment
    std::memcpy(bytes.data(), text.data(), text.size());
    return bytes;
}

// Seconds of main threads' time in a category.
double secondsOf(const merged::View &view, spool::Category category)
{
    const std::uint64_t *hits = view.hits(0, category);
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; hits != nullptr && i < view.header().sampleCount; ++i)
        sum += hits[i];
    return double(sum) * double(spool::HitUnitNs) / 1e9;
}

// Ranks wait for each other for a minute where that isn't known to be in vain.
constexpr std::chrono::seconds FarFromPatience{30};

class MpiMerge : public testing::TestWithParam<Flavour> {
protected:
    void SetUp() override
    {
        if (access(program().c_str(), X_OK) != 0)
            GTEST_SKIP() << "Requires " << GetParam().name;
    }
    static std::string program() { return client(std::string("mpimerge-") + GetParam().name); }
};

} // namespace

TEST_P(MpiMerge, OneFileIsLeftOfAllRanks)
{
    for (const int ranks : {2, 5}) {
        const Job job(GetParam(), ranks, {program(), "uneven"});
        EXPECT_EQ(job.outcome.status, 0) << job.outcome;
        EXPECT_EQ(job.spools.size(), 0U);
        ASSERT_EQ(job.merged.size(), 1U);
        const std::vector<std::uint64_t> bytes = bytesOf(job.merged.front());
        merged::View view;
        ASSERT_TRUE(view.open(bytes.data(), std::filesystem::file_size(job.merged.front())));
        EXPECT_EQ(view.header().ranks, ranks);
        EXPECT_EQ(view.header().nodes, 1);
        EXPECT_EQ(view.header().processCount, std::uint32_t(ranks));
        EXPECT_EQ(view.header().wholeRun[spool::FigureCpuTime].count, std::uint64_t(ranks));
        // Each computes for 0.3 s and for 0.1 s for every rank before it; what isn't looked at is at the
        // ends.
        EXPECT_GE(secondsOf(view, spool::Compute), 0.8 * (0.3 * ranks + 0.1 * ranks * (ranks - 1) / 2));
        // And all but the last wait at the end.
        EXPECT_GE(secondsOf(view, spool::MpiOther), 0.05);
    }
}

TEST_P(MpiMerge, TheProgramDoesNotNotice)
{
    const auto lines = [](const std::string &output) { return output.substr(0, output.find("finalize")); };
    const Outcome alone = Job::runAlone(GetParam(), 3, {program(), "attribute"});
    const Job job(GetParam(), 3, {program(), "attribute"});
    EXPECT_EQ(job.merged.size(), 1U);
    EXPECT_EQ(job.outcome.status, alone.status);
    EXPECT_EQ(lines(job.outcome.output), lines(alone.output));
    EXPECT_EQ(job.outcome.errors, alone.errors);
}

TEST_P(MpiMerge, ARankThatComesTooLateLeavesAllToTheHost)
{
    const Job job(GetParam(), 3, {program(), "late", "1.5"}, {{"QUILLON_SAMPLER_PATIENCE", "300"}});
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    EXPECT_EQ(job.merged.size(), 0U);
    EXPECT_EQ(job.spools.size(), 3U);
    for (const SpoolFile &spool : job.spools)
        EXPECT_TRUE(spool.has(spool::FlagMpiFinalized));
}

TEST_P(MpiMerge, ARankThatIsLateIsWaitedFor)
{
    const Job job(GetParam(), 3, {program(), "late", "1.5"});
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    EXPECT_EQ(job.merged.size(), 1U);
}

// What becomes of the job is the launcher's business.
TEST_P(MpiMerge, ARankThatNeverComesLeavesAllToTheHost)
{
    const auto before = std::chrono::steady_clock::now();
    const Job job(GetParam(), 3, {program(), "exit"});
    EXPECT_LT(std::chrono::steady_clock::now() - before, FarFromPatience);
    EXPECT_EQ(job.merged.size(), 0U);
    EXPECT_EQ(job.spools.size(), 3U);
}

TEST_P(MpiMerge, ARankThatIsNotSampledLeavesAllToTheHost)
{
    const auto before = std::chrono::steady_clock::now();
    const Job job(
        GetParam(), 3, {program(), "plain", ":", "-n", "1", "env", "-u", "LD_PRELOAD", program(), "plain"});
    EXPECT_LT(std::chrono::steady_clock::now() - before, FarFromPatience);
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    EXPECT_EQ(job.merged.size(), 0U);
    EXPECT_EQ(job.spools.size(), 3U);
}

// Those of a job before have gone and don't stand in for it.
TEST_P(MpiMerge, ARankThatIsNotSampledInTheSecondJobOfAScript)
{
    std::string launch;
    for (const std::string &word : GetParam().launcher)
        launch += word + " ";
    const std::string script = launch + "-n 3 " + program() + " plain && exec " + launch + "-n 2 " + program()
        + " plain : -n 1 env -u LD_PRELOAD " + program() + " plain";
    const Folder folder;
    Environment environment = samplingInto(folder.path());
    environment["QUILLON_SAMPLER_EPOCH"] = "1700000000000000000";
    environment["QUILLON_SAMPLER_MERGE"] = "1000";
    environment["OMPI_ALLOW_RUN_AS_ROOT"] = "1";
    environment["OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"] = "1";
    const auto before = std::chrono::steady_clock::now();
    const Outcome outcome = run({"sh", "-c", script}, environment);
    EXPECT_LT(std::chrono::steady_clock::now() - before, FarFromPatience);
    EXPECT_EQ(outcome.status, 0) << outcome;
    int spools = 0;
    for (const SpoolFile &spool : spoolsIn(folder.path()))
        spools += spool.complaint().empty() && spool.has(spool::FlagMpi) ? 1 : 0;
    EXPECT_EQ(spools, 2);
}

// As on a node of their own: nobody knows of it.
TEST_P(MpiMerge, ARankThatIsNotKnownToBeMissingIsWaitedForBriefly)
{
    const auto before = std::chrono::steady_clock::now();
    const Job job(GetParam(), 2,
        {"env", "-u", "OMPI_COMM_WORLD_LOCAL_SIZE", "-u", "MPI_LOCALNRANKS", "-u", "PMI_LOCAL_SIZE",
            program(), "plain", ":", "-n", "1", "env", "-u", "LD_PRELOAD", program(), "plain"});
    const auto passed = std::chrono::steady_clock::now() - before;
    EXPECT_GE(passed, std::chrono::seconds(2));
    EXPECT_LT(passed, FarFromPatience);
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    EXPECT_EQ(job.merged.size(), 0U);
    EXPECT_EQ(job.spools.size(), 2U);
}

TEST_P(MpiMerge, RanksOfSeveralNodes)
{
    if (run({"unshare", "--uts", "true"}).status != 0)
        GTEST_SKIP() << "Requires permission to give a process a host name of its own (unshare --uts)";
    const std::string script
        = "rank=${OMPI_COMM_WORLD_RANK:-$PMI_RANK}; hostname node$((rank / 2)).example && exec " + program()
        + " uneven";
    const Job job(GetParam(), 5, {"unshare", "--uts", "sh", "-c", script});
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    EXPECT_EQ(job.spools.size(), 0U);
    ASSERT_EQ(job.merged.size(), 1U);
    const std::vector<std::uint64_t> bytes = bytesOf(job.merged.front());
    merged::View view;
    ASSERT_TRUE(view.open(bytes.data(), std::filesystem::file_size(job.merged.front())));
    EXPECT_EQ(view.header().ranks, 5);
    EXPECT_EQ(view.header().nodes, 3);
    EXPECT_EQ(view.header().logicalCores.count, 3U);
    EXPECT_GE(secondsOf(view, spool::Compute), 0.8 * (0.3 * 5 + 0.1 * 10));
}

TEST_P(MpiMerge, WhatARankDoesForLongAfterwardsHasASpoolOfItsOwn)
{
    const Job job(GetParam(), 2, {program(), "tail", "1.5"});
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    ASSERT_EQ(job.merged.size(), 1U);
    ASSERT_EQ(job.spools.size(), 1U);
    const std::vector<std::uint64_t> bytes = bytesOf(job.merged.front());
    const spool::Header &header = job.spools.front().header();
    EXPECT_EQ(header.mpiRank, 0);
    EXPECT_NE(header.flags & spool::FlagMerged, 0U);
    EXPECT_EQ(header.world, reinterpret_cast<const merged::Header *>(bytes.data())->world);
    const double lived = double(header.lastNs - header.startNs) / 1e9;
    EXPECT_GE(lived, 1.4);
    const spool::Bin total = job.spools.front().total();
    EXPECT_GE(percent(total.mainHits, spool::Compute), 75.0);
    EXPECT_LE(double(sum(total.mainHits)) * double(spool::HitUnitNs) / 1e9, 1.1 * lived);
}

TEST_P(MpiMerge, ALibraryThatAModuleLoadedForItselfAlone)
{
    const std::string module = std::string(CLIENTS_DIR) + "/mpishares-" + GetParam().name + ".so";
    const Job job(GetParam(), 2, {client("loader"), module, "0.2", "0.2"});
    EXPECT_EQ(job.outcome.status, 0) << job.outcome;
    EXPECT_EQ(job.merged.size(), 1U);
}

TEST_P(MpiMerge, FortranByAllItsBindings)
{
    for (const char *binding : {"mpif", "use", "f08"}) {
        const std::string fortran = client(std::string("mpifortran-") + binding + "-" + GetParam().name);
        if (access(fortran.c_str(), X_OK) != 0)
            GTEST_SKIP() << "Requires a Fortran compiler of " << GetParam().name;
        const auto sortedLines = [](std::string text) {
            std::sort(text.begin(), text.end());
            return text;
        };
        const Outcome alone = Job::runAlone(GetParam(), 2, {fortran, "results"});
        const Job job(GetParam(), 2, {fortran, "results"});
        EXPECT_EQ(job.merged.size() + job.spools.size() / 2, 1U) << binding; // it may have ended too soon
        EXPECT_EQ(job.outcome.status, 0) << job.outcome;
        EXPECT_EQ(sortedLines(job.outcome.output), sortedLines(alone.output)) << binding;
        const Job shares(GetParam(), 2, {fortran, "shares"});
        EXPECT_EQ(shares.merged.size(), 1U) << binding;
    }
}

INSTANTIATE_TEST_SUITE_P(Sampler, MpiMerge,
    testing::Values(
        Flavour{"openmpi", {"mpirun.openmpi", "--oversubscribe"}}, Flavour{"mpich", {"mpiexec.mpich"}}),
    [](const testing::TestParamInfo<Flavour> &row) { return std::string(row.param.name); });
