#pragma once

#include "tests/stress/threads/Random.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <optional>
#include <utility>

namespace storage::stress {

/// Where threads leave things for one another.
///
/// Each place holds at most one thing and has a mutex of its own. Nothing is destroyed while it is held. Thread safety:
/// every operation may be called from any number of threads.
template <class Thing>
class HandOver {
public:
    /// Leaves `left` in some place and takes what was there.
    std::optional<Thing> exchange(std::optional<Thing> left, Random& random) {
        Place& place = places_[pick(random, places_.size())];
        const std::lock_guard lock(place.mutex);
        return std::exchange(place.thing, std::move(left));
    }

private:
    struct Place {
        std::mutex mutex;
        std::optional<Thing> thing;
    };

    std::array<Place, 8> places_;
};

} // namespace storage::stress
