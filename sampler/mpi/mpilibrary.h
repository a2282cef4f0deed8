#ifndef SAMPLER_MPI_MPILIBRARY_H
#define SAMPLER_MPI_MPILIBRARY_H

// The MPI library of the program, whichever it is. Arguments travel as machine words: handles are
// pointers in one implementation and integers in the other, and both calling conventions that we know
// (x86-64, AAPCS64) pass either as one word.

#include "core/words.h"

#include <atomic>
#include <cstddef>

namespace fern::mpi {

using fern::Word;
using Function = void (*)();

// A function of the MPI library by a name that the sampler doesn't have. Libraries that were loaded by
// dlopen() with local scope are found through `caller`, an address in the code that called. nullptr if there
// is none.
Function find(const char *name, const void *caller);
// The next function of a name behind the sampler's own: of another tool, or of the library if all modules see
// it.
Function findNext(const char *name);

// A program that only found out by our symbols that MPI is there learns from this that it isn't:
// MPI_ERR_OTHER.
int noSuchCall();

// What handles are: -1 as long as nobody asked.
extern std::atomic<int> kindOfHandles;
bool askKindOfHandles();
// Whether handles are addresses of the library's own objects, as in Open MPI and its kin, or integers.
inline bool handlesArePointers()
{
    const int known = kindOfHandles.load(std::memory_order_relaxed);
    return __builtin_expect(known >= 0, true) ? known == 1 : askKindOfHandles();
}

// Rank of the calling process in a communicator; -1 if unknown.
int rankIn(Word communicator);
// Ranks of a communicator, of an intercommunicator the local ones; 0 if unknown.
int sizeOf(Word communicator);
// Those that a rank sends to and receives from: of an intercommunicator the remote ones.
int peersIn(Word communicator);
bool isInter(Word communicator);
// MPI_PROC_NULL and MPI_ROOT, which are numbers in the place of ranks.
bool isNoProcess(int rank);
bool isRootOfOthers(int rank);
// Ranks that a communicator's topology connects this one with; none if it has no topology.
struct Neighbours {
    int sources; // receives from
    int destinations; // sends to
};
Neighbours neighboursIn(Word communicator);
// The handle of MPI_COMM_WORLD.
Word world();
// The handle of something that MPI defines, by the name of the object where handles are addresses, and by its
// number where they are numbers.
Word predefined(const char *object, Word number);
// MPI_STATUS_IGNORE.
Word ignoredStatus();

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

// Whether an argument is MPI_STATUS_IGNORE or MPI_STATUSES_IGNORE, which are one in C and two in Fortran.
bool isStatusIgnored(Word status);
bool isStatusIgnoredOfFortran(Word status);
bool areStatusesIgnoredOfFortran(Word statuses);
// Bytes of a status, the same in C and in Fortran, and the most that any of them takes.
std::size_t statusSize();
constexpr std::size_t MostOfAStatus = 32;
// Whether the operation was cancelled; its length means nothing then.
bool isCancelled(const unsigned char *status);
// Bytes that a completed receive brought, told from its status; `room` if the library doesn't say or says
// more than that.
std::uint64_t receivedBytes(const unsigned char *status, std::uint64_t room);

} // namespace fern::mpi

#endif
