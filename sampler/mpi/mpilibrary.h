#ifndef SAMPLER_MPI_MPILIBRARY_H
#define SAMPLER_MPI_MPILIBRARY_H

// The MPI library of the program, whichever it is. Arguments travel as machine words: handles are
// pointers in one implementation and integers in the other, and both calling conventions that we know
// (x86-64, AAPCS64) pass either as one word.

#include "core/words.h"

namespace fern::mpi {

using fern::Word;
using Function = void (*)();

// A function of the MPI library. Libraries that were loaded by dlopen() with local scope are found through
// `caller`, an address in the code that called. nullptr if there is no such function.
Function find(const char *name, const void *caller);

// Rank of the calling process in a communicator; -1 if unknown.
int rankIn(Word communicator);
// Ranks of a communicator, of an intercommunicator the local ones; 0 if unknown.
int sizeOf(Word communicator);
// Those that a rank sends to and receives from: of an intercommunicator the remote ones.
int peersIn(Word communicator);
// Ranks that a communicator's topology connects this one with; none if it has no topology.
struct Neighbours {
    int sources; // receives from
    int destinations; // sends to
};
Neighbours neighboursIn(Word communicator);
// The handle of MPI_COMM_WORLD.
Word world();

// Size of a datatype in bytes, remembered; 0 for the null datatype.
std::uint64_t sizeOfType(Word type);
// The handle may mean another type from now on.
void forgetType(Word type);

// One of an array of handles at an address.
Word handleAt(Word address, int index);
// The C handles behind Fortran's integers.
Word typeFromFortran(int type);
Word communicatorFromFortran(int communicator);

// Whether a buffer argument is MPI_IN_PLACE, in C and in Fortran, where it is a variable of the library.
bool isInPlace(Word buffer);
bool isInPlaceOfFortran(Word buffer);

} // namespace fern::mpi

#endif
