#include "mpi/requests.h"

namespace fern::mpi {

namespace {

// A request stands in one of the places that its key leads to, all in two cache lines.
constexpr unsigned PlacesBits = 3;
constexpr unsigned Places = 1U << PlacesBits;
constexpr unsigned GroupsBits = 10;

alignas(64) Request requests[1U << GroupsBits][Places];

Request (&groupOf(Word key))[Places]
{
    // Fibonacci hashing: handles differ in their middle bits.
    const auto hash = static_cast<std::uint64_t>(key) * 0x9e3779b97f4a7c15;
    return requests[hash >> (64 - GroupsBits)];
}

} // namespace

Request *findRequest(Word key)
{
    for (Request &request : groupOf(key)) {
        if (request.mKey.load(std::memory_order_relaxed) == key)
            return &request;
    }
    return nullptr;
}

bool noteRequest(Word key, RequestKind kind, std::uint64_t bytes)
{
    const std::uint64_t value = bytes << Request::KindBits | static_cast<std::uint64_t>(kind);
    if (Request *known = findRequest(key)) {
        known->mValue.store(value, std::memory_order_relaxed);
        return true;
    }
    for (Request &request : groupOf(key)) {
        Word free = 0;
        if (request.mKey.load(std::memory_order_relaxed) == 0
            && request.mKey.compare_exchange_strong(free, key, std::memory_order_acq_rel)) {
            request.mValue.store(value, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

} // namespace fern::mpi
