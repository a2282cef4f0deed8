#ifndef SAMPLER_MPI_MERGING_H
#define SAMPLER_MPI_MERGING_H

namespace fern::mpi {

// To be called when MPI has begun, for mergeRanks(). All ranks leave MPI_Init at nearly the same time.
void noteBeginOfMpi();

// To be called where the program calls MPI_Finalize, before MPI does. The profiles of all ranks become one,
// in a file of rank 0's, along a tree: those of each node's ranks first, then those of the nodes. What the
// ranks do from then on goes into spools of their own, which are gone at the end where that wasn't long.
//
// Where that can't be done, because a rank isn't sampled or doesn't come, all spools stay for the host. Needs
// settings.mergedSamples.
void mergeRanks();

} // namespace fern::mpi

#endif
