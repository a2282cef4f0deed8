#ifndef SAMPLER_MPI_REQUESTS_H
#define SAMPLER_MPI_REQUESTS_H

// What is still to be counted of requests: bytes of receives, which turn out at their completion, and of
// persistent requests, which move them at each start. A table of fixed size without locks; a request
// belongs to one thread at a time, as MPI asks for.

#include "core/words.h"

#include <atomic>

namespace fern::mpi {

enum class RequestKind : std::uint64_t {
    Receive, // at most so many bytes at its completion
    PersistentReceive, // at most so many bytes at each completion
    PersistentPointToPoint, // so many bytes at each start
    PersistentCollective
};

// A request can stand in one of these places, which one look finds: the keys are a cache line.
struct RequestPlaces {
    static constexpr unsigned Count = 8;
    alignas(64) std::atomic<Word> keys[Count]; // 0 if free
    std::atomic<std::uint64_t> values[Count]; // bytes and kind
};

constexpr unsigned RequestPlacesBits = 10;
extern RequestPlaces requestPlaces[1U << RequestPlacesBits];

inline RequestPlaces &placesFor(Word key)
{
    // Fibonacci hashing: handles differ in their middle bits.
    const auto hash = static_cast<std::uint64_t>(key) * 0x9e3779b97f4a7c15;
    return requestPlaces[hash >> (64 - RequestPlacesBits)];
}

// A request that was noted, or none.
class Request {
public:
    // That of a key; keys are never 0.
    static Request find(Word key)
    {
        RequestPlaces &places = placesFor(key);
#pragma GCC unroll 8
        for (unsigned i = 0; i < RequestPlaces::Count; ++i) {
            if (places.keys[i].load(std::memory_order_relaxed) == key)
                return Request(&places.keys[i], &places.values[i]);
        }
        return Request(nullptr, nullptr);
    }
    // Notes a request, in place of an earlier one with the same key; false if there is no room for it.
    static bool note(Word key, RequestKind kind, std::uint64_t bytes);
    static void forget(Word key)
    {
        if (const Request request = find(key))
            request.forget();
    }

    explicit operator bool() const
    {
        return mKey != nullptr;
    }
    RequestKind kind() const
    {
        return static_cast<RequestKind>(value() & KindMask);
    }
    std::uint64_t bytes() const
    {
        return value() >> KindBits;
    }
    // Whether the program wants this to end without a message; that may be too late.
    bool isGivenUp() const
    {
        return (value() & GivenUp) != 0;
    }
    void setGivenUp(bool isGivenUp) const
    {
        mValue->store(isGivenUp ? value() | GivenUp : value() & ~GivenUp, std::memory_order_relaxed);
    }
    // The handle may mean another request from now on.
    void forget() const
    {
        mKey->store(0, std::memory_order_release);
    }

private:
    static constexpr std::uint64_t KindMask = 3;
    static constexpr std::uint64_t GivenUp = 4;
    static constexpr int KindBits = 3;

    Request(std::atomic<Word> *key, std::atomic<std::uint64_t> *value)
        : mKey(key)
        , mValue(value)
    {
    }
    std::uint64_t value() const
    {
        return mValue->load(std::memory_order_relaxed);
    }

    std::atomic<Word> *mKey;
    std::atomic<std::uint64_t> *mValue;
};

} // namespace fern::mpi

#endif
