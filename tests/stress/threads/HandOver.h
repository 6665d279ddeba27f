#pragma once

#include "tests/stress/threads/Random.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <optional>
#include <utility>

namespace storage::stress {

/// A place where threads exchange objects.
///
/// Each slot holds at most one object and has its own mutex. No object is destroyed while a mutex is held.
/// Thread-safe.
template <class Thing>
class HandOver {
public:
    /// Puts `left` into a random slot and returns the previous object of the slot.
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
