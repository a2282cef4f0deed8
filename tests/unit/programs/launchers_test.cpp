// How variables get to the processes that launchers start, and which launcher is which.
#include "cli/launchertable.h"
#include "workflow/launcherrecognition.h"
#include "workflow/launchforwarding.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using Words = QList<QByteArray>;

const QList<Variable> Variables{{"LD_PRELOAD", "/lib/s.so"}, {"SPOOL", "/tmp/x"}};

Launch launched(const Words &command, Forwarding forwarding, const Words &environment = {"HOME=/home"})
{
    return withVariables({command, environment}, forwarding, Variables);
}

Words command(const Words &typed, Forwarding forwarding)
{
    return launched(typed, forwarding).command;
}

TEST(Forwarding, ReachesEachGroupOfProcessesOfOpenMpi)
{
    EXPECT_EQ(command({"mpirun", "-n", "1", "./a", ":", "-n", "2", "./b"}, Forwarding::OpenMpi),
        (Words{"mpirun", "-x", "LD_PRELOAD=/lib/s.so", "-x", "SPOOL=/tmp/x", "-n", "1", "./a", ":", "-x",
            "LD_PRELOAD=/lib/s.so", "-x", "SPOOL=/tmp/x", "-n", "2", "./b"}));
}

TEST(Forwarding, JoinsTheListThatTheUserGivesOpenMpiInTheEnvironment)
{
    const Launch launch
        = launched({"mpirun", "./a"}, Forwarding::OpenMpi, {"A=1", "OMPI_MCA_mca_base_env_list=B=2", "C=3"});
    EXPECT_EQ(launch.command, (Words{"mpirun", "./a"}));
    EXPECT_EQ(launch.environment,
        (Words{"A=1", "OMPI_MCA_mca_base_env_list=B=2;LD_PRELOAD=/lib/s.so;SPOOL=/tmp/x", "C=3"}));
}

TEST(Forwarding, IsLeftToTheEnvironmentWhereTheUserGivesOpenMpiAListAmongItsWords)
{
    const Words typed{"mpirun", "--mca", "mca_base_env_list", "B=2", "./a"};
    const Launch launch = launched(typed, Forwarding::OpenMpi);
    EXPECT_EQ(launch.command, typed);
    EXPECT_EQ(launch.environment, (Words{"HOME=/home", "LD_PRELOAD=/lib/s.so", "SPOOL=/tmp/x"}));
}

TEST(Forwarding, HasAFlagForEachVariable)
{
    EXPECT_EQ(command({"mpiexec", "./a"}, Forwarding::Hydra),
        (Words{"mpiexec", "-genv", "LD_PRELOAD", "/lib/s.so", "-genv", "SPOOL", "/tmp/x", "./a"}));
    EXPECT_EQ(command({"aprun", "./a"}, Forwarding::Aprun),
        (Words{"aprun", "-e", "LD_PRELOAD=/lib/s.so", "-e", "SPOOL=/tmp/x", "./a"}));
    EXPECT_EQ(command({"jsrun", "./a"}, Forwarding::Jsrun),
        (Words{"jsrun", "-E", "LD_PRELOAD=/lib/s.so", "-E", "SPOOL=/tmp/x", "./a"}));
}

TEST(Forwarding, LeavesTheEnvironmentOfLaunchersAlone)
{
    for (const Forwarding forwarding :
        {Forwarding::OpenMpi, Forwarding::Hydra, Forwarding::Srun, Forwarding::Aprun, Forwarding::Jsrun})
        EXPECT_EQ(launched({"run", "./a"}, forwarding).environment, (Words{"HOME=/home"}));
}

TEST(Forwarding, ReplacesVariablesThatAreThere)
{
    EXPECT_EQ(launched({"./a"}, Forwarding::Inherited, {"LD_PRELOAD=/lib/old.so", "HOME=/home"}).environment,
        (Words{"HOME=/home", "LD_PRELOAD=/lib/s.so", "SPOOL=/tmp/x"}));
}

