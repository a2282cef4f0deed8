#ifndef SAMPLER_MPI_HANDOVER_H
#define SAMPLER_MPI_HANDOVER_H

#include "mpi/messages.h"

#include <cstddef>
#include <cstdint>

// How ranks of one node hand each other their profiles: in files of the spool folder. MPI's messages would
// need a communicator of our own, and making one keeps all processors busy until the last rank has had its
// turns: where ranks outnumber processors that takes longer than all the rest of the merging.

namespace fern::mpi::handover {

// For who reads the folder: files that are left where a merging was cut off.
constexpr const char *Suffix = ".part";

// A number for the folder as this rank sees it, the same for all that see the same one of the same node; 0 if
// there is none. 62 bits.
std::int64_t place(const char *hostname);

// Leaves a rank's profile for the rank that takes it; a size of 0 says that there is none.
bool give(std::int64_t world, int rank, const void *bytes, std::size_t size);
// The profile of a rank, to be unmapped; nullptr if there is none, or none in time.
unsigned char *take(std::int64_t world, int rank, std::size_t *size, Patience patience);

} // namespace fern::mpi::handover

#endif
