#include "mpi/requests.h"

namespace fern::mpi {

RequestPlaces requestPlaces[1U << RequestPlacesBits];

bool Request::note(Word key, RequestKind kind, std::uint64_t bytes)
{
    const std::uint64_t value = bytes << KindBits | static_cast<std::uint64_t>(kind);
    if (const Request known = find(key)) {
        known.mValue->store(value, std::memory_order_relaxed);
        return true;
    }
    RequestPlaces &places = placesFor(key);
    for (unsigned i = 0; i < RequestPlaces::Count; ++i) {
        Word free = 0;
        if (places.keys[i].load(std::memory_order_relaxed) == 0
            && places.keys[i].compare_exchange_strong(free, key, std::memory_order_acq_rel)) {
            places.values[i].store(value, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

} // namespace fern::mpi
