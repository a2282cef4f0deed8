#include "cli/launchertable.h"

namespace {

struct NameRow {
    Forwarding forwarding;
    const char *name;
};

constexpr NameRow Names[]
    = {{Forwarding::Inherited, "inherited"}, {Forwarding::OpenMpi, "openmpi"}, {Forwarding::Hydra, "hydra"},
        {Forwarding::Srun, "srun"}, {Forwarding::Aprun, "aprun"}, {Forwarding::Jsrun, "jsrun"}};

// Words that the launchers' version texts hold. Open MPI calls its own one OpenRTE up to version 4 and PRRTE
// from version 5 on; launchers derived from Hydra name their makers first.
struct VersionRow {
    const char *word;
    Forwarding forwarding;
};

constexpr VersionRow Versions[] = {{"Open MPI", Forwarding::OpenMpi}, {"OpenRTE", Forwarding::OpenMpi},
    {"PRRTE", Forwarding::OpenMpi}, {"HYDRA", Forwarding::Hydra}, {"MPICH", Forwarding::Hydra},
    {"Intel(R) MPI", Forwarding::Hydra}, {"slurm", Forwarding::Srun}};

} // namespace

const QVector<LauncherRow> &launcherTable()
{
    static const QVector<LauncherRow> table{
        {"mpirun", Forwarding::Unknown},
        {"mpiexec", Forwarding::Unknown},
        {"mpirun.openmpi", Forwarding::OpenMpi},
        {"mpiexec.openmpi", Forwarding::OpenMpi},
        {"orterun", Forwarding::OpenMpi},
        {"prterun", Forwarding::OpenMpi},
        {"prun", Forwarding::OpenMpi},
        {"mpirun.mpich", Forwarding::Hydra},
        {"mpiexec.mpich", Forwarding::Hydra},
        {"mpiexec.hydra", Forwarding::Hydra},
        {"srun", Forwarding::Srun},
        {"aprun", Forwarding::Aprun},
        {"jsrun", Forwarding::Jsrun},
    };
    return table;
}

const LauncherRow *launcherNamed(const QString &name)
{
    for (const LauncherRow &row : launcherTable()) {
        if (name == QLatin1String(row.name))
            return &row;
    }
    return nullptr;
}

Forwarding forwardingFromName(const QString &name)
{
    for (const NameRow &row : Names) {
        if (name == QLatin1String(row.name))
            return row.forwarding;
    }
    return Forwarding::Unknown;
}

QString forwardingName(Forwarding forwarding)
{
    for (const NameRow &row : Names) {
        if (forwarding == row.forwarding)
            return QLatin1String(row.name);
    }
    return QString();
}

Forwarding forwardingFromVersion(const QString &version)
{
    for (const VersionRow &row : Versions) {
        if (version.contains(QLatin1String(row.word)))
            return row.forwarding;
    }
    return Forwarding::Inherited;
}
