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

class Request {
public:
    RequestKind kind() const { return static_cast<RequestKind>(value() & KindMask); }
    std::uint64_t bytes() const { return value() >> KindBits; }
    // Whether the program wants this to end without a message; that may be too late.
    bool isGivenUp() const { return (value() & GivenUp) != 0; }
    void setGivenUp(bool isGivenUp)
    {
        mValue.store(isGivenUp ? value() | GivenUp : value() & ~GivenUp, std::memory_order_relaxed);
    }
    // The handle may mean another request from now on.
    void forget() { mKey.store(0, std::memory_order_release); }

private:
    friend Request *findRequest(Word key);
    friend bool noteRequest(Word key, RequestKind kind, std::uint64_t bytes);

    static constexpr std::uint64_t KindMask = 3;
    static constexpr std::uint64_t GivenUp = 4;
    static constexpr int KindBits = 3;

    std::uint64_t value() const { return mValue.load(std::memory_order_relaxed); }

    std::atomic<Word> mKey; // 0 if free
    std::atomic<std::uint64_t> mValue; // bytes and kind
};

// A request that was noted; nullptr if it wasn't.
Request *findRequest(Word key);
// Notes a request, in place of an earlier one with the same key; false if there is no room for it.
bool noteRequest(Word key, RequestKind kind, std::uint64_t bytes);

inline void forgetRequest(Word key)
{
    if (Request *request = findRequest(key))
        request->forget();
}

} // namespace fern::mpi

#endif