TEST(Forwarding, AddsToWhatSrunExports)
{
    const QByteArray ours = "LD_PRELOAD=/lib/s.so,SPOOL=/tmp/x";
    EXPECT_EQ(command({"srun", "./a"}, Forwarding::Srun), (Words{"srun", "--export=ALL," + ours, "./a"}));
    EXPECT_EQ(command({"srun", "--export=A=1", "./a"}, Forwarding::Srun),
        (Words{"srun", "--export=A=1," + ours, "./a"}));
    EXPECT_EQ(command({"srun", "-n", "4", "--export", "NONE", "./a"}, Forwarding::Srun),
        (Words{"srun", "-n", "4", "--export", ours, "./a"}));
    // What stands behind the program is its own.
    EXPECT_EQ(command({"srun", "-n", "4", "/bin/sh", "--export=A"}, Forwarding::Srun),
        (Words{"srun", "--export=ALL," + ours, "-n", "4", "/bin/sh", "--export=A"}));
    EXPECT_EQ(command({"srun", "--exclusive", "/bin/sh", "--export=A"}, Forwarding::Srun),
        (Words{"srun", "--export=ALL," + ours, "--exclusive", "/bin/sh", "--export=A"}));
}

TEST(Forwarding, QuotesCommasForSrun)
{
    const Launch launch = withVariables({{"srun", "./a"}, {}}, Forwarding::Srun, {{"SPOOL", "/tmp/a,b"}});
    EXPECT_EQ(launch.command, (Words{"srun", "--export=ALL,SPOOL='/tmp/a,b'", "./a"}));
}

TEST(LauncherTable, NamesOfWaysLeadThereAndBack)
{
    for (const LauncherRow &row : launcherTable()) {
        EXPECT_EQ(launcherNamed(row.name)->forwarding, row.forwarding);
        EXPECT_EQ(forwardingFromName(forwardingName(row.forwarding)), row.forwarding);
    }
    EXPECT_EQ(forwardingFromName("carrier"), Forwarding::Unknown);
    EXPECT_EQ(launcherNamed("prog"), nullptr);
}

TEST(LauncherTable, TellsImplementationsByTheirVersionTexts)
{
    EXPECT_EQ(forwardingFromVersion("mpirun.openmpi (OpenRTE) 4.1.4\n"), Forwarding::OpenMpi);
    EXPECT_EQ(forwardingFromVersion("mpirun (Open MPI) 5.0.3\n"), Forwarding::OpenMpi);
    EXPECT_EQ(forwardingFromVersion("HYDRA build details:\n    Version: 4.0.2\n"), Forwarding::Hydra);
    EXPECT_EQ(forwardingFromVersion("slurm 23.02.1"), Forwarding::Srun);
    EXPECT_EQ(forwardingFromVersion("a launcher of our own"), Forwarding::Inherited);
    EXPECT_EQ(forwardingFromVersion(""), Forwarding::Inherited);
}

class Recognition : public ::testing::Test {
protected:
    QByteArray script(const QString &name, const QByteArray &text)
    {
        QFile file(mFolder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + text);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return QFile::encodeName(file.fileName());
    }
    QTemporaryDir mFolder;
};

TEST_F(Recognition, AsksAnAmbiguousLauncherOnly)
{
    EXPECT_EQ(recogniseLauncher(script("mpirun", "echo 'mpirun (Open MPI) 5.0'"), {}), Forwarding::OpenMpi);
    EXPECT_EQ(recogniseLauncher(script("mpiexec", "echo HYDRA >&2"), {}), Forwarding::Hydra);
    const QString mark = mFolder.filePath("mark");
    EXPECT_EQ(recogniseLauncher(script("srun", "touch " + QFile::encodeName(mark)), {}), Forwarding::Srun);
    EXPECT_EQ(
        recogniseLauncher(script("prog", "touch " + QFile::encodeName(mark)), {}), Forwarding::Inherited);
    EXPECT_FALSE(QFile::exists(mark));
}

TEST_F(Recognition, FollowsLinksToANameThatTells)
{
    script("mpiexec.hydra", "exit 1");
    ASSERT_TRUE(QFile::link(mFolder.filePath("mpiexec.hydra"), mFolder.filePath("mpirun")));
    EXPECT_EQ(recogniseLauncher(QFile::encodeName(mFolder.filePath("mpirun")), {}), Forwarding::Hydra);
}

TEST_F(Recognition, BelievesTheConfigurationFirst)
{
    const QByteArray mpirun = script("mpirun", "echo HYDRA");
    EXPECT_EQ(recogniseLauncher(mpirun, {{"mpirun", Forwarding::Aprun}}), Forwarding::Aprun);
    EXPECT_EQ(recogniseLauncher(
                  mpirun, {{"mpirun", Forwarding::Aprun}, {QFile::decodeName(mpirun), Forwarding::Srun}}),
        Forwarding::Srun);
    EXPECT_EQ(recogniseLauncher(mpirun, {{"/nonesuch/mpirun", Forwarding::Aprun}}), Forwarding::Hydra);
}

} // namespace
