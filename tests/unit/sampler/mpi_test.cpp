// MPI: two ranks, a known share of waiting, under each implementation that is there.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <tuple>
#include <unistd.h>

namespace {

constexpr double Points = 5.0;

struct Flavour {
    const char *name;
    Command launcher;
};

void PrintTo(const Flavour &flavour, std::ostream *stream)
{
    *stream << flavour.name;
}

const Flavour OpenMpi{"openmpi", {"mpirun.openmpi", "--oversubscribe"}};
const Flavour Mpich{"mpich", {"mpiexec.mpich"}};

class Mpi : public testing::TestWithParam<Flavour> { };

// An implementation, and one of its bindings.
class MpiFortran : public testing::TestWithParam<std::tuple<Flavour, const char *>> {
protected:
    static Flavour flavour() { return std::get<0>(GetParam()); }
    static std::string program()
    {
        return client(std::string("mpifortran-") + std::get<1>(GetParam()) + "-" + flavour().name);
    }
    static bool isThere() { return access(program().c_str(), X_OK) == 0; }
};

const SpoolFile *spoolOfRank(int rank, const std::vector<SpoolFile> &spools)
{
    for (const SpoolFile &spool : spools) {
        if (spool.has(spool::FlagMpi) && spool.header().mpiRank == rank)
            return &spool;
    }
    return nullptr;
}

Outcome runTwoRanks(const Flavour &flavour, const Command &program, Environment environment)
{
    Command command = flavour.launcher;
    command.insert(command.end(), {"-n", "2"});
    command.insert(command.end(), program.begin(), program.end());
    environment["OMPI_ALLOW_RUN_AS_ROOT"] = "1";
    environment["OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"] = "1";
    return run(command, environment);
}

// A run of two ranks of a program.
struct TwoRanks {
    Folder folder;
    Outcome outcome;
    std::vector<SpoolFile> spools;
    std::map<std::string, double> measured; // by the ranks

    TwoRanks(const Flavour &flavour, const Command &program)
    {
        outcome = runTwoRanks(flavour, program, samplingInto(folder.path()));
        EXPECT_EQ(outcome.status, 0) << outcome;
        measured = numbersIn(outcome.output);
        spools = spoolsIn(folder.path());
    }
    // What a rank printed.
    double of(int rank, const std::string &name) const
    {
        const auto found = measured.find("rank" + std::to_string(rank) + "." + name);
        return found != measured.end() ? found->second : 0.0;
    }
};

std::vector<std::string> sortedLines(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(stream, line))
        lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    return lines;
}

void checkShares(const TwoRanks &ranks)
{
    for (int rank = 0; rank < 2; ++rank) {
        const SpoolFile *spool = spoolOfRank(rank, ranks.spools);
        ASSERT_NE(spool, nullptr) << "rank " << rank;
        EXPECT_EQ(spool->complaint(), "");
        const double whole = static_cast<double>(spool->header().lastNs - spool->header().startNs) / 1e9;
        const spool::Bin total = spool->total();
        const auto check = [&](spool::Category category, const char *name) {
            EXPECT_NEAR(percent(total.mainHits, category), 100.0 * ranks.of(rank, name) / whole, Points)
                << "rank " << rank << ", " << name;
        };
        check(spool::Compute, "compute");
        check(spool::MpiPointToPoint, "pointToPoint");
        check(spool::MpiCollective, "collective");
        // The program has one thread; those that the library makes for itself aren't its own.
        EXPECT_EQ(spool->header().maxThreads, 1);
        EXPECT_EQ(sum(total.otherHits), 0U);
        EXPECT_EQ(spool->header().mpiSize, 2);
        EXPECT_TRUE(spool->has(spool::FlagMpiFinalized));
        EXPECT_TRUE(spool->has(spool::FlagEnded));
    }
    for (const SpoolFile &spool : ranks.spools)
        EXPECT_NE(spool.has(spool::FlagMpi), spool.has(spool::FlagLauncher)) << spool.program();
}

// Against what the ranks printed by these names.
void checkBytes(const TwoRanks &ranks, const char *pointToPoint, const char *collective)
{
    for (int rank = 0; rank < 2; ++rank) {
        const SpoolFile *spool = spoolOfRank(rank, ranks.spools);
        ASSERT_NE(spool, nullptr) << "rank " << rank;
        const spool::Bin total = spool->total();
        EXPECT_GT(ranks.of(rank, pointToPoint), 0.0);
        EXPECT_GT(ranks.of(rank, collective), 0.0);
        EXPECT_NEAR(total.figures[spool::FigureMpiPointToPointBytes].sum, ranks.of(rank, pointToPoint), 0.01);
        EXPECT_NEAR(total.figures[spool::FigureMpiCollectiveBytes].sum, ranks.of(rank, collective), 0.01);
    }
}

} // namespace

