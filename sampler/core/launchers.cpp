#include "core/launchers.h"

#include "core/text.h"

namespace fern {

namespace {

constexpr const char *Launchers[] = {
    // Job launchers and the daemons that they leave on each node.
    "mpirun", "mpiexec", "mpirun.openmpi", "mpiexec.openmpi", "mpirun.mpich", "mpiexec.mpich", "orterun",
    "prterun", "prun", "orted", "prted", "mpiexec.hydra", "hydra_pmi_proxy", "hydra_bstrap_proxy", "srun",
    "slurmstepd", "ssh", "rsh", "aprun", "jsrun", "ibrun", "flux", "qsub", "bsub",
    // Shells.
    "sh", "bash", "rbash", "dash", "zsh", "ksh", "ksh93", "mksh", "csh", "tcsh", "fish", "busybox",
    // Commands that run a command.
    "env", "time", "nohup", "nice", "ionice", "timeout", "taskset", "numactl", "xargs", "setsid", "stdbuf",
    "chrt", "sudo", "su", "runuser", "setpriv", "unshare", "nsenter", "chroot", "flock", "watch", "make",
    "gmake", "ninja", "parallel"};

} // namespace

bool isLauncher(const char *executable)
{
    const char *name = executable;
    for (const char *c = executable; *c != '\0'; ++c) {
        if (*c == '/')
            name = c + 1;
    }
    for (const char *launcher : Launchers) {
        if (equal(name, launcher))
            return true;
    }
    return false;
}

} // namespace fern
