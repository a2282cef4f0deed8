#ifndef SAMPLER_MPI_PAYLOAD_H
#define SAMPLER_MPI_PAYLOAD_H

// How many bytes of payload a rank sends and receives by a call, told from the call's arguments (numbers
// as in the C binding, from 0). A receive counts as long as its buffer; what a collective moves inside
// the library doesn't count. A side that MPI doesn't look at (of MPI_IN_PLACE, of those who aren't the
// root) isn't looked at here either.

#include "mpi/mpilibrary.h"

namespace fern::mpi::payload {

using Words = const Word *;

inline std::uint64_t count(Word word)
{
    const int number = static_cast<int>(word);
    return number > 0 ? static_cast<std::uint64_t>(number) : 0;
}

inline std::uint64_t bytes(std::uint64_t count, Word type)
{
    return count != 0 ? count * sizeOfType(type) : 0;
}

// The sum of an array of counts; `word` is its address.
inline std::uint64_t sumOfCounts(Word word, int size)
{
    const int *counts = reinterpret_cast<const int *>(word);
    std::uint64_t sum = 0;
    for (int i = 0; counts != nullptr && i < size; ++i)
        sum += count(counts[i]);
    return sum;
}

// That of the counts for all peers.
inline std::uint64_t peerCounts(Word word, Word communicator)
{
    return sumOfCounts(word, peersIn(communicator));
}

inline bool isRoot(Word root, Word communicator)
{
    return static_cast<int>(root) == rankIn(communicator);
}

inline std::uint64_t peers(Word communicator)
{
    return static_cast<std::uint64_t>(peersIn(communicator));
}

inline std::uint64_t none(Words)
{
    return 0;
}

template <int Count, int Type> std::uint64_t one(Words w)
{
    return bytes(count(w[Count]), w[Type]);
}

template <int Count, int Type> std::uint64_t twice(Words w)
{
    return 2 * one<Count, Type>(w);
}

template <int SendCount, int SendType, int ReceiveCount, int ReceiveType> std::uint64_t two(Words w)
{
    return one<SendCount, SendType>(w) + one<ReceiveCount, ReceiveType>(w);
}

template <int Count, int Type, int Root, int Communicator> std::uint64_t reduce(Words w)
{
    return (isRoot(w[Root], w[Communicator]) ? 2 : 1) * one<Count, Type>(w);
}

// send buffer, receive buffer, receive counts, type, operation, communicator
inline std::uint64_t reduceScatter(Words w)
{
    const int rank = rankIn(w[5]);
    if (rank < 0)
        return 0;
    const std::uint64_t own = count(reinterpret_cast<const int *>(w[2])[rank]);
    return bytes(sumOfCounts(w[2], sizeOf(w[5])) + own, w[3]);
}

inline std::uint64_t reduceScatterBlock(Words w)
{
    return bytes(count(w[2]) * (peers(w[5]) + 1), w[3]);
}

// send buffer, count, type, receive buffer, count, type, root, communicator
inline std::uint64_t gather(Words w)
{
    const std::uint64_t sent = isInPlace(w[0]) ? 0 : one<1, 2>(w);
    return sent + (isRoot(w[6], w[7]) ? peers(w[7]) * one<4, 5>(w) : 0);
}

// send buffer, count, type, receive buffer, counts, displacements, type, root, communicator
inline std::uint64_t gatherv(Words w)
{
    const std::uint64_t sent = isInPlace(w[0]) ? 0 : one<1, 2>(w);
    return sent + (isRoot(w[7], w[8]) ? bytes(peerCounts(w[4], w[8]), w[6]) : 0);
}

inline std::uint64_t scatter(Words w)
{
    const std::uint64_t received = isInPlace(w[3]) ? 0 : one<4, 5>(w);
    return received + (isRoot(w[6], w[7]) ? peers(w[7]) * one<1, 2>(w) : 0);
}

// send buffer, counts, displacements, type, receive buffer, count, type, root, communicator
inline std::uint64_t scatterv(Words w)
{
    const std::uint64_t received = isInPlace(w[4]) ? 0 : one<5, 6>(w);
    return received + (isRoot(w[7], w[8]) ? bytes(peerCounts(w[1], w[8]), w[3]) : 0);
}

// send buffer, count, type, receive buffer, count, type, communicator
inline std::uint64_t allgather(Words w)
{
    return (isInPlace(w[0]) ? 0 : one<1, 2>(w)) + peers(w[6]) * one<4, 5>(w);
}

// send buffer, count, type, receive buffer, counts, displacements, type, communicator
inline std::uint64_t allgatherv(Words w)
{
    return (isInPlace(w[0]) ? 0 : one<1, 2>(w)) + bytes(peerCounts(w[4], w[7]), w[6]);
}

inline std::uint64_t alltoall(Words w)
{
    const std::uint64_t received = one<4, 5>(w);
    return peers(w[6]) * (received + (isInPlace(w[0]) ? received : one<1, 2>(w)));
}

// send buffer, counts, displacements, type, receive buffer, counts, displacements, type, communicator
inline std::uint64_t alltoallv(Words w)
{
    const std::uint64_t received = bytes(peerCounts(w[5], w[8]), w[7]);
    return received + (isInPlace(w[0]) ? received : bytes(peerCounts(w[1], w[8]), w[3]));
}

} // namespace fern::mpi::payload

#endif
