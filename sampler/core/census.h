#ifndef SAMPLER_CORE_CENSUS_H
#define SAMPLER_CORE_CENSUS_H

#include <cstdint>

// Which ranks of an MPI job are sampled, as far as can be known without asking them: a rank that isn't
// answers nobody. Those of a node count themselves in a file of the spool folder when they have begun MPI,
// and out where the others need not wait for them any more. Raw system calls only.

namespace fern::census {

// The file's name is the node's; for who reads the folder.
constexpr const char *Suffix = ".ranks";

// Once MPI has begun. `worldSize` is that of the process's world, `localSize` how many of it the launcher has
// started on this node, 0 if it doesn't say.
void enter(std::int32_t worldSize, std::int32_t localSize);
// The others wait in vain from now on: the rank goes its own way, or ends. Nothing happens if it hasn't
// entered.
void leave();

enum class Presence {
    All, // every rank of the world
    Unknown, // every rank of this node, or who knows
    Incomplete // a rank of this node isn't sampled, or has left
};
// Of the world that this process has entered. A rank that was killed counts on, as does one of another world
// of the same size on the node: what is said to be incomplete is.
Presence presence();

} // namespace fern::census

#endif
