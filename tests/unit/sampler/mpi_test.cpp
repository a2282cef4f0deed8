// MPI: two ranks, a known share of waiting, under each implementation that is there.

#include "job.h"
#include "spoolfile.h"

#include <gtest/gtest.h>

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

class Mpi : public testing::TestWithParam<Flavour> { };

const SpoolFile *spoolOfRank(int rank, const std::vector<SpoolFile> &spools)
{
    for (const SpoolFile &spool : spools) {
        if (spool.has(spool::FlagMpi) && spool.header().mpiRank == rank)
            return &spool;
    }
    return nullptr;
}

// A run of two ranks of a program.
struct TwoRanks {
    Folder folder;
    Outcome outcome;
    std::vector<SpoolFile> spools;
    std::map<std::string, double> measured; // by the ranks

    TwoRanks(const Flavour &flavour, const Command &program)
    {
        Command command = flavour.launcher;
        command.insert(command.end(), {"-n", "2"});
        command.insert(command.end(), program.begin(), program.end());
        Environment environment = samplingInto(folder.path());
        environment["OMPI_ALLOW_RUN_AS_ROOT"] = "1";
        environment["OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"] = "1";
        outcome = run(command, environment);
        EXPECT_EQ(outcome.status, 0) << outcome;
        measured = numbersIn(outcome.output);
        spools = spoolsIn(folder.path());
    }
    // What a rank printed.
    double of(int rank, const std::string &name)
    {
        return measured["rank" + std::to_string(rank) + "." + name];
    }
};

void checkShares(const Flavour &flavour, const Command &program)
{
    TwoRanks ranks(flavour, program);
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

} // namespace

TEST_P(Mpi, WaitsOfTwoRanks)
{
    const std::string program = client(std::string("mpishares-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    checkShares(GetParam(), {program, "0.8", "0.8"});
}

TEST_P(Mpi, WaitsInAModuleThatIsLoadedForItselfAlone)
{
    const std::string module = std::string(CLIENTS_DIR) + "/mpishares-" + GetParam().name + ".so";
    if (access(module.c_str(), R_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    checkShares(GetParam(), {client("loader"), module, "0.8", "0.8"});
}

TEST_P(Mpi, BytesSentAndReceived)
{
    const std::string program = client(std::string("mpibytes-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    TwoRanks ranks(GetParam(), {program});
    for (int rank = 0; rank < 2; ++rank) {
        const SpoolFile *spool = spoolOfRank(rank, ranks.spools);
        ASSERT_NE(spool, nullptr) << "rank " << rank;
        const spool::Bin total = spool->total();
        EXPECT_GT(ranks.of(rank, "pointToPoint"), 0.0);
        EXPECT_GT(ranks.of(rank, "collective"), 0.0);
        EXPECT_NEAR(
            total.figures[spool::FigureMpiPointToPointBytes].sum, ranks.of(rank, "pointToPoint"), 0.01);
        EXPECT_NEAR(total.figures[spool::FigureMpiCollectiveBytes].sum, ranks.of(rank, "collective"), 0.01);
    }
}

INSTANTIATE_TEST_SUITE_P(Sampler, Mpi,
    testing::Values(
        Flavour{"openmpi", {"mpirun.openmpi", "--oversubscribe"}}, Flavour{"mpich", {"mpiexec.mpich"}}),
    [](const testing::TestParamInfo<Flavour> &row) { return std::string(row.param.name); });
