#ifndef SAMPLER_MPI_PAYLOAD_H
#define SAMPLER_MPI_PAYLOAD_H

// How many bytes of payload a rank sends and receives by a call, told from the call's arguments (numbers
// as in the C binding, from 0): the rules that mpicalls.table names. What a collective moves inside the
// library doesn't count. A side that MPI doesn't look at (of MPI_IN_PLACE, of those who aren't the root)
// isn't looked at here either. They are asked after the call succeeded, when its arguments are known to
// be valid.

#include "mpi/arguments.h"

namespace fern::mpi::payload {

struct Payload {
    std::uint64_t moved = 0;
    std::uint64_t room = 0; // of a receive, which may turn out shorter
};

inline __attribute__((always_inline)) std::uint64_t bytes(std::uint64_t count, Word type)
{
    return count != 0 ? count * sizeOfType(type) : 0;
}

template <class A> inline __attribute__((always_inline)) std::uint64_t one(const A &a, int count, int type)
{
    const std::uint64_t number = a.count(count);
    return number != 0 ? bytes(number, a.type(type)) : 0;
}

// The sum of an array of counts.
template <class A> std::uint64_t sumOfCounts(const A &a, int counts, int size)
{
    std::uint64_t sum = 0;
    for (int i = 0; i < size; ++i)
        sum += a.countAt(counts, i);
    return sum;
}

// Counts of one type for each of many.
template <class A> std::uint64_t sumOfBytes(const A &a, int counts, int type, int size)
{
    const std::uint64_t sum = sumOfCounts(a, counts, size);
    return sum != 0 ? bytes(sum, a.type(type)) : 0;
}

// Counts and types for each of many.
template <class A> std::uint64_t sumOfTypes(const A &a, int counts, int types, int size)
{
    std::uint64_t sum = 0;
    for (int i = 0; i < size; ++i) {
        if (const std::uint64_t count = a.countAt(counts, i))
            sum += bytes(count, a.typeAt(types, i));
    }
    return sum;
}

template <class A> int peerNumber(const A &a, int communicator)
{
    return peersIn(a.communicator(communicator));
}

template <class A> std::uint64_t peers(const A &a, int communicator)
{
    return static_cast<std::uint64_t>(peerNumber(a, communicator));
}

// A rank's part in a collective that has a root. Between groups the root names itself MPI_ROOT, and those
// beside it are MPI_PROC_NULL.
struct Part {
    bool isRoot;
    bool isMember; // gives to the root, or takes from it
};

template <class A> Part partIn(const A &a, int root, int communicator)
{
    const int number = a.number(root);
    if (number < 0)
        return {isRootOfOthers(number), false};
    const Word handle = a.communicator(communicator);
    return {number == rankIn(handle) && !isInter(handle), true};
}

// Nothing is counted.
struct Nothing {
    template <class A> static Payload of(const A &) { return {}; }
};

template <int Count, int Type, int Peer> struct Send {
    template <class A> static inline __attribute__((always_inline)) Payload of(const A &a)
    {
        return {isNoProcess(a.number(Peer)) ? 0 : one(a, Count, Type), 0};
    }
};

template <int Count, int Type, int Peer> struct Receive {
    template <class A> static inline __attribute__((always_inline)) Payload of(const A &a)
    {
        return {0, Send<Count, Type, Peer>::of(a).moved};
    }
};

// Of a message that was found before.
template <int Count, int Type> struct Matched {
    template <class A> static inline __attribute__((always_inline)) Payload of(const A &a)
    {
        return {0, one(a, Count, Type)};
    }
};

template <int SendCount, int SendType, int To, int ReceiveCount, int ReceiveType, int From> struct Exchange {
    template <class A> static Payload of(const A &a)
    {
        return {
            Send<SendCount, SendType, To>::of(a).moved, Send<ReceiveCount, ReceiveType, From>::of(a).moved};
    }
};

// Partitions of so many items each.
template <int Partitions, int Count, int Type, int Peer> struct Partitioned {
    template <class A> static Payload of(const A &a)
    {
        const int partitions = a.number(Partitions);
        return {partitions > 0 ? static_cast<std::uint64_t>(partitions) * Send<Count, Type, Peer>::of(a).moved
                               : 0,
            0};
    }
};

// One way between two memories.
template <int Count, int Type, int Target> using Remote = Send<Count, Type, Target>;

// There and back, each of a length of its own.
template <int Count, int Type, int ResultCount, int ResultType, int Target> struct RemoteBoth {
    template <class A> static Payload of(const A &a)
    {
        return {
            Send<Count, Type, Target>::of(a).moved + Send<ResultCount, ResultType, Target>::of(a).moved, 0};
    }
};

// So many values of a type.
template <int Number, int Type, int Target> struct RemoteValues {
    template <class A> static Payload of(const A &a)
    {
        return {isNoProcess(a.number(Target)) ? 0 : bytes(Number, a.type(Type)), 0};
    }
};

template <int Count, int Type, int Root, int Communicator> struct Broadcast {
    template <class A> static Payload of(const A &a)
    {
        const Part part = partIn(a, Root, Communicator);
        return {part.isRoot || part.isMember ? one(a, Count, Type) : 0, 0};
    }
};

// What goes in and what comes out.
template <int Count, int Type> struct Twice {
    template <class A> static Payload of(const A &a) { return {2 * one(a, Count, Type), 0}; }
};

template <int Count, int Type, int Root, int Communicator> struct Reduce {
    template <class A> static Payload of(const A &a)
    {
        const Part part = partIn(a, Root, Communicator);
        return {((part.isRoot ? 1U : 0U) + (part.isMember ? 1U : 0U)) * one(a, Count, Type), 0};
    }
};

// send buffer, receive buffer, receive counts, type, operation, communicator
struct ReduceScatter {
    template <class A> static Payload of(const A &a)
    {
        const Word communicator = a.communicator(5);
        const int rank = rankIn(communicator);
        if (rank < 0)
            return {};
        return {bytes(sumOfCounts(a, 2, sizeOf(communicator)) + a.countAt(2, rank), a.type(3)), 0};
    }
};

struct ReduceScatterBlock {
    template <class A> static Payload of(const A &a) { return {(peers(a, 5) + 1) * one(a, 2, 3), 0}; }
};

// send buffer, count, type, receive buffer, count, type, root, communicator
struct Gather {
    template <class A> static Payload of(const A &a)
    {
        const Part part = partIn(a, 6, 7);
        const std::uint64_t sent = part.isMember && !a.isInPlace(0) ? one(a, 1, 2) : 0;
        return {sent + (part.isRoot ? peers(a, 7) * one(a, 4, 5) : 0), 0};
    }
};

// send buffer, count, type, receive buffer, counts, displacements, type, root, communicator
struct Gatherv {
    template <class A> static Payload of(const A &a)
    {
        const Part part = partIn(a, 7, 8);
        const std::uint64_t sent = part.isMember && !a.isInPlace(0) ? one(a, 1, 2) : 0;
        return {sent + (part.isRoot ? sumOfBytes(a, 4, 6, peerNumber(a, 8)) : 0), 0};
    }
};

struct Scatter {
    template <class A> static Payload of(const A &a)
    {
        const Part part = partIn(a, 6, 7);
        const std::uint64_t received = part.isMember && !a.isInPlace(3) ? one(a, 4, 5) : 0;
        return {received + (part.isRoot ? peers(a, 7) * one(a, 1, 2) : 0), 0};
    }
};

// send buffer, counts, displacements, type, receive buffer, count, type, root, communicator
struct Scatterv {
    template <class A> static Payload of(const A &a)
    {
        const Part part = partIn(a, 7, 8);
        const std::uint64_t received = part.isMember && !a.isInPlace(4) ? one(a, 5, 6) : 0;
        return {received + (part.isRoot ? sumOfBytes(a, 1, 3, peerNumber(a, 8)) : 0), 0};
    }
};

// send buffer, count, type, receive buffer, count, type, communicator
struct Allgather {
    template <class A> static Payload of(const A &a)
    {
        return {(a.isInPlace(0) ? 0 : one(a, 1, 2)) + peers(a, 6) * one(a, 4, 5), 0};
    }
};

// send buffer, count, type, receive buffer, counts, displacements, type, communicator
struct Allgatherv {
    template <class A> static Payload of(const A &a)
    {
        return {(a.isInPlace(0) ? 0 : one(a, 1, 2)) + sumOfBytes(a, 4, 6, peerNumber(a, 7)), 0};
    }
};

struct Alltoall {
    template <class A> static Payload of(const A &a)
    {
        const std::uint64_t received = one(a, 4, 5);
        return {peers(a, 6) * (received + (a.isInPlace(0) ? received : one(a, 1, 2))), 0};
    }
};

// send buffer, counts, displacements, type, receive buffer, counts, displacements, type, communicator
struct Alltoallv {
    template <class A> static Payload of(const A &a)
    {
        const int size = peerNumber(a, 8);
        const std::uint64_t received = sumOfBytes(a, 5, 7, size);
        return {received + (a.isInPlace(0) ? received : sumOfBytes(a, 1, 3, size)), 0};
    }
};

// As above, with an array of types on either side.
struct Alltoallw {
    template <class A> static Payload of(const A &a)
    {
        const int size = peerNumber(a, 8);
        const std::uint64_t received = sumOfTypes(a, 5, 7, size);
        return {received + (a.isInPlace(0) ? received : sumOfTypes(a, 1, 3, size)), 0};
    }
};

// Those of neighbours have the arguments of those of all, and know no MPI_IN_PLACE.
struct NeighborAllgather {
    template <class A> static Payload of(const A &a)
    {
        const Neighbours near = neighboursIn(a.communicator(6));
        const std::uint64_t sent = near.destinations != 0 ? one(a, 1, 2) : 0;
        return {sent + static_cast<std::uint64_t>(near.sources) * one(a, 4, 5), 0};
    }
};

struct NeighborAllgatherv {
    template <class A> static Payload of(const A &a)
    {
        const Neighbours near = neighboursIn(a.communicator(7));
        const std::uint64_t sent = near.destinations != 0 ? one(a, 1, 2) : 0;
        return {sent + sumOfBytes(a, 4, 6, near.sources), 0};
    }
};

struct NeighborAlltoall {
    template <class A> static Payload of(const A &a)
    {
        const Neighbours near = neighboursIn(a.communicator(6));
        return {static_cast<std::uint64_t>(near.destinations) * one(a, 1, 2)
                + static_cast<std::uint64_t>(near.sources) * one(a, 4, 5),
            0};
    }
};

struct NeighborAlltoallv {
    template <class A> static Payload of(const A &a)
    {
        const Neighbours near = neighboursIn(a.communicator(8));
        return {sumOfBytes(a, 1, 3, near.destinations) + sumOfBytes(a, 5, 7, near.sources), 0};
    }
};

struct NeighborAlltoallw {
    template <class A> static Payload of(const A &a)
    {
        const Neighbours near = neighboursIn(a.communicator(8));
        return {sumOfTypes(a, 1, 3, near.destinations) + sumOfTypes(a, 5, 7, near.sources), 0};
    }
};

} // namespace fern::mpi::payload

#endif
