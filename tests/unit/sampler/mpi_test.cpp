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

void checkRank(int rank, const SpoolFile &spool, std::map<std::string, double> measured)
{
    const std::string prefix = "rank" + std::to_string(rank) + ".";
    const spool::Bin total = spool.total();
    const double whole = static_cast<double>(spool.header().lastNs - spool.header().startNs) / 1e9;
    EXPECT_NEAR(
        percent(total.mainHits, spool::Compute), 100.0 * measured[prefix + "compute"] / whole, Points);
    EXPECT_NEAR(percent(total.mainHits, spool::MpiPointToPoint),
        100.0 * measured[prefix + "pointToPoint"] / whole, Points);
    EXPECT_NEAR(percent(total.mainHits, spool::MpiCollective),
        100.0 * measured[prefix + "collective"] / whole, Points);
    EXPECT_EQ(spool.header().mpiSize, 2);
    EXPECT_TRUE(spool.has(spool::FlagMpiFinalized));
    EXPECT_TRUE(spool.has(spool::FlagEnded));
    // Five messages of 1000 doubles; ten reductions of as many, sent and received.
    EXPECT_DOUBLE_EQ(total.figures[spool::FigureMpiPointToPointBytes].sum, 5 * 8000.0);
    EXPECT_DOUBLE_EQ(total.figures[spool::FigureMpiCollectiveBytes].sum, 10 * 2 * 8000.0);
}

// Runs two ranks of a program and checks what was found.
void runTwoRanks(const Flavour &flavour, const Command &program)
{
    const Folder folder;
    Command command = flavour.launcher;
    command.insert(command.end(), {"-n", "2"});
    command.insert(command.end(), program.begin(), program.end());
    command.insert(command.end(), {"0.8", "0.8"});
    Environment environment = samplingInto(folder.path());
    environment["OMPI_ALLOW_RUN_AS_ROOT"] = "1";
    environment["OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"] = "1";
    const Outcome outcome = run(command, environment);
    ASSERT_EQ(outcome.status, 0) << outcome;

    const std::vector<SpoolFile> spools = spoolsIn(folder.path());
    for (int rank = 0; rank < 2; ++rank) {
        const SpoolFile *spool = spoolOfRank(rank, spools);
        ASSERT_NE(spool, nullptr) << "rank " << rank;
        EXPECT_EQ(spool->complaint(), "");
        checkRank(rank, *spool, numbersIn(outcome.output));
    }
    for (const SpoolFile &spool : spools)
        EXPECT_NE(spool.has(spool::FlagMpi), spool.has(spool::FlagLauncher)) << spool.program();
}

} // namespace

TEST_P(Mpi, WaitsAndBytesOfTwoRanks)
{
    const std::string program = client(std::string("mpishares-") + GetParam().name);
    if (access(program.c_str(), X_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    runTwoRanks(GetParam(), {program});
}

TEST_P(Mpi, AModuleThatIsLoadedForItselfAlone)
{
    const std::string module = std::string(CLIENTS_DIR) + "/mpishares-" + GetParam().name + ".so";
    if (access(module.c_str(), R_OK) != 0)
        GTEST_SKIP() << "Requires " << GetParam().name;
    runTwoRanks(GetParam(), {client("loader"), module});
}

INSTANTIATE_TEST_SUITE_P(Sampler, Mpi,
    testing::Values(
        Flavour{"openmpi", {"mpirun.openmpi", "--oversubscribe"}}, Flavour{"mpich", {"mpiexec.mpich"}}),
    [](const testing::TestParamInfo<Flavour> &row) { return std::string(row.param.name); });
