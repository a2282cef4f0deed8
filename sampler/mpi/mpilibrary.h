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
inline bool isNoProcess(int rank)
{
    return rank < 0 && rank == (handlesArePointers() ? -2 : -1);
}
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

// Sizes of datatypes that were asked for: asking the library at every call costs more than the rest of a
// wrapper. An entry's type is 0 while its size changes.
struct KnownType {
    std::atomic<Word> type;
    std::atomic<std::uint64_t> size;
};

constexpr unsigned KnownTypesBits = 8;
extern KnownType knownTypes[1U << KnownTypesBits];

inline KnownType &entryOfType(Word type)
{
    // Fibonacci hashing: handles differ in their middle bits.
    const auto hash = static_cast<std::uint64_t>(type) * 0x9e3779b97f4a7c15;
    return knownTypes[hash >> (64 - KnownTypesBits)];
}

// What is significant of a handle's word: an integer's upper half may hold anything.
inline Word handle(Word word)
{
    return handlesArePointers() ? word : static_cast<Word>(static_cast<std::uint32_t>(word));
}

// Asks the library and remembers the answer.
std::uint64_t askSizeOfType(Word type);

// Size of a datatype in bytes; 0 for the null datatype.
inline std::uint64_t sizeOfType(Word word)
{
    const Word type = handle(word);
    const KnownType &known = entryOfType(type);
    if (__builtin_expect(type != 0 && known.type.load(std::memory_order_acquire) == type, true)) {
        const std::uint64_t size = known.size.load(std::memory_order_acquire);
        if (known.type.load(std::memory_order_relaxed) == type)
            return size;
    }
    return askSizeOfType(type);
}
// The handle may mean another type from now on.
void forgetType(Word word);

// One of an array of handles at an address.
Word handleAt(Word address, int index);
// The C handles behind Fortran's integers.
Word typeFromFortran(int type);
Word communicatorFromFortran(int communicator);

// Whether a buffer argument is MPI_IN_PLACE, in C and in Fortran, where it is a variable of the library.
inline bool isInPlace(Word buffer)
{
    return buffer == (handlesArePointers() ? 1 : -1);
}
bool isInPlaceOfFortran(Word buffer);

// Whether an argument is MPI_STATUS_IGNORE or MPI_STATUSES_IGNORE, which are one in C and two in Fortran.
inline bool isStatusIgnored(Word status)
{
    return status == (handlesArePointers() ? 0 : 1);
}
bool isStatusIgnoredOfFortran(Word status);
bool areStatusesIgnoredOfFortran(Word statuses);
// Bytes of a status, the same in C and in Fortran, and the most that any of them takes.
std::size_t statusSize();
constexpr std::size_t MostOfAStatus = 32;
// Whether the operation was cancelled; its length means nothing then.
bool isCancelled(const unsigned char *status);
// Where both implementations keep the number of bytes in a status, as programs were compiled to copy it.
inline std::uint64_t bytesIn(const unsigned char *status)
{
    std::uint64_t word;
    if (handlesArePointers()) {
        __builtin_memcpy(&word, status + 4 * sizeof(int), sizeof(word));
        return word;
    }
    // The upper half is one bit to the left: the lowest says whether the operation was cancelled.
    __builtin_memcpy(&word, status, sizeof(word));
    return (word >> 33 << 32) | static_cast<std::uint32_t>(word);
}

// How often the library said of a message that it was as long as its status says there; below 0 once it
// didn't.
extern std::atomic<int> statusesRead;
constexpr int EnoughStatuses = 8;
std::uint64_t askReceivedBytes(const unsigned char *status, std::uint64_t room);

// Bytes that a completed receive brought, told from its status; `room` if the library doesn't say or says
// more than that. To ask the library costs as much as the rest of a wrapper.
inline std::uint64_t receivedBytes(const unsigned char *status, std::uint64_t room)
{
    if (__builtin_expect(statusesRead.load(std::memory_order_relaxed) != EnoughStatuses, false))
        return askReceivedBytes(status, room);
    const std::uint64_t bytes = bytesIn(status);
    return bytes < room ? bytes : room;
}

} // namespace fern::mpi

#endif