TEST_P(Mpi, WaitsOfTwoRanks)
{
    const std::string program = client(std::string("mpishares-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    checkShares(TwoRanks(GetParam(), {program, "0.8", "0.8"}));
}

TEST_P(Mpi, WaitsInAModuleThatIsLoadedForItselfAlone)
{
    const std::string module = std::string(CLIENTS_DIR) + "/mpishares-" + GetParam().name + ".so";
    if (access(module.c_str(), R_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    checkShares(TwoRanks(GetParam(), {client("loader"), module, "0.8", "0.8"}));
}

TEST_P(Mpi, BytesSentAndReceived)
{
    const std::string program = client(std::string("mpibytes-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    checkBytes(TwoRanks(GetParam(), {program}), "pointToPoint", "collective");
}

TEST_P(Mpi, ReceivesCountAsLongAsWhatCame)
{
    const std::string program = client(std::string("mpirequests-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    const Outcome alone = runTwoRanks(GetParam(), {program}, {});
    const TwoRanks ranks(GetParam(), {program});
    EXPECT_EQ(sortedLines(ranks.outcome.output), sortedLines(alone.output));
    EXPECT_EQ(ranks.outcome.errors, alone.errors);
    checkBytes(ranks, "pointToPoint", "collective");
}

// As programs have them that are linked to a tool of their own, or preload one behind the sampler.
TEST_P(Mpi, AnotherToolBehindTheSamplerSeesTheCalls)
{
    const std::string program = client(std::string("mpibytes-") + GetParam().name);
    const std::string tool = std::string(CLIENTS_DIR) + "/mpitool-" + GetParam().name + ".so";
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    const Folder folder;
    Environment both = samplingInto(folder.path());
    both["LD_PRELOAD"] += ":" + tool;
    const Outcome alone = runTwoRanks(GetParam(), {program}, {{"LD_PRELOAD", tool}});
    const Outcome sampled = runTwoRanks(GetParam(), {program}, both);
    EXPECT_EQ(alone.status, 0) << alone;
    EXPECT_EQ(alone.errors, "3 barriers, 0 reductions\n3 barriers, 0 reductions\n");
    EXPECT_EQ(sampled.errors, alone.errors);
    EXPECT_EQ(sortedLines(sampled.output), sortedLines(alone.output));
}

TEST_P(Mpi, ASessionAloneMakesARank)
{
    const std::string program = client(std::string("mpisession-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires a version of " << GetParam().name << " that has sessions";
    const TwoRanks ranks(GetParam(), {program});
    for (int rank = 0; rank < 2; ++rank) {
        const SpoolFile *spool = spoolOfRank(rank, ranks.spools);
        ASSERT_NE(spool, nullptr) << "rank " << rank;
        EXPECT_EQ(spool->header().mpiSize, 2);
        EXPECT_TRUE(spool->has(spool::FlagMpiFinalized));
        EXPECT_EQ(ranks.of(rank, "sum"), 3);
        EXPECT_NEAR(
            spool->total().figures[spool::FigureMpiCollectiveBytes].sum, ranks.of(rank, "collective"), 0.01);
    }
}

TEST(MpiNames, WithoutAnMpiLibraryMeanWhatTheyMeantOrFail)
{
    const Folder folder;
    EXPECT_EQ(run({client("mpinames")}).output, "foreign 321\n");
    const Outcome sampled = run({client("mpinames")}, samplingInto(folder.path()));
    EXPECT_EQ(sampled.output, "foreign 321\nC fails 1, session 5\nFortran fails 1, session 5\n") << sampled;
    EXPECT_EQ(sampled.status, 0);
}

INSTANTIATE_TEST_SUITE_P(Sampler, Mpi, testing::Values(OpenMpi, Mpich),
    [](const testing::TestParamInfo<Flavour> &row) { return std::string(row.param.name); });

TEST_P(MpiFortran, ConstantsThatOnlyFortranHasMeanTheSame)
{
    if (!isThere())
        GTEST_SKIP() << "Requires a Fortran compiler of " << flavour().name;
    const Folder folder;
    const Command command{program(), "results"};
    const Outcome alone = runTwoRanks(flavour(), command, {});
    const Outcome sampled = runTwoRanks(flavour(), command, samplingInto(folder.path()));
    EXPECT_EQ(alone.status, 0) << alone;
    EXPECT_EQ(sampled.status, 0) << sampled;
    // The launcher mixes the lines of two ranks as they come.
    EXPECT_EQ(sortedLines(sampled.output), sortedLines(alone.output));
    EXPECT_EQ(sampled.errors, alone.errors);
    EXPECT_EQ(sortedLines(alone.output).size(), 24U) << alone;
}

TEST_P(MpiFortran, WaitsAndBytesOfTwoRanks)
{
    if (!isThere())
        GTEST_SKIP() << "Requires a Fortran compiler of " << flavour().name;
    const TwoRanks ranks(flavour(), {program(), "shares"});
    checkShares(ranks);
    checkBytes(ranks, "bytesPointToPoint", "bytesCollective");
}

TEST_P(MpiFortran, BytesWithConstantsThatOnlyFortranHas)
{
    if (!isThere())
        GTEST_SKIP() << "Requires a Fortran compiler of " << flavour().name;
    checkBytes(TwoRanks(flavour(), {program(), "bytes"}), "bytesPointToPoint", "bytesCollective");
}

TEST_P(MpiFortran, ProcessesAreStartedWithoutArgumentsAndCodes)
{
    if (!isThere())
        GTEST_SKIP() << "Requires a Fortran compiler of " << flavour().name;
    const Command command{program(), "spawn"};
    const Outcome alone = runTwoRanks(flavour(), command, {});
    if (alone.status != 0)
        GTEST_SKIP() << "Requires an MPI library that can start processes here";
    const Folder folder;
    const Outcome sampled = runTwoRanks(flavour(), command, samplingInto(folder.path()));
    EXPECT_EQ(sampled.status, 0) << sampled;
    EXPECT_EQ(sortedLines(sampled.output), sortedLines(alone.output));
    EXPECT_EQ(sortedLines(alone.output), (std::vector<std::string>{"answer 0 42.0", "answer 1 .0"}));
}

INSTANTIATE_TEST_SUITE_P(Sampler, MpiFortran,
    testing::Combine(testing::Values(OpenMpi, Mpich), testing::Values("mpif", "use", "f08")),
    [](const testing::TestParamInfo<MpiFortran::ParamType> &row) {
        return std::string(std::get<0>(row.param).name) + "_" + std::get<1>(row.param);
    });
