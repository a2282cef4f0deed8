#ifndef SAMPLER_MPI_CLOCKS_H
#define SAMPLER_MPI_CLOCKS_H

#include "mpi/messages.h"

namespace fern::mpi {

struct ClockOffset {
    bool isKnown;
    std::int64_t ns; // to add to this rank's time
};

// How the clock of this rank's node differs from that of rank 0's node: measured between the first ranks of
// the nodes, `leaders`, along a tree, and handed on to all ranks of a node. All ranks have to call it.
//
// Of several exchanges the quickest counts; half of the time that it took is the largest error of a step.
ClockOffset findClockOffset(const Communicator &node, const Communicator &leaders, Patience patience);

} // namespace fern::mpi

#endif
