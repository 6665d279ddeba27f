#pragma once

#include "tests/stress/threads/Random.h"
#include "tests/stress/threads/World.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace storage::stress {

/// The providers that the threads of the test share. The first is permanent. The others are replaced while
/// threads still use them.
///
/// `mutex_` guards the pointers. A replaced provider is destroyed outside the mutex, by the thread that
/// releases it last. Thread-safe.
class WorldRing {
public:
    WorldRing();

    /// A random provider; the permanent one is the most likely.
    std::shared_ptr<const World> any(Random& random) const;

    /// Replaces a random provider, never the permanent one.
    void replaceOne(Random& random);

    std::vector<std::shared_ptr<const World>> all() const;

    /// The number of providers built so far.
    std::size_t built() const { return built_; }

private:
    std::shared_ptr<const World> build();

    mutable std::mutex mutex_;
    std::array<std::shared_ptr<const World>, 4> worlds_; ///< the first one is permanent
    std::atomic<std::size_t> built_ = 0;
};

} // namespace storage::stress
