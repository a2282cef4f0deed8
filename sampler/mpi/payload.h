#ifndef SAMPLER_MPI_PAYLOAD_H
#define SAMPLER_MPI_PAYLOAD_H

// How many bytes of payload a rank sends and receives by a call, told from the call's arguments (numbers
// as in the C binding, from 0). A receive counts as long as its buffer; what a collective moves inside
// the library doesn't count. A side that MPI doesn't look at (of MPI_IN_PLACE, of those who aren't the
// root) isn't looked at here either.

#include "mpi/arguments.h"

namespace fern::mpi::payload {

inline std::uint64_t bytes(std::uint64_t count, Word type)
{
    return count != 0 ? count * sizeOfType(type) : 0;
}

// The sum of an array of counts.
inline std::uint64_t sumOfCounts(const Arguments &a, int counts, int size)
{
    std::uint64_t sum = 0;
    for (int i = 0; i < size; ++i)
        sum += a.countAt(counts, i);
    return sum;
}

// Counts of one type for each of many.
inline std::uint64_t sumOfBytes(const Arguments &a, int counts, int type, int size)
{
    const std::uint64_t sum = sumOfCounts(a, counts, size);
    return sum != 0 ? bytes(sum, a.type(type)) : 0;
}

// Counts and types for each of many.
inline std::uint64_t sumOfTypes(const Arguments &a, int counts, int types, int size)
{
    std::uint64_t sum = 0;
    for (int i = 0; i < size; ++i) {
        if (const std::uint64_t count = a.countAt(counts, i))
            sum += bytes(count, a.typeAt(types, i));
    }
    return sum;
}

inline bool isRoot(const Arguments &a, int root, int communicator)
{
    return a.number(root) == rankIn(a.communicator(communicator));
}

inline int peerNumber(const Arguments &a, int communicator)
{
    return peersIn(a.communicator(communicator));
}

inline std::uint64_t peers(const Arguments &a, int communicator)
{
    return static_cast<std::uint64_t>(peerNumber(a, communicator));
}

inline std::uint64_t none(const Arguments &)
{
    return 0;
}

template <int Count, int Type> std::uint64_t one(const Arguments &a)
{
    const std::uint64_t count = a.count(Count);
    return count != 0 ? bytes(count, a.type(Type)) : 0;
}

template <int Count, int Type> std::uint64_t twice(const Arguments &a)
{
    return 2 * one<Count, Type>(a);
}

template <int SendCount, int SendType, int ReceiveCount, int ReceiveType>
std::uint64_t two(const Arguments &a)
{
    return one<SendCount, SendType>(a) + one<ReceiveCount, ReceiveType>(a);
}

// So many values of a type.
template <int Number, int Type> std::uint64_t values(const Arguments &a)
{
    return bytes(Number, a.type(Type));
}

template <int Count, int Type, int Root, int Communicator> std::uint64_t reduce(const Arguments &a)
{
    return (isRoot(a, Root, Communicator) ? 2 : 1) * one<Count, Type>(a);
}

// send buffer, receive buffer, receive counts, type, operation, communicator
inline std::uint64_t reduceScatter(const Arguments &a)
{
    const Word communicator = a.communicator(5);
    const int rank = rankIn(communicator);
    if (rank < 0)
        return 0;
    return bytes(sumOfCounts(a, 2, sizeOf(communicator)) + a.countAt(2, rank), a.type(3));
}

inline std::uint64_t reduceScatterBlock(const Arguments &a)
{
    return (peers(a, 5) + 1) * one<2, 3>(a);
}

// send buffer, count, type, receive buffer, count, type, root, communicator
inline std::uint64_t gather(const Arguments &a)
{
    const std::uint64_t sent = a.isInPlace(0) ? 0 : one<1, 2>(a);
    return sent + (isRoot(a, 6, 7) ? peers(a, 7) * one<4, 5>(a) : 0);
}

// send buffer, count, type, receive buffer, counts, displacements, type, root, communicator
inline std::uint64_t gatherv(const Arguments &a)
{
    const std::uint64_t sent = a.isInPlace(0) ? 0 : one<1, 2>(a);
    return sent + (isRoot(a, 7, 8) ? sumOfBytes(a, 4, 6, peerNumber(a, 8)) : 0);
}

inline std::uint64_t scatter(const Arguments &a)
{
    const std::uint64_t received = a.isInPlace(3) ? 0 : one<4, 5>(a);
    return received + (isRoot(a, 6, 7) ? peers(a, 7) * one<1, 2>(a) : 0);
}

// send buffer, counts, displacements, type, receive buffer, count, type, root, communicator
inline std::uint64_t scatterv(const Arguments &a)
{
    const std::uint64_t received = a.isInPlace(4) ? 0 : one<5, 6>(a);
    return received + (isRoot(a, 7, 8) ? sumOfBytes(a, 1, 3, peerNumber(a, 8)) : 0);
}

// send buffer, count, type, receive buffer, count, type, communicator
inline std::uint64_t allgather(const Arguments &a)
{
    return (a.isInPlace(0) ? 0 : one<1, 2>(a)) + peers(a, 6) * one<4, 5>(a);
}

// send buffer, count, type, receive buffer, counts, displacements, type, communicator
inline std::uint64_t allgatherv(const Arguments &a)
{
    return (a.isInPlace(0) ? 0 : one<1, 2>(a)) + sumOfBytes(a, 4, 6, peerNumber(a, 7));
}

inline std::uint64_t alltoall(const Arguments &a)
{
    const std::uint64_t received = one<4, 5>(a);
    return peers(a, 6) * (received + (a.isInPlace(0) ? received : one<1, 2>(a)));
}

// send buffer, counts, displacements, type, receive buffer, counts, displacements, type, communicator
inline std::uint64_t alltoallv(const Arguments &a)
{
    const int size = peerNumber(a, 8);
    const std::uint64_t received = sumOfBytes(a, 5, 7, size);
    return received + (a.isInPlace(0) ? received : sumOfBytes(a, 1, 3, size));
}

// As above, with an array of types on either side.
inline std::uint64_t alltoallw(const Arguments &a)
{
    const int size = peerNumber(a, 8);
    const std::uint64_t received = sumOfTypes(a, 5, 7, size);
    return received + (a.isInPlace(0) ? received : sumOfTypes(a, 1, 3, size));
}

// Those of neighbours have the arguments of those of all, and know no MPI_IN_PLACE.
inline std::uint64_t neighborAllgather(const Arguments &a)
{
    const Neighbours near = neighboursIn(a.communicator(6));
    return one<1, 2>(a) + static_cast<std::uint64_t>(near.sources) * one<4, 5>(a);
}

inline std::uint64_t neighborAllgatherv(const Arguments &a)
{
    return one<1, 2>(a) + sumOfBytes(a, 4, 6, neighboursIn(a.communicator(7)).sources);
}

inline std::uint64_t neighborAlltoall(const Arguments &a)
{
    const Neighbours near = neighboursIn(a.communicator(6));
    return static_cast<std::uint64_t>(near.destinations) * one<1, 2>(a)
        + static_cast<std::uint64_t>(near.sources) * one<4, 5>(a);
}

inline std::uint64_t neighborAlltoallv(const Arguments &a)
{
    const Neighbours near = neighboursIn(a.communicator(8));
    return sumOfBytes(a, 1, 3, near.destinations) + sumOfBytes(a, 5, 7, near.sources);
}

inline std::uint64_t neighborAlltoallw(const Arguments &a)
{
    const Neighbours near = neighboursIn(a.communicator(8));
    return sumOfTypes(a, 1, 3, near.destinations) + sumOfTypes(a, 5, 7, near.sources);
}

} // namespace fern::mpi::payload

#endif
