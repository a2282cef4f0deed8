#include "mpi/lifecycle.h"

#include "core/census.h"
#include "core/processstate.h"
#include "core/settings.h"
#include "core/text.h"

#include <stdlib.h>

namespace fern::mpi::lifecycle {

namespace {

// What launchers tell the processes that they start.
constexpr const char *Ranks[] = {"PMIX_RANK", "PMI_RANK", "OMPI_COMM_WORLD_RANK", "SLURM_PROCID"};
constexpr const char *Sizes[] = {"PMI_SIZE", "OMPI_COMM_WORLD_SIZE", "SLURM_NTASKS"};
// How many of them it starts on this node.
constexpr const char *LocalSizes[]
    = {"OMPI_COMM_WORLD_LOCAL_SIZE", "MPI_LOCALNRANKS", "MV2_COMM_WORLD_LOCAL_SIZE", "PMI_LOCAL_SIZE"};

// The first of some variables that is a number; `otherwise` if none is.
template <std::size_t Count> int numberFromLauncher(const char *const (&names)[Count], int otherwise)
{
    for (const char *name : names) {
        const char *text = getenv(name);
        if (text != nullptr && isDigit(*text))
            return static_cast<int>(takeNumber(text));
    }
    return otherwise;
}

void noteRank(int rank, int size)
{
    processState.mpiRank.store(rank, std::memory_order_relaxed);
    processState.mpiSize.store(size, std::memory_order_relaxed);
    processState.flags.fetch_or(spool::FlagMpi, std::memory_order_relaxed);
}

} // namespace

void noteInitialised()
{
    const int size = sizeOf(world());
    noteRank(rankIn(world()), size);
    noteBeginOfMpi();
    if (settings.mergedSamples != 0 && size > 1)
        census::enter(size, numberFromLauncher(LocalSizes, 0));
}

void noteSession()
{
    if ((processState.flags.load(std::memory_order_relaxed) & spool::FlagMpi) == 0)
        noteRank(numberFromLauncher(Ranks, 0), numberFromLauncher(Sizes, 1));
}

void noteFinalized()
{
    processState.flags.fetch_or(spool::FlagMpiFinalized, std::memory_order_relaxed);
}

} // namespace fern::mpi::lifecycle
